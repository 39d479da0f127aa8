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

struct NumberCase {
  const char* name;
  const FieldCopyTable* table;
  Header header;
  void (*prepare)();
  int64_t (*field)();
  int64_t expected;
};

void no_preparation() {}

TEST(FieldCopies, NumberRules) {
  const NumberCase cases[] = {
      {"nz byte 0 keeps brightness",
       &kPictureWriteFields,
       {{4, 0}, {5, 7}},
       [] { settings.camcontrol1.cam_brightness = 40; },
       [] { return int64_t{settings.camcontrol1.cam_brightness}; },
       40},
      {"nz byte sets contrast",
       &kPictureWriteFields,
       {{4, 0}, {5, 7}},
       no_preparation,
       [] { return int64_t{settings.camcontrol1.cam_contrast}; },
       7},
      {"alarm link in selector 0 is taken",
       &kAlarmLinkWriteFields,
       {{8, 2}},
       [] { settings.current_alarmin = 3; },
       [] { return int64_t{settings.current_alarmin}; },
       0},
      {"alarm link out selector 0 is taken",
       &kAlarmLinkWriteFields,
       {{8, 2}},
       [] { settings.current_alarmout = 4; },
       [] { return int64_t{settings.current_alarmout}; },
       0},
      {"alarm link out selector from byte 17",
       &kAlarmLinkWriteFields,
       {{17, 6}},
       no_preparation,
       [] { return int64_t{settings.current_alarmout}; },
       6},
      {"privacy left high byte only",
       &kPrivacyWriteFields,
       {{7, 0}, {8, 1}},
       no_preparation,
       [] { return int64_t{settings.privacy.privacy_left}; },
       256},
      {"privacy left zero keeps edge",
       &kPrivacyWriteFields,
       {{9, 5}},
       [] { settings.privacy.privacy_left = 77; },
       [] { return int64_t{settings.privacy.privacy_left}; },
       77},
      {"privacy bottom little-endian",
       &kPrivacyWriteFields,
       {{13, 0x34}, {14, 0x12}},
       no_preparation,
       [] { return int64_t{settings.privacy.privacy_bottom}; },
       0x1234},
      {"mpeg bitrate 0 taken when code set to 2",
       &kMpegWriteFields,
       {{6, 2}},
       [] { settings.mpeg.mpeg_bitrate = 1234; },
       [] { return int64_t{settings.mpeg.mpeg_bitrate}; },
       0},
      {"mpeg bitrate ignored when code set to 1",
       &kMpegWriteFields,
       {{6, 1}, {8, 0x10}},
       [] { settings.mpeg.mpeg_bitrate = 1234; },
       [] { return int64_t{settings.mpeg.mpeg_bitrate}; },
       1234},
      {"mpeg bitrate ignored when code stays 1",
       &kMpegWriteFields,
       {{8, 0x10}},
       [] {
         settings.mpeg.mpeg_cbr_code = 1;
         settings.mpeg.mpeg_bitrate = 1234;
       },
       [] { return int64_t{settings.mpeg.mpeg_bitrate}; },
       1234},
      {"mpeg bitrate taken when code stays 2",
       &kMpegWriteFields,
       {{8, 0x10}, {9, 0x27}},
       [] { settings.mpeg.mpeg_cbr_code = 2; },
       [] { return int64_t{settings.mpeg.mpeg_bitrate}; },
       0x2710},
      {"stream write bitrate after byte 7",
       &kStreamMpegWriteFields,
       {{7, 2}, {9, 0xE8}, {10, 3}},
       [] { settings.mpeg.mpeg_cbr_code = 1; },
       [] { return int64_t{settings.mpeg.mpeg_bitrate}; },
       1000},
      {"stream write jpeg quality byte 12",
       &kStreamJpegWriteFields,
       {{12, 70}},
       no_preparation,
       [] { return int64_t{settings.jpeg.jpeg_quality}; },
       70},
      {"md2 motion current_md 0 taken",
       &kMd2MotionWriteFields,
       {{4, 1}},
       [] { settings.current_md = 5; },
       [] { return int64_t{settings.current_md}; },
       0},
      {"md2 motion manual.sens byte 22",
       &kMd2MotionWriteFields,
       {{22, 9}},
       no_preparation,
       [] { return int64_t{settings.manual.sens}; },
       9},
      {"motion on type 1 ignores byte 12",
       &kMotionWriteFields,
       {{12, 0}, {5, 0x21}},
       [] { settings.current_md = 5; },
       [] { return int64_t{settings.current_md}; },
       5},
      {"preset selector 0 taken",
       &kPresetSelectorField,
       {},
       [] { settings.current_preset = 9; },
       [] { return int64_t{settings.current_preset}; },
       0},
      {"preset group byte 13",
       &kPresetSetFields,
       {{11, 99}, {13, 4}},
       no_preparation,
       [] { return int64_t{settings.preset.group}; },
       4},
      {"preset set leaves the selector",
       &kPresetSetFields,
       {{11, 99}},
       [] { settings.current_preset = 9; },
       [] { return int64_t{settings.current_preset}; },
       9},
  };
  for (const NumberCase& c : cases) {
    SCOPED_TRACE(c.name);
    settings = SettingsRecord{};
    c.prepare();
    copy_fields(*c.table, c.header.bytes);
    EXPECT_EQ(c.field(), c.expected);
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

// Every row reads inside the 32-byte header, at or after byte 4, and every table
// names the lock held while its fields are written.
TEST(FieldCopies, RowsStayInsideTheHeader) {
  const FieldCopyTable* tables[] = {
      &kMpegWriteFields,         &kJpegWriteFields,        &kAutorunWriteFields,
      &kStreamMpegWriteFields,   &kStreamJpegWriteFields,  &kMotionWriteFields,
      &kMd2MotionWriteFields,    &kAlarmWriteFields,       &kAlarmLinkWriteFields,
      &kPresetSelectorField,     &kPresetSetFields,        &kOsdWriteFields,
      &kTitleWriteFields,        &kPrivacyWriteFields,     &kPictureWriteFields,
      &kWhiteBalanceWriteFields, &kCamcontrol2WriteFields,
  };
  const uint8_t* record_begin = reinterpret_cast<const uint8_t*>(&settings);
  const uint8_t* record_end = record_begin + sizeof settings;
  for (const FieldCopyTable* table : tables) {
    EXPECT_NE(table->lock, nullptr);
    for (size_t i = 0; i < table->count; ++i) {
      const FieldCopy& row = table->rows[i];
      bool text = row.rule == CopyRule::kTextNonZero || row.rule == CopyRule::kTextAlways;
      bool word = row.rule == CopyRule::kWord16NonZero || row.rule == CopyRule::kMpegBitrate;
      size_t span = text ? row.width : word ? 2 : 1;
      EXPECT_GE(row.offset, kRequestFields);
      EXPECT_LE(row.offset + span, kRequestHeaderSize) << "row at byte " << int(row.offset);
      if (text) {
        EXPECT_LT(row.width, row.field_size);  // room for the terminating zero
      }
      const uint8_t* field = static_cast<const uint8_t*>(row.field);
      EXPECT_TRUE(field >= record_begin && field < record_end);
    }
  }
}

}  // namespace
}  // namespace camrcd
