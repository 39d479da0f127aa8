// The daemon harness: the sandbox, the daemon child (posix_spawn; through setpriv
// --pdeathsig when present, so a crashed test leaves no daemon behind), output files,
// bounded waits, clean-up, the shared client moves and the stub log reader (it undoes
// the stub's quoting: \\ \" \n \t \r \xNN).
#include "support/daemon_harness.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "client/client_login.h"
#include "client/client_socket.h"
#include "platform/dev_root.h"
#include "protocol/wire_text.h"

extern char** environ;

namespace camrcd {

std::string read_file(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

std::vector<std::string> split(const std::string& text, const std::string& separator) {
  std::vector<std::string> parts;
  for (size_t at = 0, end; at <= text.size(); at = end + separator.size()) {
    end = std::min(text.find(separator, at), text.size());
    parts.push_back(text.substr(at, end - at));
  }
  return parts;
}

std::string to_hex(const uint8_t* bytes, size_t size) {
  std::string digits;
  for (size_t i = 0; i < size; ++i)
    digits += {"0123456789abcdef"[bytes[i] >> 4], "0123456789abcdef"[bytes[i] & 15]};
  return digits;
}

std::vector<uint8_t> from_hex(const std::string& digits) {
  std::vector<uint8_t> bytes;
  for (size_t i = 0; i + 1 < digits.size(); i += 2)
    bytes.push_back(static_cast<uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
  return bytes;
}

std::string read_block(std::istream& in, int* number, std::vector<std::string>* lines) {
  std::string block;
  for (std::string line; (in.peek() == '|' || in.peek() == '~') && std::getline(in, line);) {
    ++*number;
    block += line.substr(1) + (line[0] == '|' ? "\n" : "");
    if (lines != nullptr)
      lines->push_back(line.substr(1));
  }
  return block;
}

std::string expand_escapes(std::string text, const std::string& root) {
  for (size_t x = text.find("\\x"); x != std::string::npos; x = text.find("\\x", x + 1))
    text.replace(x, 4, 1, static_cast<char>(std::stoi(text.substr(x + 2, 2), nullptr, 16)));
  for (size_t at = text.find("{root}"); at != std::string::npos; at = text.find("{root}", at))
    text.replace(at, 6, root);
  return text;
}

std::string make_dev_root(const std::vector<std::string>& folders) {
  char pattern[] = "/tmp/camrcd-root-XXXXXX";
  if (mkdtemp(pattern) == nullptr)
    return "";
  std::error_code error;
  for (const std::string& folder : folders)
    std::filesystem::create_directories(pattern + folder, error);
  return !error && dev_root_init(pattern) ? pattern : "";
}

void remove_dev_root(const std::string& root) {
  dev_root_init("");
  std::error_code ignored;
  if (!root.empty())
    std::filesystem::remove_all(root, ignored);
}

namespace {

std::vector<std::string> read_lines(const std::string& path) {
  std::vector<std::string> lines = split(read_file(path), "\n");
  lines.pop_back();  // what follows the last newline
  return lines;
}

// The program, then per argument a blank and the argument in double quotes.
bool parse_stub_call(const std::string& line, StubCall* call) {
  size_t at = line.find(' ');
  *call = StubCall{line.substr(0, at), {}};
  for (; at < line.size(); ++at) {  // at: the blank before an argument, then its end quote
    if (line.compare(at, 2, " \"") != 0)
      return false;
    std::string argument;
    for (at += 2; at < line.size() && line[at] != '"'; ++at) {
      char c = line[at];
      if (c == '\\' && ++at < line.size()) {
        size_t letter = std::string("ntrx").find(line[at]);
        c = letter == 3 ? static_cast<char>(std::stoi(line.substr(at + 1, 2), nullptr, 16))
            : letter != std::string::npos ? "\n\t\r"[letter]
                                          : line[at];
        at += letter == 3 ? 2 : 0;
      }
      argument.push_back(c);
    }
    if (at >= line.size())
      return false;
    call->args.push_back(argument);
  }
  return !call->program.empty();
}

// Word size, byte order and machine of an ELF file ("" when it is none).
std::string elf_machine(const std::string& path) {
  std::string head(20, '\0');
  if (!std::ifstream(path, std::ios::binary).read(&head[0], 20) || head.compare(0, 4, "\177ELF"))
    return "";
  return head.substr(4, 2) + head.substr(18, 2);
}

}  // namespace

// Spawns argv with stdin from /dev/null, stdout and stderr into the two files and no
// other descriptor: the daemon starts as on a camera, and none of the test runner's
// descriptors may reach it (or the camera programs it starts).
pid_t spawn_process(std::vector<std::string> argv, const std::string& out, const std::string& err) {
  std::vector<char*> args;
  for (std::string& s : argv)
    args.push_back(&s[0]);
  args.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  posix_spawn_file_actions_addclosefrom_np(&actions, 3);
  pid_t pid = -1;
  int failed = posix_spawn(&pid, args[0], &actions, nullptr, args.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  return failed == 0 ? pid : -1;
}

int run_process(const std::vector<std::string>& argv, const std::string& out,
                const std::string& err) {
  int status = -1;
  pid_t child = spawn_process(argv, out, err);
  return child >= 0 && waitpid(child, &status, 0) == child && WIFEXITED(status)
             ? WEXITSTATUS(status)
             : -1;
}

CamrcRun run_camrc(uint16_t port, const std::vector<std::string>& args,
                   const std::vector<std::string>& login) {
  std::vector<std::string> all = target_command(CAMRCD_BINARY_DIR "/camrc");
  if (all.empty())
    return {-1, "", "camrc is not built for the machine these tests run on"};
  all.insert(all.begin(), "/usr/bin/env");  // finds an emulator named without a path
  all.insert(all.end(), {"--port", std::to_string(port)});
  if (!login.empty())
    all.insert(all.end(), {"--user", login[0], "--password", login[1]});
  all.insert(all.end(), args.begin(), args.end());
  std::string base = "/tmp/camrc-run-" + std::to_string(getpid());
  CamrcRun run{run_process(all, base + ".out", base + ".err"), read_file(base + ".out"),
               read_file(base + ".err")};
  unlink((base + ".out").c_str());
  unlink((base + ".err").c_str());
  return run;
}

std::vector<std::string> target_command(const std::string& program) {
  static const std::string own = elf_machine("/proc/self/exe");
  if (own.empty() || elf_machine(program) != own)
    return {};
  std::vector<std::string> words = split(CAMRCD_EMULATOR, " ");
  words.erase(std::remove(words.begin(), words.end(), ""), words.end());
  words.push_back(program);
  return words;
}

int64_t monotonic_ms() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

bool wait_until(int timeout_ms, const std::function<bool()>& done) {
  for (int64_t deadline = monotonic_ms() + timeout_ms; !done(); usleep(5000)) {
    if (monotonic_ms() >= deadline)
      return false;
  }
  return true;
}

int listening_socket(uint16_t* port) {
  int socket_fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = {AF_INET, htons(*port), {}, {}};
  socklen_t size = sizeof(address);
  if (bind(socket_fd, reinterpret_cast<sockaddr*>(&address), size) == 0 &&
      listen(socket_fd, 1) == 0 &&
      getsockname(socket_fd, reinterpret_cast<sockaddr*>(&address), &size) == 0) {
    *port = ntohs(address.sin_port);
    return socket_fd;
  }
  close(socket_fd);
  return -1;
}

int bind_notice_port() {
  int socket_fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = {AF_INET, htons(1630), {htonl(INADDR_LOOPBACK)}, {}};
  if (bind(socket_fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0)
    return socket_fd;
  close(socket_fd);
  return -1;
}

uint16_t free_tcp_port() {
  uint16_t port = 0;
  close(listening_socket(&port));
  return port;
}

bool write_text_file(const std::string& path, const std::string& text) {
  return static_cast<bool>(std::ofstream(path, std::ios::binary | std::ios::trunc) << text);
}

DaemonHarness::DaemonHarness(const DaemonOptions& options) {
  // A port found free may be taken (by any outgoing connection on the machine) before
  // the daemon binds it, the likelier the slower the daemon starts (under an emulator):
  // a port the harness chose is then chosen again, with a fresh sandbox.
  for (int attempt = 0; attempt < 3; ++attempt) {
    ok_ = launch(options);
    bool chosen_here = options.port == 0 && options.port_file;
    if (ok_ || !chosen_here || output().find("Bind A fail") == std::string::npos)
      break;
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
  }
}

DaemonHarness::~DaemonHarness() {
  stop();
  // A daemon built with a sanitizer reports on its standard error and goes on: any
  // such report fails the test that ran it.
  std::string reports = read_file(root_ + "/daemon.err");
  if (reports.find("Sanitizer") != std::string::npos ||
      reports.find("runtime error:") != std::string::npos)
    ADD_FAILURE() << "the daemon's standard error has a sanitizer report:\n" << reports;
  std::error_code ignored;
  if (!root_.empty() && getenv("CAMRCD_KEEP_SANDBOX") == nullptr)
    std::filesystem::remove_all(root_, ignored);
}

bool DaemonHarness::launch(const DaemonOptions& options) {
  char pattern[] = "/tmp/camrcd-XXXXXX";
  if (mkdtemp(pattern) == nullptr)
    return false;
  root_ = pattern;
  port_ = options.port != 0 ? options.port : free_tcp_port();
  std::string log = root_ + "/make-sandbox.log", stub = root_ + "/camstub";
  std::vector<std::string> daemon = target_command(CAMRCD_BINARY_DIR "/" + options.program);
  if (daemon.empty() || !install_stub(stub)) {
    error_ = "camrcd or camstub is not built for the machine these tests run on";
    return false;
  }
  if (run_process(
          {"/bin/bash", CAMRCD_SOURCE_DIR "/tools/make-sandbox", root_, "--type",
           std::to_string(options.camera_type), "--port", std::to_string(port_), "--camstub", stub},
          log, log + ".err") != 0) {
    error_ = "make-sandbox failed: " + read_file(log + ".err");
    return false;
  }
  if (!options.port_file) {
    unlink(web_path("admin/stream_port_ch1.ls").c_str());
    port_ = 9001;
  }
  if (options.prepare)
    options.prepare(root_);
  std::vector<std::string> argv;
  if (access("/usr/bin/setpriv", X_OK) == 0)
    argv = {"/usr/bin/setpriv", "--pdeathsig", "KILL", "--"};
  if (options.open_file_limit > 0)
    argv.insert(argv.end(),
                {"/bin/sh", "-c",
                 "ulimit -n " + std::to_string(options.open_file_limit) + " && exec \"$@\"", "sh"});
  const char* path = getenv("PATH");  // env(1) sets the variables and runs the daemon
  argv.insert(argv.end(), {"/usr/bin/env", "CAMRCD_ROOT=" + root_,
                           "PATH=" + root_ + "/bin:" + (path != nullptr ? path : "/usr/bin:/bin")});
  argv.insert(argv.end(), daemon.begin(), daemon.end());
  argv.insert(argv.end(), options.arguments.begin(), options.arguments.end());
  pid_ = spawn_process(argv, output_path(), root_ + "/daemon.err");
  bool ended = pid_ < 0, listening = !options.wait_for_listen;
  if (!ended && !listening)
    listening = wait_until(kDaemonStartMs, [&] {
      return output().find("Control listen() started") != std::string::npos ||
             (ended = waitpid(pid_, nullptr, WNOHANG) == pid_);
    });
  if (listening && !ended)
    return true;
  pid_ = ended ? -1 : pid_;
  error_ = (ended ? "the daemon ended at start-up: " : "no listener line in time: ") + output() +
           read_file(root_ + "/daemon.err");
  return false;
}

std::string DaemonHarness::output() const {
  return read_file(output_path());
}

size_t DaemonHarness::count_in_output(const std::string& text) const {
  return split(output(), text).size() - 1;
}

bool DaemonHarness::wait_for_exit(int timeout_ms, int* status) {
  if (pid_ < 0 || !wait_until(timeout_ms, [&] { return waitpid(pid_, status, WNOHANG) == pid_; }))
    return false;
  pid_ = -1;
  return true;
}

int DaemonHarness::login_client(const char* user, const char* password) const {
  int socket_fd = connect_client();
  if (socket_fd >= 0 && client_login(socket_fd, user, password).outcome != kLoginLoggedIn) {
    close(socket_fd);
    return -1;
  }
  return socket_fd;
}

void DaemonHarness::stop() {
  if (pid_ > 0) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  pid_ = -1;
}

bool info_served(int socket) {
  Reply reply;
  return request_info(socket, &reply) > static_cast<int32_t>(kReplyHeaderSize) &&
         reply.bytes[kReplySub] == message(MessageId::kInfoReply).sub && reply_trailer_ok(reply);
}

bool is_close_reply(const Reply& reply) {
  static const uint8_t kCloseHead[8] = {0, 0, 0, 0, 0x77, 0x33, 0x10, 0xF1};
  return reply.length == kReplyHeaderSize && memcmp(reply.bytes, kCloseHead, 8) == 0;
}

bool close_served(int socket) {
  Reply reply;
  return send_request(socket, make_request(MessageId::kCloseRequest)) == 0 &&
         read_reply(socket, &reply) == static_cast<int32_t>(kReplyHeaderSize) &&
         is_close_reply(reply) && client_wait_closed(socket, kDaemonWaitMs);
}

ByteRuns byte_runs(const char* text) {
  ByteRuns runs;
  for (const char* at = text + strspn(text, " "); *at != '\0';) {
    char* end;
    runs.push_back({strtoul(at, &end, 0), {}});
    std::vector<uint8_t>& values = runs.back().second;
    for (at = end; *at == '=' || *at == ',';) {
      if (at[1] == '\'') {
        const char* close = strchr(at + 2, '\'');
        values.insert(values.end(), at + 2, close);
        at = close + 1;
      } else {
        values.push_back(static_cast<uint8_t>(strtoul(at + 1, &end, 0)));
        at = end;
      }
    }
    at += strspn(at, " ");
  }
  return runs;
}

void expect_runs(const Reply& reply, const ByteRuns& runs, const std::string& label) {
  for (const auto& run : runs) {
    const uint8_t* from = reply.bytes + run.first;
    EXPECT_EQ(run.second, std::vector<uint8_t>(from, from + run.second.size()))
        << label << ": bytes from " << run.first;
  }
}

int32_t send_named(int socket, const std::string& request, const std::vector<uint8_t>& payload) {
  size_t space = std::min(request.find(' '), request.size());
  const MessageTable* table = find_request_named(request.substr(0, space).c_str());
  if (table == nullptr)
    return -1;
  RequestHeader header = make_request(table->id);
  for (const auto& run : byte_runs(request.c_str() + space)) {
    for (size_t i = 0; i < run.second.size(); i++)
      request_set_byte(&header, run.first + i, run.second[i]);
  }
  return send_request(socket, header, payload.data(), payload.size());
}

int32_t request_info(int socket, Reply* reply) {
  return send_named(socket, "info") == 0 ? read_reply(socket, reply) : -1;
}

bool send_in_pieces(int socket, const uint8_t* data, size_t length,
                    const std::vector<size_t>& pieces, int pause_ms) {
  size_t at = 0;
  for (size_t piece : pieces) {
    if (piece > length - at || client_send(socket, data + at, piece) != 0)
      return false;
    at += piece;
    usleep(pause_ms * 1000);
  }
  return at == length || client_send(socket, data + at, length - at) == 0;
}

bool wait_for_ended(const DaemonHarness& daemon, size_t count, int timeout_ms) {
  return wait_until(timeout_ms, [&] {
    return daemon.count_in_output("Failed to Authentication. Close") +
               daemon.count_in_output("==Finish User Count =") >=
           count;
  });
}

bool install_stub(const std::string& path) {
  std::vector<std::string> stub = target_command(CAMRCD_BINARY_DIR "/camstub");
  std::error_code error;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
  bool made = false;
  if (stub.size() > 1) {  // the emulator's words, -0 with the name called by, camstub
    std::string launcher = "#!/bin/sh\nexec";
    stub.insert(stub.end() - 1, {"-0", "\"$0\""});
    for (const std::string& word : stub)
      launcher += " " + word;
    made = write_text_file(path, launcher + " \"$@\"\n");
  } else if (!stub.empty()) {
    made = std::filesystem::copy_file(stub[0], path,
                                      std::filesystem::copy_options::overwrite_existing, error);
  }
  return made && chmod(path.c_str(), 0755) == 0;
}

std::vector<StubCall> read_stub_calls(const std::string& root) {
  std::vector<StubCall> calls;
  for (const std::string& line : read_lines(root + "/stub.log")) {
    calls.emplace_back();
    if (!parse_stub_call(line, &calls.back()))
      calls.back() = StubCall{"<malformed> " + line, {}};
  }
  return calls;
}

std::vector<StubCall> wait_for_stub_calls(const std::string& root, size_t count, int timeout_ms) {
  std::vector<StubCall> calls;
  wait_until(timeout_ms, [&] { return (calls = read_stub_calls(root)).size() >= count; });
  return calls;
}

std::string stub_calls_text(const std::string& root, const std::string& expected, int timeout_ms) {
  size_t count = expected.empty() ? 0 : 1 + std::count(expected.begin(), expected.end(), ';');
  std::string text;
  for (const StubCall& call : wait_for_stub_calls(root, count, timeout_ms)) {
    text += text.empty() ? call.program : "; " + call.program;
    for (const std::string& arg : call.args)
      text += " " + arg;
  }
  return text;
}

void clear_stub_logs(const std::string& root) {
  unlink((root + "/stub.log").c_str());
  unlink((root + "/stub-fds.log").c_str());
}

}  // namespace camrcd
