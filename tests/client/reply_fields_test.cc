// The reply decoder against the server's own reply builders: every named field comes
// back with the record's value, fields of another layout are absent, and replies
// that are cut, mislabelled or lack their trailer are refused.
#include "client/reply_fields.h"

#include <gtest/gtest.h>
#include <string.h>

#include <string>
#include <vector>

#include "control/replies.h"
#include "control/request_header.h"
#include "settings/settings_record.h"

namespace camrcd {
namespace {

struct Want {
  const char* name;
  uint32_t number;   // compared when text is nullptr
  const char* text;  // compared when not nullptr
};

void fill_record(uint8_t type, uint8_t areas) {
  settings = SettingsRecord{};
  settings.device_type = type;
  const uint8_t mac[] = {0x00, 0xA0, 0xB1, 0xC2, 0xD3, 0xE4};
  memcpy(settings.network.mac_address, mac, 6);
  settings.mpeg.mpeg_bitrate = 0x01020304;
  strcpy(settings.osd.osd_title, "ABCDEFGHIJKLMNOPQRST");  // fills its 20 bytes
  strcpy(settings.title.camera_title, "\x01\xC3\xA9");
  settings.camcontrol1.cam_blc = 3;
  settings.camcontrol2.cam_sensorup = 9;
  settings.privacy.privacy_area_valid = areas;
  settings.poa.enable = 2;
  settings.autorun.actno = 8;
}

DecodedReply decode_info(uint8_t type, uint8_t areas) {
  fill_record(type, areas);
  std::vector<uint8_t> buffer(kConnectionBufferSize);
  size_t length = build_device_info_reply(buffer.data(), 0);
  DecodedReply out;
  EXPECT_EQ(decode_device_info(buffer.data(), length, &out), 0);
  return out;
}

void expect_fields(const DecodedReply& reply, const std::vector<Want>& wants) {
  for (const Want& want : wants) {
    const FieldValue* field = find_field(reply, want.name);
    ASSERT_NE(field, nullptr) << want.name;
    if (want.text != nullptr)
      EXPECT_EQ(std::string(field->text), want.text) << want.name;
    else
      EXPECT_EQ(field->number, want.number) << want.name;
  }
}

// Fixed-camera fields are checked end to end through camrc; here the layouts that
// the sandbox does not fill: no privacy area (type 0) and the auto-run block.
TEST(ReplyFields, DeviceInfoFieldsPerLayout) {
  struct Case {
    uint8_t type, areas;
    std::vector<Want> present;
    std::vector<const char*> absent;
  } cases[] = {
      {0,
       0,
       {{"mac_address", 0, "00:a0:b1:c2:d3:e4"},
        {"mpeg_bitrate", 0x01020304, nullptr},
        {"osd_title", 0, "ABCDEFGHIJKLMNOPQRST"},
        {"camera_title", 0, "\x01\xC3\xA9"},
        {"cam_sensorup", 9, nullptr},
        {"privacy_areas", 0, nullptr}},
       {"alarm_in", "privacy_left", "autorun_actno"}},
      {2,
       1,
       {{"layout_version", 100, "1.00"},
        {"cam_blc", 3, nullptr},
        {"poa_enable", 2, nullptr},
        {"autorun_actno", 8, nullptr}},
       {"alarm_in", "privacy_enable", "privacy_left"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "type " << int(c.type));
    DecodedReply reply = decode_info(c.type, c.areas);
    expect_fields(reply, c.present);
    for (const char* name : c.absent)
      EXPECT_EQ(find_field(reply, name), nullptr) << name;
  }
}

TEST(ReplyFields, MotionFieldsFollowLayoutVersion) {
  struct Case {
    uint8_t type, valid;
    std::vector<Want> present;
    bool md2;
  } cases[] = {
      {1, 0, {{"motion_map_valid", 0, nullptr}, {"motion_map_length", 0, nullptr}}, false},
      {2,
       1,
       {{"md_max", 30, nullptr}, {"current_md", 4, nullptr}, {"manual_sens", 6, nullptr}},
       true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "type " << int(c.type) << " valid " << int(c.valid));
    settings = SettingsRecord{};
    settings.device_type = c.type;
    settings.motion_map_valid = c.valid;
    settings.motion_flags = 0x21;
    settings.motion_map_length = 4803;
    settings.md_max = 30;
    settings.current_md = 4;
    settings.manual.sens = 6;
    std::vector<uint8_t> buffer(kConnectionBufferSize);
    size_t length = build_motion_reply(buffer.data(), 0);
    DecodedReply reply;
    ASSERT_EQ(decode_motion_reply(buffer.data(), length, &reply), 0);
    expect_fields(reply, c.present);
    EXPECT_EQ(find_field(reply, "md_enable") != nullptr, c.md2);
  }
}

TEST(ReplyFields, RefusesDamagedReplies) {
  fill_record(1, 1);
  std::vector<uint8_t> good(kConnectionBufferSize);
  size_t length = build_device_info_reply(good.data(), 0);
  struct Case {
    const char* what;
    size_t offset;  // byte to change, or SIZE_MAX for none
    uint8_t value;
    size_t length;
  } cases[] = {
      {"cut by one", SIZE_MAX, 0, length - 1},
      {"trailer", length - 1, 0xAB, length},
      {"motion sub-command", kReplySub, kReplyMotion, length},
      {"more areas than bytes", 130, 2, length},
      {"declared length", 0, 0x60, length},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    std::vector<uint8_t> reply = good;
    if (c.offset != SIZE_MAX)
      reply[c.offset] = c.value;
    DecodedReply out;
    EXPECT_EQ(decode_device_info(reply.data(), c.length, &out), -1);
  }
  DecodedReply out;
  EXPECT_EQ(decode_motion_reply(good.data(), length, &out), -1);
}

}  // namespace
}  // namespace camrcd
