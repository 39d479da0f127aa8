// Client message building and reply reading: the sealed blocks against an
// independent DES, the opening message layout, and replies over a socket pair
// delivered in pieces, cut short or never.
// The low-level DES calls serve as an independent oracle only.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <gtest/gtest.h>
#include <openssl/des.h>
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

// The sealed block computed independently: text and zero byte mixed with the nonce,
// zero-padded to 256 bytes, DES-ECB under "tasopek\0" through OpenSSL.
std::vector<uint8_t> oracle_seal(const std::string& text, const uint8_t nonce[4]) {
  std::vector<uint8_t> block(256, 0);
  for (size_t i = 0; i <= text.size(); i++) {
    uint8_t byte = i < text.size() ? static_cast<uint8_t>(text[i]) : 0;
    block[i] = byte ^ nonce[i % 4];
  }
  DES_cblock key = {'t', 'a', 's', 'o', 'p', 'e', 'k', 0};
  DES_key_schedule schedule;
  DES_set_key_unchecked(&key, &schedule);
  for (size_t at = 0; at < block.size(); at += 8) {
    DES_cblock in, out;
    memcpy(in, &block[at], 8);
    DES_ecb_encrypt(&in, &out, &schedule, DES_ENCRYPT);
    memcpy(&block[at], out, 8);
  }
  return block;
}

struct ResponseCase {
  const char* password;  // the client's
  const char* listed;    // the user list's
  uint8_t nonce[4];
  uint16_t length;
  int expected;  // check_response: 0 right, -1 malformed, -2 wrong
};

TEST(ClientLogin, ResponseIsWhatTheServerAccepts) {
  const ResponseCase cases[] = {
      {"camera1", "camera1", {0, 0, 0, 0}, 260, 0},
      {"camera1", "camera1", {0x12, 0x34, 0x56, 0x78}, 260, 0},
      {"", "", {0xFF, 0xFE, 0xFD, 0xFC}, 260, 0},      // only the zero byte is mixed
      {"abcdefg", "abcdefg", {1, 2, 3, 4}, 260, 0},    // zero byte ends a DES block
      {"abcdefgh", "abcdefgh", {9, 8, 7, 6}, 260, 0},  // zero byte starts the next
      {"nineteen-characters", "nineteen-characters", {0x80, 0, 0xFF, 1}, 260, 0},
      {"camera1", "Camera1", {1, 2, 3, 4}, 260, -2},
      {"camera", "camera1", {1, 2, 3, 4}, 260, -2},  // a prefix is no match
      {"camera1", "camera1", {1, 2, 3, 4}, 259, -1},
      {"camera1", "camera1", {1, 2, 3, 4}, 261, -1},
  };
  for (const ResponseCase& c : cases) {
    uint8_t message[kAuthMessageSize];
    build_response_message(message, c.password, c.nonce, c.length);
    EXPECT_EQ(c.expected, check_response(message, c.nonce, c.listed))
        << c.password << " / " << c.listed << " / " << c.length;
  }
}

// Challenge of "admin" under a zero client nonce: a fixed DES reference vector.
std::vector<uint8_t> admin_zero_nonce_block() {
  const uint8_t first[8] = {0xbc, 0xc8, 0xc0, 0x64, 0x1e, 0x69, 0x71, 0xa1};
  const uint8_t rest[8] = {0x86, 0x62, 0x59, 0xa5, 0x5a, 0x26, 0xde, 0x5f};
  std::vector<uint8_t> block(first, first + 8);
  for (int i = 0; i < 31; i++)
    block.insert(block.end(), rest, rest + 8);
  return block;
}

TEST(ClientLogin, ChallengeNameIsReadBack) {
  const uint8_t zero[4] = {0, 0, 0, 0};
  const uint8_t mixed[4] = {0xA5, 0x00, 0x5A, 0xFF};
  struct {
    std::vector<uint8_t> block;
    const uint8_t* nonce;
    const char* name;
  } cases[] = {
      {admin_zero_nonce_block(), zero, "admin"},
      {oracle_seal("demo", mixed), mixed, "demo"},
      {oracle_seal("user.with-19-chars", mixed), mixed, "user.with-19-chars"},
  };
  for (const auto& c : cases) {
    uint8_t challenge[kAuthMessageSize] = {};
    memcpy(challenge + kAuthDataOffset, c.block.data(), 256);
    char name[32];
    read_challenge_name(challenge, c.nonce, name, sizeof(name));
    EXPECT_STREQ(c.name, name);
  }
  uint8_t opening[kAuthMessageSize];
  build_opening_message(opening, "demo", mixed);
  uint8_t server_nonce[4];
  make_challenge(opening, server_nonce, "demo");
  char name[32];
  read_challenge_name(opening, mixed, name, sizeof(name));
  EXPECT_STREQ("demo", name);

  uint8_t response[kAuthMessageSize];
  build_response_message(response, "admin", zero);
  EXPECT_EQ(0, memcmp(response + kAuthDataOffset, admin_zero_nonce_block().data(), 256));
}

