// End-to-end login exchange against the real daemon and its user list: refusals
// echo the opening message, the challenge seals the user's name, and the verdicts.
#include <gtest/gtest.h>
#include <string.h>
#include <unistd.h>

#include <string>

#include "client/client_login.h"
#include "client/client_socket.h"
#include "support/daemon_harness.h"
#include "support/e2e_clients.h"

namespace camrcd {
namespace {

constexpr char kUserList[] =
    "COUNT = 4\n"
    "USER1 = demo = camera1 = 152\n"
    "USER2 = admin = admin1 = 254\n"
    "USER3 = viewer = view1 = 24\n"
    "USER4 = banned = banned1 = 153\n";

DaemonOptions with_user_list() {
  DaemonOptions options;
  options.prepare = [](const std::string& root) {
    write_text_file(root + "/home/zr/webserver/web/admin/user_list.lst", kUserList);
  };
  return options;
}

// Sends an opening message for user and reads the answer into answer.
void open_as(int socket, const char* user, uint8_t opening[kAuthMessageSize],
             uint8_t answer[kAuthMessageSize]) {
  const uint8_t nonce[4] = {0xC1, 0x1E, 0x47, 0x5A};
  build_opening_message(opening, user, nonce);
  opening[0] = 0xEE;  // the head of an opening message is not looked at
  opening[4] = 0x99;
  ASSERT_EQ(0, client_send(socket, opening, kAuthMessageSize));
  ASSERT_EQ(0, login_read_answer(socket, answer));
}

TEST(EndToEndLogin, RefusalsEchoTheOpeningMessage) {
  DaemonHarness daemon(with_user_list());
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  struct {
    const char* user;
    bool remove_list_first;
    uint32_t status;
  } cases[] = {
      {"nobody", false, kAuthStatusNoSuchUser},
      {"Demo", false, kAuthStatusNoSuchUser},  // case counts
      {"dem", false, kAuthStatusNoSuchUser},   // a prefix is no match
      {"viewer", false, kAuthStatusRightsRefused},
      {"banned", false, kAuthStatusRightsRefused},
      {"demo", true, kAuthStatusUserListUnreadable},
  };
  for (const auto& c : cases) {
    if (c.remove_list_first)
      unlink(daemon.web_path("admin/user_list.lst").c_str());
    int s = daemon.connect_client();
    ASSERT_GE(s, 0);
    uint8_t opening[kAuthMessageSize];
    uint8_t answer[kAuthMessageSize];
    open_as(s, c.user, opening, answer);
    EXPECT_EQ(kAuthTypeAnswer, auth_read_type(answer)) << c.user;
    EXPECT_EQ(0, auth_read_length(answer)) << c.user;
    EXPECT_EQ(c.status, auth_read_status(answer)) << c.user;
    EXPECT_EQ(0, memcmp(answer + 8, opening + 8, kAuthMessageSize - 8)) << c.user;
    EXPECT_TRUE(client_wait_closed(s, kDaemonWaitMs)) << c.user;
    close(s);
  }
  EXPECT_EQ(1u, daemon.count_in_output("Auth Mismatch\n"));  // rights 24, not 153
  EXPECT_EQ(1u, daemon.count_in_output("fopen() failed - /admin/user_list.lst\n"));
}

TEST(EndToEndLogin, ChallengeAndVerdicts) {
  DaemonHarness daemon(with_user_list());
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  struct {
    const char* user;
    const char* password;
    uint16_t length;
    uint32_t verdict;
  } cases[] = {
      {"demo", "camera1", 260, kAuthStatusAuthenticated},
      {"admin", "admin1", 260, kAuthStatusAuthenticated},
      {"demo", "camera2", 260, kAuthStatusWrongResponse},
      {"demo", "Camera1", 260, kAuthStatusWrongResponse},
      {"demo", "", 260, kAuthStatusWrongResponse},
      {"admin", "camera1", 260, kAuthStatusWrongResponse},  // another user's password
      {"demo", "camera1", 259, kAuthStatusMalformedResponse},
      {"demo", "camera1", 261, kAuthStatusMalformedResponse},
  };
  for (const auto& c : cases) {
    int s = daemon.connect_client();
    ASSERT_GE(s, 0);
    uint8_t opening[kAuthMessageSize];
    uint8_t challenge[kAuthMessageSize];
    open_as(s, c.user, opening, challenge);
    EXPECT_EQ(kAuthTypeAnswer, auth_read_type(challenge));
    EXPECT_EQ(kAuthBodyLength, auth_read_length(challenge));
    ASSERT_EQ(kAuthStatusChallenge, auth_read_status(challenge));
    char sealed_name[32];
    read_challenge_name(challenge, opening + kAuthNonceOffset, sealed_name, sizeof(sealed_name));
    EXPECT_STREQ(c.user, sealed_name);

    ASSERT_EQ(0, login_send_response(s, c.password, challenge + kAuthNonceOffset, c.length));
    uint8_t verdict[kAuthVerdictSize];
    ASSERT_EQ(0, login_read_verdict(s, verdict));
    EXPECT_EQ(kAuthTypeVerdict, auth_read_type(verdict));
    EXPECT_EQ(0, auth_read_length(verdict));
    EXPECT_EQ(c.verdict, auth_read_status(verdict)) << c.user << "/" << c.password;
    if (c.verdict == kAuthStatusAuthenticated) {
      EXPECT_TRUE(close_served(s));
    } else {
      EXPECT_TRUE(client_wait_closed(s, kDaemonWaitMs));
    }
    close(s);
  }
}

}  // namespace
}  // namespace camrcd
