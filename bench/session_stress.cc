// A stress program for a running daemon: W workers each open a connection, log in,
// send R requests and a close request, again and again for S seconds. Prints sessions
// and requests per second, latency percentiles of a login (connect to verdict) and of
// one request, the failures by kind, and the daemon's open descriptors before and
// after (when its pid is given); then the line "stress LOGIN_P50 LOGIN_P99 REQUEST_P50
// REQUEST_P99" (microseconds) that scripts/bench reads. Loopback or a camera of one's
// own only.
//
// --request names the request: "info" (the default), "reload:BITS" (a reload of the
// groups BITS), or any request camrc names; one that is not answered is followed by
// a reload of the video group (answered at once, where an info request waits 5 ms)
// and timed with it. --hold S keeps each session open S seconds after
// its login (for memory figures). --floor talks to bench/floor_server instead: the
// login's messages and the requests' sizes without their content or crypto.
//
//   session_stress [--host H] [--port P] [--user U] [--password W] [--workers N]
//                  [--requests R] [--seconds S] [--pid PID] [--request KIND]
//                  [--hold S] [--floor]
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
#include "protocol/login_message.h"
#include "protocol/wire_format.h"
#include "protocol/wire_text.h"

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
  std::string request = "info";
  int hold_seconds = 0;
  bool floor = false;
};

// What the floor server answers to every 32-byte request: the size of a reload reply.
constexpr size_t kFloorReplySize = 143;

// 1 when the request of the options is answered by the server, else 0.
int request_answered(const Options& options) {
  const auto* table = find_request_named(options.request.c_str());
  return table == nullptr || table->answer != MessageId::kCount ? 1 : 0;
}

// The request the options name; false when the name is unknown.
bool build_request(const std::string& name, RequestHeader* request) {
  if (name.rfind("reload:", 0) == 0) {
    *request = make_reload_request(static_cast<uint16_t>(strtoul(name.c_str() + 7, nullptr, 0)));
    return true;
  }
  const auto* table = find_request_named(name.c_str());
  if (table == nullptr)
    return false;
  *request = make_request(table->id);
  return true;
}

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
  std::vector<double> login_latencies_us;
};

struct Latencies {
  std::vector<double> requests;
  std::vector<double> logins;
};

