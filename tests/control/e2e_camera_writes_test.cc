// End-to-end write requests of a fixed camera through the real daemon: the fields
// taken by the zero-means-unchanged rules (seen in the next device information reply,
// which reloads the files), the rewritten files, the programs run and the descriptors
// they inherit; the stream writes that end every connection; the motion write.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "client/client_request.h"
#include "client/client_socket.h"
#include "control/net_io.h"
#include "support/daemon_harness.h"
#include "support/e2e_clients.h"
#include "support/stub_log.h"

namespace camrcd {
namespace {

constexpr int kRestartWaitMs = 6000;  // a stream action pauses 1 second

struct Bytes {
  size_t at;
  std::vector<uint8_t> values;
};

struct Write {
  uint8_t command_class;
  uint8_t sub;
  std::vector<std::pair<size_t, uint8_t>> fields;  // header bytes
  size_t text_at;                                  // 0: no text
  const char* text;
};

std::string file_text(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// The calls as "program arg arg; program ..." once `count` of them are logged.
std::string calls_text(const std::string& root, size_t count) {
  std::string text;
  for (const StubCall& call : wait_for_stub_calls(root, count, kDaemonWaitMs)) {
    text += text.empty() ? call.program : "; " + call.program;
    for (const std::string& arg : call.args)
      text += " " + arg;
  }
  return text;
}

size_t call_count(const std::string& calls) {
  return calls.empty() ? 0 : 1 + std::count(calls.begin(), calls.end(), ';');
}

int32_t send_write(int socket, const Write& w) {
  RequestHeader header = make_request(w.command_class, w.sub);
  for (const auto& field : w.fields)
    request_set_byte(&header, field.first, field.second);
  if (w.text_at != 0)
    request_set_text(&header, w.text_at, 20, w.text);
  return send_request(socket, header);
}

int32_t request_info(int socket, Reply* reply) {
  if (send_request(socket, make_request(kClassInformation, kSubDeviceInfo)) != 0)
    return -1;
  return read_reply(socket, reply);
}

void expect_bytes(const Reply& reply, const std::vector<Bytes>& expected, const char* label) {
  for (const Bytes& b : expected) {
    std::vector<uint8_t> got(reply.bytes + b.at, reply.bytes + b.at + b.values.size());
    EXPECT_EQ(b.values, got) << label << ": bytes from " << b.at;
  }
}

// What a program the daemon starts may hold: 0, 1, 2 and what the test process
// itself passes on (descriptors it holds open across exec).
std::vector<int> passed_on_descriptors() {
  std::vector<int> result = {0, 1, 2};
  for (int fd = 3; fd < 1024; fd++) {
    int flags = fcntl(fd, F_GETFD);
    if (flags >= 0 && (flags & FD_CLOEXEC) == 0)
      result.push_back(fd);
  }
  return result;
}

void expect_file_parts(const DaemonHarness& daemon,
                       const std::vector<std::pair<const char*, const char*>>& parts,
                       const char* label) {
  for (const auto& part : parts) {
    std::string text = file_text(daemon.web_path(part.first));
    EXPECT_NE(std::string::npos, text.find(part.second)) << label << ": " << part.first << "\n"
                                                         << text;
  }
}

// Writes that do not restart the streams, in order on one daemon (type 1 sandbox):
// later rows see what earlier ones left (the osd write clears TXT_EN, so the title
// action then runs ctrl_osd). Brightness 28 in the file is 131 on the wire.
TEST(EndToEndCameraWrites, FieldsFilesAndProgramsOfEachWrite) {
  struct {
    const char* label;
    Write write;
    std::vector<std::pair<const char*, const char*>> files;
    const char* calls;
    std::vector<Bytes> reply;
  } cases[] = {
      {"picture, brightness 0 kept",
       {kClassCamera, kSubPicture, {{5, 7}}, 0, nullptr},
       {{"kelda2/env_camcontrol1.ls",
         "BRIGHTNESS = 27\nCONTRAST = 7\nSHARPNESS = 96\nHUE = 128\nSATURATION = 140\n"}},
       "ctrl_dspset -b 27 -c 7 -s 96 -h 128 -t 140",
       {{110, {123, 7, 96, 128, 140}}}},
      {"white balance",
       {kClassCamera, kSubWhiteBalance, {{4, 3}, {6, 2}}, 0, nullptr},
       {{"kelda2/env_camcontrol1.ls", "WB = 3\nWB_MANUAL = 64\nBLC = 2\nEND\n"}},
       "ctrl_dspset -i 3 -v 64 -l blc1",
       {{118, {3, 64, 2}}}},
      {"camcontrol2",
       {kClassCamera, kSubCamcontrol2, {{4, 2}, {6, 1}, {7, 9}}, 0, nullptr},
       {{"kelda2/env_camcontrol2.ls",
         "MONOCHROME = 1\nNEGATIVE = 0\nCOLOR_BAR = 0\nSENSORUP = 9\n"}},
       "ctrl_dspset -e on -f off -x off -n 9",
       {{122, {2, 1, 1, 9}}}},
      {"alarm",
       {kClassEvent, kSubAlarm, {{4, 1}, {7, 0xC0}, {8, 30}}, 0, nullptr},
       {{"kelda2/env_alarm.ls",
         "ALARMIN_EN = 0\nNO_NC = 1\nIN_NAME = Door\nALARMOUT_EN = 1\nOUT_WIR = 3\n"
         "OUT_DURATION = 30\nend\n"}},
       "ctrl_gpio -e s1 -o s1 -R r1 -a sm -l 30",
       {{104, {1, 18, 2, 0xC0, 30}}}},
      {"alarm duration 255",
       {kClassEvent, kSubAlarm, {{5, 17}, {8, 255}}, 0, nullptr},
       {{"kelda2/env_alarm.ls", "NO_NC = 0\n"}, {"kelda2/env_alarm.ls", "OUT_DURATION = 1\n"}},
       "ctrl_gpio -e s1 -n s1 -R r1 -a sm -l 1",
       {{104, {1, 17, 2, 0xC0, 255}}}},
      {"osd",
       {kClassOverlay, kSubOsd, {{4, 1}, {5, 3}, {6, 0x14}, {7, 9}}, 8, "Gate"},
       {{"kelda2/env_osd.ls",
         "OSD_EN = 0\nTXT_EN = 0\nTXT_TYPE = 1\nTXT_STR = Gate\nDATE_EN = 1\nTIME_EN = 0\n"
         "ICON_EN = 1\n"},
        {"kelda2/env_osd.ls", "OSD_COLOR = 3\nEND\n"}},
       "kd_osd_webcmd",
       {{58, {1, 3, 0x14, 0, 'G', 'a', 't', 'e', 0}}}},
      // The title is saved below admin/ but loaded from kelda2/: replies keep "Lobby".
      {"title",
       {kClassOverlay, kSubTitle, {}, 4, "Hall"},
       {{"admin/view_title.ls", "NAME = Hall\nEND\n"}},
       "ctrl_osd -c Hall; send_servertitle",
       {{83, {'L', 'o', 'b', 'b', 'y', 0}}}},
      {"title with first byte 0",
       {kClassOverlay, kSubTitle, {{5, 'x'}, {6, 'y'}}, 0, nullptr},
       {{"admin/view_title.ls", "NAME = Lobby\nEND\n"}},
       "ctrl_osd -c Lobby; send_servertitle",
       {}},
      // Left 256 (bytes 0x00 0x01), right 300; top and bottom 0 stay 143 and 227.
      {"privacy",
       {kClassOverlay, kSubPrivacy, {{4, 2}, {5, 4}, {8, 1}, {11, 44}, {12, 1}}, 0, nullptr},
       {{"kelda2/env_privacy.ls",
         "PRIVACY_EN = 1\nPRIVACY_COLOR = 4\nPRIVACY_MASK = 1\nSTARTX = 256\nSTARTY = 143\n"
         "WIDTH = 44\nHEIGHT = 84\n"}},
       "kd_privacy_webcmd; ctrl_getjpeg",
       {{128, {2, 4, 1, 0, 1, 143, 0, 44, 1, 227, 0}}}},
  };
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  int s = daemon.login_client();
  ASSERT_GE(s, 0);
  for (const auto& c : cases) {
    clear_stub_logs(daemon.root());
    ASSERT_EQ(0, send_write(s, c.write)) << c.label;
    Reply reply;
    ASSERT_EQ(141, request_info(s, &reply)) << c.label;
    expect_bytes(reply, c.reply, c.label);
    expect_file_parts(daemon, c.files, c.label);
    EXPECT_EQ(c.calls, calls_text(daemon.root(), call_count(c.calls))) << c.label;
    // A program the daemon starts inherits no listener, client socket or file.
    for (const StubDescriptors& d : read_stub_descriptors(daemon.root()))
      EXPECT_EQ(passed_on_descriptors(), d.descriptors) << c.label << ": " << d.program;
  }
  EXPECT_TRUE(close_served(s));
  close(s);
}

// Video, MPEG and JPEG writes, each on a fresh daemon: the writer gets no reply and is
// closed once the action has run; a client already logged in is served its next
// request and then closed too (unless nothing restarted).
TEST(EndToEndCameraWrites, StreamWritesEndEveryConnection) {
  const char* kVideoRun3 = "allshutdown_exweb; write_NTVGA_tvsystem; kd_video_run";
  struct {
    const char* label;
    Write write;
    std::vector<std::pair<const char*, const char*>> files;
    const char* calls;
    std::vector<Bytes> reply;
    bool restarts;
  } cases[] = {
      {"mpeg, rate control on: bitrate 0 taken",
       {kClassStream, kSubMpeg, {{4, 1}}, 0, nullptr},
       {{"kelda2/env_mpeg.ls", "enable = off\n"}, {"kelda2/env_mpeg.ls", "bitrate = 0\n"}},
       "kd_stream_rerun",
       {{48, {1, 30, 2, 30, 0, 0, 0, 0}}},
       true},
      {"mpeg, rate control off: bitrate ignored",
       {kClassStream, kSubMpeg, {{6, 1}, {8, 0xD2}, {9, 0x04}}, 0, nullptr},
       {{"kelda2/env_mpeg.ls", "cbr = off\ninputrate = 29\nbitrate = 768\n"},
        {"kelda2/env_mpeg.ls", "quality = 30\n"}},
       "kd_stream_rerun",
       {{48, {2, 30, 1, 30, 0, 0, 0, 0}}},
       true},
      {"mpeg, rate control kept on: bitrate 1024",
       {kClassStream, kSubMpeg, {{5, 15}, {9, 0x04}}, 0, nullptr},
       {{"kelda2/env_mpeg.ls", "govl = 15\n"}, {"kelda2/env_mpeg.ls", "bitrate = 1024\n"}},
       "kd_stream_rerun",
       {{48, {2, 15, 2, 30, 0, 4, 0, 0}}},
       true},
      {"jpeg, all 0: saved and applied unchanged",
       {kClassStream, kSubJpeg, {}, 0, nullptr},
       {{"kelda2/env_jpeg.ls", "enable = on\nsrc = dd\nhttp = off\nformat = 422\nqfactor = 50\n"}},
       "kd_stream_rerun",
       {{56, {2, 50}}},
       true},
      {"jpeg",
       {kClassStream, kSubJpeg, {{4, 1}, {5, 80}}, 0, nullptr},
       {{"kelda2/env_jpeg.ls", "enable = off\nsrc = dd\n"},
        {"kelda2/env_jpeg.ls", "qfactor = 80\n"}},
       "kd_stream_rerun",
       {{56, {1, 80}}},
       true},
      {"video, the current value",
       {kClassStream, kSubVideoResolution, {{4, 1}}, 0, nullptr},
       {{"kelda2/env_video.ls", "DD_RES = quadvga\nED_RES = vga\n"}},
       "",
       {{46, {1, 1}}},
       false},
      {"video 3",
       {kClassStream, kSubVideoResolution, {{4, 3}}, 0, nullptr},
       {{"kelda2/env_video.ls",
         "VIDEO_TYPE = 1\nDD_RES = vga\nED_RES = qvga\nDD_REVERSE = off\nED_REVERSE = off\n"
         "EZOOM = off\nend\n"},
        {"kelda2/env_jpeg.ls", "src = ed\n"}},
       kVideoRun3,
       {{46, {1, 3}}},
       true},
      {"video 5, not accepted",
       {kClassStream, kSubVideoResolution, {{4, 5}}, 0, nullptr},
       {{"kelda2/env_video.ls", "DD_RES = quadvga\nED_RES = vga\n"}},
       "allshutdown_exweb; write_NTQVGA_tvsystem; kd_video_run",
       {{46, {1, 1}}},
       true},
      {"stream settings",
       {kClassStream, kSubStreamSettings, {{4, 2}, {5, 1}, {11, 1}, {12, 70}}, 0, nullptr},
       {{"kelda2/env_video.ls", "DD_RES = vga\nED_RES = vga\n"},
        {"kelda2/env_mpeg.ls", "enable = off\n"},
        {"kelda2/env_jpeg.ls", "enable = off\nsrc = ed\n"},
        {"kelda2/env_jpeg.ls", "qfactor = 70\n"}},
       kVideoRun3,
       {{46, {1, 2, 1}}, {56, {1, 70}}},
       true},
  };
  for (const auto& c : cases) {
    DaemonHarness daemon;
    ASSERT_TRUE(daemon.ok()) << daemon.error();
    int observer = daemon.login_client();
    int writer = daemon.login_client();
    ASSERT_TRUE(observer >= 0 && writer >= 0) << c.label;
    client_set_timeout(writer, kRestartWaitMs);
    ASSERT_EQ(0, send_write(writer, c.write)) << c.label;
    Reply reply;
    EXPECT_EQ(kResultPeerGone, read_reply(writer, &reply)) << c.label;
    EXPECT_EQ(c.calls, calls_text(daemon.root(), call_count(c.calls))) << c.label;
    expect_file_parts(daemon, c.files, c.label);
    ASSERT_EQ(141, request_info(observer, &reply)) << c.label;
    expect_bytes(reply, c.reply, c.label);
    EXPECT_EQ(c.restarts, client_wait_closed(observer, c.restarts ? kDaemonWaitMs : 100))
        << c.label;
    close(writer);
    close(observer);
  }
}

}  // namespace
}  // namespace camrcd
