// End-to-end motion writes on a fixed camera: a valid payload replaces the block map
// and rewrites env_motion.ls and, with detection method 1, env_motion_block.dat; a
// bad trailer changes nothing; a motion read that sets current_md to 0 blocks the
// save while the record still takes the map; declared lengths beyond the map.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "client/client_request.h"
#include "client/client_socket.h"
#include "support/daemon_harness.h"
#include "support/e2e_clients.h"
#include "support/e2e_requests.h"
#include "support/stub_log.h"

namespace camrcd {
namespace {

constexpr size_t kMapSize = 4801;
constexpr size_t kPayloadSize = kMapSize + 2;
constexpr size_t kMotionReplySize = 32 + kPayloadSize;

const char kMainFile[] = "kelda2/env_motion.ls";
const char kBlockFile[] = "kelda2/env_motion_block.dat";

// The marker byte, then 4800 cells of `cell`.
std::string block_map(char cell) {
  return "P" + std::string(kMapSize - 1, cell);
}

// A motion payload: the map, then the trailer (0x55 0xAA, or a damaged one).
std::string motion_payload(const std::string& map, bool good_trailer) {
  return map + bytes({0x55, good_trailer ? 0xAA : 0xAB});
}

RequestHeader motion_write_header(uint8_t flags, uint16_t length) {
  return make_patched_request(kClassEvent, kSubMotionWrite,
                              {{5, bytes({flags, length & 0xFF, length >> 8})}});
}

// A motion read: current_md becomes 1 when major is 0, else md.
bool motion_read(int s, uint8_t major, uint8_t md, Reply* reply) {
  return exchange(
      s, make_patched_request(kClassInformation, kSubMotionRead, {{7, bytes({major, md})}}), reply);
}

enum MapSeen { kPayloadMap, kSandboxMap, kDefaultMap };

struct MotionCase {
  const char* name;
  uint8_t read_major, read_md;  // the motion read before the write
  uint8_t flags;                // write byte 5 (0: unchanged)
  bool good_trailer;
  bool saved;
  LineEdits main_edits;  // env_motion.ls against the sandbox's, when saved
  bool block_written;
  MapSeen map_after;  // the map a motion read shows afterwards
  uint8_t flags_after;
};

// Each row restores the sandbox's motion files, reads, removes both files, writes.
const MotionCase kCases[] = {
    {"valid payload, method 1", 0, 9, 0, true, true, {}, true, kPayloadMap, 0x21},
    // The header's flags are taken before the payload is tested.
    {"bad trailer", 0, 0, 0x12, false, false, {}, false, kSandboxMap, 0x12},
    {"flags 0x12: detection off, method 2 writes no block file",
     0,
     0,
     0x12,
     true,
     true,
     {{"MOTION_EN = 1", "MOTION_EN = 0"}, {"MD_METHOD = 1", "MD_METHOD = 2"}},
     false,
     kDefaultMap,  // the block file is missing: every cell 10
     0x12},
    {"current_md 0: the record takes the map, nothing is saved",
     1,
     0,
     0,
     true,
     false,
     {},
     false,
     kPayloadMap,
     0x21},
    {"current_md 3 saves again", 1, 3, 0, true, true, {}, true, kPayloadMap, 0x21},
};

TEST(EndToEndMotionWrite, MapFilesAndProgramPerCase) {
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  std::string main_path = daemon.web_path(kMainFile);
  std::string block_path = daemon.web_path(kBlockFile);
  const std::string sandbox_main = file_text(main_path);
  const std::string sandbox_map = file_text(block_path);
  ASSERT_EQ(block_map('\x01'), sandbox_map);
  int s = daemon.login_client();
  ASSERT_GE(s, 0);
  char cell = '\x20';
  for (const MotionCase& c : kCases) {
    SCOPED_TRACE(c.name);
    std::string map = block_map(++cell);
    ASSERT_TRUE(write_text_file(main_path, sandbox_main) &&
                write_text_file(block_path, sandbox_map));
    Reply reply;
    ASSERT_TRUE(motion_read(s, c.read_major, c.read_md, &reply));
    ASSERT_EQ(kMotionReplySize, reply.length);
    EXPECT_EQ(bytes({1, 0x21, 0xC3, 0x12}), reply_bytes(reply).substr(11, 4));  // 4803
    unlink(main_path.c_str());
    unlink(block_path.c_str());
    clear_stub_logs(daemon.root());

    std::string payload = motion_payload(map, c.good_trailer);
    ASSERT_EQ(0, send_request(s, motion_write_header(c.flags, kPayloadSize),
                              reinterpret_cast<const uint8_t*>(payload.data()), payload.size()));
    ASSERT_TRUE(record_view(s, &reply));  // the write is done once this is answered
    EXPECT_EQ(c.saved, file_exists(main_path));
    if (c.saved) {
      EXPECT_EQ(with_lines(sandbox_main, c.main_edits), file_text(main_path));
    }
    EXPECT_EQ(c.block_written, file_exists(block_path));
    if (c.block_written) {
      EXPECT_TRUE(file_text(block_path) == map) << "the block file is not the payload's map";
    }
    std::vector<CallWords> calls;
    if (c.saved)
      calls.push_back({"kd_md_run"});
    EXPECT_EQ(calls, stub_call_words(daemon.root(), calls.size()));

    ASSERT_TRUE(motion_read(s, 0, 0, &reply));
    ASSERT_EQ(kMotionReplySize, reply.length);
    EXPECT_EQ(c.flags_after, reply.bytes[12]);
    std::string expected_map = c.map_after == kPayloadMap   ? map
                               : c.map_after == kSandboxMap ? sandbox_map
                                                            : "P" + std::string(kMapSize - 1, 10);
    EXPECT_TRUE(reply_bytes(reply).substr(32, kMapSize) == expected_map)
        << "the motion reply's map is not the expected one";
  }
  close(s);
}

// A declared length up to the connection buffer's 4852 bytes is read whole, so the
// next header is read in step; a longer one (6000 bytes sent) leaves the daemon
// serving, whatever becomes of that connection.
TEST(EndToEndMotionWrite, DeclaredLengthsBeyondTheMap) {
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  for (size_t declared : {4852u, 6000u}) {
    SCOPED_TRACE(declared);
    int s = daemon.login_client();
    ASSERT_GE(s, 0);
    std::string payload = motion_payload(block_map('\x05'), true);
    payload.resize(declared, '\x77');
    ASSERT_EQ(0, send_request(s, motion_write_header(0, static_cast<uint16_t>(declared)),
                              reinterpret_cast<const uint8_t*>(payload.data()), payload.size()));
    if (declared <= kConnectionBufferSize) {
      EXPECT_TRUE(close_served(s));
    }
    close(s);
    int fresh = daemon.login_client();
    EXPECT_TRUE(fresh >= 0 && info_served(fresh));
    close(fresh);
  }
}

}  // namespace
}  // namespace camrcd
