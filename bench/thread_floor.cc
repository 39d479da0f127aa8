// The floor of the memory figures: a minimal C++ process with THREADS threads in all
// (the main thread included), each blocked, until it is killed. Its resident memory
// is read from /proc by scripts/bench.
//
//   thread_floor THREADS
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <thread>
#include <vector>

int main(int argc, char** argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: thread_floor THREADS\n");
    return 2;
  }
  std::vector<std::thread> threads;
  for (int i = 1; i < atoi(argv[1]); ++i)
    threads.emplace_back([] { pause(); });
  puts("ready");
  fflush(stdout);
  pause();
}
