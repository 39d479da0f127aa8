// Every reader fed random bytes, very long words, text without newlines and truncated
// settings: none may crash, change a byte of the record outside its own group, or
// leave a text field without its terminating zero.
#include <gtest/gtest.h>
#include <string.h>

#include <random>
#include <string>
#include <vector>

#include "settings/group_table.h"
#include "settings/product_identity.h"
#include "settings/settings_record.h"
#include "settings/settings_test_root.h"

namespace camrcd {
namespace {

struct Span {
  size_t offset, size;
};
#define SPAN(field)                                                \
  Span {                                                           \
    offsetof(SettingsRecord, field), sizeof(SettingsRecord::field) \
  }

struct ReaderCase {
  const char* file;
  uint32_t load_bit;  // 0: the product identity reader
  std::vector<Span> writable;
};

// Keys of every file (texts among them), terminators and words of the other readers.
const char* const kWords[] = {
    "VIDEO_TYPE", "DD_RES",    "enable",       "src",         "priority",   "f_skipauto", "bitrate",
    "TXT_STR",    "OSD_COLOR", "DNF",          "BRIGHTNESS",  "PRIVACY_EN", "WIDTH",      "IN_NAME",
    "OUT_WIR",    "MD_METHOD", "CONNECT_PORT", "Model",       "ZR-Q520",    "NAME",       "end",
    "END",        "=",         "-2147483649",  "99999999999",
};

std::string random_word(std::mt19937& random) {
  switch (random() % 4) {
    case 0:
      return kWords[random() % (sizeof kWords / sizeof kWords[0])];
    case 1:
      return std::string(1 + random() % 300, static_cast<char>('A' + random() % 26));
    case 2: {
      std::string bytes(1 + random() % 8, ' ');
      for (char& c : bytes)
        c = static_cast<char>(random() % 256);
      return bytes;
    }
    default:
      return std::to_string(static_cast<int>(random() % 1000) - 100);
  }
}

// Mostly "key = value" settings, some without blanks or newlines, then a random cut.
std::string random_text(std::mt19937& random) {
  const char* const separators[] = {" = ", "=", " =", "= ", " "};
  const char* const ends[] = {"\n", "\n\n", " ", "\t", "\r\n", ""};
  std::string text;
  size_t settings_count = random() % 30;
  for (size_t i = 0; i < settings_count; ++i) {
    text += random_word(random);
    text += separators[random() % (random() % 2 ? 1 : 5)];
    text += random_word(random);
    text += ends[random() % 6];
  }
  return text.substr(0, random() % (text.size() + 1));
}

struct TextField {
  char* field;
  size_t width;
};

std::vector<TextField> text_fields() {
  return {
      {settings.mpeg.enable, 4},    {settings.mpeg.priority, 10}, {settings.jpeg.src, 4},
      {settings.osd.TXT_STR, 22},   {settings.osd.osd_title, 22}, {settings.title.camera_title, 22},
      {settings.alarm.IN_NAME, 16},
  };
}

bool texts_terminated() {
  for (const TextField& text : text_fields()) {
    if (strnlen(text.field, text.width) == text.width)
      return false;
  }
  return true;
}

using ReaderRobustnessTest = SettingsRootTest;

TEST_F(ReaderRobustnessTest, ReadersStayInsideTheirGroups) {
  const ReaderCase cases[] = {
      {"admin/product_info.ls", 0, {SPAN(device_type)}},
      {"/tmp/macaddr.ls", 0x200, {SPAN(network), SPAN(control_port)}},
      {"admin/stream_port_ch1.ls", 0x200, {SPAN(network), SPAN(control_port)}},
      {"kelda2/env_video.ls", 0x001, {SPAN(video)}},
      {"kelda2/env_mpeg.ls", 0x002, {SPAN(mpeg)}},
      {"kelda2/env_jpeg.ls", 0x004, {SPAN(jpeg)}},
      {"kelda2/env_osd.ls", 0x008, {SPAN(osd), SPAN(title)}},
      {"kelda2/view_title.ls", 0x008, {SPAN(osd), SPAN(title)}},
      {"kelda2/env_camcontrol1.ls", 0x020, {SPAN(camcontrol1)}},
      {"kelda2/env_camcontrol2.ls", 0x040, {SPAN(camcontrol2)}},
      {"kelda2/env_privacy.ls", 0x010, {SPAN(privacy)}},
      {"kelda2/env_alarm.ls", 0x080, {SPAN(alarm)}},
      {"kelda2/env_motion.ls",
       0x400,
       {SPAN(motion), SPAN(motion_block_map), SPAN(motion_map_valid), SPAN(motion_flags),
        SPAN(motion_map_length)}},
  };
  std::mt19937 random(2024);
  for (const ReaderCase& c : cases) {
    for (int round = 0; round < 200; ++round) {
      std::string text = random_text(random);
      put_file(c.file, text.data(), text.size());
      memset(&settings, 0xA5, sizeof settings);
      for (const TextField& text : text_fields())
        text.field[text.width - 1] = '\0';
      const SettingsRecord before = settings;
      ::testing::internal::CaptureStdout();
      c.load_bit == 0 ? read_product_identity() : load_groups(c.load_bit, 0);
      ::testing::internal::GetCapturedStdout();
      std::vector<bool> writable(sizeof settings, false);
      for (const Span& span : c.writable) {
        for (size_t i = 0; i < span.size; ++i)
          writable[span.offset + i] = true;
      }
      const uint8_t* now = reinterpret_cast<const uint8_t*>(&settings);
      const uint8_t* was = reinterpret_cast<const uint8_t*>(&before);
      size_t strays = 0;
      for (size_t i = 0; i < sizeof settings; ++i)
        strays += !writable[i] && now[i] != was[i];
      ASSERT_EQ(strays, 0u) << c.file << " round " << round;
      ASSERT_TRUE(texts_terminated()) << c.file << " round " << round;
    }
  }
}

}  // namespace
}  // namespace camrcd
