// Write-request field copies: the zero-means-unchanged rule, the fields taken even
// when 0, 16-bit fields, the MPEG bitrate rule and the text rules.
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

struct Header {
  uint8_t bytes[kRequestHeaderSize] = {};
  Header(std::initializer_list<std::pair<int, int>> values) {
    for (const auto& v : values)
      bytes[v.first] = static_cast<uint8_t>(v.second);
  }
};

// One number field: its value before the copy, the header sent and the value after.
// mpeg_cbr_code is set to `cbr` first (the bitrate rule depends on it).
struct NumberCase {
  const char* name;
  const FieldCopyTable* table;
  Header header;
  uint8_t* byte;  // the field, one of the two
  int32_t* word;
  int before, expected, cbr;
};

TEST(FieldCopies, NumberRules) {
  SettingsRecord& s = settings;
  const NumberCase cases[] = {
      {"nz 0 keeps", &kPictureWriteFields, {{5, 7}}, &s.camcontrol1.cam_brightness, 0, 40, 40, 0},
      {"nz sets", &kPictureWriteFields, {{5, 7}}, &s.camcontrol1.cam_contrast, 0, 1, 7, 0},
      {"in selector 0 taken", &kAlarmLinkWriteFields, {{8, 2}}, &s.current_alarmin, 0, 3, 0, 0},
      {"out selector 0 taken", &kAlarmLinkWriteFields, {{8, 2}}, &s.current_alarmout, 0, 4, 0, 0},
      {"out selector byte 17", &kAlarmLinkWriteFields, {{17, 6}}, &s.current_alarmout, 0, 4, 6, 0},
      {"16-bit high byte",
       &kPrivacyWriteFields,
       {{8, 1}},
       nullptr,
       &s.privacy.privacy_left,
       0,
       256,
       0},
      {"16-bit 0 keeps",
       &kPrivacyWriteFields,
       {{9, 5}},
       nullptr,
       &s.privacy.privacy_left,
       77,
       77,
       0},
      {"16-bit order",
       &kPrivacyWriteFields,
       {{13, 0x34}, {14, 0x12}},
       nullptr,
       &s.privacy.privacy_bottom,
       0,
       0x1234,
       0},
      {"bitrate 0 taken, code set 2",
       &kMpegWriteFields,
       {{6, 2}},
       nullptr,
       &s.mpeg.mpeg_bitrate,
       1234,
       0,
       1},
      {"bitrate ignored, code set 1",
       &kMpegWriteFields,
       {{6, 1}, {8, 9}},
       nullptr,
       &s.mpeg.mpeg_bitrate,
       1234,
       1234,
       2},
      {"bitrate ignored, code stays 1",
       &kMpegWriteFields,
       {{8, 9}},
       nullptr,
       &s.mpeg.mpeg_bitrate,
       1234,
       1234,
       1},
      {"bitrate taken, code stays 2",
       &kMpegWriteFields,
       {{8, 0x10}, {9, 0x27}},
       nullptr,
       &s.mpeg.mpeg_bitrate,
       0,
       10000,
       2},
      {"stream bitrate after byte 7",
       &kStreamMpegWriteFields,
       {{7, 2}, {9, 0xE8}, {10, 3}},
       nullptr,
       &s.mpeg.mpeg_bitrate,
       0,
       1000,
       1},
      {"stream jpeg quality",
       &kStreamJpegWriteFields,
       {{12, 70}},
       &s.jpeg.jpeg_quality,
       0,
       50,
       70,
       0},
      {"md2 current_md 0 taken", &kMd2MotionWriteFields, {{4, 1}}, &s.current_md, 0, 5, 0, 0},
      {"md2 manual.sens", &kMd2MotionWriteFields, {{22, 9}}, &s.manual.sens, 0, 0, 9, 0},
      {"type 1 ignores byte 12", &kMotionWriteFields, {{5, 0x21}}, &s.current_md, 0, 5, 5, 0},
      {"preset selector 0 taken", &kPresetSelectorField, {}, &s.current_preset, 0, 9, 0, 0},
      {"preset group", &kPresetSetFields, {{11, 99}, {13, 4}}, &s.preset.group, 0, 0, 4, 0},
      {"preset set keeps selector", &kPresetSetFields, {{11, 99}}, &s.current_preset, 0, 9, 9, 0},
  };
  for (const NumberCase& c : cases) {
    SCOPED_TRACE(c.name);
    settings = SettingsRecord{};
    settings.mpeg.mpeg_cbr_code = static_cast<uint8_t>(c.cbr);
    if (c.byte != nullptr)
      *c.byte = static_cast<uint8_t>(c.before);
    if (c.word != nullptr)
      *c.word = c.before;
    copy_fields(*c.table, c.header.bytes);
    EXPECT_EQ(c.byte != nullptr ? *c.byte : *c.word, c.expected);
  }
}

struct TextCase {
  const char* name;
  const FieldCopyTable* table;
  int offset;
  std::string sent;  // placed at offset; the header is zero elsewhere
  char* field;
  size_t field_size;
  std::string expected;
};

TEST(FieldCopies, TextRules) {
  const TextCase cases[] = {
      {"title first byte 0 keeps title", &kTitleWriteFields, 4, std::string("\0abc", 4),
       settings.title.camera_title, sizeof settings.title.camera_title, "old title text here"},
      {"shorter title clears the rest", &kTitleWriteFields, 4, "Door", settings.title.camera_title,
       sizeof settings.title.camera_title, "Door"},
      {"title of 20 characters", &kTitleWriteFields, 4, "ABCDEFGHIJKLMNOPQRST",
       settings.title.camera_title, sizeof settings.title.camera_title, "ABCDEFGHIJKLMNOPQRST"},
      {"osd text of 20 characters stops at byte 27", &kOsdWriteFields, 8, "abcdefghijklmnopqrstUV",
       settings.osd.osd_title, sizeof settings.osd.osd_title, "abcdefghijklmnopqrst"},
      {"osd text first byte 0 keeps text", &kOsdWriteFields, 8, std::string("\0x", 2),
       settings.osd.osd_title, sizeof settings.osd.osd_title, "old title text here"},
      {"preset name all zero clears it", &kPresetSetFields, 14, "", settings.preset.name,
       sizeof settings.preset.name, ""},
      {"preset name at most 10 characters", &kPresetSetFields, 14, "0123456789X",
       settings.preset.name, sizeof settings.preset.name, "0123456789"},
  };
  for (const TextCase& c : cases) {
    SCOPED_TRACE(c.name);
    settings = SettingsRecord{};
    memset(c.field, 'z', c.field_size);  // stale bytes must not survive a copy
    strcpy(c.field, "old title text here");
    uint8_t header[kRequestHeaderSize] = {};
    memcpy(header + c.offset, c.sent.data(), std::min(c.sent.size(), 32 - size_t(c.offset)));
    copy_fields(*c.table, header);
    EXPECT_EQ(std::string(c.field, strnlen(c.field, c.field_size)), c.expected);
    if (c.expected != "old title text here") {
      for (size_t i = c.expected.size(); i < c.field_size; ++i)
        EXPECT_EQ(c.field[i], 0) << i;
    }
  }
}

}  // namespace
}  // namespace camrcd
