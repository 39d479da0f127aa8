// Dispatch rules: video resolution acceptance, the reload bit set, and motion
// payloads of every declared length (the connection must stay in step with the
// client's byte stream).
#include <errno.h>
#include <gtest/gtest.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include <thread>
#include <vector>

#include "control/dispatch.h"
#include "control/request_header.h"
#include "settings/settings_record.h"

namespace camrcd {
namespace {

TEST(Dispatch, VideoResolutionAcceptance) {
  struct Case {
    uint8_t requested, current;
    bool accepted;
  } cases[] = {
      {1, 2, true},  {1, 3, true},  {2, 1, true},  {2, 3, true},  {3, 1, true},
      {3, 2, true},  {1, 1, false}, {2, 2, false}, {0, 2, false}, {4, 2, false},
      {5, 2, false}, {1, 0, false}, {2, 4, false}, {0, 0, false}, {255, 1, false},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(video_resolution_accepted(c.requested, c.current), c.accepted)
        << int(c.requested) << " over " << int(c.current);
  }
}

TEST(Dispatch, ReloadBitSet) {
  struct Case {
    uint16_t v;
    bool valid;
    uint32_t load_mask;
  } cases[] = {
      {0x0005, true, 0x005}, {0x0200, true, 0x000}, {0x1000, true, 0x000}, {0x13FF, true, 0x1FF},
      {0x0100, true, 0x100}, {0x0400, false, 0},    {0x0800, false, 0},    {0x2000, false, 0},
      {0x8001, false, 0},    {0x4000, false, 0},
  };
  for (const Case& c : cases) {
    uint32_t mask = 0xDEAD;
    EXPECT_EQ(reload_load_mask(c.v, &mask), c.valid) << std::hex << c.v;
    if (c.valid) {
      EXPECT_EQ(mask, c.load_mask) << std::hex << c.v;
    }
  }
}

class DispatchSocketTest : public ::testing::Test {
 protected:
  void SetUp() override {
    settings = SettingsRecord{};
    settings.device_type = 1;
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends_), 0);
    buffer_.assign(kConnectionBufferSize, 0);
  }
  void TearDown() override {
    close(ends_[0]);
    close(ends_[1]);
  }
  RequestOutcome execute(const uint8_t* header) {
    RequestMasks masks = {};
    return execute_request(header, ends_[0], buffer_.data(), &masks);
  }
  int ends_[2];
  std::vector<uint8_t> buffer_;
};

TEST_F(DispatchSocketTest, MotionPayloadOfAnyDeclaredLength) {
  struct Case {
    const char* name;
    uint8_t type;
    size_t declared;
    bool trailer;     // 0x55 0xAA at payload bytes 4801 and 4802
    uint8_t version;  // header byte 9
    bool replaced;    // the block map takes the payload
    RequestOutcome outcome;
  } cases[] = {
      {"exact payload", 1, 4803, true, 0, true, RequestOutcome::kKeepServing},
      {"short payload after a valid one", 1, 10, false, 0, false, RequestOutcome::kKeepServing},
      {"bad trailer", 1, 4803, false, 0, false, RequestOutcome::kKeepServing},
      {"longer than the buffer", 1, 6000, true, 0, true, RequestOutcome::kKeepServing},
      {"largest declared length", 1, 65535, false, 0, false, RequestOutcome::kKeepServing},
      {"md2 version 0", 0, 4803, true, 0, true, RequestOutcome::kCloseNow},
      {"md2 version 1", 0, 4803, true, 1, true, RequestOutcome::kKeepServing},
  };
  const uint8_t next_header[kRequestHeaderSize] = {0x77, 0x33, 0x10, 0xF0, 'n', 'e', 'x', 't'};
  uint8_t fill = 1;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    settings.device_type = c.type;
    settings.current_md = 0;  // with no area selected nothing is saved or applied
    memset(settings.motion_block_map, 0xCC, kMotionBlockMapSize);
    ++fill;
    std::vector<uint8_t> stream = {0x77, 0x33, 0x40, 0x00, 1, 0x21};
    stream.resize(kRequestHeaderSize, 0);
    stream[6] = static_cast<uint8_t>(c.declared);
    stream[7] = static_cast<uint8_t>(c.declared >> 8);
    stream[9] = c.version;
    stream.insert(stream.end(), c.declared, fill);
    if (c.trailer) {
      stream[32 + 4801] = 0x55;
      stream[32 + 4802] = 0xAA;
    }
    stream.insert(stream.end(), next_header, next_header + sizeof next_header);
    std::thread writer([&] { send(ends_[1], stream.data(), stream.size(), 0); });
    uint8_t header[kRequestHeaderSize];
    ASSERT_EQ(recv(ends_[0], header, sizeof header, MSG_WAITALL), 32);
    EXPECT_EQ(execute(header), c.outcome);
    EXPECT_EQ(settings.motion_map_length, static_cast<int32_t>(c.declared));
    EXPECT_EQ(settings.motion_block_map[100], c.replaced ? fill : 0xCC);
    uint8_t after[kRequestHeaderSize];
    EXPECT_EQ(recv(ends_[0], after, sizeof after, MSG_WAITALL), 32);
    EXPECT_EQ(memcmp(after, next_header, sizeof after), 0) << "stream out of step";
    writer.join();
  }
}

}  // namespace
}  // namespace camrcd
