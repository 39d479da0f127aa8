// The daemon harness: sandbox creation through tools/make-sandbox, the daemon child
// (posix_spawn; through setpriv --pdeathsig when present, so that a crashed test
// leaves no daemon behind), output capture in files, bounded waits and clean-up.
#include "support/daemon_harness.h"

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "client/client_login.h"
#include "client/client_socket.h"
#include "platform/dev_root.h"

extern char** environ;

namespace camrcd {

namespace {

constexpr char kSetpriv[] = "/usr/bin/setpriv";
constexpr uint16_t kPortWithoutFile = 9001;

std::string read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::vector<char*> pointers(std::vector<std::string>& strings) {
  std::vector<char*> result;
  for (std::string& s : strings)
    result.push_back(&s[0]);
  result.push_back(nullptr);
  return result;
}

// Spawns argv with stdin from /dev/null and stdout/stderr into the two files.
pid_t spawn(std::vector<std::string> argv, std::vector<std::string> env, const std::string& out,
            const std::string& err) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  std::vector<char*> args = pointers(argv);
  std::vector<char*> vars = pointers(env);
  pid_t pid = -1;
  int failed = posix_spawn(&pid, args[0], &actions, nullptr, args.data(), vars.data());
  posix_spawn_file_actions_destroy(&actions);
  return failed == 0 ? pid : -1;
}

std::vector<std::string> current_environment() {
  std::vector<std::string> env;
  for (char** entry = environ; *entry != nullptr; entry++)
    env.push_back(*entry);
  return env;
}

void set_variable(std::vector<std::string>* env, const std::string& name,
                  const std::string& value) {
  std::string prefix = name + "=";
  for (std::string& entry : *env) {
    if (entry.compare(0, prefix.size(), prefix) == 0) {
      entry = prefix + value;
      return;
    }
  }
  env->push_back(prefix + value);
}

}  // namespace

int64_t monotonic_ms() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

uint16_t free_tcp_port() {
  int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address;
  memset(&address, 0, sizeof(address));
  address.sin_family = AF_INET;
  socklen_t size = sizeof(address);
  uint16_t port = 0;
  if (bind(probe, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0 &&
      getsockname(probe, reinterpret_cast<sockaddr*>(&address), &size) == 0) {
    port = ntohs(address.sin_port);
  }
  close(probe);
  return port;
}

bool write_text_file(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << text;
  return static_cast<bool>(out);
}

DaemonHarness::DaemonHarness(const DaemonOptions& options) {
  ok_ = make_sandbox(options) && start(options);
}

DaemonHarness::~DaemonHarness() {
  stop();
  // A daemon built with a sanitizer reports on its standard error and goes on: any
  // such report fails the test that ran it.
  std::string reports = errors();
  for (const char* marker : {"Sanitizer", "runtime error:"}) {
    if (reports.find(marker) != std::string::npos)
      ADD_FAILURE() << "the daemon's standard error has a sanitizer report:\n" << reports;
  }
  if (!root_.empty() && getenv("CAMRCD_KEEP_SANDBOX") == nullptr) {
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
  }
}

bool DaemonHarness::make_sandbox(const DaemonOptions& options) {
  const char* temp = getenv("TMPDIR");
  std::string pattern = std::string(temp != nullptr && *temp ? temp : "/tmp") + "/camrcd-XXXXXX";
  if (mkdtemp(&pattern[0]) == nullptr) {
    error_ = "mkdtemp failed";
    return false;
  }
  root_ = pattern;
  port_ = options.port != 0 ? options.port : free_tcp_port();
  std::vector<std::string> argv = {"/bin/bash",
                                   CAMRCD_SOURCE_DIR "/tools/make-sandbox",
                                   root_,
                                   "--type",
                                   std::to_string(options.camera_type),
                                   "--port",
                                   std::to_string(port_),
                                   "--camstub",
                                   CAMRCD_BINARY_DIR "/camstub"};
  std::string log = root_ + "/make-sandbox.log";
  pid_t child = spawn(argv, current_environment(), log, log + ".err");
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status) ||
      WEXITSTATUS(status) != 0) {
    error_ = "make-sandbox failed: " + read_file(log + ".err");
    return false;
  }
  if (!options.port_file) {
    unlink(web_path("admin/stream_port_ch1.ls").c_str());
    port_ = kPortWithoutFile;
  }
  if (options.prepare)
    options.prepare(root_);
  return true;
}

