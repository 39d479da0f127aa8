// Request handling rules: write-request field copies (zero means "unchanged" except for
// selectors; 16-bit fields; the MPEG bitrate taken only under rate-control code 2; the
// text rules), video resolution acceptance, the reload bit set, and motion payloads of
// every declared length (the connection must stay in step with the client's bytes).
#include <gtest/gtest.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <initializer_list>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "control/dispatch.h"
#include "control/field_copies.h"
#include "control/request_header.h"
#include "settings/settings_record.h"

namespace camrcd {
namespace {

using Header = std::initializer_list<std::pair<int, int>>;  // byte, value; the rest 0

struct Field {  // a byte or a 32-bit field of the record
  Field(uint8_t* b) : byte(b) {}
  Field(int32_t* w) : word(w) {}
  uint8_t* byte = nullptr;
  int32_t* word = nullptr;
};

TEST(FieldCopies, NumberRules) {
  SettingsRecord& s = settings;
  const struct {
    const char* name;
    const FieldCopyTable& table;
    Header header;
    Field field;
    int before, after, cbr;  // cbr: mpeg_cbr_code before the copy
  } cases[] = {
      {"0 keeps", kPictureWriteFields, {{5, 7}}, &s.camcontrol1.cam_brightness, 40, 40, 0},
      {"non-zero sets", kPictureWriteFields, {{5, 7}}, &s.camcontrol1.cam_contrast, 1, 7, 0},
      {"selector 0 taken", kAlarmLinkWriteFields, {{8, 2}}, &s.current_alarmin, 3, 0, 0},
      {"md2 area 0 taken", kMd2MotionWriteFields, {{4, 1}}, &s.current_md, 5, 0, 0},
      {"16-bit high byte only", kPrivacyWriteFields, {{8, 1}}, &s.privacy.privacy_left, 0, 256, 0},
      {"16-bit 0 keeps", kPrivacyWriteFields, {{9, 5}}, &s.privacy.privacy_left, 77, 77, 0},
      {"bitrate 0, code set 2", kMpegWriteFields, {{6, 2}}, &s.mpeg.mpeg_bitrate, 1234, 0, 1},
      {"code set 1", kMpegWriteFields, {{6, 1}, {8, 9}}, &s.mpeg.mpeg_bitrate, 1234, 1234, 2},
      {"code 0", kMpegWriteFields, {{8, 9}}, &s.mpeg.mpeg_bitrate, 1234, 1234, 0},
      {"code 2", kMpegWriteFields, {{8, 0x10}, {9, 0x27}}, &s.mpeg.mpeg_bitrate, 0, 10000, 2},
      {"stream", kStreamMpegWriteFields, {{7, 2}, {9, 1}}, &s.mpeg.mpeg_bitrate, 5, 1, 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    settings = SettingsRecord{};
    settings.mpeg.mpeg_cbr_code = static_cast<uint8_t>(c.cbr);
    c.field.byte ? void(*c.field.byte = uint8_t(c.before)) : void(*c.field.word = c.before);
    uint8_t header[kRequestHeaderSize] = {};
    for (const auto& [at, value] : c.header)
      header[at] = static_cast<uint8_t>(value);
    copy_fields(c.table, header);
    EXPECT_EQ(c.field.byte ? *c.field.byte : *c.field.word, c.after);
  }
}

TEST(FieldCopies, TextRules) {
  const char kOld[] = "old title text here";
  char *title = settings.title.camera_title, *osd = settings.osd.osd_title;
  char* preset = settings.preset.name;
  const struct {
    const char* name;
    const FieldCopyTable& table;
    int offset;
    std::string sent;  // placed at offset; the header is zero elsewhere
    char* field;
    std::string after;
  } cases[] = {
      {"first byte 0 keeps", kTitleWriteFields, 4, std::string("\0abc", 4), title, kOld},
      {"shorter clears the rest", kTitleWriteFields, 4, "Door", title, "Door"},
      {"at most 20", kOsdWriteFields, 8, "abcdefghijklmnopqrstUV", osd, "abcdefghijklmnopqrst"},
      {"preset name 0 clears", kPresetSetFields, 14, "", preset, ""},
      {"preset name at most 10", kPresetSetFields, 14, "0123456789X", preset, "0123456789"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    size_t size = c.field == preset ? kSectionTextFieldSize : kTitleFieldSize;
    memset(c.field, 'z', size);  // stale bytes must not survive a copy
    memcpy(c.field, kOld, std::min(sizeof kOld, size));
    uint8_t header[kRequestHeaderSize] = {};
    memcpy(header + c.offset, c.sent.data(), std::min(c.sent.size(), 32 - size_t(c.offset)));
    copy_fields(c.table, header);
    EXPECT_EQ(std::string(c.field, strnlen(c.field, size)), c.after);
    for (size_t i = c.after.size(); c.after != kOld && i < size; ++i)
      EXPECT_EQ(c.field[i], 0) << i;
  }
}

TEST(Dispatch, VideoResolutionOneToThreeAndChanged) {
  for (int requested : {0, 1, 2, 3, 4, 255}) {
    for (int current : {0, 1, 2, 3, 4}) {
      bool known = requested >= 1 && requested <= 3 && current >= 1 && current <= 3;
      EXPECT_EQ(video_resolution_accepted(requested, current), known && requested != current)
          << requested << " over " << current;
    }
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
    if (c.trailer) {
      stream[4801] = 0x55;
      stream[4802] = 0xAA;
    }
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

}  // namespace
}  // namespace camrcd
