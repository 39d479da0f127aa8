// Start-up and listener: fills the runtime fields, reads the product identity,
// loads the start-up groups, opens the TCP listener on control_port and accepts for
// ever, one detached connection thread per accepted descriptor.
#include "control/listener.h"

#include <errno.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <pthread.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include "control/connection.h"
#include "groups/group_masks.h"
#include "groups/group_table.h"
#include "platform/command_runner.h"
#include "platform/console.h"
#include "platform/dev_root.h"
#include "platform/mutex.h"
#include "platform/pause.h"
#include "settings/group_locks.h"
#include "settings/product_identity.h"
#include "settings/settings_record.h"

namespace camrcd {
namespace {

constexpr int kListenBacklog = 5;

// Deliberate deviation, for safety: when accept fails for want of descriptors or
// memory, the pending connection stays queued and the next accept fails at once, so
// the loop would spin and print its failure line hundreds of thousands of times a
// second. It pauses instead (the line is still printed, at most four times a second)
// and takes the queued connection as soon as something has been freed.
constexpr uint32_t kOutOfResourcesPause = 250000;  // microseconds

bool out_of_resources(int error) {
  return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

}  // namespace

void prepare_settings(int argc, char** argv) {
  settings.control_port = 0;
  settings.user_count = 0;
  settings.stream_restarted = 0;
  console_print("\nRemote Control Ver 2.000 \n 'T' for Test mode \n");
  settings.test_mode = 0;
  if (argc > 1 && argv[1][0] == 'T') {
    settings.test_mode = 1;
    console_print("TEST MODE argv=%c\n", argv[1][0]);
  }
  char command[kPathCapacity * 3];
  snprintf(command, sizeof command, "mkdir -p %s%s/kelda2/md", dev_root_for_command(), kWebRoot);
  run_command_line(command);
  snprintf(settings.web_root, sizeof settings.web_root, "%s", kWebRoot);
  settings.device_type = 0;
  read_product_identity();
  settings.current_md = 1;
  settings.current_alarmin = 1;
  settings.current_alarmout = 1;
  settings.current_preset = 1;
  uint32_t mask = settings.device_type == 1 ? kStartupLoadMaskFixedCamera : kStartupLoadMaskOther;
  load_groups(mask, 0);
}

namespace {

// Creates the listener and sets its options; -1 after a failed option (the process
// then exits with status 1).
int open_listener() {
  int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP);
  if (listener < 0)
    console_print("TCP Lsiten Socket Create A fail reason : err=%d \n", errno);
  int on = 1;
  if (setsockopt(listener, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) != 0) {
    console_print("\n1 socket Set failed \n");
    return -1;
  }
  if (setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0) {
    console_error("setsockopt SO_REUSEADDR failed\n");
    close(listener);
    return -1;
  }
  return listener;
}

void start_connection_thread(int connection) {
  pthread_t thread;
  void* arg = reinterpret_cast<void*>(static_cast<intptr_t>(connection));
  int error = pthread_create(&thread, nullptr, connection_thread, arg);
  if (error != 0) {
    console_print("Client connect pThread Create A fail : err=%d \n", error);
    close(connection);
  }
}

[[noreturn]] void accept_for_ever(int listener, const sockaddr_in& bound) {
  for (;;) {
    sockaddr_in peer;
    socklen_t peer_length = sizeof peer;  // 16, an IPv4 socket address
    console_print("======================================\n");
    int32_t control_port;
    {
      MutexHold hold(network_lock);
      control_port = settings.control_port;
    }
    console_print("==Accept wait!!! %x ControlPort=%d, pub_C_Port= %d\n", bound.sin_port,
                  ntohs(bound.sin_port), control_port);
    int connection =
        accept4(listener, reinterpret_cast<sockaddr*>(&peer), &peer_length, SOCK_CLOEXEC);
    if (connection < 0) {
      int error = errno;
      if (error != EINTR)
        console_print("accept() failed - err:%d \n", error);
      if (out_of_resources(error))
        pause_microseconds(kOutOfResourcesPause);
      continue;
    }
    start_connection_thread(connection);
  }
}

}  // namespace

int run_control_server(int argc, char** argv) {
  if (!dev_root_init()) {
    console_error("CAMRCD_ROOT is too long\n");
    return 1;
  }
  prepare_settings(argc, argv);
  int listener = open_listener();
  if (listener < 0)
    return 1;
  sockaddr_in bound;
  memset(&bound, 0, sizeof bound);
  bound.sin_family = AF_INET;
  bound.sin_addr.s_addr = htonl(INADDR_ANY);
  bound.sin_port = htons(static_cast<uint16_t>(settings.control_port));
  if (bind(listener, reinterpret_cast<sockaddr*>(&bound), sizeof bound) != 0) {
    console_print("TCP Lsiten Socket Bind A fail reason : err=%d \n", errno);
    close(listener);
    return 0;
  }
  listen(listener, kListenBacklog);
  console_print("Control listen() started - port(%d)\n", ntohs(bound.sin_port));
  accept_for_ever(listener, bound);
}

}  // namespace camrcd
