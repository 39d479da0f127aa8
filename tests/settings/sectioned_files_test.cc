// Every sectioned file's load fed random text (headers, keys, the words the value
// kinds look for, long runs, random bytes, cut anywhere): a load changes nothing
// outside its group and leaves its texts terminated. What a save keeps of such text is
// the sectioned-file fuzz target's check.
#include <gtest/gtest.h>
#include <string.h>

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
    root_ = make_dev_root({kWebRoot + std::string("/kelda2/md"), "/tmp"});
    ASSERT_FALSE(root_.empty());
    settings = SettingsRecord{};
  }
  void TearDown() override { remove_dev_root(root_); }
  std::string web(const std::string& relative) const { return root_ + kWebRoot + "/" + relative; }
  std::string root_;
};

// Headers, keys of every file, words the kinds look for, "end" (data/random_words.txt),
// long runs, random bytes and line ends in random order, cut anywhere.
std::string random_text(std::mt19937& random) {
  static const std::vector<std::string> kWords =
      split(read_file(CAMRCD_SOURCE_DIR "/tests/settings/data/random_words.txt"), "\n");
  std::string text;
  for (size_t i = random() % 80; i > 0; --i) {
    switch (random() % 6) {
      case 0:
      case 1:
      case 2:
        text += kWords[random() % kWords.size()];
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
#define F(field) \
  { &s.field, sizeof s.field }
  const Group groups[] = {
      {"kelda2/env_autorun.ls", kAutorunFile, 0, {F(autopan), F(poa), F(autorun)}},
      {"kelda2/env_preset2.ls",
       kPresetFile,
       0x002,
       {F(home), F(md_first), F(presetmax), F(preset)}},
      {"kelda2/env_alarm2.ls",
       kAlarmLinkFile,
       0x080,
       {F(alin_allen), F(alout_allen), F(alin_max), F(alout_max), F(alarmin), F(alarmout)}},
      {"kelda2/env_md2.ls",
       kMdAreaFile,
       0x400,
       {F(motion_block_map), F(motion_map_valid), F(motion_flags), F(motion_map_length), F(md_max),
        F(manual), F(md)}},
  };
#undef F
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
