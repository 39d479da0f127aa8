// Cost of one command line: run_command_line(LINE) against a bare posix_spawn of
// "/bin/sh -c LINE" with waitpid, and against system(LINE), interleaved in one run.
// LINE is "true" unless given. Prints the mean microseconds of each, the ratio runner /
// bare spawn, and the line "runner_us RUNNER SPAWN" that scripts/bench reads.
//
//   command_runner_bench [LINE]
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <chrono>

#include "platform/command_runner.h"
#include "platform/console.h"

extern char** environ;

namespace {

constexpr int kRuns = 300;
constexpr int kWarmUp = 20;

const char* command_line = "true";

void bare_spawn() {
  char shell_name[] = "sh";
  char option[] = "-c";
  char* argv[] = {shell_name, option, const_cast<char*>(command_line), nullptr};
  pid_t pid;
  if (posix_spawn(&pid, "/bin/sh", nullptr, nullptr, argv, environ) != 0)
    return;
  int status;
  waitpid(pid, &status, 0);
}

void runner() {
  camrcd::run_command_line(command_line);
}

void libc_system() {
  int status = system(command_line);
  (void)status;
}

double elapsed_microseconds(void (*call)()) {
  auto start = std::chrono::steady_clock::now();
  call();
  auto stop = std::chrono::steady_clock::now();
  return std::chrono::duration<double, std::micro>(stop - start).count();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1)
    command_line = argv[1];
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
  camrcd::console_print("%d runs each of \"sh -c %s\"\n", kRuns, command_line);
  for (const Contender& c : contenders) {
    camrcd::console_print("%-18s %9.1f us mean\n", c.name, c.total / kRuns);
  }
  camrcd::console_print("runner / bare spawn  %.3f\n", contenders[0].total / contenders[1].total);
  camrcd::console_print("system / bare spawn  %.3f\n", contenders[2].total / contenders[1].total);
  camrcd::console_print("runner_us %.1f %.1f\n", contenders[0].total / kRuns,
                        contenders[1].total / kRuns);
  return 0;
}
