// Write-request field copies: zero means "unchanged" except for selectors, 16-bit
// fields, the MPEG bitrate taken only under rate-control code 2, and the text rules.
#include <gtest/gtest.h>
#include <string.h>

#include <algorithm>
#include <initializer_list>
#include <string>
#include <utility>

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

}  // namespace
}  // namespace camrcd
