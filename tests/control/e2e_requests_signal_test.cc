// End-to-end SIGALRM: the daemon prints its alarm line and goes on; a connection idle
// in its header read, and one whose header is half received, are both served after.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include "client/client_request.h"
#include "client/client_socket.h"
#include "support/daemon_harness.h"
#include "support/e2e_clients.h"

namespace camrcd {
namespace {

constexpr size_t kSignals = 5;

TEST(EndToEndSignals, AlarmPrintsAndEndsNoConnection) {
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  int idle = daemon.login_client();  // the handler is installed by a connection
  int halfway = daemon.login_client();
  ASSERT_TRUE(idle >= 0 && halfway >= 0);
  RequestHeader info = make_request(kClassInformation, kSubDeviceInfo);
  ASSERT_EQ(0, client_send(halfway, info.bytes, 20));
  for (size_t i = 1; i <= kSignals; i++) {
    ASSERT_EQ(0, kill(daemon.pid(), SIGALRM));
    ASSERT_TRUE(daemon.wait_for_count("CountAlarm !!!!!!!!!\n", i)) << daemon.output();
  }
  ASSERT_EQ(0, client_send(halfway, info.bytes + 20, sizeof(info.bytes) - 20));
  Reply reply;
  EXPECT_GT(read_reply(halfway, &reply), 32);
  EXPECT_EQ(kReplyDeviceInfo, reply.bytes[kReplySub]);
  EXPECT_TRUE(info_served(idle));
  EXPECT_TRUE(close_served(idle));
  EXPECT_TRUE(close_served(halfway));
  EXPECT_EQ(0u, daemon.count_in_output("Error Occur 2"));
  close(idle);
  close(halfway);
}

}  // namespace
}  // namespace camrcd
