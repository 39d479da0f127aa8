// Runs one command line through "/bin/sh -c" with posix_spawn (a vfork-style clone in
// glibc) and waits for it. The child gets the server's environment, default SIGPIPE
// and SIGALRM dispositions and an empty signal mask; descriptors are close-on-exec.
#include "platform/command_runner.h"

#include <errno.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

extern char** environ;

namespace camrcd {
namespace {

// Built once; posix_spawn only reads it, so threads may share it.
struct SpawnAttributes {
  posix_spawnattr_t attr;
  SpawnAttributes() {
    posix_spawnattr_init(&attr);
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    sigaddset(&defaults, SIGALRM);
    posix_spawnattr_setsigdefault(&attr, &defaults);
    sigset_t empty;
    sigemptyset(&empty);
    posix_spawnattr_setsigmask(&attr, &empty);
    posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
  }
};

// Made before main, so no thread ever sees it half built.
const SpawnAttributes spawn_attributes;

}  // namespace

void run_command_line(const char* line) {
  char shell_name[] = "sh";
  char option[] = "-c";
  char* argv[] = {shell_name, option, const_cast<char*>(line), nullptr};
  pid_t pid;
  if (posix_spawn(&pid, "/bin/sh", nullptr, &spawn_attributes.attr, argv, environ) != 0)
    return;
  int status;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
}

}  // namespace camrcd
