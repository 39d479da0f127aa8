// Hostile clients against a running daemon, then the proof that they left nothing
// behind. A warm-up round of every kind below settles what a first client allocates;
// then the daemon's open descriptors, threads and resident memory (from /proc) and its
// user count (the last "User Count =" line of its output) are the baseline. Workers
// then make CONNECTIONS hostile connections, kind after kind, within SECONDS; when the
// daemon has finished with them, a well-behaved client logs in and reads the device
// information, and every figure must be back at its baseline (resident memory within
// a small margin: the allocator keeps some freed memory). Exit status 0 when they are,
// 1 when not, 2 for a usage error. Loopback or a camera of one's own only.
//
//   abuse --pid PID --log FILE [--host H] [--port P] [--user U] [--password W]
//         [--connections N] [--seconds S] [--workers W] [--allowance BYTES]
//
// --allowance: resident memory that each connection may add for good, for a daemon
// built with a sanitizer that keeps bookkeeping of every thread it has seen.
#include <dirent.h>
#include <netinet/in.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "client/client_login.h"
#include "client/client_request.h"
#include "client/client_socket.h"
#include "protocol/login_message.h"

namespace camrcd {
namespace {

using Clock = std::chrono::steady_clock;

struct Options {
  long pid = 0;
  std::string log;
  std::string host = "127.0.0.1";
  long port = 9001;
  std::string user = "demo";
  std::string password = "camera1";
  long connections = 10000;
  long seconds = 600;
  long workers = 4;
  long allowance = 0;  // bytes of resident memory each connection may add
};

// The command line's options, each a number or a text of Options.
const struct {
  const char* name;
  long Options::*number;
  std::string Options::*text;
} kFlags[] = {
    {"--pid", &Options::pid, nullptr},
    {"--log", nullptr, &Options::log},
    {"--host", nullptr, &Options::host},
    {"--port", &Options::port, nullptr},
    {"--user", nullptr, &Options::user},
    {"--password", nullptr, &Options::password},
    {"--connections", &Options::connections, nullptr},
    {"--seconds", &Options::seconds, nullptr},
    {"--workers", &Options::workers, nullptr},
    {"--allowance", &Options::allowance, nullptr},
};

// One hostile client: what it does on a fresh connection (greeting not read) whose
// number is n; returns how many further connections it opened and closed itself.
using Move = int (*)(const Options&, int socket, long n);

void send_garbage(int socket, size_t length, long n) {
  std::vector<uint8_t> bytes(length);
  for (size_t i = 0; i < length; i++)
    bytes[i] = static_cast<uint8_t>(n + i * 37);
  client_send(socket, bytes.data(), bytes.size());
}

bool logged_in(const Options& o, int socket) {
  return client_read_greeting(socket) == 0 &&
         client_login(socket, o.user.c_str(), o.password.c_str()).outcome == kLoginLoggedIn;
}

const uint8_t kNonce[4] = {7, 7, 7, 7};

int garbage_before_greeting(const Options&, int socket, long n) {
  send_garbage(socket, 1 + n * 53 % 700, n);
  return 0;
}

// Leaves at step n % 7 of the login: before the greeting, after it, within the opening
// message, after it, after the challenge, within the response, after it.
int vanish_during_login(const Options& o, int socket, long n) {
  int step = static_cast<int>(n % 7);
  uint8_t message[kAuthMessageSize];
  build_opening_message(message, o.user.c_str(), kNonce);
  if (step == 0 || client_read_greeting(socket) != 0 || step == 1)
    return 0;
  if (client_send(socket, message, step == 2 ? 1 + n % (kAuthMessageSize - 1) : sizeof message) !=
          0 ||
      step <= 3 || login_read_answer(socket, message) != 0 || step == 4)
    return 0;
  uint8_t nonce[4];
  memcpy(nonce, message + kAuthNonceOffset, 4);
  build_response_message(message, o.password.c_str(), nonce);
  client_send(socket, message, step == 5 ? 1 + n % (kAuthMessageSize - 1) : sizeof message);
  return 0;
}

int wrong_response(const Options& o, int socket, long) {
  if (client_read_greeting(socket) == 0)
    client_login(socket, o.user.c_str(), (o.password + "x").c_str());
  return 0;
}

int bad_prefixes(const Options& o, int socket, long n) {
  if (logged_in(o, socket))
    send_garbage(socket, 32 * (1 + n % 4), n);
  return 0;
}

int truncated_header(const Options& o, int socket, long n) {
  RequestHeader info = make_request(MessageId::kInfoRequest);
  if (logged_in(o, socket))
    client_send(socket, info.bytes, 1 + n % (kRequestHeaderSize - 1));
  return 0;
}

int short_motion_payload(const Options& o, int socket, long n) {
  RequestHeader motion = make_request(MessageId::kMotionWrite);
  request_set_u16(&motion, 6, 0xFFFF);
  std::vector<uint8_t> payload(n * 331 % 9000, 0x01);
  if (logged_in(o, socket))
    send_request(socket, motion, payload.data(), payload.size());
  return 0;
}

// Five clients log in and stay while three more log in (and are shut out). One
// connection at a time: a burst would only overflow the listen queue.
int flood_beyond_five_users(const Options& o, int socket, long) {
  std::vector<int> more;
  logged_in(o, socket);
  for (int i = 0; i < 7; i++) {
    more.push_back(client_connect(o.host.c_str(), static_cast<uint16_t>(o.port)));
    if (more.back() >= 0)
      logged_in(o, more.back());
  }
  for (int s : more)
    close(s);
  return 7;
}

const struct {
  const char* name;
  Move move;
} kMoves[] = {
    {"garbage before the greeting", garbage_before_greeting},
    {"gone during the login", vanish_during_login},
    {"wrong response", wrong_response},
    {"bad prefixes after login", bad_prefixes},
    {"truncated header", truncated_header},
    {"motion payload short of 65535", short_motion_payload},
    {"flood beyond five users", flood_beyond_five_users},
};
constexpr int kMoveCount = sizeof kMoves / sizeof kMoves[0];

// Closes abruptly (a reset) every other time, else in order.
void end_connection(int socket, long n) {
  if (n % 2 == 0) {
    linger abrupt = {1, 0};
    setsockopt(socket, SOL_SOCKET, SO_LINGER, &abrupt, sizeof abrupt);
  }
  close(socket);
}

struct Totals {
  std::atomic<long> next{0};     // number of the next move
  std::atomic<long> made{0};     // connections made
  std::atomic<long> refused{0};  // no connection could be made
};

void worker(const Options& o, Clock::time_point end, long count, Totals* totals) {
  while (totals->made < count && Clock::now() < end) {
    long n = totals->next++;
    int socket = client_connect(o.host.c_str(), static_cast<uint16_t>(o.port));
    if (socket < 0) {
      ++totals->refused;
      continue;
    }
    totals->made += 1 + kMoves[n % kMoveCount].move(o, socket, n / kMoveCount);
    end_connection(socket, n / kMoveCount);
  }
}

// Runs hostile connections on the workers until `count` were made; returns how many.
long run_hostile(const Options& o, long count, int seconds, Totals* totals) {
  Clock::time_point end = Clock::now() + std::chrono::seconds(seconds);
  std::vector<std::thread> threads;
  for (int i = 0; i < o.workers; i++)
    threads.emplace_back(worker, std::cref(o), end, count, totals);
  for (std::thread& t : threads)
    t.join();
  return totals->made;
}

struct Figures {
  long descriptors = -1;
  long threads = -1;
  long resident_kb = -1;
  long users = -1;
};

long status_field(long pid, const char* field) {
  FILE* status = fopen(("/proc/" + std::to_string(pid) + "/status").c_str(), "re");
  long value = -1;
  char line[256];
  while (status != nullptr && fgets(line, sizeof line, status) != nullptr) {
    if (strncmp(line, field, strlen(field)) == 0)
      value = atol(line + strlen(field));
  }
  if (status != nullptr)
    fclose(status);
  return value;
}

long descriptor_count(long pid) {
  DIR* directory = opendir(("/proc/" + std::to_string(pid) + "/fd").c_str());
  long count = 0;
  while (directory != nullptr && readdir(directory) != nullptr)
    count++;
  if (directory != nullptr)
    closedir(directory);
  return directory != nullptr ? count - 2 : -1;  // less "." and ".."
}

// The number in the last "User Count =" line of the daemon's output.
long last_user_count(const std::string& log) {
  FILE* file = fopen(log.c_str(), "re");
  if (file == nullptr)
    return -1;
  char tail[8192] = "";
  fseek(file, 0, SEEK_END);
  long size = ftell(file);
  fseek(file, size > 8000 ? size - 8000 : 0, SEEK_SET);
  tail[fread(tail, 1, sizeof tail - 1, file)] = '\0';
  fclose(file);
  const char* last = nullptr;
  for (const char* at = tail; (at = strstr(at, "User Count =")) != nullptr; at++)
    last = at;
  return last != nullptr ? atol(last + strlen("User Count =")) : -1;
}

Figures measure(const Options& o) {
  return {descriptor_count(o.pid), status_field(o.pid, "Threads:"), status_field(o.pid, "VmRSS:"),
          last_user_count(o.log)};
}

// Waits until the daemon's threads and descriptors are those of `idle`, or (idle
// null) have not changed for half a second.
bool settled(const Options& o, const Figures* idle, int timeout_s) {
  Clock::time_point end = Clock::now() + std::chrono::seconds(timeout_s);
  Figures last = measure(o);
  for (int steady = 0; Clock::now() < end; usleep(50 * 1000)) {
    Figures now = measure(o);
    const Figures& wanted = idle != nullptr ? *idle : last;
    steady =
        now.threads == wanted.threads && now.descriptors == wanted.descriptors ? steady + 1 : 0;
    if (steady >= (idle != nullptr ? 1 : 10))
      return true;
    last = now;
  }
  return false;
}

// A well-behaved client: logs in, reads the device information, closes. Waits for its
// close line, so that the daemon's last user count line is its own.
bool served_well(const Options& o) {
  int socket = client_connect(o.host.c_str(), static_cast<uint16_t>(o.port));
  Reply reply;
  bool served = socket >= 0 && logged_in(o, socket) &&
                send_request(socket, make_request(MessageId::kInfoRequest)) == 0 &&
                read_reply(socket, &reply) > static_cast<int32_t>(kReplyHeaderSize) &&
                reply.bytes[kReplySub] == message(MessageId::kInfoReply).sub &&
                reply_trailer_ok(reply) &&
                send_request(socket, make_request(MessageId::kCloseRequest)) == 0 &&
                read_reply(socket, &reply) == static_cast<int32_t>(kReplyHeaderSize) &&
                client_wait_closed(socket, kClientTimeoutMs);
  if (socket >= 0)
    close(socket);
  usleep(100 * 1000);  // the close sequence prints its last line after the close
  return served;
}

bool parse(int argc, char** argv, Options* o) {
  for (int i = 1; i < argc; i += 2) {
    auto flag = std::find_if(std::begin(kFlags), std::end(kFlags),
                             [&](const auto& f) { return strcmp(f.name, argv[i]) == 0; });
    if (flag == std::end(kFlags) || i + 1 == argc)
      return false;
    if (flag->number != nullptr)
      o->*flag->number = atol(argv[i + 1]);
    else
      o->*flag->text = argv[i + 1];
  }
  return o->pid > 0 && !o->log.empty() && o->port > 0 && o->port < 65536 && o->connections > 0 &&
         o->connections <= 1000000 && o->seconds > 0 && o->seconds <= 3600 && o->workers > 0 &&
         o->workers <= 4 && o->allowance >= 0;
}

void print_row(const char* name, long before, long after, const char* verdict) {
  printf("%-22s %10ld %10ld   %s\n", name, before, after, verdict);
}

}  // namespace
}  // namespace camrcd

