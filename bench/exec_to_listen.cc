// Start-up time of programs measured side by side: in each of ROUNDS rounds, starts
// every program in turn RUNS times, each time measuring from the spawn to the first
// connection that 127.0.0.1 at its PORT accepts (tried every 50 us), then ends it with
// SIGTERM and waits for it (what they print goes to /dev/null). Alternating the
// programs round by round lets drift, load and leftover sockets hit each alike. Prints
// each program's median over all its runs and the line "start MEDIAN_US..." (one
// figure per program, in order) that scripts/bench reads.
//
//   exec_to_listen ROUNDS RUNS PORT PROGRAM [ARGUMENT...] [-- PORT PROGRAM [ARGUMENT...]]...
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

struct Program {
  uint16_t port;
  char** argv;  // ends with nullptr
  std::vector<double> times;
};

bool accepts(uint16_t port) {
  int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  bool connected = connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  close(socket);
  return connected;
}

// One start: the microseconds from the spawn to listening, or -1.
double start_once(const Program& program) {
  Clock::time_point start = Clock::now();
  posix_spawn_file_actions_t quiet;
  posix_spawn_file_actions_init(&quiet);
  posix_spawn_file_actions_addopen(&quiet, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t pid;
  int failed = posix_spawn(&pid, program.argv[0], &quiet, nullptr, program.argv, environ);
  posix_spawn_file_actions_destroy(&quiet);
  if (failed != 0)
    return -1;
  bool up = false;
  while (!(up = accepts(program.port)) && Clock::now() - start < std::chrono::seconds(10))
    usleep(50);
  double elapsed = std::chrono::duration<double, std::micro>(Clock::now() - start).count();
  kill(pid, SIGTERM);
  int status;
  waitpid(pid, &status, 0);
  return up ? elapsed : -1;
}

// Splits "PORT PROGRAM [ARGUMENT...]" groups at each "--" (which become the ends).
std::vector<Program> parse_programs(int argc, char** argv) {
  std::vector<Program> programs;
  for (int i = 0; i + 1 < argc;) {
    programs.push_back({static_cast<uint16_t>(atoi(argv[i])), argv + i + 1, {}});
    int end = i + 1;
    while (end < argc && strcmp(argv[end], "--") != 0)
      end++;
    argv[end < argc ? end : argc] = nullptr;
    i = end + 1;
  }
  return programs;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 5) {
    fprintf(stderr,
            "usage: exec_to_listen ROUNDS RUNS PORT PROGRAM [ARGUMENT...] "
            "[-- PORT PROGRAM [ARGUMENT...]]...\n");
    return 2;
  }
  int rounds = atoi(argv[1]);
  int runs = atoi(argv[2]);
  std::vector<Program> programs = parse_programs(argc - 3, argv + 3);
  for (int round = 0; round < rounds; ++round) {
    for (Program& program : programs) {
      for (int run = 0; run < runs; ++run) {
        double elapsed = start_once(program);
        if (elapsed >= 0)
          program.times.push_back(elapsed);
      }
    }
  }
  std::string line = "start";
  for (Program& program : programs) {
    if (program.times.empty()) {
      fprintf(stderr, "exec_to_listen: %s never listened on %u\n", program.argv[0], program.port);
      return 1;
    }
    std::sort(program.times.begin(), program.times.end());
    double median = program.times[program.times.size() / 2];
    printf("%s: exec to listening, median of %zu: %.0f us\n", program.argv[0], program.times.size(),
           median);
    line += " " + std::to_string(median);
  }
  printf("%s\n", line.c_str());
  return 0;
}
