// End-to-end bad input: a few hundred abusive connections (garbage, truncated
// messages, huge declared lengths, clients vanishing at every step, orderly or with a
// reset) leave the daemon with the descriptors it had before, and it still serves.
#include <gtest/gtest.h>
#include <string.h>
#include <unistd.h>

#include <functional>
#include <vector>

#include "client/client_login.h"
#include "client/client_request.h"
#include "client/client_socket.h"
#include "support/daemon_harness.h"
#include "support/e2e_clients.h"

namespace camrcd {
namespace {

constexpr int kRounds = 24;

// One abuse: acts on a connection whose greeting may not have been read yet. The
// index varies the lengths; the caller closes the socket.
using Abuse = std::function<void(int socket, int index)>;

void garbage(int socket, size_t length, uint8_t seed) {
  std::vector<uint8_t> bytes(length);
  for (size_t i = 0; i < length; i++)
    bytes[i] = static_cast<uint8_t>(seed + i * 37);
  client_send(socket, bytes.data(), bytes.size());
}

// Logs in as demo; false when the daemon did not let the client in.
bool logged_in(int socket) {
  return client_read_greeting(socket) == 0 &&
         client_login(socket, "demo", "camera1").outcome == kLoginLoggedIn;
}

const uint8_t kNonce[4] = {1, 2, 3, 4};

const Abuse kAbuses[] = {
    [](int, int) {},  // connect and go
    [](int s, int i) { garbage(s, 1 + (i * 53) % 700, static_cast<uint8_t>(i)); },
    [](int s, int i) {  // a truncated opening message
      uint8_t message[kAuthMessageSize];
      build_opening_message(message, "demo", kNonce);
      client_send(s, message, static_cast<size_t>(i * 11) % kAuthMessageSize);
    },
    [](int s, int i) {  // an opening message whose name has no end
      uint8_t message[kAuthMessageSize];
      memset(message, 'a' + i % 26, sizeof(message));
      client_send(s, message, sizeof(message));
    },
    [](int s, int) { login_send_opening(s, "demo", kNonce); },
    [](int s, int i) {  // a truncated response
      uint8_t message[kAuthMessageSize];
      if (login_send_opening(s, "demo", kNonce) != 0 || login_read_answer(s, message) != 0)
        return;
      client_send(s, message, 1 + static_cast<size_t>(i * 13) % (kAuthMessageSize - 1));
    },
    [](int s, int i) {  // a response with a huge declared length
      uint8_t message[kAuthMessageSize];
      if (login_send_opening(s, "demo", kNonce) != 0 || login_read_answer(s, message) != 0)
        return;
      login_send_response(s, "camera1", message + kAuthNonceOffset,
                          static_cast<uint16_t>(0xFFFF - i));
      login_read_verdict(s, message);
    },
    [](int s, int i) {  // half a header
      if (logged_in(s))
        garbage(s, static_cast<size_t>(i) % 32, 0x77);
    },
    [](int s, int i) {  // headers with bad prefixes
      if (logged_in(s))
        garbage(s, 32 * (1 + i % 4), 0x10);
    },
    [](int s, int i) {  // a motion write declaring far more payload than it sends
      if (!logged_in(s))
        return;
      RequestHeader motion = make_request(kClassEvent, kSubMotionWrite);
      request_set_u16(&motion, 6, 0xFFFF);
      std::vector<uint8_t> payload(100 + static_cast<size_t>(i) * 300, 0x01);
      send_request(s, motion, payload.data(), payload.size());
    },
    [](int s, int i) {  // ignored requests, then a request whose reply is never read
      if (!logged_in(s))
        return;
      send_request(s, make_reload_request(0x0400));  // an invalid group bit set
      send_request(s, make_request(kClassInformation, 0x05));
      send_request(s, make_request(kClassCamera, static_cast<uint8_t>(0x30 + i)));
      send_request(s, make_request(kClassInformation, kSubDeviceInfo));
    },
};

TEST(EndToEndAbuse, DescriptorsComeBackAndTheDaemonStillServes) {
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  int warm_up = daemon.login_client();  // settles whatever a first client opens
  ASSERT_GE(warm_up, 0);
  ASSERT_TRUE(info_served(warm_up));
  ASSERT_TRUE(close_served(warm_up));
  close(warm_up);
  ASSERT_TRUE(wait_for_ended(daemon, 1));
  usleep(20000);  // the close sequence ends with the close after its last line
  int before = daemon.open_descriptor_count();
  ASSERT_GT(before, 0);

  size_t connections = 1;
  for (int round = 0; round < kRounds; round++) {
    for (const Abuse& abuse : kAbuses) {
      int s = client_connect("127.0.0.1", daemon.port(), 1000);
      ASSERT_GE(s, 0) << "connection " << connections;
      abuse(s, round);
      if (round % 2 == 0) {
        close_with_reset(s);
      } else {
        close(s);
      }
      connections++;
    }
  }
  ASSERT_TRUE(wait_for_ended(daemon, connections, 10000))
      << ended_connections(daemon) << " of " << connections << " ended";

  int after = daemon.open_descriptor_count();
  for (int64_t deadline = monotonic_ms() + kDaemonWaitMs;
       after != before && monotonic_ms() < deadline; usleep(10000)) {
    after = daemon.open_descriptor_count();
  }
  EXPECT_EQ(before, after);

  int client = daemon.login_client();
  ASSERT_GE(client, 0) << "no login after the abuse";
  EXPECT_TRUE(info_served(client));
  EXPECT_TRUE(close_served(client));
  close(client);
}

}  // namespace
}  // namespace camrcd
