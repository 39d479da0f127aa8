// The connection thread and its request loop. The user slot is taken and given back
// under user_count_lock only; stream_restarted is read under stream_lock only; the
// buffer is freed and the socket shut down and closed exactly once on every path.
#include "control/connection.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <pthread.h>
#include <signal.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include "auth/auth_exchange.h"
#include "control/build_options.h"
#include "control/dispatch.h"
#include "platform/console.h"
#include "platform/mutex.h"
#include "platform/net_io.h"
#include "protocol/wire_format.h"
#include "settings/group_locks.h"
#include "settings/settings_record.h"

namespace camrcd {
namespace {

using Guard = MutexHold;

void on_alarm(int) {
  console_print_from_signal("CountAlarm !!!!!!!!!\n");
}

// SIGPIPE ignored; SIGALRM caught with every signal blocked and no flags, so an
// interrupted receive fails with EINTR (and is repeated) instead of restarting.
void install_signal_dispositions() {
  signal(SIGPIPE, SIG_IGN);
  struct sigaction action;
  memset(&action, 0, sizeof action);
  action.sa_handler = on_alarm;
  if (sigfillset(&action.sa_mask) != 0)
    console_print("sigfillsset() Failed\n");
  action.sa_flags = 0;
  if (sigaction(SIGALRM, &action, nullptr) != 0)
    console_print("sigaction() Failed for SIGALRM\n");
}

// Counts the user when fewer than kUserLimit are counted; returns whether it did.
bool admit_user() {
  Guard guard(user_count_lock);
  bool counted = settings.user_count < kUserLimit;
  if (counted)
    ++settings.user_count;
  console_print("\n==Start User Count =%d\n", settings.user_count);
  return counted;
}

// Deliberate deviation, for safety, only when built with a keepalive time (off by
// default): probes find a peer that vanished without a word, whose connection would
// otherwise hold its thread, descriptor and user slot for ever.
void enable_keepalive(int socket) {
  if (kKeepaliveIdleSeconds == 0)
    return;
  const struct {
    int level, option, value;
  } options[] = {
      {SOL_SOCKET, SO_KEEPALIVE, 1},
      {IPPROTO_TCP, TCP_KEEPIDLE, kKeepaliveIdleSeconds},
      {IPPROTO_TCP, TCP_KEEPINTVL, kKeepaliveIntervalSeconds},
      {IPPROTO_TCP, TCP_KEEPCNT, kKeepaliveProbes},
  };
  for (const auto& o : options)
    setsockopt(socket, o.level, o.option, &o.value, sizeof o.value);
}

void close_socket(int socket) {
  shutdown(socket, SHUT_RDWR);
  close(socket);
}

}  // namespace

void serve_requests(int socket, uint8_t* buffer) {
  uint8_t header[kRequestHeaderSize];
  bool keep_serving = true;
  while (keep_serving) {
    RequestMasks masks = {};
    int32_t received = net_recv_all(socket, header, sizeof header, 0);
    if (received < 0) {
      console_print("Error Occur 2 =%d\n", received);
      return;
    }
    unsigned prefix = header[kRequestPrefixHigh] * 256u + header[kRequestPrefixLow];
    if (prefix != kRequestPrefix) {
      console_print("Pre-Fix Not Match %x\n", prefix);
      continue;
    }
    RequestOutcome outcome = execute_request(header, socket, buffer, &masks);
    if (outcome == RequestOutcome::kCloseNow)
      return;
    if (outcome == RequestOutcome::kStopAfterRequest)
      keep_serving = false;
    Guard guard(stream_lock);
    if (settings.stream_restarted == 1)
      keep_serving = false;
  }
}

void serve_connection(int socket) {
  uint8_t* buffer = static_cast<uint8_t*>(malloc(kConnectionBufferSize));
  if (buffer == nullptr) {
    close_socket(socket);
    return;
  }
  install_signal_dispositions();
  enable_keepalive(socket);
  // Deliberate deviation, for safety, only when built with a login deadline (off by
  // default): a client that has not logged in by then is closed like one whose login
  // failed, which gives its user slot back.
  int64_t login_deadline = net_deadline_in(kLoginDeadlineSeconds);
  net_send(socket, kGreeting, sizeof kGreeting, 0);
  bool counted = admit_user();
  int result = authenticate_client(socket, login_deadline);
  if (result != 0) {
    console_print("Failed to Authentication. Close - SockHandle(%d), AUTHERR(%d)\n", socket,
                  result);
    free(buffer);
    if (counted) {
      Guard guard(user_count_lock);
      --settings.user_count;
    }
    close_socket(socket);
    return;
  }
  if (counted)
    serve_requests(socket, buffer);  // a refused client is served nothing

  console_print("Close - SockHandle(%d)\n", socket);
  free(buffer);
  console_print("recvbuf free \n");
  {
    Guard guard(user_count_lock);
    if (counted && settings.user_count > 0)
      --settings.user_count;
    console_print("==Finish User Count =%d\n", settings.user_count);
  }
  close_socket(socket);
}

void* connection_thread(void* arg) {
  pthread_detach(pthread_self());
  serve_connection(static_cast<int>(reinterpret_cast<intptr_t>(arg)));
  return nullptr;
}

}  // namespace camrcd
