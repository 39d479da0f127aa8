// The floor of the start-up figure: runs one "sh -c" line (the daemon's "mkdir -p"),
// then listens on PORT and accepts, closing each connection, until it is killed. It
// uses the C library alone, so no C++ runtime is loaded at its start.
//
//   listener_floor PORT DIRECTORY
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include "floor_listener.h"

extern char** environ;

int main(int argc, char** argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: listener_floor PORT DIRECTORY\n");
    return 2;
  }
  char line[4096];
  snprintf(line, sizeof line, "mkdir -p %s", argv[2]);
  char shell_name[] = "sh";
  char option[] = "-c";
  char* arguments[] = {shell_name, option, line, nullptr};
  pid_t pid;
  int status;
  if (posix_spawn(&pid, "/bin/sh", nullptr, nullptr, arguments, environ) == 0)
    waitpid(pid, &status, 0);
  int listener = floor_listen(argv[1], "listener_floor");
  if (listener < 0)
    return 1;
  for (;;) {
    int socket = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (socket >= 0)
      close(socket);
  }
}
