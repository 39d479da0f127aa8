// End-to-end requests to a fixed camera through the real daemon: the device
// information per device type and after reloads; each write's fields by the
// zero-means-unchanged rules (seen in the next device information, which reloads the
// files), its files, the programs run and the descriptors they inherit; stream writes
// that end every connection; motion writes.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "client/client_request.h"
#include "client/client_socket.h"
#include "control/net_io.h"
#include "platform/dev_root.h"
#include "support/daemon_harness.h"
#include "support/e2e_clients.h"
#include "support/stub_log.h"

namespace camrcd {
namespace {

using ByteRuns = std::vector<std::pair<size_t, std::vector<uint8_t>>>;

// Bytes from offsets on, written "OFFSET=V,V OFFSET=V": values in C notation, or
// 'text' for its characters. "83='Lobby',0 104=2,0x12".
ByteRuns byte_runs(const char* text) {
  ByteRuns runs;
  for (const char* at = text; *at != '\0';) {
    char* end;
    runs.push_back({strtoul(at, &end, 0), {}});
    std::vector<uint8_t>& values = runs.back().second;
    for (at = end; *at == '=' || *at == ',';) {
      if (at[1] == '\'') {
        const char* close = strchr(at + 2, '\'');
        values.insert(values.end(), at + 2, close);
        at = close + 1;
      } else {
        values.push_back(static_cast<uint8_t>(strtoul(at + 1, &end, 0)));
        at = end;
      }
    }
    at += strspn(at, " ");
  }
  return runs;
}

void expect_runs(const Reply& reply, const ByteRuns& runs, const std::string& label) {
  for (const auto& run : runs) {
    const uint8_t* from = reply.bytes + run.first;
    EXPECT_EQ(run.second, std::vector<uint8_t>(from, from + run.second.size()))
        << label << ": bytes from " << run.first;
  }
}

int32_t send_fields(int socket, uint8_t command_class, uint8_t sub, const char* fields) {
  RequestHeader header = make_request(command_class, sub);
  for (const auto& run : byte_runs(fields)) {
    for (size_t i = 0; i < run.second.size(); i++)
      request_set_byte(&header, run.first + i, run.second[i]);
  }
  return send_request(socket, header);
}

int32_t request_info(int socket, Reply* reply) {
  if (send_fields(socket, kClassInformation, kSubDeviceInfo, "7=1") != 0)
    return -1;
  return read_reply(socket, reply);
}

// What every device information reply holds: the header, the sandbox's MAC
// 00A0B1C2D3E4 last byte first, web port 80, CONNECT_PORT, the control port, trailer.
void expect_info_frame(const Reply& reply, int32_t length, uint16_t port,
                       const std::string& label) {
  ASSERT_EQ(static_cast<size_t>(length), reply.length) << label;
  auto low = [](int value) { return static_cast<uint8_t>(value); };
  expect_runs(reply,
              {{0, {low(length - 32), 0, 0, 0, 0x77, 0x33, 0x10, 0x01, 0, 0, 0}},
               {32, {0xE4, 0xD3, 0xC2, 0xB1, 0xA0, 0x00, 80, 0}},
               {40, {low(port - 1), low((port - 1) >> 8), 0, 0, low(port), low(port >> 8)}},
               {static_cast<size_t>(length - 2), {0x55, 0xAA}}},
              label);
}

std::string file_text(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

void rename_model(const std::string& root) {
  write_text_file(root + kWebRoot + "/admin/product_info.ls", "Vendor = ZR\nModel = ZR-X100\n");
}

void remove_privacy_file(const std::string& root) {
  unlink((root + kWebRoot + "/kelda2/env_privacy.ls").c_str());
}

TEST(EndToEndCamera, InfoLayoutFollowsTheDeviceTypeAndWhatStartupLoaded) {
  struct {
    const char* label;
    int camera_type;  // of the sandbox
    void (*prepare)(const std::string& root);
    int32_t length;
    const char* bytes;
  } cases[] = {
      // Alarm codes of env_alarm.ls (OUT_WIR 0 is mode 1); privacy 7,143 84x84 as edges.
      {"type 1", 1, nullptr, 141, "11=0,0,1,0 104=2,18,2,1,5,0 128=1,1,1,7,0,143,0,91,0,227,0"},
      {"type 1, no privacy file", 1, remove_privacy_file, 133, "128=0,0,0"},
      // An unlisted model loads neither alarm nor privacy although both files exist.
      {"type 0", 1, rename_model, 133, "11=0,0,0,0 104=0,0,0,0,0 128=0,0,0"},
      // The auto-run block; its values belong to the auto-run group.
      {"type 2", 2, nullptr, 143, "11=0,1,2,0 104=0,0,0,0,0 128=0,0,0 140=0"},
  };
  for (const auto& c : cases) {
    DaemonOptions options;
    options.camera_type = c.camera_type;
    options.prepare = c.prepare;  // empty when null
    DaemonHarness daemon(options);
    ASSERT_TRUE(daemon.ok()) << daemon.error();
    int s = daemon.login_client();
    Reply reply;
    ASSERT_EQ(c.length, request_info(s, &reply)) << c.label;
    expect_info_frame(reply, c.length, daemon.port(), c.label);
    expect_runs(reply, byte_runs(c.bytes), c.label);
    close(s);
  }
}

// On type 0 start-up never loads the privacy group: reloads decide what the reply
// holds. A request that is no valid reload gets no answer: the motion read sent after
// it must give the next reply.
TEST(EndToEndCamera, ReloadRequestsAnswerOnlyValidBitSets) {
  DaemonOptions options;
  options.prepare = rename_model;
  DaemonHarness daemon(options);
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  write_text_file(daemon.web_path("kelda2/env_video.ls"),
                  "VIDEO_TYPE = 2\nDD_RES = vga\nED_RES = qvga\nend\n");
  struct {
    uint16_t bits;
    int32_t length;  // 0: no reply
    const char* bytes;
  } cases[] = {
      {0x0400, 0, ""},
      {0x8001, 0, ""},
      {0x1005, 0, ""},  // the information class with an unknown sub-command
      {0x0005, 133, "46=2,3 128=0,0,0"},
      {0x0010, 141, "128=1,1,1,7,0,143,0,91,0,227,0"},
      {0x1200, 141, "130=1"},  // bits 9 and 12 alone load nothing
  };
  int s = daemon.login_client();
  for (const auto& c : cases) {
    std::string label = "reload " + std::to_string(c.bits);
    ASSERT_EQ(0, send_request(s, make_reload_request(c.bits)));
    Reply reply;
    if (c.length == 0) {
      ASSERT_EQ(0, send_fields(s, kClassInformation, kSubMotionRead, ""));
      ASSERT_GT(read_reply(s, &reply), 0) << label;
      EXPECT_EQ(kReplyMotion, reply.bytes[kReplySub]) << label;
      continue;
    }
    ASSERT_EQ(c.length, read_reply(s, &reply)) << label;
    expect_info_frame(reply, c.length, daemon.port(), label);
    expect_runs(reply, byte_runs(c.bytes), label);
  }
  EXPECT_TRUE(close_served(s));
  close(s);
}

struct WriteCase {
  const char* label;
  uint8_t command_class;
  uint8_t sub;
  const char* fields;  // request bytes
  const char* file;    // a file below the web root ...
  const char* part;    // ... and text it holds afterwards
  const char* calls;   // programs run: "program arg ...; program ..."
  const char* reply;   // device information bytes afterwards
  bool restarts;       // stream writes: every connection ends
};

// The programs run, as "program arg ...; program ...", once as many as expected ran.
std::string calls_text(const std::string& root, const std::string& expected) {
  size_t count = expected.empty() ? 0 : 1 + std::count(expected.begin(), expected.end(), ';');
  std::string text;
  for (const StubCall& call : wait_for_stub_calls(root, count, kDaemonWaitMs)) {
    text += text.empty() ? call.program : "; " + call.program;
    for (const std::string& arg : call.args)
      text += " " + arg;
  }
  return text;
}

void expect_effects(const DaemonHarness& daemon, const WriteCase& c, const Reply& reply) {
  expect_runs(reply, byte_runs(c.reply), c.label);
  if (*c.file != '\0') {
    std::string text = file_text(daemon.web_path(c.file));
    EXPECT_NE(std::string::npos, text.find(c.part)) << c.label << ": " << c.file << "\n" << text;
  }
  EXPECT_EQ(c.calls, calls_text(daemon.root(), c.calls)) << c.label;
  for (const StubDescriptors& d : read_stub_descriptors(daemon.root()))
    EXPECT_EQ((std::vector<int>{0, 1, 2}), d.descriptors) << c.label << ": " << d.program;
}

// In order on one daemon (type 1 sandbox); later rows see what earlier ones left: the
// osd write clears TXT_EN, so the title action then runs ctrl_osd. Brightness 28 in
// the file is 131 on the wire and is saved back as 27.
TEST(EndToEndCamera, WritesTakeNonZeroFieldsRewriteFilesAndRunPrograms) {
  const WriteCase cases[] = {
      {"picture", kClassCamera, kSubPicture, "5=7", "kelda2/env_camcontrol1.ls",
       "BRIGHTNESS = 27\nCONTRAST = 7\n", "ctrl_dspset -b 27 -c 7 -s 96 -h 128 -t 140",
       "110=123,7,96,128,140", false},
      {"white balance", kClassCamera, kSubWhiteBalance, "4=3 6=2", "", "",
       "ctrl_dspset -i 3 -v 64 -l blc1", "118=3,64,2", false},
      {"camcontrol2", kClassCamera, kSubCamcontrol2, "4=2 6=1 7=9", "", "",
       "ctrl_dspset -e on -f off -x off -n 9", "122=2,1,1,9", false},
      {"alarm", kClassEvent, kSubAlarm, "4=1 7=0xC0 8=30", "kelda2/env_alarm.ls",
       "ALARMIN_EN = 0\nNO_NC = 1\nIN_NAME = Door\n", "ctrl_gpio -e s1 -o s1 -R r1 -a sm -l 30",
       "104=1,18,2,0xC0,30", false},
      // osd_extra (byte 7) is not saved: the reload shows 0.
      {"osd", kClassOverlay, kSubOsd, "4=1 5=3 6=0x14 7=9 8='Gate'", "kelda2/env_osd.ls",
       "TXT_EN = 0\nTXT_TYPE = 1\nTXT_STR = Gate\n", "kd_osd_webcmd", "58=1,3,0x14,0,'Gate',0",
       false},
      // Saved below admin/, loaded from kelda2/: the reply keeps "Lobby".
      {"title", kClassOverlay, kSubTitle, "4='Hall'", "admin/view_title.ls", "NAME = Hall\nEND\n",
       "ctrl_osd -c Hall; send_servertitle", "83='Lobby',0", false},
      {"title, first byte 0", kClassOverlay, kSubTitle, "5='xy'", "admin/view_title.ls",
       "NAME = Lobby\nEND\n", "ctrl_osd -c Lobby; send_servertitle", "", false},
      // Left 256 (0x00 0x01), right 300; the edges sent as 0 stay 143 and 227.
      {"privacy", kClassOverlay, kSubPrivacy, "4=2 5=4 8=1 11=44 12=1", "kelda2/env_privacy.ls",
       "STARTX = 256\nSTARTY = 143\nWIDTH = 44\nHEIGHT = 84\n", "kd_privacy_webcmd; ctrl_getjpeg",
       "128=2,4,1,0,1,143,0,44,1,227,0", false},
  };
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  int s = daemon.login_client();
  for (const WriteCase& c : cases) {
    clear_stub_logs(daemon.root());
    ASSERT_EQ(0, send_fields(s, c.command_class, c.sub, c.fields)) << c.label;
    Reply reply;
    ASSERT_EQ(141, request_info(s, &reply)) << c.label;
    expect_effects(daemon, c, reply);
  }
  EXPECT_TRUE(close_served(s));
  close(s);
}

// Each on a fresh daemon: the writer gets no reply and is closed. A client logged in
// before and one logging in after are each served one request and then closed, unless
// nothing restarted (a video write of the current value).
TEST(EndToEndCamera, StreamWritesEndEveryConnection) {
  const char* kVideoVga = "allshutdown_exweb; write_NTVGA_tvsystem; kd_video_run";
  const WriteCase cases[] = {
      {"mpeg, rate control on: bitrate 0 taken", kClassStream, kSubMpeg, "4=1", "", "",
       "kd_stream_rerun", "48=1,30,2,30,0,0,0,0", true},
      {"mpeg, rate control off: bitrate ignored", kClassStream, kSubMpeg, "6=1 8=0xD2 9=4",
       "kelda2/env_mpeg.ls", "bitrate = 768\n", "kd_stream_rerun", "48=2,30,1,30,0,0,0,0", true},
      {"mpeg, rate control kept on", kClassStream, kSubMpeg, "5=15 9=4", "", "", "kd_stream_rerun",
       "48=2,15,2,30,0,4,0,0", true},
      {"jpeg, all 0", kClassStream, kSubJpeg, "", "kelda2/env_jpeg.ls", "enable = on\nsrc = dd\n",
       "kd_stream_rerun", "56=2,50", true},
      {"jpeg", kClassStream, kSubJpeg, "4=1 5=80", "", "", "kd_stream_rerun", "56=1,80", true},
      {"video, current value", kClassStream, kSubVideoResolution, "4=1", "kelda2/env_video.ls",
       "DD_RES = quadvga\nED_RES = vga\n", "", "46=1,1", false},
      {"video 3", kClassStream, kSubVideoResolution, "4=3", "kelda2/env_jpeg.ls", "src = ed\n",
       kVideoVga, "46=1,3", true},
      {"video 5, not accepted", kClassStream, kSubVideoResolution, "4=5", "", "",
       "allshutdown_exweb; write_NTQVGA_tvsystem; kd_video_run", "46=1,1", true},
      {"stream settings", kClassStream, kSubStreamSettings, "4=2 5=1 11=1 12=70",
       "kelda2/env_jpeg.ls", "enable = off\nsrc = ed\n", kVideoVga, "46=1,2,1 56=1,70", true},
  };
  for (const WriteCase& c : cases) {
    DaemonHarness daemon;
    ASSERT_TRUE(daemon.ok()) << daemon.error();
    int before = daemon.login_client();
    int writer = daemon.login_client();
    client_set_timeout(writer, 6000);  // a stream action pauses 1 second
    ASSERT_EQ(0, send_fields(writer, c.command_class, c.sub, c.fields)) << c.label;
    Reply reply;
    EXPECT_EQ(kResultPeerGone, read_reply(writer, &reply)) << c.label;
    close(writer);
    int after = daemon.login_client();
    for (int s : {before, after}) {
      ASSERT_EQ(141, request_info(s, &reply)) << c.label;
      EXPECT_EQ(c.restarts, client_wait_closed(s, c.restarts ? kDaemonWaitMs : 100)) << c.label;
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

// A motion write takes a 4803-byte payload (map and trailer) only, and saves only
// while current_md is not 0 (a motion read with byte 7 set and byte 8 = 0 clears it).
TEST(EndToEndCamera, MotionWritesReplaceTheMapOnlyWhenValidAndSelected) {
  struct {
    const char* label;
    const char* select;  // a motion read first, with these bytes
    uint8_t flags;
    size_t length;  // declared and sent
    bool trailer_ok;
    uint8_t fill;       // cells sent
    uint8_t file_fill;  // cells of env_motion_block.dat afterwards
    bool runs;          // kd_md_run started
  } cases[] = {
      {"valid", "", 0, 4803, true, 3, 3, true},
      // The buffer still holds the last payload's trailer: it must not count.
      {"short", "", 0, 100, false, 4, 3, false},
      {"bad trailer", "", 0, 4803, false, 5, 3, false},
      {"oversized", "", 0, 6000, false, 6, 3, false},
      {"current_md 0", "7=1 8=0", 0, 4803, true, 7, 3, false},
      {"current_md 2", "7=1 8=2", 0, 4803, true, 8, 8, true},
      {"detection off, method 2: no block file", "", 0x12, 4803, true, 9, 8, true},
  };
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  std::string block_file = daemon.web_path("kelda2/env_motion_block.dat");
  int s = daemon.login_client();
  Reply reply;  // start-up does not load the motion group on type 1: a read does
  ASSERT_EQ(0, send_fields(s, kClassInformation, kSubMotionRead, ""));
  ASSERT_EQ(4835, read_reply(s, &reply));
  for (const auto& c : cases) {
    if (*c.select != '\0') {
      ASSERT_EQ(0, send_fields(s, kClassInformation, kSubMotionRead, c.select));
      ASSERT_EQ(4835, read_reply(s, &reply)) << c.label;
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
    if (request_info(s, &reply) <= 0) {  // a reply means the write is done
      close(s);                          // ended after an oversized payload: allowed
      s = daemon.login_client();
    }
    std::string file = file_text(block_file);
    EXPECT_EQ(block_map(c.file_fill), std::vector<uint8_t>(file.begin(), file.end())) << c.label;
    EXPECT_EQ(c.runs ? "kd_md_run" : "", calls_text(daemon.root(), "")) << c.label;
  }
  EXPECT_EQ(0u, file_text(daemon.web_path("kelda2/env_motion.ls"))
                    .find("MOTION_EN = 0\nMD_METHOD = 2\nACCURACY = 2\n"));
  // A read reloads the files: flags 0x12, length 4803, the map of the last saved file.
  ASSERT_EQ(0, send_fields(s, kClassInformation, kSubMotionRead, ""));
  ASSERT_EQ(4835, read_reply(s, &reply));
  expect_runs(reply, {{11, {1, 0x12, 0xC3, 0x12, 0, 0}}, {32, block_map(8)}}, "read");
  EXPECT_TRUE(reply_trailer_ok(reply));
  close(s);
}

}  // namespace
}  // namespace camrcd
