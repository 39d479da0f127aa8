// A stress program for a running daemon: W workers each open a connection, log in,
// send R device information requests and a close request, again and again for S
// seconds. Prints sessions and requests per second, latency percentiles of one
// request, the failures by kind, and the daemon's open descriptors before and after
// (when its pid is given). Loopback or a camera of one's own only.
//
//   session_stress [--host H] [--port P] [--user U] [--password W] [--workers N]
//                  [--requests R] [--seconds S] [--pid PID]
#include <dirent.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "client/client_login.h"
#include "client/client_request.h"
#include "client/client_socket.h"
#include "control/request_header.h"

namespace camrcd {
namespace {

using Clock = std::chrono::steady_clock;

struct Options {
  std::string host = "127.0.0.1";
  uint16_t port = 9001;
  std::string user = "demo";
  std::string password = "camera1";
  int workers = 4;
  int requests = 10;
  int seconds = 5;
  long pid = 0;
};

struct Totals {
  std::atomic<long> sessions{0};
  std::atomic<long> requests{0};
  std::atomic<long> connect_failures{0};
  std::atomic<long> login_failures{0};
  std::atomic<long> reply_failures{0};
  // Closed before its first reply: the five-user limit, when a worker reconnects
  // before the daemon has finished its previous connection's close sequence.
  std::atomic<long> closed_after_login{0};
  std::mutex latency_lock;
  std::vector<double> latencies_us;
};

int open_descriptors(long pid) {
  std::string path = "/proc/" + std::to_string(pid) + "/fd";
  DIR* directory = opendir(path.c_str());
  if (directory == nullptr)
    return -1;
  int count = 0;
  while (dirent* entry = readdir(directory))
    count += entry->d_name[0] != '.';
  closedir(directory);
  return count;
}

// One session; false when it failed (the kind is counted).
bool run_session(const Options& options, Totals* totals, std::vector<double>* latencies) {
  int socket = client_open(options.host.c_str(), options.port);
  if (socket < 0) {
    ++totals->connect_failures;
    return false;
  }
  LoginResult login = client_login(socket, options.user.c_str(), options.password.c_str());
  if (login.outcome != kLoginLoggedIn) {
    ++totals->login_failures;
    close(socket);
    return false;
  }
  thread_local Reply reply;  // 4.8 KB: not on the stack
  RequestHeader info = make_request(kClassInformation, kSubDeviceInfo);
  for (int i = 0; i < options.requests; ++i) {
    Clock::time_point start = Clock::now();
    if (send_request(socket, info) < 0 || read_reply(socket, &reply) < 0) {
      ++(i == 0 ? totals->closed_after_login : totals->reply_failures);
      close(socket);
      return false;
    }
    latencies->push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
    ++totals->requests;
  }
  send_request(socket, make_request(kClassInformation, kSubClose));
  read_reply(socket, &reply);
  close(socket);
  ++totals->sessions;
  return true;
}

void worker(const Options& options, Clock::time_point end, Totals* totals) {
  std::vector<double> latencies;
  while (Clock::now() < end)
    run_session(options, totals, &latencies);
  std::lock_guard<std::mutex> hold(totals->latency_lock);
  totals->latencies_us.insert(totals->latencies_us.end(), latencies.begin(), latencies.end());
}

double percentile(std::vector<double>* values, double fraction) {
  if (values->empty())
    return 0;
  size_t index = static_cast<size_t>(fraction * static_cast<double>(values->size() - 1));
  std::nth_element(values->begin(), values->begin() + static_cast<long>(index), values->end());
  return (*values)[index];
}

bool parse(int argc, char** argv, Options* options) {
  for (int i = 1; i + 1 < argc; i += 2) {
    std::string name = argv[i];
    const char* value = argv[i + 1];
    if (name == "--host")
      options->host = value;
    else if (name == "--port")
      options->port = static_cast<uint16_t>(atoi(value));
    else if (name == "--user")
      options->user = value;
    else if (name == "--password")
      options->password = value;
    else if (name == "--workers")
      options->workers = atoi(value);
    else if (name == "--requests")
      options->requests = atoi(value);
    else if (name == "--seconds")
      options->seconds = atoi(value);
    else if (name == "--pid")
      options->pid = atol(value);
    else
      return false;
  }
  return argc % 2 == 1 && options->workers > 0 && options->workers <= 5 && options->seconds > 0 &&
         options->seconds <= 600;
}

}  // namespace
}  // namespace camrcd

int main(int argc, char** argv) {
  using namespace camrcd;
  Options options;
  if (!parse(argc, argv, &options)) {
    fprintf(stderr,
            "usage: session_stress [--host H] [--port P] [--user U] [--password W] "
            "[--workers 1-5] [--requests R] [--seconds 1-600] [--pid PID]\n");
    return 2;
  }
  int descriptors_before = options.pid > 0 ? open_descriptors(options.pid) : -1;
  Totals totals;
  Clock::time_point end = Clock::now() + std::chrono::seconds(options.seconds);
  std::vector<std::thread> workers;
  for (int i = 0; i < options.workers; ++i)
    workers.emplace_back(worker, options, end, &totals);
  for (std::thread& t : workers)
    t.join();
  double seconds = options.seconds;
  printf("workers %d, %d requests a session, %d s\n", options.workers, options.requests,
         options.seconds);
  printf("sessions/s            %10.1f\n", static_cast<double>(totals.sessions) / seconds);
  printf("requests/s            %10.1f\n", static_cast<double>(totals.requests) / seconds);
  printf("request p50 / p99 us  %10.0f / %.0f\n", percentile(&totals.latencies_us, 0.50),
         percentile(&totals.latencies_us, 0.99));
  printf("failures: connect %ld, login %ld, closed after login %ld, reply %ld\n",
         totals.connect_failures.load(), totals.login_failures.load(),
         totals.closed_after_login.load(), totals.reply_failures.load());
  if (options.pid > 0) {
    usleep(200000);  // let the last connection threads finish their close sequence
    printf("daemon descriptors    %d before, %d after\n", descriptors_before,
           open_descriptors(options.pid));
  }
  return 0;
}
