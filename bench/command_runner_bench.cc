// Cost of one command line: run_command_line("true") against a bare posix_spawn of
// "/bin/sh -c true" with waitpid, and against system("true"), interleaved in one run.
// Prints the mean microseconds of each and the ratio runner / bare spawn.
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <chrono>

#include "actions/command_runner.h"
#include "platform/console.h"

extern char** environ;

namespace {

constexpr int kRuns = 300;
constexpr int kWarmUp = 20;

void bare_spawn() {
  char shell_name[] = "sh";
  char option[] = "-c";
  char line[] = "true";
  char* argv[] = {shell_name, option, line, nullptr};
  pid_t pid;
  if (posix_spawn(&pid, "/bin/sh", nullptr, nullptr, argv, environ) != 0)
    return;
  int status;
  waitpid(pid, &status, 0);
}

void runner() {
  camrcd::run_command_line("true");
}

void libc_system() {
  int status = system("true");
  (void)status;
}

double elapsed_microseconds(void (*call)()) {
  auto start = std::chrono::steady_clock::now();
  call();
  auto stop = std::chrono::steady_clock::now();
  return std::chrono::duration<double, std::micro>(stop - start).count();
}

}  // namespace

int main() {
  struct Contender {
    const char* name;
    void (*call)();
    double total;
  } contenders[] = {
      {"run_command_line", runner, 0},
      {"bare posix_spawn", bare_spawn, 0},
      {"system()", libc_system, 0},
  };
  for (int i = 0; i < kWarmUp; ++i) {
    for (Contender& c : contenders)
      c.call();
  }
  // Interleaved rounds, so that drift in machine load hits every contender alike.
  for (int i = 0; i < kRuns; ++i) {
    for (Contender& c : contenders)
      c.total += elapsed_microseconds(c.call);
  }
  camrcd::console_print("%d runs each of \"sh -c true\"\n", kRuns);
  for (const Contender& c : contenders) {
    camrcd::console_print("%-18s %9.1f us mean\n", c.name, c.total / kRuns);
  }
  camrcd::console_print("runner / bare spawn  %.3f\n", contenders[0].total / contenders[1].total);
  camrcd::console_print("system / bare spawn  %.3f\n", contenders[2].total / contenders[1].total);
  return 0;
}