TEST(ClientLogin, OpeningMessageLayout) {
  const uint8_t nonce[4] = {1, 2, 3, 4};
  uint8_t message[kAuthMessageSize];
  memset(message, 0xEE, sizeof(message));
  build_opening_message(message, "demo", nonce);
  EXPECT_EQ(0, memcmp(message + 8, nonce, 4));
  EXPECT_STREQ("demo", reinterpret_cast<char*>(message + 12));
  for (size_t i = 12 + 4; i < kAuthMessageSize; i++)
    ASSERT_EQ(0, message[i]) << i;
  EXPECT_EQ(0u, auth_field_status(message));

  std::string long_name(300, 'n');  // cut so that its zero byte still fits
  build_opening_message(message, long_name.c_str(), nonce);
  EXPECT_EQ('n', message[266]);
  EXPECT_EQ(0, message[267]);
}

TEST(ClientRequest, HeaderFields) {
  RequestHeader reload = make_reload_request(0x0105);
  EXPECT_EQ(0x77, reload.bytes[0]);
  EXPECT_EQ(0x33, reload.bytes[1]);
  EXPECT_EQ(0x01, reload.bytes[2]);  // big-endian group bits
  EXPECT_EQ(0x05, reload.bytes[3]);

  RequestHeader info = make_request(kClassInformation, kSubDeviceInfo);
  request_set_version(&info, 6, 1, 0);
  EXPECT_EQ(0, info.bytes[6]);  // minor first
  EXPECT_EQ(1, info.bytes[7]);

  RequestHeader title = make_request(kClassOverlay, kSubTitle);
  request_set_byte(&title, 24, 0x99);
  request_set_text(&title, 4, 20, "a title of more than twenty");
  EXPECT_EQ(0, memcmp(title.bytes + 4, "a title of more than", 20));
  EXPECT_EQ(0x99, title.bytes[24]);  // nothing written past the field
  request_set_text(&title, 20, 20, "out of range");
  EXPECT_EQ(0x99, title.bytes[24]);

  EXPECT_EQ(kSubPresetRead, find_request_kind("preset-read")->sub);
  EXPECT_EQ(nullptr, find_request_kind("no-such-request"));
}

std::vector<uint8_t> reply_bytes(uint16_t declared, size_t payload, uint8_t class_byte = 0x10) {
  std::vector<uint8_t> bytes(32 + payload, 0x11);
  memset(bytes.data(), 0, 32);
  bytes[0] = static_cast<uint8_t>(declared);
  bytes[1] = static_cast<uint8_t>(declared >> 8);
  bytes[4] = 0x77;
  bytes[5] = 0x33;
  bytes[6] = class_byte;
  if (payload >= 2) {
    bytes[bytes.size() - 2] = 0x55;
    bytes[bytes.size() - 1] = 0xAA;
  }
  return bytes;
}

struct ReplyCase {
  const char* what;
  std::vector<uint8_t> sent;
  std::vector<size_t> pieces;  // sizes of the sends; the rest is sent last
  bool close_after;
  int32_t expected;
};

TEST(ClientRequest, ReadReply) {
  const ReplyCase cases[] = {
      {"bare header", reply_bytes(0, 0), {}, false, 32},
      {"device information in pieces", reply_bytes(101, 101), {3, 40, 60}, false, 133},
      {"motion reply", reply_bytes(4803, 4803), {32, 1000}, false, 4835},
      {"wrong class", reply_bytes(0, 0, 0x20), {}, false, kClientBadReply},
      {"payload beyond the buffer", reply_bytes(0xFFFF, 0), {}, false, kClientBadReply},
      {"payload cut short", reply_bytes(101, 50), {}, true, kResultPeerGone},
      {"header cut short", std::vector<uint8_t>(20, 0), {}, true, kResultPeerGone},
      {"silence", {}, {}, false, kResultWouldBlock},
  };
  for (const ReplyCase& c : cases) {
    int pair[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair));
    ASSERT_EQ(0, client_set_timeout(pair[0], 100));
    size_t at = 0;
    for (size_t piece : c.pieces) {
      ASSERT_EQ(piece, static_cast<size_t>(write(pair[1], c.sent.data() + at, piece)));
      at += piece;
    }
    if (at < c.sent.size()) {
      ASSERT_EQ(c.sent.size() - at,
                static_cast<size_t>(write(pair[1], c.sent.data() + at, c.sent.size() - at)));
    }
    if (c.close_after)
      close(pair[1]);
    Reply reply;
    EXPECT_EQ(c.expected, read_reply(pair[0], &reply)) << c.what;
    if (c.expected > 0) {
      EXPECT_TRUE(reply_trailer_ok(reply)) << c.what;
      EXPECT_EQ(0, memcmp(reply.bytes, c.sent.data(), reply.length)) << c.what;
    }
    close(pair[0]);
    if (!c.close_after)
      close(pair[1]);
  }
}

TEST(ClientRequest, TrailerCheck) {
  Reply reply;
  std::vector<uint8_t> bytes = reply_bytes(101, 101);
  memcpy(reply.bytes, bytes.data(), bytes.size());
  reply.length = bytes.size();
  EXPECT_TRUE(reply_trailer_ok(reply));
  reply.bytes[reply.length - 1] = 0x55;
  EXPECT_FALSE(reply_trailer_ok(reply));
  reply.length = 33;  // a payload too short to hold a trailer
  EXPECT_FALSE(reply_trailer_ok(reply));
}

}  // namespace
}  // namespace camrcd
