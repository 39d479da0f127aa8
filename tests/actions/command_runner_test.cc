// The command runner: what the server changed for itself (ignored SIGPIPE, blocked
// signals) is reset in the child, and an interrupted wait is resumed.
#include "actions/command_runner.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/time.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace camrcd {
namespace {

std::string temporary_file(const char* name) {
  return (std::filesystem::temp_directory_path() /
          (std::string(name) + "." + std::to_string(getpid())))
      .string();
}

std::string file_text(const std::string& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// Reads a hexadecimal signal set ("SigIgn:\t0000000000001000") from a status dump.
unsigned long long signal_set(const std::string& status, const std::string& key) {
  size_t at = status.find(key + ":");
  if (at == std::string::npos)
    return ~0ull;
  return strtoull(status.c_str() + at + key.size() + 1, nullptr, 16);
}

void on_alarm(int) {}

TEST(CommandRunner, ChildStartsWithDefaultSignalsAndEmptyMask) {
  struct sigaction previous_pipe;
  struct sigaction ignore = {};
  ignore.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &ignore, &previous_pipe);
  sigset_t blocked, previous_mask;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGUSR1);
  pthread_sigmask(SIG_BLOCK, &blocked, &previous_mask);

  std::string path = temporary_file("camrcd-runner-status");
  run_command_line(("grep -E '^Sig(Ign|Blk)' /proc/self/status > '" + path + "'").c_str());

  pthread_sigmask(SIG_SETMASK, &previous_mask, nullptr);
  sigaction(SIGPIPE, &previous_pipe, nullptr);
  std::string status = file_text(path);
  unlink(path.c_str());
  EXPECT_EQ(signal_set(status, "SigIgn") & (1ull << (SIGPIPE - 1)), 0u) << status;
  EXPECT_EQ(signal_set(status, "SigBlk"), 0u) << status;
}

TEST(CommandRunner, WaitResumesAfterAnInterruptingSignal) {
  struct sigaction handler = {}, previous;
  handler.sa_handler = on_alarm;  // no SA_RESTART, as in the server
  sigaction(SIGALRM, &handler, &previous);
  itimerval timer = {};
  timer.it_value.tv_usec = 20000;
  setitimer(ITIMER_REAL, &timer, nullptr);

  std::string path = temporary_file("camrcd-runner-wait");
  run_command_line(("sleep 0.2; echo done > '" + path + "'").c_str());

  sigaction(SIGALRM, &previous, nullptr);
  EXPECT_EQ(file_text(path), "done\n");
  unlink(path.c_str());
}

}  // namespace
}  // namespace camrcd
