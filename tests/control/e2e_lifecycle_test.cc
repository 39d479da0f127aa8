// End-to-end connection lifecycle. Abuse and the user limit: a few hundred connections
// (garbage, truncated messages, huge declared lengths, failed logins, clients leaving
// at every step, with an orderly close or a reset) leave the daemon with the
// descriptors it had before and a user count of 0: five clients are served, a sixth
// is not. Framing: a header may arrive in pieces; 32 bytes with a wrong prefix are
// dropped whole, so the next 32 bytes are read as a header.
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

const uint8_t kNonce[4] = {1, 2, 3, 4};
constexpr int kKinds = 9;

void garbage(int socket, size_t length, uint8_t seed) {
  std::vector<uint8_t> bytes(length);
  for (size_t i = 0; i < length; i++)
    bytes[i] = static_cast<uint8_t>(seed + i * 37);
  client_send(socket, bytes.data(), bytes.size());
}

// Reads the greeting, sends an opening message for user and reads the answer.
bool answered(int s, const char* user, uint8_t* answer) {
  return client_read_greeting(s) == 0 && login_send_opening(s, user, kNonce) == 0 &&
         login_read_answer(s, answer) == 0;
}

bool logged_in(int s) {
  return client_read_greeting(s) == 0 &&
         client_login(s, "demo", "camera1").outcome == kLoginLoggedIn;
}

// Abuse number i of a fresh connection: kind i % kKinds, lengths varied by n. The
// caller closes the connection.
void abuse(int s, int i) {
  int n = i / kKinds;
  uint8_t m[kAuthMessageSize];
  memset(m, 'a' + n % 26, sizeof m);
  RequestHeader motion = make_request(kClassEvent, kSubMotionWrite);
  request_set_u16(&motion, 6, 0xFFFF);
  std::vector<uint8_t> payload(100 + n * 300, 0x01);
  switch (i % kKinds) {  // 0: connect and go
    case 1:
      return garbage(s, 1 + (n * 53) % 700, static_cast<uint8_t>(n));
    case 2:  // an opening message whose name has no end, or a truncated one
      if (n % 2 == 0)
        build_opening_message(m, "demo", kNonce);
      client_send(s, m, n % 2 ? sizeof m : n * 11 % kAuthMessageSize);
      return;
    case 3:  // an unknown user, or a challenge left unanswered
      answered(s, n % 2 ? "stranger" : "demo", m);
      return;
    case 4:  // a truncated response
      if (answered(s, "demo", m))
        client_send(s, m, 1 + n * 13 % (kAuthMessageSize - 1));
      return;
    case 5: {  // good, wrong, huge or short responses; the verdict read or not
      const uint16_t lengths[] = {kAuthBodyLength, static_cast<uint16_t>(0xFFFF - n), 259};
      if (answered(s, "demo", m) &&
          login_send_response(s, n % 4 ? "camera1" : "camera2", m + kAuthNonceOffset,
                              lengths[n % 3]) == 0 &&
          n % 2)
        login_read_verdict(s, m);
      return;
    }
    case 6:  // logged in, then garbage: half a header, or headers with bad prefixes
      if (logged_in(s))
        garbage(s, n % 2 ? n % 32 : 32 * (1 + n % 4), n % 2 ? 0x77 : 0x10);
      return;
    case 7:  // a motion write declaring far more payload than it sends
      if (logged_in(s))
        send_request(s, motion, payload.data(), payload.size());
      return;
    case 8:  // ignored requests, then a request whose reply is never read
      if (!logged_in(s))
        return;
      send_request(s, make_reload_request(0x0400));  // an invalid group bit set
      send_request(s, make_request(kClassInformation, 0x05));
      send_request(s, make_request(kClassCamera, static_cast<uint8_t>(0x30 + n)));
      send_request(s, make_request(kClassInformation, kSubDeviceInfo));
      return;
  }
}

