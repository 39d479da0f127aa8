// The shared fuzz support and LLVMFuzzerInitialize. Standard output goes to /dev/null
// (the daemon prints progress lines at every step) and SIGPIPE is ignored, as the
// connection threads ignore it. The sandbox camera is made by tools/make-sandbox,
// read into memory once and put back file by file before each input that uses it.
#include "support/fuzz_support.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "platform/dev_root.h"

extern char** environ;

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace camrcd {
namespace {

std::string seed_directory;

// Configuration files as made, by their absolute path.
std::map<std::string, std::string> made_files;

std::string read_whole(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

void write_whole(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

std::string full_path(const std::string& path) {
  return camera_root() + (path[0] == '/' ? path : std::string(kWebRoot) + "/" + path);
}

// Runs make-sandbox into root (the programs are copies of /bin/true, never started)
// and keeps every file that is not a program.
void make_camera(const std::string& root) {
  const char* argv[] = {"/bin/bash",  CAMRCD_SOURCE_DIR "/tools/make-sandbox",
                        root.c_str(), "--type",
                        "2",          "--camstub",
                        "/bin/true",  nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  pid_t child;
  int status = -1;
  bool made =
      posix_spawn(&child, argv[0], &actions, nullptr, const_cast<char**>(argv), environ) == 0 &&
      waitpid(child, &status, 0) == child && status == 0;
  posix_spawn_file_actions_destroy(&actions);
  fuzz_check(made, "tools/make-sandbox failed");
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    bool program = (entry.status().permissions() & std::filesystem::perms::owner_exec) !=
                   std::filesystem::perms::none;
    if (entry.is_regular_file() && !program)
      made_files[entry.path()] = read_whole(entry.path());
  }
}

// Removes the files of `folder` that the camera was not made with.
void remove_files_made_since(const std::string& folder) {
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    if (entry.is_regular_file() && made_files.count(entry.path()) == 0)
      std::filesystem::remove(entry.path(), error);
  }
}

void remove_camera() {
  std::error_code ignored;
  std::filesystem::remove_all(camera_root(), ignored);
}

}  // namespace

void write_seed(const std::string& name, const std::string& bytes) {
  write_whole(seed_directory + "/" + name, bytes);
}

const std::string& camera_root() {
  static std::string root;
  if (root.empty()) {
    // In memory where there is a tmpfs: every input rewrites the camera's files, and
    // a disk file system may write each rewritten file out at once.
    std::string pattern = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    pattern += "/camrcd-fuzz-XXXXXX";
    fuzz_check(mkdtemp(&pattern[0]) != nullptr, "no temporary directory");
    root = pattern;
    make_camera(root);
    fuzz_check(dev_root_init(root.c_str()), "development root too long");
    atexit(remove_camera);
  }
  return root;
}

void restore_camera_files() {
  for (const auto& file : made_files)
    write_whole(file.first, file.second);
  // What requests create (motion area block maps, the sectioned files' copies in /tmp):
  // no input may see what an earlier one left.
  remove_files_made_since(camera_root() + kWebRoot + "/kelda2/md");
  remove_files_made_since(camera_root() + "/tmp");
}

std::string camera_file(const std::string& path) {
  auto found = made_files.find(full_path(path));
  fuzz_check(found != made_files.end(), "no such camera file");
  return found->second;
}

void put_camera_file(const std::string& path, const std::string& text) {
  write_whole(full_path(path), text);
}

int socket_fed_with(const uint8_t* bytes, size_t size) {
  int pair[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0)
    return -1;
  fcntl(pair[1], F_SETFL, O_NONBLOCK);  // what does not fit the buffer is dropped
  if (size > 0)
    send(pair[1], bytes, size, MSG_NOSIGNAL);
  close(pair[1]);
  return pair[0];
}

void fuzz_check(bool holds, const char* what) {
  if (holds)
    return;
  fprintf(stderr, "fuzz invariant broken: %s\n", what);
  abort();
}

bool text_terminated(const char* field, size_t size) {
  return memchr(field, '\0', size) != nullptr;
}

}  // namespace camrcd

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  signal(SIGPIPE, SIG_IGN);
  int null = open("/dev/null", O_WRONLY);
  dup2(null, STDOUT_FILENO);
  close(null);
  camrcd::fuzz_setup();
  if (const char* seeds = getenv("CAMRCD_FUZZ_SEEDS")) {
    camrcd::seed_directory = seeds;
    std::filesystem::create_directories(seeds);
    camrcd::fuzz_seeds();
    exit(0);
  }
  return 0;
}
