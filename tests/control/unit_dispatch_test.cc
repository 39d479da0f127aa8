// Request handling rules the end-to-end writes do not reach: field copies (selectors
// taken even when 0, the MPEG bitrate under a rate-control code other than 2, the text
// rules), the reload bit set, motion payloads of every
// declared length (the connection must stay in step with the client's bytes), and the
// reply builders against recorded replies (data/replies.txt: builder, device type,
// areas valid, map valid, length, the first bytes in hex; every record byte holds its
// own value, so a misplaced field shows; a marker pre-fills the buffer).
#include <gtest/gtest.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <initializer_list>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "control/dispatch.h"
#include "control/field_copies.h"
#include "control/replies.h"
#include "protocol/wire_text.h"
#include "settings/settings_record.h"
#include "support/daemon_harness.h"

namespace camrcd {
namespace {

using Header = std::initializer_list<std::pair<int, int>>;  // byte, value; the rest 0

TEST(FieldCopies, NumberRules) {
  SettingsRecord& s = settings;
  const struct {
    const char* name;
    MessageId request;
    Header header;
    uint8_t* byte;  // the field: a byte, or else a 32-bit word
    int32_t* word;
    int before, after, cbr;  // cbr: mpeg_cbr_code before the copy
  } cases[] = {
      {"selector 0", MessageId::kAlarmLinkWrite, {{8, 2}}, &s.current_alarmin, nullptr, 3, 0, 0},
      {"md2 area 0 taken", MessageId::kMotionWrite, {{4, 1}}, &s.current_md, nullptr, 5, 0, 0},
      {"code 0", MessageId::kMpegWrite, {{8, 9}}, nullptr, &s.mpeg.mpeg_bitrate, 1234, 1234, 0},
      {"stream", MessageId::kStreamWrite, {{7, 2}, {9, 1}}, nullptr, &s.mpeg.mpeg_bitrate, 5, 1, 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    settings = SettingsRecord{};
    settings.mpeg.mpeg_cbr_code = static_cast<uint8_t>(c.cbr);
    c.byte ? void(*c.byte = uint8_t(c.before)) : void(*c.word = c.before);
    uint8_t header[kRequestHeaderSize] = {};
    for (const auto& [at, value] : c.header)
      header[at] = static_cast<uint8_t>(value);
    copy_request_fields(c.request, header);
    EXPECT_EQ(c.byte ? *c.byte : *c.word, c.after);
  }
}

TEST(FieldCopies, TextRules) {
  const char kOld[] = "old title text here";
  const struct {
    const char* name;
    MessageId request;
    int offset;
    std::string sent;  // placed at offset; the header is zero elsewhere
    char* field;
    std::string after;
  } cases[] = {
      {"cut at 20", MessageId::kOsdWrite, 8, "abcdefghijklmnopqrstUV", settings.osd.osd_title,
       "abcdefghijklmnopqrst"},
      {"preset name 0 clears", MessageId::kPresetWrite, 14, "", settings.preset.name, ""},
      {"cut at 10", MessageId::kPresetWrite, 14, "0123456789X", settings.preset.name, "0123456789"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    size_t size = c.field == settings.preset.name ? kSectionTextFieldSize : kTitleFieldSize;
    memset(c.field, 'z', size);  // stale bytes must not survive a copy
    memcpy(c.field, kOld, std::min(sizeof kOld, size));
    uint8_t header[kRequestHeaderSize] = {};
    memcpy(header + c.offset, c.sent.data(), std::min(c.sent.size(), 32 - size_t(c.offset)));
    copy_request_fields(c.request, header);
    EXPECT_EQ(std::string(c.field, strnlen(c.field, size)), c.after);
    for (size_t i = c.after.size(); c.after != kOld && i < size; ++i)
      EXPECT_EQ(c.field[i], 0) << i;
  }
}

TEST(Dispatch, ReloadBitSet) {
  for (int bit = 0; bit < 16; ++bit) {
    uint32_t mask = 0xDEAD;
    bool valid = bit < 10 || bit == 12;  // bits 9 and 12 load nothing
    EXPECT_EQ(reload_load_mask(1 << bit, &mask), valid) << bit;
    EXPECT_EQ(mask, !valid ? 0xDEAD : bit < 9 ? 1u << bit : 0u) << bit;
  }
  uint32_t mask = 0;
  EXPECT_TRUE(reload_load_mask(0x13FF, &mask));
  EXPECT_EQ(mask, 0x1FFu);
}

// A motion write whose declared length is sent, then the next header: the handler must
// read exactly the declared bytes and take the map only with its trailer.
TEST(Dispatch, MotionPayloadFromAWriterThread) {
  int ends[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
  std::vector<uint8_t> buffer(kConnectionBufferSize);
  const struct {
    const char* name;
    uint8_t type;
    size_t declared;
    bool trailer;     // 0x55 0xAA at payload bytes 4801 and 4802: the map is taken
    uint8_t version;  // header byte 9
    bool closes;
  } cases[] = {
      {"exact payload", 1, 4803, true, 0, false},
      {"short after a valid one", 1, 10, false, 0, false},
      {"bad trailer", 1, 4803, false, 0, false},
      {"largest declared length", 1, 65535, true, 0, false},
      {"md2 version 0", 0, 4803, true, 0, true},
      {"md2 version 1", 0, 4803, true, 1, false},
  };
  const uint8_t next[kRequestHeaderSize] = {0x77, 0x33, 0x10, 0xF0, 'n', 'e', 'x', 't'};
  uint8_t fill = 1;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    settings = SettingsRecord{};  // no md area selected: nothing is saved or applied
    settings.device_type = c.type;
    memset(settings.motion_block_map, 0xCC, kMotionBlockMapSize);
    const uint8_t header[kRequestHeaderSize] = {
        0x77, 0x33,     0x40, 0x00, 1, 0x21, uint8_t(c.declared), uint8_t(c.declared >> 8),
        0,    c.version};
    std::vector<uint8_t> stream(c.declared, ++fill);
    if (c.trailer)
      std::copy_n("\x55\xAA", 2, stream.begin() + 4801);
    stream.insert(stream.end(), next, next + sizeof next);
    std::thread writer([&] { send(ends[1], stream.data(), stream.size(), 0); });
    RequestMasks masks = {};
    EXPECT_EQ(execute_request(header, ends[0], buffer.data(), &masks),
              c.closes ? RequestOutcome::kCloseNow : RequestOutcome::kKeepServing);
    EXPECT_EQ(settings.motion_map_length, static_cast<int32_t>(c.declared));
    EXPECT_EQ(settings.motion_block_map[100], c.trailer ? fill : 0xCC);
    uint8_t after[kRequestHeaderSize];
    EXPECT_EQ(recv(ends[0], after, sizeof after, MSG_WAITALL), 32);
    EXPECT_EQ(memcmp(after, next, sizeof after), 0) << "stream out of step";
    writer.join();
  }
  close(ends[0]);
  close(ends[1]);
}

constexpr uint8_t kUnwritten = 0xEE;  // the pattern below never holds it

TEST(Replies, MatchRecordedBytes) {
  std::ifstream data(CAMRCD_SOURCE_DIR "/tests/control/data/replies.txt");
  std::string name, hex;
  int type, areas, map_valid;
  size_t length = 0, checked = 0;
  while (data >> name >> type >> areas >> map_valid >> length >> hex) {
    MessageId id = MessageId::kCount;  // the reply of that name
    for (size_t m = 0; m < kMessageCount; ++m)
      id = name == message_text(MessageId(m)).name ? MessageId(m) : id;
    ASSERT_NE(id, MessageId::kCount) << name;
    SCOPED_TRACE(name + " " + std::to_string(type) + std::to_string(areas));
    uint8_t* record = reinterpret_cast<uint8_t*>(&settings);
    // Bytes 1 to 200 in turn, each aligned four mirrored (a b b a): the low byte and
    // the low 16 bits of a 32-bit field are then the same in either byte order.
    for (size_t i = 0; i < sizeof settings; ++i)
      record[i] = static_cast<uint8_t>(1 + (i - i % 4 + std::min(i % 4, 3 - i % 4)) % 200);
    settings.device_type = uint8_t(type);
    settings.privacy.privacy_area_valid = uint8_t(areas);
    settings.motion_map_valid = uint8_t(map_valid);
    strcpy(settings.title.camera_title, "cam");  // a short text is padded with zeros
    std::vector<uint8_t> buffer(kConnectionBufferSize, kUnwritten);
    ASSERT_EQ(build_reply(id, buffer.data(), 0), length);
    EXPECT_EQ(to_hex(buffer.data(), hex.size() / 2), hex);
    EXPECT_EQ(std::count(buffer.begin(), buffer.begin() + length, kUnwritten), 0);
    EXPECT_EQ(buffer[length], kUnwritten);
    EXPECT_TRUE(length == kReplyHeaderSize ||
                (buffer[length - 2] == 0x55 && buffer[length - 1] == 0xAA));
    ++checked;
  }
  EXPECT_EQ(checked, 10u);
}

}  // namespace
}  // namespace camrcd
