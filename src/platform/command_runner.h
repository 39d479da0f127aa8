// The one command runner: every command line of the server runs through /bin/sh -c,
// started with posix_spawn and waited for; its exit status is ignored. A line ending
// in "&" returns once the shell has put the program in the background. Children
// inherit no descriptor of the server (all of them are close-on-exec).
#ifndef CAMRCD_PLATFORM_COMMAND_RUNNER_H_
#define CAMRCD_PLATFORM_COMMAND_RUNNER_H_

namespace camrcd {

void run_command_line(const char* line);

}  // namespace camrcd

#endif  // CAMRCD_PLATFORM_COMMAND_RUNNER_H_
