// The settings files in a temporary development root: the scripted cases of
// data/file_cases.txt (round trips, conversions, product, MAC and port files) and the
// motion block map. Readers on any text: fuzz/flat_files_fuzz.cc.
#include <gtest/gtest.h>
#include <string.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "groups/group_table.h"
#include "platform/dev_root.h"
#include "settings/camera_control_files.h"
#include "settings/product_identity.h"
#include "settings/settings_record.h"
#include "support/daemon_harness.h"

namespace camrcd {
namespace {

class FlatFilesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    root_ = make_dev_root(
        {kWebRoot + std::string("/admin"), kWebRoot + std::string("/kelda2"), "/tmp"});
    ASSERT_FALSE(root_.empty());
    memset(&settings, 0, sizeof settings);
  }
  void TearDown() override { remove_dev_root(root_); }
  std::string full_path(const std::string& path) const {
    return path[0] == '/' ? root_ + path : root_ + kWebRoot + "/" + path;
  }
  std::string file_text(const std::string& path) const {
    bool exists = std::filesystem::is_regular_file(full_path(path));
    return exists ? read_file(full_path(path)) : "<missing>";
  }
  std::string root_;
};

struct Field {
  const char* name;
  void* at;
  size_t size;
  bool text;
};
// clang-format off
#define FIELD(f) {#f, &settings.f, sizeof settings.f, \
                  std::is_same<decltype(settings.f), char[sizeof settings.f]>::value}
const Field kFields[] = {
    FIELD(video.VIDEO_TYPE), FIELD(video.video_resolution), FIELD(mpeg.mpeg_enable_code),
    FIELD(mpeg.mpeg_gop), FIELD(mpeg.mpeg_cbr_code), FIELD(mpeg.mpeg_rate),
    FIELD(mpeg.mpeg_bitrate), FIELD(mpeg.priority), FIELD(jpeg.jpeg_enable_code),
    FIELD(jpeg.jpeg_quality), FIELD(osd.osd_enable_code), FIELD(osd.osd_display_flags),
    FIELD(osd.osd_color), FIELD(osd.OSD_COLOR), FIELD(osd.osd_title), FIELD(title.camera_title),
    FIELD(camcontrol1.cam_brightness), FIELD(camcontrol1.cam_wb), FIELD(camcontrol1.cam_wb_manual),
    FIELD(camcontrol1.cam_hue), FIELD(camcontrol1.DNF_WIR), FIELD(camcontrol2.cam_monochrome_code),
    FIELD(camcontrol2.cam_negative_code), FIELD(camcontrol2.cam_colorbar_code),
    FIELD(camcontrol2.cam_sensorup), FIELD(camcontrol2.SENSORUP), FIELD(privacy.privacy_area_valid),
    FIELD(privacy.privacy_enable_code), FIELD(privacy.privacy_left), FIELD(privacy.privacy_top),
    FIELD(privacy.privacy_right), FIELD(privacy.privacy_bottom), FIELD(privacy.STARTY),
    FIELD(alarm.alarm_in_code), FIELD(alarm.alarm_in_polarity), FIELD(alarm.alarm_out_code),
    FIELD(alarm.alarm_out_mode), FIELD(alarm.alarm_out_duration), FIELD(motion.THRESHOLD),
    FIELD(motion.THRESHOLD2), FIELD(motion_flags), FIELD(motion_map_length),
    FIELD(network.mac_address[0]), FIELD(network.mac_address[1]), FIELD(network.mac_address[2]),
    FIELD(network.mac_address[3]), FIELD(network.mac_address[4]), FIELD(network.mac_address[5]),
    FIELD(network.WEBSERVERPORT), FIELD(network.CONNECT_PORT), FIELD(control_port),
    FIELD(device_type), FIELD(motion_block_map[0]), FIELD(motion_block_map[99]),
    FIELD(motion_block_map[100]), FIELD(motion_block_map[4800]),
};
// clang-format on

// A field's value: its text or its number (a byte, or the first 4 bytes as an int32_t).
std::string field_value(const Field& field) {
  int32_t number = *static_cast<const uint8_t*>(field.at);
  if (field.size >= 4)
    memcpy(&number, field.at, 4);
  return field.text ? static_cast<const char*>(field.at) : std::to_string(number);
}