bool DaemonHarness::start(const DaemonOptions& options) {
  std::vector<std::string> argv;
  if (access(kSetpriv, X_OK) == 0)
    argv = {kSetpriv, "--pdeathsig", "KILL", "--"};
  argv.push_back(CAMRCD_BINARY_DIR "/camrcd");
  argv.insert(argv.end(), options.arguments.begin(), options.arguments.end());
  std::vector<std::string> env = current_environment();
  const char* path = getenv("PATH");
  set_variable(&env, "CAMRCD_ROOT", root_);
  set_variable(&env, "PATH", root_ + "/bin:" + (path != nullptr ? path : "/usr/bin:/bin"));
  pid_ = spawn(argv, env, root_ + "/daemon.out", root_ + "/daemon.err");
  if (pid_ < 0) {
    error_ = "cannot start the daemon";
    return false;
  }
  if (!options.wait_for_listen)
    return true;
  int64_t deadline = monotonic_ms() + kDaemonStartMs;
  while (monotonic_ms() < deadline) {
    if (output().find("Control listen() started") != std::string::npos)
      return true;
    int status = 0;
    if (waitpid(pid_, &status, WNOHANG) == pid_) {
      pid_ = -1;
      error_ = "the daemon ended at start-up: " + output() + errors();
      return false;
    }
    usleep(5000);
  }
  error_ = "no listener line within the start-up time: " + output();
  return false;
}

std::string DaemonHarness::web_path(const std::string& relative) const {
  return root_ + kWebRoot + "/" + relative;
}

std::string DaemonHarness::output() const {
  return read_file(root_ + "/daemon.out");
}

std::string DaemonHarness::errors() const {
  return read_file(root_ + "/daemon.err");
}

size_t DaemonHarness::count_in_output(const std::string& text) const {
  std::string all = output();
  size_t count = 0;
  for (size_t at = all.find(text); at != std::string::npos; at = all.find(text, at + text.size())) {
    count++;
  }
  return count;
}

size_t DaemonHarness::wait_for_output(const std::string& text, int timeout_ms, size_t from) const {
  int64_t deadline = monotonic_ms() + timeout_ms;
  for (;;) {
    std::string all = output();
    size_t at = all.size() > from ? all.find(text, from) : std::string::npos;
    if (at != std::string::npos)
      return at + text.size();
    if (monotonic_ms() >= deadline)
      return std::string::npos;
    usleep(5000);
  }
}

bool DaemonHarness::wait_for_count(const std::string& text, size_t count, int timeout_ms) const {
  int64_t deadline = monotonic_ms() + timeout_ms;
  while (count_in_output(text) < count) {
    if (monotonic_ms() >= deadline)
      return false;
    usleep(5000);
  }
  return true;
}

bool DaemonHarness::wait_for_exit(int timeout_ms, int* status) {
  if (pid_ < 0)
    return false;
  int64_t deadline = monotonic_ms() + timeout_ms;
  for (;;) {
    if (waitpid(pid_, status, WNOHANG) == pid_) {
      pid_ = -1;
      return true;
    }
    if (monotonic_ms() >= deadline)
      return false;
    usleep(5000);
  }
}

int DaemonHarness::open_descriptor_count() const {
  if (pid_ < 0)
    return -1;
  std::string path = "/proc/" + std::to_string(pid_) + "/fd";
  DIR* directory = opendir(path.c_str());
  if (directory == nullptr)
    return -1;
  int count = 0;
  while (dirent* entry = readdir(directory)) {
    if (entry->d_name[0] != '.')
      count++;
  }
  closedir(directory);
  return count;
}

int DaemonHarness::connect_client() const {
  return client_open("127.0.0.1", port_);
}

int DaemonHarness::login_client(const char* user, const char* password) const {
  int socket_fd = connect_client();
  if (socket_fd < 0)
    return -1;
  if (client_login(socket_fd, user, password).outcome != kLoginLoggedIn) {
    close(socket_fd);
    return -1;
  }
  return socket_fd;
}

void DaemonHarness::stop() {
  if (pid_ < 0)
    return;
  kill(pid_, SIGKILL);
  waitpid(pid_, nullptr, 0);
  pid_ = -1;
}

}  // namespace camrcd
