// Every sectioned file's load fed random text (headers, keys, the words the value
// kinds look for, long runs, random bytes, cut anywhere): a load changes nothing
// outside its group and leaves its texts terminated. What a save keeps of such text is
// the sectioned-file fuzz target's check.
#include <gtest/gtest.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>

#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "groups/group_table.h"
#include "platform/dev_root.h"
#include "settings/sectioned/alarm_link_file.h"
#include "settings/sectioned/autorun_file.h"
#include "settings/sectioned/md_area_file.h"
#include "settings/sectioned/preset_file.h"
#include "settings/sectioned/sectioned_file.h"
#include "settings/settings_record.h"
#include "support/daemon_harness.h"

namespace camrcd {
namespace {

class SectionedFilesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/camrcd_sectioned_XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    root_ = pattern;
    std::filesystem::create_directories(root_ + kWebRoot + "/kelda2/md");
    std::filesystem::create_directories(root_ + "/tmp");
    ASSERT_TRUE(dev_root_init(root_.c_str()));
    settings = SettingsRecord{};
  }
  void TearDown() override {
    dev_root_init("");
    std::filesystem::remove_all(root_);
  }
  std::string web(const std::string& relative) const { return root_ + kWebRoot + "/" + relative; }
  std::string root_;
};

// Headers, keys of every file, words the kinds look for, "end", long runs, random
// bytes and line ends in random order, cut anywhere.
std::string random_text(std::mt19937& random) {
  const char* const kWords[] = {
      "[common]",  "[autopan]", "[poa]",      "[autorun]",   "[preset1]", "[preset255]", "[md1]",
      "[md255]",   "[manual]",  "[alarmin1]", "[alarmout1]", "[other]",   "[preset0]",   "[md0]",
      "direction", "speed",     "enable",     "act",         "actno",     "waittime",    "home",
      "md-first",  "presetmax", "dwell",      "group",       "name",      "alin-allen",  "alin-max",
      "type",      "priority",  "relay",      "record",      "email",     "linkage",     "md_func",
      "mode",      "md-max",    "threshold",  "sens",        "version",   "end",         "on",
      "off",       "none",      "ccw",        "block",       " = ",       "=",           "-1"};
  std::string text;
  for (size_t i = random() % 80; i > 0; --i) {
    switch (random() % 6) {
      case 0:
      case 1:
      case 2:
        text += kWords[random() % (sizeof kWords / sizeof kWords[0])];
        break;
      case 3:
        text += std::string(1 + random() % 120, static_cast<char>('a' + random() % 26));
        break;
      case 4:
        for (size_t bytes = 1 + random() % 6; bytes > 0; --bytes)
          text.push_back(static_cast<char>(random() % 256));
        break;
      default:
        text += random() % 3 ? "\n" : " ";
    }
  }
  return text.substr(0, random() % (text.size() + 1));
}

struct Group {
  const char* file;  // below the web root
  const SectionedFile& table;
  uint32_t load_bit;  // extended load mask (0: the load mask's autorun bit)
  std::vector<std::pair<void*, size_t>> fields;
};

TEST_F(SectionedFilesTest, RandomTextLoadsOnlyIntoItsGroup) {
  SettingsRecord& s = settings;
  const Group groups[] = {
      {"kelda2/env_autorun.ls",
       kAutorunFile,
       0,
       {{&s.autopan, sizeof s.autopan}, {&s.poa, sizeof s.poa}, {&s.autorun, sizeof s.autorun}}},
      {"kelda2/env_preset2.ls",
       kPresetFile,
       0x002,
       {{&s.home, 1}, {&s.md_first, 1}, {&s.presetmax, 1}, {&s.preset, sizeof s.preset}}},
      {"kelda2/env_alarm2.ls",
       kAlarmLinkFile,
       0x080,
       {{&s.alin_allen, 1},
        {&s.alout_allen, 1},
        {&s.alin_max, 1},
        {&s.alout_max, 1},
        {&s.alarmin, sizeof s.alarmin},
        {&s.alarmout, sizeof s.alarmout}}},
      {"kelda2/env_md2.ls",
       kMdAreaFile,
       0x400,
       {{&s.motion_block_map, sizeof s.motion_block_map},
        {&s.motion_map_valid, 1},
        {&s.motion_flags, 1},
        {&s.motion_map_length, sizeof s.motion_map_length},
        {&s.md_max, 1},
        {&s.manual, sizeof s.manual},
        {&s.md, sizeof s.md}}},
  };
  const uint8_t kSelectors[] = {0, 1, 255, 100, 10};
  std::mt19937 random(2026);
  for (const Group& group : groups) {
    SCOPED_TRACE(group.file);
    for (int round = 0; round < 150; ++round) {
      std::string text = random_text(random);
      ASSERT_TRUE(write_text_file(web(group.file), text));
      // A load: the record outside the group stays as it was, selectors included.
      memset(&settings, 0xA5, sizeof settings);
      for (char* name : {s.preset.name, s.alarmin.name, s.alarmout.name})
        name[kSectionTextFieldSize - 1] = '\0';
      settings.current_preset = settings.current_md = kSelectors[round % 5];
      settings.current_alarmin = kSelectors[(round + 1) % 5];
      settings.current_alarmout = kSelectors[(round + 2) % 5];
      SettingsRecord expected = settings;
      ::testing::internal::CaptureStdout();
      load_groups(group.load_bit == 0 ? 0x100 : 0, group.load_bit);
      ::testing::internal::GetCapturedStdout();
      for (const auto& [field, size] : group.fields)
        memcpy(reinterpret_cast<uint8_t*>(&expected) +
                   (static_cast<uint8_t*>(field) - reinterpret_cast<uint8_t*>(&settings)),
               field, size);
      ASSERT_EQ(memcmp(&expected, &settings, sizeof settings), 0) << "round " << round;
      for (const char* name : {s.preset.name, s.alarmin.name, s.alarmout.name})
        ASSERT_TRUE(memchr(name, 0, kSectionTextFieldSize)) << "round " << round;
    }
  }
}

}  // namespace
}  // namespace camrcd
