// Client messages: the opening message layout, agreement with the server's own steps
// (its check of a response, its challenge for a name), request header fields, and
// replies over a socket pair: whole, refused, cut short or never sent.
#include <gtest/gtest.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "auth/auth_exchange.h"
#include "client/client_login.h"
#include "client/client_request.h"
#include "client/client_socket.h"
#include "control/net_io.h"

namespace camrcd {
namespace {

using Bytes = std::vector<uint8_t>;

TEST(ClientLogin, Messages) {
  const uint8_t nonce[4] = {0xA5, 0, 0x5A, 0xFF};
  uint8_t message[kAuthMessageSize], server_nonce[4];
  memset(message, 0xEE, sizeof message);
  build_opening_message(message, "demo", nonce);
  const uint8_t expected[kAuthMessageSize] = {0,    0, 0,    0,    0,   0,   0,   0,
                                              0xA5, 0, 0x5A, 0xFF, 'd', 'e', 'm', 'o'};
  EXPECT_EQ(0, memcmp(message, expected, sizeof message));
  std::string long_name(300, 'n');  // cut so that its zero byte still fits
  build_opening_message(message, long_name.c_str(), nonce);
  EXPECT_EQ(long_name.substr(0, 255), reinterpret_cast<char*>(message + kAuthDataOffset));

  // The server's own steps accept the response and make the challenge the client reads.
  char name[32];
  build_response_message(message, "camera1", nonce);
  EXPECT_EQ(0, check_response(message, nonce, "camera1"));
  build_response_message(message, "camera1", nonce, 259);
  EXPECT_EQ(-1, check_response(message, nonce, "camera1"));

  const std::string user = "user.with-19-chars";
  build_opening_message(message, user.c_str(), nonce);
  make_challenge(message, server_nonce, user.c_str());
  for (size_t size : {32, 5}) {  // the whole name, and cut to fit four characters
    read_challenge_name(message, nonce, name, size);
    EXPECT_EQ(user.substr(0, size - 1), name);
  }
}

TEST(ClientRequest, HeaderFields) {
  RequestHeader reload = make_reload_request(0x0105);  // group bits big-endian
  EXPECT_EQ(Bytes(reload.bytes, reload.bytes + 4), Bytes({0x77, 0x33, 0x01, 0x05}));
  RequestHeader title = make_request(kClassOverlay, kSubTitle);
  request_set_version(&title, 6, 1, 0);  // minor first
  EXPECT_EQ(Bytes(title.bytes + 6, title.bytes + 8), Bytes({0, 1}));
  request_set_byte(&title, 24, 0x99);
  request_set_text(&title, 4, 20, "a title of more than twenty");
  request_set_text(&title, 20, 20, "out of range");
  EXPECT_EQ(std::string(reinterpret_cast<char*>(title.bytes + 4), 21), "a title of more than\x99");
  EXPECT_EQ(nullptr, find_request_kind("no-such-request"));
}

// A reply: header (declared length, 0x77 0x33, class) and payload filled with 0x55, the
// payload's last byte `last`.
Bytes reply_bytes(uint16_t declared, size_t payload, uint8_t cls = 0x10, uint8_t last = 0xAA) {
  Bytes bytes = {
      static_cast<uint8_t>(declared), static_cast<uint8_t>(declared >> 8), 0, 0, 0x77, 0x33, cls};
  bytes.resize(32, 0x55);  // header byte 31 and a 1-byte payload 0xAA look like a trailer
  bytes.resize(32 + payload, 0x55);
  bytes.back() = payload > 0 ? last : 0;
  return bytes;
}

TEST(ClientRequest, ReadReply) {
  const struct {
    Bytes sent;  // then the sending end closes, unless the reply is to time out
    int32_t expected;
    bool trailer_ok;
  } cases[] = {
      {reply_bytes(0, 0), 32, true},
      {reply_bytes(101, 101), 133, true},
      {reply_bytes(4803, 4803), 4835, true},  // the largest, a motion map
      {reply_bytes(101, 101, 0x10, 0x55), 133, false},
      {reply_bytes(1, 1), 33, false},  // too short to hold a trailer
      {reply_bytes(0, 0, 0x20), kClientBadReply, false},
      {reply_bytes(0xFFFF, 0), kClientBadReply, false},  // payload beyond the buffer
      {reply_bytes(101, 50), kResultPeerGone, false},
      {Bytes(20, 0), kResultPeerGone, false},
      {{}, kResultWouldBlock, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    int pair[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair));
    ASSERT_EQ(0, client_set_timeout(pair[0], 100));
    ASSERT_EQ(c.sent.size(), static_cast<size_t>(write(pair[1], c.sent.data(), c.sent.size())));
    if (c.expected != kResultWouldBlock)
      shutdown(pair[1], SHUT_WR);
    Reply reply;
    EXPECT_EQ(c.expected, read_reply(pair[0], &reply));
    if (c.expected > 0) {
      EXPECT_EQ(c.trailer_ok, reply_trailer_ok(reply));
      EXPECT_EQ(c.sent, Bytes(reply.bytes, reply.bytes + reply.length));
    }
    close(pair[0]);
    close(pair[1]);
  }
}

}  // namespace
}  // namespace camrcd