int main(int argc, char** argv) {
  using namespace camrcd;
  Options o;
  if (!parse(argc, argv, &o)) {
    fprintf(stderr,
            "usage: abuse --pid PID --log FILE [--host H] [--port P] [--user U] [--password W]\n"
            "             [--connections N (at most 1000000)] [--seconds S (at most 3600)]\n"
            "             [--workers 1-4] [--allowance BYTES]\n");
    return 2;
  }
  Totals warm_up;  // a round of every kind settles what a first client allocates
  run_hostile(o, 2 * kMoveCount, o.seconds, &warm_up);
  bool quiet = settled(o, nullptr, 10) && served_well(o);
  Figures before = measure(o);
  if (!quiet || before.users < 0) {
    fprintf(stderr, "abuse: no steady daemon to start from (or no user count in %s)\n",
            o.log.c_str());
    return 1;
  }
  Totals totals;
  Clock::time_point start = Clock::now();
  long made = run_hostile(o, o.connections, o.seconds, &totals);
  double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  bool drained = settled(o, &before, 30);
  bool served = served_well(o);
  Figures after = measure(o);

  printf("%ld hostile connections in %.1f s (%.0f a second), %ld could not connect\n", made,
         seconds, made / seconds, totals.refused.load());
  printf("%-22s %10s %10s\n", "", "before", "after");
  long margin_kb = std::max(2048L, before.resident_kb / 10) + made * o.allowance / 1024;
  bool memory_back = after.resident_kb <= before.resident_kb + margin_kb;
  print_row("open descriptors", before.descriptors, after.descriptors,
            after.descriptors == before.descriptors ? "ok" : "NOT BACK");
  print_row("threads", before.threads, after.threads,
            after.threads == before.threads ? "ok" : "NOT BACK");
  print_row("resident memory (KB)", before.resident_kb, after.resident_kb,
            memory_back ? "ok" : "NOT BACK");
  print_row("users counted", before.users, after.users,
            after.users == before.users ? "ok" : "NOT BACK");
  printf("well-behaved client afterwards: %s\n", served ? "served" : "NOT SERVED");
  bool ok =
      drained && served && memory_back && after.users == before.users && made >= o.connections;
  if (made < o.connections)
    printf("stopped by the time bound after %ld of %ld connections\n", made, o.connections);
  printf("%s\n", ok ? "PASS" : "FAIL");
  return ok ? 0 : 1;
}