double microseconds_since(Clock::time_point start) {
  return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

// The login's three messages at their sizes, without crypto: what the floor server
// expects. True when the verdict came.
bool floor_login(int socket) {
  uint8_t message[kAuthMessageSize] = {};
  return client_send(socket, message, sizeof message) == 0 &&
         client_recv(socket, message, sizeof message) > 0 &&
         client_send(socket, message, sizeof message) == 0 &&
         client_recv(socket, message, kAuthVerdictSize) > 0;
}

// One request of the kind the options name and its reply (see the file comment).
bool exchange(int socket, const Options& options, const RequestHeader& request,
              const RequestHeader& follower, Reply* reply) {
  if (options.floor) {
    uint8_t floor_reply[kFloorReplySize];
    return client_send(socket, request.bytes, sizeof request.bytes) == 0 &&
           client_recv(socket, floor_reply, sizeof floor_reply) > 0;
  }
  if (send_request(socket, request) < 0)
    return false;
  if (request_answered(options) == 0) {
    if (send_request(socket, follower) < 0)
      return false;
  }
  return read_reply(socket, reply) >= 0;
}

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
bool run_session(const Options& options, Totals* totals, Latencies* latencies) {
  Clock::time_point login_start = Clock::now();
  int socket = client_open(options.host.c_str(), options.port);
  if (socket < 0) {
    ++totals->connect_failures;
    return false;
  }
  bool logged_in =
      options.floor
          ? floor_login(socket)
          : client_login(socket, options.user.c_str(), options.password.c_str()).outcome ==
                kLoginLoggedIn;
  if (!logged_in) {
    ++totals->login_failures;
    close(socket);
    return false;
  }
  latencies->logins.push_back(microseconds_since(login_start));
  if (options.hold_seconds > 0)
    sleep(static_cast<unsigned>(options.hold_seconds));
  thread_local Reply reply;  // 4.8 KB: not on the stack
  RequestHeader follower = make_reload_request(0x0001);
  RequestHeader request;
  build_request(options.request, &request);
  for (int i = 0; i < options.requests; ++i) {
    Clock::time_point start = Clock::now();
    if (!exchange(socket, options, request, follower, &reply)) {
      ++(i == 0 ? totals->closed_after_login : totals->reply_failures);
      close(socket);
      return false;
    }
    latencies->requests.push_back(microseconds_since(start));
    ++totals->requests;
  }
  if (!options.floor) {
    send_request(socket, make_request(MessageId::kCloseRequest));
    read_reply(socket, &reply);
  }
  close(socket);
  ++totals->sessions;
  return true;
}

void worker(const Options& options, Clock::time_point end, Totals* totals) {
  Latencies latencies;
  while (Clock::now() < end)
    run_session(options, totals, &latencies);
  std::lock_guard<std::mutex> hold(totals->latency_lock);
  totals->latencies_us.insert(totals->latencies_us.end(), latencies.requests.begin(),
                              latencies.requests.end());
  totals->login_latencies_us.insert(totals->login_latencies_us.end(), latencies.logins.begin(),
                                    latencies.logins.end());
}

double percentile(std::vector<double>* values, double fraction) {
  if (values->empty())
    return 0;
  size_t index = static_cast<size_t>(fraction * static_cast<double>(values->size() - 1));
  std::nth_element(values->begin(), values->begin() + static_cast<long>(index), values->end());
  return (*values)[index];
}

bool parse(int argc, char** argv, Options* options) {
  int i = 1;
  for (; i < argc && std::string(argv[i]) == "--floor"; ++i)
    options->floor = true;
  for (; i + 1 < argc; i += 2) {
    std::string name = argv[i];
    const char* value = argv[i + 1];
    if (name == "--request")
      options->request = value;
    else if (name == "--hold")
      options->hold_seconds = atoi(value);
    else if (name == "--host")
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
  RequestHeader request;
  return i == argc && build_request(options->request, &request) && options->workers > 0 &&
         options->workers <= 5 && options->seconds > 0 && options->seconds <= 600;
}

}  // namespace
}  // namespace camrcd

int main(int argc, char** argv) {
  using namespace camrcd;
  Options options;
  if (!parse(argc, argv, &options)) {
    fprintf(stderr,
            "usage: session_stress [--host H] [--port P] [--user U] [--password W] "
            "[--workers 1-5] [--requests R] [--seconds 1-600] [--pid PID] [--request KIND] "
            "[--hold S]\n       session_stress --floor [options]\n");
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
  double login_p50 = percentile(&totals.login_latencies_us, 0.50);
  double login_p99 = percentile(&totals.login_latencies_us, 0.99);
  double request_p50 = percentile(&totals.latencies_us, 0.50);
  double request_p99 = percentile(&totals.latencies_us, 0.99);
  printf("login p50 / p99 us    %10.0f / %.0f\n", login_p50, login_p99);
  printf("request p50 / p99 us  %10.0f / %.0f\n", request_p50, request_p99);
  printf("failures: connect %ld, login %ld, closed after login %ld, reply %ld\n",
         totals.connect_failures.load(), totals.login_failures.load(),
         totals.closed_after_login.load(), totals.reply_failures.load());
  if (options.pid > 0) {
    usleep(200000);  // let the last connection threads finish their close sequence
    printf("daemon descriptors    %d before, %d after\n", descriptors_before,
           open_descriptors(options.pid));
  }
  printf("stress %.1f %.1f %.1f %.1f\n", login_p50, login_p99, request_p50, request_p99);
  return 0;
}
