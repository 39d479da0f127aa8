// Reply builders: lengths, trailer positions and the byte position of every field,
// over a buffer pre-filled with a marker so that unwritten bytes show.
#include <gtest/gtest.h>
#include <string.h>

#include <vector>

#include "control/replies.h"
#include "control/request_header.h"
#include "settings/settings_record.h"

namespace camrcd {
namespace {

constexpr uint8_t kUnwritten = 0xEE;

class RepliesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    settings = SettingsRecord{};
    buffer_.assign(kConnectionBufferSize, kUnwritten);
  }
  uint8_t* buffer() { return buffer_.data(); }
  uint8_t at(size_t i) const { return buffer_[i]; }
  void expect_header(uint8_t sub, size_t length) {
    EXPECT_EQ(at(0) | at(1) << 8, static_cast<int>(length - 32));
    const uint8_t fixed[] = {0, 0, 0x77, 0x33, 0x10, sub, 0, 0, 0};
    for (size_t i = 0; i < sizeof fixed; ++i)
      EXPECT_EQ(at(2 + i), fixed[i]) << "byte " << 2 + i;
  }
  void expect_trailer(size_t at_byte) {
    EXPECT_EQ(at(at_byte), 0x55);
    EXPECT_EQ(at(at_byte + 1), 0xAA);
  }
  std::vector<uint8_t> buffer_;
};

void fill_common_fields() {
  const uint8_t mac[] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55};
  memcpy(settings.network.mac_address, mac, 6);
  settings.network.WEBSERVERPORT = 80;
  settings.network.CONNECT_PORT = 9000;
  settings.control_port = 9001;
  settings.mpeg.mpeg_bitrate = 0x01020304;
  strcpy(settings.osd.osd_title, "ABCDEFGHIJKLMNOPQRST");  // exactly 20 characters
  strcpy(settings.title.camera_title, "cam");
  settings.alarm.alarm_in_code = 2;
  settings.alarm.alarm_in_polarity = 18;
  settings.alarm.alarm_out_code = 1;
  settings.alarm.alarm_out_mode = 4;
  settings.alarm.alarm_out_duration = 255;
  settings.camcontrol1.cam_saturation = 9;
  settings.camcontrol1.cam_wb = 3;
  settings.camcontrol2.cam_sensorup = 4;
  settings.privacy.privacy_enable_code = 2;
  settings.privacy.privacy_color = 5;
  settings.privacy.privacy_left = 0x0107;
  settings.privacy.privacy_top = 143;
  settings.privacy.privacy_right = 91;
  settings.privacy.privacy_bottom = 0x00E3;
  settings.autopan.direction = 1;
  settings.autorun.actno = 8;
}

// Length, trailer, version bytes, the alarm bytes (fixed camera only) and the
// block from byte 128 (auto-run on type 2, else privacy with N areas).
TEST_F(RepliesTest, DeviceInfoShapeFollowsTypeAndAreaCount) {
  struct Case {
    uint8_t type, areas;
    size_t length;
    uint8_t version_major, alarm_in, byte131;
  } cases[] = {
      {1, 0, 133, 0, 2, 0x55}, {1, 1, 141, 0, 2, 0x07}, {0, 3, 157, 0, 0, 0x07},
      {2, 1, 143, 1, 0, 1},    {2, 0, 143, 1, 0, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "type " << int(c.type) << " areas " << int(c.areas));
    SetUp();
    fill_common_fields();
    settings.device_type = c.type;
    settings.privacy.privacy_area_valid = c.areas;
    ASSERT_EQ(build_device_info_reply(buffer(), 0), c.length);
    expect_header(0x01, c.length);
    const int bytes[][2] = {{11, 0},         {12, c.version_major}, {13, c.type},
                            {14, 0},         {104, c.alarm_in},     {108, c.type == 1 ? 255 : 0},
                            {131, c.byte131}};
    for (const auto& b : bytes)
      EXPECT_EQ(at(b[0]), b[1]) << "byte " << b[0];
    expect_trailer(c.length - 2);
    for (size_t i = 15; i < 32; ++i)
      EXPECT_EQ(at(i), 0) << "byte " << i;
    if (c.type == 2) {  // the auto-run block
      EXPECT_EQ(at(130), 0);
      EXPECT_EQ(at(139), 8);
      EXPECT_EQ(at(140), 0);
    }
    for (size_t i = 139; c.type != 2 && i + 2 < c.length; ++i)
      EXPECT_EQ(at(i), 0) << i;
  }
}

