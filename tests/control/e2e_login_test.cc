// End-to-end login against the real daemon and its user list: refusals echo the
// opening message, the challenge seals the user's name, and the three verdicts.
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

// Whatever the verdict or refusal, the daemon then ends the connection unless it let
// the client in; a client it let in is served.
TEST(EndToEndLogin, RefusalsChallengeAndVerdicts) {
  DaemonOptions options;
  options.prepare = [](const std::string& root) {
    write_text_file(root + "/home/zr/webserver/web/admin/user_list.lst",
                    "COUNT = 3\nU1 = demo = camera1 = 152\nU2 = admin = admin1 = 254\n"
                    "U3 = viewer = view1 = 24\n");
  };
  DaemonHarness daemon(options);
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  const struct {
    const char* user;
    const char* password;  // nullptr: the answer is a refusal
    uint16_t length;
    uint32_t status;  // of the refusal, or of the verdict
  } cases[] = {
      {"nobody", nullptr, 0, kAuthStatusNoSuchUser},
      {"viewer", nullptr, 0, kAuthStatusRightsRefused},
      {"admin", "admin1", 260, kAuthStatusAuthenticated},
      {"demo", "admin1", 260, kAuthStatusWrongResponse},  // another user's password
      {"demo", "camera1", 259, kAuthStatusMalformedResponse},
      {"demo", nullptr, 0, kAuthStatusUserListUnreadable},  // last: the list is removed
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.user);
    if (c.password == nullptr && c.status == kAuthStatusUserListUnreadable)
      unlink(daemon.web_path("admin/user_list.lst").c_str());
    int s = daemon.connect_client();
    ASSERT_GE(s, 0);
    const uint8_t nonce[4] = {0xC1, 0x1E, 0x47, 0x5A};
    uint8_t opening[kAuthMessageSize], answer[kAuthMessageSize], verdict[kAuthVerdictSize];
    build_opening_message(opening, c.user, nonce);
    opening[0] = 0xEE;  // the head of an opening message is not looked at
    ASSERT_EQ(client_send(s, opening, kAuthMessageSize), 0);
    ASSERT_EQ(login_read_answer(s, answer), 0);
    EXPECT_EQ(auth_read_type(answer), kAuthTypeAnswer);
    if (c.password == nullptr) {
      EXPECT_EQ(auth_read_length(answer), 0);
      EXPECT_EQ(auth_read_status(answer), c.status);
      EXPECT_EQ(memcmp(answer + 8, opening + 8, kAuthMessageSize - 8), 0) << "no echo";
    } else {
      EXPECT_EQ(auth_read_length(answer), kAuthBodyLength);
      ASSERT_EQ(auth_read_status(answer), kAuthStatusChallenge);
      char sealed_name[32];
      read_challenge_name(answer, nonce, sealed_name, sizeof sealed_name);
      EXPECT_STREQ(sealed_name, c.user);
      ASSERT_EQ(login_send_response(s, c.password, answer + kAuthNonceOffset, c.length), 0);
      ASSERT_EQ(login_read_verdict(s, verdict), 0);
      EXPECT_EQ(auth_read_type(verdict), kAuthTypeVerdict);
      EXPECT_EQ(auth_read_status(verdict), c.status);
    }
    bool authenticated = c.password != nullptr && c.status == kAuthStatusAuthenticated;
    EXPECT_TRUE(authenticated ? close_served(s) : client_wait_closed(s, kDaemonWaitMs));
    close(s);
  }
  EXPECT_EQ(daemon.count_in_output("Auth Mismatch\n"), 1u);
  EXPECT_EQ(daemon.count_in_output("fopen() failed - /admin/user_list.lst\n"), 1u);
}

}  // namespace
}  // namespace camrcd