void set_field(const Field& field, const std::string& value) {
  int32_t number = field.text ? 0 : std::stoi(value, nullptr, 0);
  if (field.size >= 4)
    memcpy(field.at, &number, 4);
  else
    *static_cast<uint8_t*>(field.at) = static_cast<uint8_t>(number);
  if (field.text)
    snprintf(static_cast<char*>(field.at), field.size, "%s", value.c_str());
}

// Runs data/file_cases.txt (its header describes the directives).
TEST_F(FlatFilesTest, ScriptedCases) {
  std::ifstream script(CAMRCD_SOURCE_DIR "/tests/settings/data/file_cases.txt");
  std::map<std::string, std::string> put;
  std::string line, name, printed;
  auto run = [&](const std::string& operation, const std::string& bits) {
    ::testing::internal::CaptureStdout();
    if (bits == "product")
      read_product_identity();
    else
      (operation == "save" ? save_groups : load_groups)(std::stoul(bits, nullptr, 0), 0, nullptr);
    printed += ::testing::internal::GetCapturedStdout();
  };
  auto field_named = [](const std::string& name) {
    return std::find_if(std::begin(kFields), std::end(kFields),
                        [&](const Field& field) { return name == field.name; });
  };
  int cases = 0;
  for (int number = 1; std::getline(script, line); ++number) {
    SCOPED_TRACE(name + ", line " + std::to_string(number));
    std::istringstream words(line);
    std::string directive, argument, word;
    words >> directive >> argument;
    std::string block = expand_escapes(read_block(script, &number), root_);
    if (directive == "case") {
      TearDown();
      SetUp();
      name = line.substr(5);
      printed.clear();
      ++cases;
    } else if (directive == "put") {
      write_text_file(full_path(argument), put[argument] = block);
    } else if (directive == "load" || directive == "save") {
      run(directive, argument);
    } else if (directive == "set" || directive == "expect") {
      for (; !argument.empty(); argument.clear(), words >> argument) {
        const Field* field = field_named(argument.substr(0, argument.find('=')));
        ASSERT_NE(field, std::end(kFields)) << argument;
        Field wanted = *field;  // set: the field itself; expect: a scratch copy
        std::vector<uint8_t> scratch(field->size);
        if (directive == "expect")
          wanted.at = scratch.data();
        set_field(wanted, argument.substr(argument.find('=') + 1));
        EXPECT_EQ(field_value(*field), field_value(wanted)) << argument;
      }
    } else if (directive == "printed") {
      EXPECT_EQ(printed, block);
      printed.clear();
    } else if (directive == "file") {
      words >> word;
      EXPECT_EQ(file_text(argument), word == "same"  ? put[argument]
                                     : block.empty() ? "<missing>"
                                                     : block);
    } else {
      ASSERT_TRUE(directive.empty() || directive[0] == '#') << directive;
    }
  }
  EXPECT_EQ(cases, 62);
}

TEST(BrightnessScale, ConvertsBothWays) {
  // {file value, wire value, file value again}
  for (const auto& c : std::vector<std::array<uint8_t, 3>>{
           {44, 255, 44}, {12, 7, 12}, {11, 0, 12}, {20, 69, 19}, {28, 131, 27}}) {
    EXPECT_EQ(brightness_to_wire(c[0]), c[1]) << int{c[0]};
    EXPECT_EQ(brightness_to_file(c[1]), c[2]) << int{c[0]};
  }
  EXPECT_EQ(brightness_to_file(1), 12);
}

TEST_F(FlatFilesTest, Method1WritesTheWholeBlockMapEvenWhenTheMainFileFails) {
  ASSERT_EQ(mkdir(full_path("kelda2/env_motion.ls").c_str(), 0700), 0);
  settings.motion.MD_METHOD = 1;
  settings.motion_block_map[0] = kMotionBlockMarker;
  settings.motion_block_map[100] = 3;
  ::testing::internal::CaptureStdout();
  save_groups(0x200, 0);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "WR. Conf. Open ERR. env_motion.ls\n");
  std::string written = file_text("kelda2/env_motion_block.dat");
  ASSERT_EQ(written.size(), kMotionBlockMapSize);
  EXPECT_EQ(written[0], 'P');
  EXPECT_EQ(written[100], 3);
}

}  // namespace
}  // namespace camrcd