TEST_F(RepliesTest, DeviceInfoFieldPositions) {
  fill_common_fields();
  settings.device_type = 1;
  settings.privacy.privacy_area_valid = 1;
  build_device_info_reply(buffer(), 0);
  struct Expect {
    size_t byte;
    uint8_t value;
  } expects[] = {
      {32, 0x55}, {33, 0x44}, {34, 0x33},  {35, 0x22}, {36, 0x11},  {37, 0x00},  // MAC reversed
      {38, 80},   {39, 0},    {40, 0x28},  {41, 0x23}, {42, 0},     {43, 0},     {44, 0x29},
      {45, 0x23},                                       // 9001
      {52, 0x04}, {53, 0x03}, {54, 0x02},  {55, 0x01},  // bitrate
      {62, 'A'},  {81, 'T'},  {82, 0},     {83, 'c'},  {85, 'm'},   {86, 0},     {102, 0},
      {103, 0},   {104, 2},   {105, 18},   {106, 1},   {107, 4},    {108, 255},  {109, 0},
      {114, 9},   {115, 0},   {117, 0},    {118, 3},   {121, 0},    {125, 4},    {126, 0},
      {127, 0},   {128, 2},   {129, 5},    {130, 1},   {131, 0x07}, {132, 0x01}, {133, 143},
      {134, 0},   {135, 91},  {137, 0xE3}, {138, 0},
  };
  for (const Expect& e : expects)
    EXPECT_EQ(at(e.byte), e.value) << "byte " << e.byte;
}

TEST_F(RepliesTest, MotionReplyCarriesMapOnlyWhenValid) {
  struct Case {
    uint8_t type;
    uint8_t valid;
    size_t length;
  } cases[] = {{1, 1, 4835}, {1, 0, 32}, {2, 1, 4835}, {0, 0, 32}};
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "type " << int(c.type) << " valid " << int(c.valid));
    SetUp();
    settings.device_type = c.type;
    settings.motion_map_valid = c.valid;
    settings.motion_flags = 0x21;
    settings.motion_map_length = 4803;
    memset(settings.motion_block_map, 10, kMotionBlockMapSize);
    settings.motion_block_map[0] = 0x50;
    settings.md_max = 4;
    settings.current_md = 3;
    settings.md.email = 2;
    settings.manual.sens = 7;
    ASSERT_EQ(build_motion_reply(buffer(), 0), c.length);
    expect_header(0x11, c.length);
    EXPECT_EQ(at(11), c.valid);
    EXPECT_EQ(at(12), 0x21);
    EXPECT_EQ(at(13) | at(14) << 8, c.valid ? 4803 : 0);
    bool md2 = c.type != 1;
    const int md_bytes[][2] = {
        {15, 0},           {16, md2 ? 1 : 0}, {17, md2 ? 4 : 0}, {18, md2 ? 3 : 0},
        {24, md2 ? 2 : 0}, {25, 0},           {28, md2 ? 7 : 0}, {29, 0}};
    for (const auto& b : md_bytes)
      EXPECT_EQ(at(b[0]), b[1]) << "byte " << b[0];
    if (c.valid) {
      EXPECT_EQ(at(32), 0x50);
      EXPECT_EQ(at(4832), 10);
      expect_trailer(4833);
    } else {
      EXPECT_EQ(at(32), kUnwritten);  // nothing sent beyond the header
    }
  }
}

TEST_F(RepliesTest, AlarmLinkFieldsInOrder) {
  settings.current_alarmin = 13;
  settings.alin_max = 14;
  settings.alin_allen = 15;
  settings.alarmin = {16, 17, 18, 19, 20, 21, 22, 23, "in"};
  settings.current_alarmout = 24;
  settings.alout_max = 25;
  settings.alout_allen = 26;
  settings.alarmout = {27, 28, 29, "out"};
  ASSERT_EQ(build_alarm_link_reply(buffer(), 0), 32u);
  expect_header(0x21, 32);
  EXPECT_EQ(at(11), 0);
  EXPECT_EQ(at(12), 1);
  for (size_t i = 13; i <= 29; ++i)
    EXPECT_EQ(at(i), i) << "byte " << i;
  EXPECT_EQ(at(30), 0);
  EXPECT_EQ(at(31), 0);
}

TEST_F(RepliesTest, PresetNameFillsTenBytesWithoutTerminator) {
  struct Case {
    const char* name;
    const char expected[10];
  } cases[] = {
      {"ABCDEFGHIJK", {'A', 'B', 'C', 'D', 'E', 'F', 'G', 'H', 'I', 'J'}},
      {"Gate", {'G', 'a', 't', 'e'}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    SetUp();
    settings.home = 1;
    settings.md_first = 2;
    settings.presetmax = 30;
    settings.preset.enable = 1;
    settings.current_preset = 7;
    settings.preset.dwell = 5;
    settings.preset.group = 255;
    snprintf(settings.preset.name, sizeof settings.preset.name, "%s", c.name);
    ASSERT_EQ(build_preset_reply(buffer(), 0), 32u);
    expect_header(0x31, 32);
    const uint8_t fields[] = {0, 1, 1, 2, 30, 1, 7, 5, 255};
    for (size_t i = 0; i < sizeof fields; ++i)
      EXPECT_EQ(at(11 + i), fields[i]) << 11 + i;
    EXPECT_EQ(memcmp(buffer() + 20, c.expected, 10), 0);
    EXPECT_EQ(at(30), 0);
    EXPECT_EQ(at(31), 0);
  }
}

TEST_F(RepliesTest, CloseReplyIsBareHeader) {
  ASSERT_EQ(build_close_reply(buffer(), 0), 32u);
  expect_header(0xF1, 32);
  for (size_t i = 11; i < 32; ++i)
    EXPECT_EQ(at(i), 0) << "byte " << i;
  EXPECT_EQ(at(32), kUnwritten);
}

}  // namespace
}  // namespace camrcd
