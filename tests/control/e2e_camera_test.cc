// End-to-end requests to a fixed camera through the real daemon: the device
// information per device type and after reloads; each write's fields by the
// zero-means-unchanged rules (seen in the next device information, which reloads the
// files), its files, the programs run and the descriptors they inherit (cases in
// data/writes.txt and data/stream_writes.txt); stream writes that end every
// connection; motion writes; picture writes racing reads, and SIGALRM.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "client/client_request.h"
#include "client/client_socket.h"
#include "platform/dev_root.h"
#include "platform/net_io.h"
#include "support/daemon_harness.h"

namespace camrcd {
namespace {

// Each case on a fresh daemon: a device information request, or a reload request (on
// type 0, whose start-up loads neither the privacy group nor the video file rewritten
// after it). A request that is no valid reload gets no answer: the motion read sent
// after it must give the next reply.
TEST(EndToEndCamera, InfoFollowsTheDeviceTypeWhatStartupLoadedAndReloads) {
  struct {
    const char* label;
    uint16_t reload;  // group bits; 0: a device information request
    int32_t length;   // 0: no reply
    const char* bytes;
  } cases[] = {
      // An unlisted model loads neither alarm nor privacy although both files exist.
      {"type 0", 0, 133, "11=0,0,0,0 104=0,0,0,0,0 128=0,0,0"},
      {"reload 0x8001", 0x8001, 0, ""},
      {"reload 0x1005: information class, unknown sub", 0x1005, 0, ""},
      {"reload 0x0005", 0x0005, 133, "46=2,3 128=0,0,0"},
      {"reload 0x0010", 0x0010, 141, "128=1,1,1,7,0,143,0,91,0,227,0"},
      {"reload 0x1200: bits 9 and 12 load nothing", 0x1200, 133, "128=0,0,0"},
  };
  for (const auto& c : cases) {
    DaemonOptions options;
    options.prepare = [](const std::string& root) {  // a model unlisted: device type 0
      write_text_file(root + kWebRoot + "/admin/product_info.ls", "Vendor = ZR\nModel = ZR-X100\n");
    };
    DaemonHarness daemon(options);
    ASSERT_TRUE(daemon.ok()) << daemon.error();
    write_text_file(daemon.web_path("kelda2/env_video.ls"),
                    "VIDEO_TYPE = 2\nDD_RES = vga\nED_RES = qvga\nend\n");
    int s = daemon.login_client();
    Reply reply;
    ASSERT_EQ(0, c.reload ? send_request(s, make_reload_request(c.reload)) : send_named(s, "info"));
    if (c.length == 0) {
      ASSERT_EQ(0, send_named(s, "motion-read"));
      ASSERT_GT(read_reply(s, &reply), 0) << c.label;
      EXPECT_EQ(message(MessageId::kMotionReply).sub, reply.bytes[kReplySub]) << c.label;
    } else {
      ASSERT_EQ(c.length, read_reply(s, &reply)) << c.label;
      expect_runs(reply, byte_runs(c.bytes), c.label);  // MAC and ports: camrc's info test
    }
    close(s);
  }
}

// A line of data/writes.txt or data/stream_writes.txt.
struct WriteCase {
  std::string request, file, text, calls, reply;
  bool restarts;  // every connection ends
};

std::vector<WriteCase> read_write_cases(const char* name) {
  std::ifstream in(std::string(CAMRCD_SOURCE_DIR "/tests/control/data/") + name);
  std::vector<WriteCase> cases;
  for (std::string line; std::getline(in, line);) {
    for (size_t at; (at = line.find("\\n")) != std::string::npos;)
      line.replace(at, 2, "\n");
    std::vector<std::string> f = split(line[0] == '#' ? "" : line, "|");
    for (std::string& s : f) {
      s.erase(0, s.find_first_not_of(' '));
      s.erase(s.find_last_not_of(' ') + 1);
    }
    f.resize(std::max<size_t>(f.size(), 6));
    if (!f[0].empty())
      cases.push_back({f[0], f[1], f[2], f[3], f[4], f[5].find("ends") == 0});
  }
  EXPECT_FALSE(cases.empty()) << name;
  return cases;
}

void expect_effects(const DaemonHarness& daemon, const WriteCase& c, const Reply& reply) {
  expect_runs(reply, byte_runs(c.reply.c_str()), c.request);
  if (!c.file.empty()) {
    std::string text = read_file(daemon.web_path(c.file));
    EXPECT_NE(std::string::npos, text.find(c.text)) << c.request << ": " << c.file << "\n" << text;
  }
  EXPECT_EQ(c.calls, stub_calls_text(daemon.root(), c.calls)) << c.request;
  // Each program started, then the descriptors it found open: the standard three only.
  for (const std::string& line : split(read_file(daemon.root() + "/stub-fds.log"), "\n"))
    EXPECT_TRUE(line.empty() || line.substr(line.find(' ') + 1) == "0 1 2") << c.request << line;
}

TEST(EndToEndCamera, WritesTakeNonZeroFieldsRewriteFilesAndRunPrograms) {
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  int s = daemon.login_client();
  for (const WriteCase& c : read_write_cases("writes.txt")) {
    clear_stub_logs(daemon.root());
    ASSERT_EQ(0, send_named(s, c.request)) << c.request;
    Reply reply;
    ASSERT_EQ(141, request_info(s, &reply)) << c.request;
    expect_effects(daemon, c, reply);
  }
  EXPECT_TRUE(close_served(s));
  close(s);
}

// Each on a fresh daemon: the writer gets no reply and is closed. A client logged in
// before and one logging in after are each served one request and then closed, unless
// nothing restarted.
TEST(EndToEndCamera, StreamWritesEndEveryConnection) {
  for (const WriteCase& c : read_write_cases("stream_writes.txt")) {
    DaemonHarness daemon;
    ASSERT_TRUE(daemon.ok()) << daemon.error();
    int before = daemon.login_client();
    int writer = daemon.login_client();
    client_set_timeout(writer, 6000);  // a stream action pauses 1 second
    ASSERT_EQ(0, send_named(writer, c.request)) << c.request;
    Reply reply;
    EXPECT_EQ(kResultPeerGone, read_reply(writer, &reply)) << c.request;
    close(writer);
    int after = daemon.login_client();
    for (int s : {before, after}) {
      ASSERT_EQ(141, request_info(s, &reply)) << c.request;
      EXPECT_EQ(c.restarts, client_wait_closed(s, c.restarts ? kDaemonWaitMs : 100)) << c.request;
      close(s);
    }
    expect_effects(daemon, c, reply);
  }
}

std::vector<uint8_t> block_map(uint8_t fill) {
  std::vector<uint8_t> map(4801, fill);  // the marker byte, then 4800 cells
  map[0] = 'P';
  return map;
}

// A valid motion write (payload lengths and trailers: Dispatch.MotionPayload...) saves
// only while current_md is not 0 (a motion read with byte 7 set and byte 8 = 0 clears it).
TEST(EndToEndCamera, MotionWritesReplaceTheMapOnlyWhenSelected) {
  struct {
    const char* select;       // a motion read first, with these bytes
    const char* write;        // 4803 (0x12C3) bytes of payload: the map and its trailer
    uint8_t fill, file_fill;  // cells sent, cells in the file afterwards
    bool runs;                // kd_md_run started
  } cases[] = {
      {"", "6=0xC3,0x12", 3, 3, true},
      {"7=1 8=0", "6=0xC3,0x12", 7, 3, false},
      {"7=1 8=2", "6=0xC3,0x12", 8, 8, true},
      {"7=1 8=2", "5=0x12 6=0xC3,0x12", 9, 8, true},  // detection off, method 2: no block file
  };
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  int s = daemon.login_client();
  Reply reply;  // start-up does not load the motion group on type 1: a read does
  for (const auto& c : cases) {
    ASSERT_EQ(0, send_named(s, std::string("motion-read ") + c.select));
    ASSERT_EQ(4835, read_reply(s, &reply)) << c.select;
    clear_stub_logs(daemon.root());
    std::vector<uint8_t> payload = block_map(c.fill);
    payload.push_back(0x55);  // the trailer
    payload.push_back(0xAA);
    ASSERT_EQ(0, send_named(s, std::string("motion ") + c.write, payload));
    ASSERT_EQ(141, request_info(s, &reply));  // a reply means the write is done
    std::string file = read_file(daemon.web_path("kelda2/env_motion_block.dat"));
    EXPECT_EQ(block_map(c.file_fill), std::vector<uint8_t>(file.begin(), file.end())) << c.fill;
    EXPECT_EQ(c.runs ? "kd_md_run" : "", stub_calls_text(daemon.root(), "")) << c.fill;
  }
  EXPECT_EQ(0u, read_file(daemon.web_path("kelda2/env_motion.ls"))
                    .find("MOTION_EN = 0\nMD_METHOD = 2\nACCURACY = 2\n"));
  // A read reloads the files: flags 0x12, length 4803, the map of the last saved file.
  ASSERT_EQ(0, send_named(s, "motion-read"));
  ASSERT_EQ(4835, read_reply(s, &reply));
  expect_runs(reply, {{11, {1, 0x12, 0xC3, 0x12, 0, 0}}, {32, block_map(8)}}, "read");
  EXPECT_TRUE(reply_trailer_ok(reply));
  close(s);
}

using Picture = std::vector<uint8_t>;  // brightness, contrast, sharpness, hue, saturation

// Reads the device information; the picture bytes 110-114, or none on failure.
Picture read_picture(int socket) {
  Reply reply;
  return request_info(socket, &reply) == 141 ? Picture(reply.bytes + 110, reply.bytes + 115)
                                             : Picture();
}

// Picture writes racing device information reads never show a mix of two writes; both
// tuples survive the file's brightness scale unchanged (255 <-> 44, 7 <-> 12).
// Afterwards a SIGALRM from outside is printed and ends neither connection.
TEST(EndToEndCameraConcurrency, PictureWritesAndReadsNeverMixThenAlarmEndsNothing) {
  const char* writes[2] = {"picture 4=255,10,20,30,40", "picture 4=7,50,60,70,80"};
  const Picture written[2] = {byte_runs(writes[0] + 8)[0].second,
                              byte_runs(writes[1] + 8)[0].second};
  const std::set<Picture> whole = {{131, 128, 96, 128, 140}, written[0], written[1]};
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  int writer = daemon.login_client();
  int reader = daemon.login_client();
  ASSERT_TRUE(writer >= 0 && reader >= 0);
  std::atomic<bool> stop(false);
  std::set<Picture> writer_seen;
  std::set<Picture> reader_seen;
  std::thread writing([&] {
    do {
      send_named(writer, writes[0]);
      send_named(writer, writes[1]);
      writer_seen.insert(read_picture(writer));  // also paces the writes
    } while (!stop);
  });
  for (int reads = 0; reads < 20; reads++)  // a count, not a time: a loaded machine is slow
    reader_seen.insert(read_picture(reader));
  stop = true;
  writing.join();
  // A write copies, saves and applies under one hold of its group's lock: the writer's
  // reads show its own last write.
  EXPECT_EQ(1u, writer_seen.count(written[1]));
  reader_seen.insert(writer_seen.begin(), writer_seen.end());
  for (const Picture& p : reader_seen)
    EXPECT_EQ(1u, whole.count(p)) << "mixed: " << testing::PrintToString(p);
  for (size_t i = 1; i <= 3; i++) {
    ASSERT_EQ(0, kill(daemon.pid(), SIGALRM));
    EXPECT_TRUE(wait_until(kDaemonWaitMs, [&] {
      return daemon.count_in_output("CountAlarm !!!!!!!!!\n") >= i;
    })) << daemon.output();
  }
  EXPECT_TRUE(close_served(writer) && close_served(reader));
  close(writer);
  close(reader);
}

}  // namespace
}  // namespace camrcd
