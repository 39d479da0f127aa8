// The build options, each off (camrcd) and on (camrcd_guarded: a 2-second login
// deadline, keepalive after 45 idle seconds): five idle connections hold every user
// slot until the deadline closes them, and the daemon's side of a connection runs
// the keepalive timer only when built with it. The deadline bounds a whole read.
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <stdio.h>
#include <sys/socket.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "client/client_request.h"
#include "client/client_socket.h"
#include "platform/net_io.h"
#include "support/daemon_harness.h"

namespace camrcd {
namespace {

// The timer of the daemon's side of a loopback connection, from /proc/net/tcp: its
// kind (0 none, 2 keepalive) and the seconds until it fires; {-1, 0} when not found.
std::pair<int, long> daemon_side_timer(uint16_t daemon_port, int client) {
  sockaddr_in local;
  socklen_t size = sizeof local;
  getsockname(client, reinterpret_cast<sockaddr*>(&local), &size);
  char wanted[64];
  snprintf(wanted, sizeof wanted, "0100007F:%04X 0100007F:%04X", daemon_port,
           ntohs(local.sin_port));
  std::ifstream table("/proc/net/tcp");
  for (std::string line; std::getline(table, line);) {
    size_t at = line.find(wanted);
    unsigned kind = 0;
    unsigned long ticks = 0;  // hundredths of a second
    if (at != std::string::npos &&
        sscanf(line.c_str() + at + strlen(wanted), " %*x %*x:%*x %x:%lx", &kind, &ticks) == 2)
      return {static_cast<int>(kind), static_cast<long>(ticks / 100)};
  }
  return {-1, 0};
}

TEST(EndToEndBuildOptions, LoginDeadlineFreesSlotsAndKeepaliveProbesIdlePeers) {
  for (bool on : {false, true}) {
    SCOPED_TRACE(on ? "options on" : "options off");
    DaemonOptions options;
    options.program = on ? "camrcd_guarded" : "camrcd";
    DaemonHarness daemon(options);
    ASSERT_TRUE(daemon.ok()) << daemon.error();
    std::vector<int> idle;  // greeted, counted, never logging in
    for (int i = 0; i < 5; i++)
      idle.push_back(daemon.connect_client());
    ASSERT_TRUE(wait_until(kDaemonWaitMs,
                           [&] { return daemon.count_in_output("Start User Count =5") > 0; }));
    std::pair<int, long> timer = daemon_side_timer(daemon.port(), idle[0]);
    EXPECT_EQ(timer.first, on ? 2 : 0);
    EXPECT_TRUE(!on || (timer.second > 30 && timer.second <= 45)) << timer.second;

    if (on) {  // the deadline closes the idle ones and gives their slots back
      for (int s : idle)
        EXPECT_TRUE(client_wait_closed(s, kDaemonWaitMs));
      EXPECT_TRUE(wait_for_ended(daemon, 5));
    } else {
      usleep(2500 * 1000);
    }
    int sixth = daemon.login_client();
    ASSERT_GE(sixth, 0);
    EXPECT_EQ(info_served(sixth), on);
    close(sixth);
    for (int s : idle) {
      EXPECT_TRUE(on || !client_wait_closed(s, 100));
      close(s);
    }
  }
}

// A client that trickles its bytes in, each well before a per-receive limit would
// pass, is still cut off when the deadline of the whole read has passed.
TEST(LoginDeadline, BoundsTheWholeReadNotEachReceive) {
  int pair[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
  std::thread trickle([&] {
    for (int i = 0; i < 12 && send(pair[1], "x", 1, MSG_NOSIGNAL) == 1; i++)
      usleep(200 * 1000);
  });
  char message[10];
  int64_t start = monotonic_ms();
  EXPECT_EQ(net_recv_all_until(pair[0], message, sizeof message, 0, net_deadline_in(1)),
            kResultWouldBlock);
  EXPECT_LT(monotonic_ms() - start, 1800);
  shutdown(pair[0], SHUT_RDWR);
  trickle.join();
  close(pair[0]);
  close(pair[1]);
}

}  // namespace
}  // namespace camrcd
