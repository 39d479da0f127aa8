// Start-up time: starts PROGRAM (with its arguments) RUNS times, each time measuring
// from the spawn to the first connection that 127.0.0.1:PORT accepts (tried every
// 50 us), then ends it with SIGTERM and waits for it. Prints the median and the line
// "start MEDIAN_US" that scripts/bench reads.
//
//   exec_to_listen PORT RUNS PROGRAM [ARGUMENT...]
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <vector>

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

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

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) {
    fprintf(stderr, "usage: exec_to_listen PORT RUNS PROGRAM [ARGUMENT...]\n");
    return 2;
  }
  uint16_t port = static_cast<uint16_t>(atoi(argv[1]));
  int runs = atoi(argv[2]);
  std::vector<double> times;
  for (int run = 0; run < runs; ++run) {
    Clock::time_point start = Clock::now();
    pid_t pid;
    if (posix_spawn(&pid, argv[3], nullptr, nullptr, argv + 3, environ) != 0) {
      perror("exec_to_listen");
      return 1;
    }
    bool up = false;
    while (!(up = accepts(port)) && Clock::now() - start < std::chrono::seconds(10))
      usleep(50);
    if (up)
      times.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
    kill(pid, SIGTERM);
    int status;
    waitpid(pid, &status, 0);
  }
  if (times.empty()) {
    fprintf(stderr, "exec_to_listen: %s never listened on %u\n", argv[3], port);
    return 1;
  }
  std::sort(times.begin(), times.end());
  double median = times[times.size() / 2];
  printf("%s: exec to listening, median of %zu: %.0f us\n", argv[3], times.size(), median);
  printf("start %.1f\n", median);
  return 0;
}
