// End-to-end motion writes on a fixed camera: a valid 4803-byte payload replaces the
// block map and its file, anything else changes nothing, current_md 0 blocks the save,
// and an oversized payload leaves the daemon serving.
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "client/client_request.h"
#include "support/daemon_harness.h"
#include "support/stub_log.h"

namespace camrcd {
namespace {

constexpr size_t kMapSize = 4801;  // the marker byte 'P', then 4800 cells

// A block map whose cells are all `fill`.
std::vector<uint8_t> block_map(uint8_t fill) {
  std::vector<uint8_t> map(kMapSize, fill);
  map[0] = 'P';
  return map;
}

std::vector<uint8_t> file_bytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {});
}

// A motion read; byte 7 = 0 selects area 1, else byte 8 is the area.
int32_t motion_read(int socket, uint8_t byte7, uint8_t byte8, Reply* reply) {
  RequestHeader read = make_request(kClassInformation, kSubMotionRead);
  request_set_byte(&read, 7, byte7);
  request_set_byte(&read, 8, byte8);
  if (send_request(socket, read) != 0)
    return -1;
  return read_reply(socket, reply);
}

TEST(EndToEndCameraMotion, WritesReplaceTheMapOnlyWhenValidAndSelected) {
  struct {
    const char* label;
    int select;  // >= 0: a motion read selecting this area first
    uint8_t flags;
    size_t length;  // declared and sent
    bool trailer_ok;
    uint8_t fill;       // cells sent
    uint8_t file_fill;  // cells of env_motion_block.dat afterwards
    bool runs;          // kd_md_run started
  } cases[] = {
      {"valid", -1, 0, 4803, true, 3, 3, true},
      // The buffer still holds the last payload's trailer: it must not count.
      {"short", -1, 0, 100, false, 4, 3, false},
      {"bad trailer", -1, 0, 4803, false, 5, 3, false},
      {"oversized", -1, 0, 6000, false, 6, 3, false},
      {"current_md 0", 0, 0, 4803, true, 7, 3, false},
      {"current_md 2", 2, 0, 4803, true, 8, 8, true},
      // Detection off, method 2: the block file is left alone.
      {"method 2", -1, 0x12, 4803, true, 9, 8, true},
  };
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  std::string block_file = daemon.web_path("kelda2/env_motion_block.dat");
  int s = daemon.login_client();
  // Start-up does not load the motion group on type 1: a read loads MD_METHOD 1 first.
  Reply first;
  ASSERT_EQ(4835, motion_read(s, 0, 0, &first));
  for (const auto& c : cases) {
    if (s < 0)
      s = daemon.login_client();  // the daemon may end a connection after an oversized payload
    ASSERT_GE(s, 0) << c.label;
    Reply reply;
    if (c.select >= 0) {
      ASSERT_EQ(4835, motion_read(s, 1, static_cast<uint8_t>(c.select), &reply)) << c.label;
    }
    clear_stub_logs(daemon.root());
    std::vector<uint8_t> payload = block_map(c.fill);
    payload.push_back(0x55);
    payload.push_back(c.trailer_ok ? 0xAA : 0xAB);
    payload.resize(c.length, 0x33);
    RequestHeader write = make_request(kClassEvent, kSubMotionWrite);
    request_set_byte(&write, 5, c.flags);
    request_set_u16(&write, 6, static_cast<uint16_t>(c.length));
    ASSERT_EQ(0, send_request(s, write, payload.data(), payload.size())) << c.label;
    // A reply to the next request means the write is done.
    if (send_request(s, make_request(kClassInformation, kSubDeviceInfo)) != 0 ||
        read_reply(s, &reply) <= 0) {
      close(s);
      s = -1;
    }
    EXPECT_EQ(block_map(c.file_fill), file_bytes(block_file)) << c.label;
    std::vector<StubCall> calls = read_stub_calls(daemon.root());
    EXPECT_EQ(c.runs, calls.size() == 1 && calls[0].program == "kd_md_run") << c.label;
  }
  std::vector<uint8_t> main_file = file_bytes(daemon.web_path("kelda2/env_motion.ls"));
  EXPECT_EQ(0u, std::string(main_file.begin(), main_file.end())
                    .find("MOTION_EN = 0\nMD_METHOD = 2\nACCURACY = 2\n"));

  // A read reloads the files: flags 0x12, length 4803, the map of the last saved file.
  if (s < 0)
    s = daemon.login_client();
  Reply reply;
  ASSERT_EQ(4835, motion_read(s, 0, 9, &reply));
  EXPECT_EQ((std::vector<uint8_t>{1, 0x12, 0xC3, 0x12, 0, 0}),
            std::vector<uint8_t>(reply.bytes + 11, reply.bytes + 17));
  EXPECT_EQ(block_map(8), std::vector<uint8_t>(reply.bytes + 32, reply.bytes + 32 + kMapSize));
  EXPECT_TRUE(reply_trailer_ok(reply));
  close(s);
}

}  // namespace
}  // namespace camrcd
