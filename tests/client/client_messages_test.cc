// Client messages: names cut to fit the login messages, request header fields, replies
// over a socket pair (whole, refused, cut short or never sent), and damaged replies
// refused by the decoder. The decoded fields of every layout are checked end to end:
// camrc's output against the daemon's files, and against the dissector's decoding.
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
#include "client/reply_fields.h"
#include "control/replies.h"
#include "platform/net_io.h"
#include "protocol/wire_text.h"
#include "settings/settings_record.h"

namespace camrcd {
namespace {

using Bytes = std::vector<uint8_t>;

// The layout and the server's acceptance are checked end to end; here the cuts.
TEST(ClientLogin, LongNamesAreCut) {
  const uint8_t nonce[4] = {0xA5, 0, 0x5A, 0xFF};
  uint8_t message[kAuthMessageSize], server_nonce[4];
  std::string long_name(300, 'n');  // cut so that its zero byte still fits
  build_opening_message(message, long_name.c_str(), nonce);
  EXPECT_EQ(long_name.substr(0, 255), reinterpret_cast<char*>(message + kAuthDataOffset));
  make_challenge(message, server_nonce, "user.with-19-chars");
  char name[5];
  read_challenge_name(message, nonce, name, sizeof name);
  EXPECT_STREQ(name, "user");
}

TEST(ClientRequest, HeaderFields) {
  RequestHeader reload = make_reload_request(0x0105);  // group bits big-endian
  EXPECT_EQ(Bytes(reload.bytes, reload.bytes + 4), Bytes({0x77, 0x33, 0x01, 0x05}));
  RequestHeader info = make_request(MessageId::kInfoRequest);
  request_set(&info, Field::kClientVersion, 0x100);  // minor first
  EXPECT_EQ(Bytes(info.bytes + 6, info.bytes + 8), Bytes({0, 1}));
  RequestHeader title = make_request(MessageId::kTitleWrite);
  request_set_byte(&title, 24, 0x99);
  EXPECT_TRUE(request_set_text(&title, Field::kCameraTitle, "a title of more than twenty"));
  request_set_text(&title, 20, 20, "out of range");
  EXPECT_FALSE(request_set(&title, Field::kClientVersion, 0x100));  // no such field here
  EXPECT_EQ(std::string(reinterpret_cast<char*>(title.bytes + 4), 21), "a title of more than\x99");
  EXPECT_EQ(nullptr, find_request_named("no-such-request"));
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

// A reply is checked whole, against the layout its own bytes choose.
TEST(ReplyFields, RefusesDamagedReplies) {
  settings = SettingsRecord{};
  settings.device_type = 1;
  settings.privacy.privacy_area_valid = 1;
  std::vector<uint8_t> good(kConnectionBufferSize);
  size_t length = build_reply(MessageId::kInfoReply, good.data(), 0);
  const struct {
    const char* what;
    size_t offset;  // byte to change
    uint8_t value;
    size_t length;
  } cases[] = {
      {"cut by one", 0, good[0], length - 1},
      {"trailer", length - 1, 0xAB, length},
      {"motion sub-command", kReplySub, message(MessageId::kMotionReply).sub, length},
      {"more areas than bytes", 130, 2, length},
      {"declared length", 0, 0x60, length},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    std::vector<uint8_t> reply = good;
    reply[c.offset] = c.value;
    DecodedReply out;
    EXPECT_EQ(decode_reply(reply.data(), c.length, &out, MessageId::kInfoReply), -1);
  }
  DecodedReply out;
  EXPECT_EQ(decode_reply(good.data(), length, &out, MessageId::kMotionReply), -1);
  size_t preset = build_reply(MessageId::kPresetReply, good.data(), 0);
  EXPECT_EQ(decode_reply(good.data(), preset + 1, &out), -1);
}

// A name that reads as 0 must never be sent: the server takes 0 as "unchanged".
TEST(ReplyFields, CodeNamesNeverSendZero) {
  const struct {
    const CodeName* codes;
    const char* name;
    int sent;       // -1: refused
    int shown_for;  // the code printed with this name
  } cases[] = {
      {kSwitchCodes, "none", -1, 0},       {kActCodes, "none", 255, 0},
      {kDirectionCodes, "none", 4, 0},     {kLinkageCodes, "none", -1, 0},
      {kPoaActCodes, "last_action", 4, 4},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    uint8_t code = 0;
    EXPECT_EQ(code_value(c.codes, c.name, &code) == 0 ? code : -1, c.sent);
    EXPECT_STREQ(code_name(c.codes, c.shown_for), c.name);
  }
}

}  // namespace
}  // namespace camrcd