TEST(EndToEndLifecycle, AbuseGivesBackDescriptorsAndUserSlots) {
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  int warm_up = daemon.login_client();  // settles whatever a first client opens
  ASSERT_TRUE(warm_up >= 0 && info_served(warm_up) && close_served(warm_up));
  close(warm_up);
  ASSERT_TRUE(wait_for_ended(daemon, 1));
  usleep(20000);  // the close sequence ends with the close after its last line
  int before = daemon.open_descriptor_count();
  ASSERT_GT(before, 0);

  size_t connections = 1;
  for (int i = 0; i < 24 * kKinds; i++, connections++) {
    int s = client_connect("127.0.0.1", daemon.port(), 1000);
    ASSERT_GE(s, 0) << "connection " << connections;
    abuse(s, i);
    i / kKinds % 2 == 0 ? close_with_reset(s) : void(close(s));
  }
  ASSERT_TRUE(wait_for_ended(daemon, connections, 10000))
      << ended_connections(daemon) << " of " << connections << " ended";
  int after = daemon.open_descriptor_count();
  for (int64_t end = monotonic_ms() + kDaemonWaitMs; after != before && monotonic_ms() < end;) {
    usleep(10000);
    after = daemon.open_descriptor_count();
  }
  EXPECT_EQ(before, after);

  std::vector<int> admitted;
  for (int i = 0; i < 5; i++) {
    admitted.push_back(daemon.login_client());
    EXPECT_TRUE(admitted.back() >= 0 && info_served(admitted.back())) << "client " << i;
  }
  for (int sixth = 0; sixth < 2; sixth++) {  // let in, served nothing, closed; twice:
    int s = daemon.login_client();           // leaving must not free a slot
    ASSERT_GE(s, 0);
    send_request(s, make_request(kClassInformation, kSubClose));
    Reply reply;
    EXPECT_LT(read_reply(s, &reply), 0) << "a sixth client was served";
    close(s);
    EXPECT_TRUE(wait_for_ended(daemon, ++connections));
  }
  EXPECT_EQ(daemon.count_in_output("==Start User Count =6"), 0u);
  for (int s : admitted) {
    EXPECT_TRUE(info_served(s) && close_served(s));
    close(s);
  }
}

// Each case sends an optional bad header, then a close request, in the given pieces;
// the close request must get its close reply.
TEST(EndToEndLifecycle, HeadersInPiecesAndBadPrefixes) {
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  const struct {
    std::vector<uint8_t> prefix;  // of a bad header; empty: none
    std::vector<size_t> pieces;
    const char* printed;
  } cases[] = {
      {{}, {1, 1, 1, 1, 1}, ""},
      {{'x', 'x'}, {}, "Pre-Fix Not Match 7878\n"},
      {{0x33, 0x77}, {32}, "Pre-Fix Not Match 3377\n"},  // byte order swapped
      {{0x77, 0x00}, {37}, "Pre-Fix Not Match 7700\n"},  // the close split after 5 bytes
      {{0x00, 0x33}, {10, 40}, "Pre-Fix Not Match 33\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    int s = daemon.login_client();
    ASSERT_GE(s, 0);
    std::vector<uint8_t> bytes = c.prefix;
    if (!bytes.empty()) {
      bytes.resize(32, 0x5A);
      bytes[2] = kClassInformation;  // a good class and sub after a bad prefix
      bytes[3] = kSubClose;
    }
    RequestHeader close_request = make_request(kClassInformation, kSubClose);
    bytes.insert(bytes.end(), close_request.bytes, close_request.bytes + 32);
    ASSERT_TRUE(send_in_pieces(s, bytes.data(), bytes.size(), c.pieces, 20));
    Reply reply;
    EXPECT_EQ(read_reply(s, &reply), 32);
    EXPECT_TRUE(is_close_reply(reply));
    EXPECT_TRUE(client_wait_closed(s, kDaemonWaitMs));
    close(s);
    EXPECT_NE(daemon.output().find(c.printed), std::string::npos);
  }
}

}  // namespace
}  // namespace camrcd
