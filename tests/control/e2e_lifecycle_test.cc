// End-to-end connection lifecycle: greeting, the five-user limit, the user count
// after failed logins and vanished clients, headers in pieces and bad prefixes.
#include <gtest/gtest.h>
#include <string.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "client/client_login.h"
#include "client/client_request.h"
#include "client/client_socket.h"
#include "support/daemon_harness.h"
#include "support/e2e_clients.h"

namespace camrcd {
namespace {

constexpr int kUserLimit = 5;

TEST(EndToEndLifecycle, GreetingIs1000) {
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  int client = client_connect("127.0.0.1", daemon.port());
  ASSERT_GE(client, 0);
  char greeting[4];
  ASSERT_EQ(4, client_recv(client, greeting, sizeof(greeting)));
  EXPECT_EQ(0, memcmp(greeting, "1000", 4));
  close(client);
}

// Five logged-in clients are served; a sixth logs in and is then closed unserved; the
// five stay served and, once they have left, five new clients are admitted.
TEST(EndToEndLifecycle, SixthClientIsClosedAfterItsLogin) {
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  std::vector<int> clients;
  for (int i = 0; i < kUserLimit; i++) {
    clients.push_back(daemon.login_client());
    ASSERT_GE(clients.back(), 0) << "client " << i;
    EXPECT_TRUE(info_served(clients.back())) << "client " << i;
  }
  int sixth = daemon.connect_client();
  ASSERT_GE(sixth, 0);
  LoginResult login = client_login(sixth, "demo", "camera1");
  EXPECT_EQ(kLoginLoggedIn, login.outcome);
  send_request(sixth, make_request(kClassInformation, kSubClose));
  Reply reply;
  EXPECT_LT(read_reply(sixth, &reply), 0) << "the sixth client was served";
  close(sixth);
  EXPECT_EQ(2u, daemon.count_in_output("\n==Start User Count =5\n")) << daemon.output();

  for (int client : clients) {
    EXPECT_TRUE(info_served(client));
    EXPECT_TRUE(close_served(client));
    close(client);
  }
  ASSERT_TRUE(wait_for_ended(daemon, kUserLimit + 1));
  for (int i = 0; i < kUserLimit; i++) {
    clients[i] = daemon.login_client();
    EXPECT_TRUE(clients[i] >= 0 && info_served(clients[i])) << "new client " << i;
  }
  for (int client : clients)
    close(client);
}

enum Vanish {
  kAtConnect,
  kAfterGreeting,
  kMidOpening,
  kAfterOpening,
  kAfterChallenge,
  kMidResponse,
  kAfterResponse,
  kAfterVerdict,
  kMidHeader,
  kAfterRequest,
  kUnknownUser,
  kWrongPassword,
  kMalformedResponse,
};

// Runs one client up to the step and leaves it there.
void run_until(const DaemonHarness& daemon, Vanish step, bool reset) {
  int s = client_connect("127.0.0.1", daemon.port());
  ASSERT_GE(s, 0);
  uint8_t nonce[4] = {7, 7, 7, 7};
  uint8_t message[kAuthMessageSize];
  if (step != kAtConnect) {
    ASSERT_EQ(0, client_read_greeting(s));
  }
  if (step == kMidOpening) {
    build_opening_message(message, "demo", nonce);
    client_send(s, message, 100);
  }
  if (step >= kAfterOpening) {
    const char* user = step == kUnknownUser ? "stranger" : "demo";
    ASSERT_EQ(0, login_send_opening(s, user, nonce));
  }
  if (step >= kAfterChallenge) {
    ASSERT_EQ(0, login_read_answer(s, message));
  }
  if (step == kMidResponse)
    client_send(s, message, 200);
  if (step >= kAfterResponse && step != kUnknownUser) {
    const char* password = step == kWrongPassword ? "camera2" : "camera1";
    uint16_t length = step == kMalformedResponse ? 0xFFFF : kAuthBodyLength;
    ASSERT_EQ(0, login_send_response(s, password, message + kAuthNonceOffset, length));
  }
  if (step >= kAfterVerdict && step != kUnknownUser) {
    ASSERT_EQ(0, login_read_verdict(s, message));
  }
  RequestHeader info = make_request(kClassInformation, kSubDeviceInfo);
  if (step == kMidHeader)
    client_send(s, info.bytes, 20);
  if (step == kAfterRequest)
    client_send(s, info.bytes, sizeof(info.bytes));
  if (reset) {
    close_with_reset(s);
  } else {
    close(s);
  }
}

TEST(EndToEndLifecycle, UserCountComesBackAfterFailedAndVanishedClients) {
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  size_t clients = 0;
  for (int step = kAtConnect; step <= kMalformedResponse; step++) {
    for (bool reset : {false, true}) {
      run_until(daemon, static_cast<Vanish>(step), reset);
      clients++;
    }
  }
  ASSERT_TRUE(wait_for_ended(daemon, clients)) << daemon.output();

  // Exactly five are admitted again: a count that went below zero would admit six.
  std::vector<int> admitted;
  for (int i = 0; i < kUserLimit; i++) {
    admitted.push_back(daemon.login_client());
    EXPECT_TRUE(admitted.back() >= 0 && info_served(admitted.back())) << "client " << i;
  }
  int sixth = daemon.login_client();
  ASSERT_GE(sixth, 0);
  send_request(sixth, make_request(kClassInformation, kSubClose));
  Reply reply;
  EXPECT_LT(read_reply(sixth, &reply), 0) << "a sixth client was served";
  close(sixth);
  for (int s : admitted)
    close(s);
}

TEST(EndToEndLifecycle, HeaderArrivingInPiecesIsOneRequest) {
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  int s = daemon.login_client();
  ASSERT_GE(s, 0);
  const std::vector<size_t> splits[] = {{1}, {2, 29}, {16, 15}, {1, 1, 1, 1, 1}, {31}};
  for (const std::vector<size_t>& pieces : splits) {
    RequestHeader info = make_request(kClassInformation, kSubDeviceInfo);
    ASSERT_TRUE(send_in_pieces(s, info.bytes, sizeof(info.bytes), pieces, 20));
    Reply reply;
    ASSERT_GT(read_reply(s, &reply), 32) << "split after " << pieces[0];
    EXPECT_EQ(kReplyDeviceInfo, reply.bytes[kReplySub]);
    EXPECT_TRUE(reply_trailer_ok(reply));
  }
  EXPECT_TRUE(close_served(s));
  close(s);
}

// 32 bytes with a wrong prefix are dropped whole; the next 32 bytes are a header, so a
// close request that follows, however the bytes are split, gets its close reply.
TEST(EndToEndLifecycle, BadPrefixDropsOneHeaderOnly) {
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  struct {
    uint8_t prefix[2];
    const char* printed;
    std::vector<size_t> pieces;
  } cases[] = {
      {{'x', 'x'}, "Pre-Fix Not Match 7878\n", {}},
      {{0x33, 0x77}, "Pre-Fix Not Match 3377\n", {32}},  // byte order swapped
      {{0x77, 0x00}, "Pre-Fix Not Match 7700\n", {37}},  // close split after 5 bytes
      {{0x00, 0x33}, "Pre-Fix Not Match 33\n", {10, 40}},
  };
  for (const auto& c : cases) {
    int s = daemon.login_client();
    ASSERT_GE(s, 0);
    uint8_t bytes[64];
    memset(bytes, 0x5A, 32);
    memcpy(bytes, c.prefix, 2);
    bytes[2] = kClassInformation;  // a good class and sub after a bad prefix
    bytes[3] = kSubClose;
    memcpy(bytes + 32, make_request(kClassInformation, kSubClose).bytes, 32);
    ASSERT_TRUE(send_in_pieces(s, bytes, sizeof(bytes), c.pieces, 20));
    Reply reply;
    EXPECT_EQ(32, read_reply(s, &reply)) << c.printed;
    EXPECT_TRUE(is_close_reply(reply)) << c.printed;
    EXPECT_TRUE(client_wait_closed(s, kDaemonWaitMs)) << c.printed;
    close(s);
    EXPECT_NE(std::string::npos, daemon.output().find(c.printed)) << c.printed;
  }
}

}  // namespace
}  // namespace camrcd
