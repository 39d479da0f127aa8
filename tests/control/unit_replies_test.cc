// Reply builders against recorded replies (data/replies.txt: name, length, the first
// bytes in hex). Every byte of the record holds its own value, so a field taken from
// the wrong place shows; the buffer is pre-filled with a marker so an unwritten byte shows.
#include <gtest/gtest.h>
#include <string.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include "control/replies.h"
#include "control/request_header.h"
#include "settings/settings_record.h"

namespace camrcd {
namespace {

constexpr uint8_t kUnwritten = 0xEE;  // the pattern below never holds it

struct Case {
  const char* name;
  size_t (*build)(uint8_t*, uint16_t);
  uint8_t type, areas, map_valid;
};

const Case kCases[] = {
    {"info-1-1", build_device_info_reply, 1, 1, 0}, {"info-1-0", build_device_info_reply, 1, 0, 0},
    {"info-0-3", build_device_info_reply, 0, 3, 0}, {"info-2-1", build_device_info_reply, 2, 1, 0},
    {"motion-1-1", build_motion_reply, 1, 0, 1},    {"motion-2-0", build_motion_reply, 2, 0, 0},
    {"motion-0-1", build_motion_reply, 0, 0, 1},    {"alarm-link", build_alarm_link_reply, 1, 0, 0},
    {"preset", build_preset_reply, 2, 0, 0},        {"close", build_close_reply, 1, 0, 0},
};

TEST(Replies, MatchRecordedBytes) {
  std::ifstream data(CAMRCD_SOURCE_DIR "/tests/control/data/replies.txt");
  std::string name, hex;
  size_t length = 0, checked = 0;
  while (data >> name >> length >> hex) {
    const Case* c = kCases;
    while (c < std::end(kCases) && name != c->name)
      ++c;
    ASSERT_NE(c, std::end(kCases)) << name;
    SCOPED_TRACE(name);
    uint8_t* record = reinterpret_cast<uint8_t*>(&settings);
    for (size_t i = 0; i < sizeof settings; ++i)
      record[i] = static_cast<uint8_t>(1 + i % 200);
    settings.device_type = c->type;
    settings.privacy.privacy_area_valid = c->areas;
    settings.motion_map_valid = c->map_valid;
    strcpy(settings.title.camera_title, "cam");  // a short text is padded with zeros
    std::vector<uint8_t> buffer(kConnectionBufferSize, kUnwritten);
    ASSERT_EQ(c->build(buffer.data(), 0), length);
    for (size_t i = 0; i < hex.size(); i += 2)
      EXPECT_EQ(buffer[i / 2], std::stoi(hex.substr(i, 2), nullptr, 16)) << "byte " << i / 2;
    EXPECT_EQ(std::count(buffer.begin(), buffer.begin() + length, kUnwritten), 0);
    EXPECT_EQ(buffer[length], kUnwritten);
    if (length > kReplyHeaderSize) {
      EXPECT_EQ(buffer[length - 2] << 8 | buffer[length - 1], 0x55AA);
    }
    ++checked;
  }
  EXPECT_EQ(checked, std::size(kCases));
}

}  // namespace
}  // namespace camrcd
