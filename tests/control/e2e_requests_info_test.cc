// End-to-end device information: the whole reply on device types 0, 1 and 2 as the
// sandbox's files make it, with and without a privacy area; what start-up loaded
// (seen through a reload request that loads nothing); reload requests that are
// answered, and look-alikes that are not while the connection goes on.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "client/client_request.h"
#include "platform/dev_root.h"
#include "support/daemon_harness.h"
#include "support/e2e_clients.h"
#include "support/e2e_requests.h"

namespace camrcd {
namespace {

constexpr int kUnlistedModel = 0;

// The privacy file's rectangle: enable code 1 (PRIVACY_EN 0), colour 1, one area,
// edges 7, 143, 7 + 84, 143 + 84.
const std::string kPrivacyArea = bytes({1, 1, 1, 7, 0, 143, 0, 91, 0, 227, 0});
const std::string kNoPrivacyArea = bytes({0, 0, 0});
// The alarm file: input on, NO_NC 1, output on, OUT_WIR 0, OUT_DURATION 5.
const std::string kAlarmBytes = bytes({2, 18, 2, 1, 5});

// The device information reply the sandbox's files give, laid out independently of
// the server: `tail` is the privacy block (types 0 and 1) or the auto-run block.
std::string expected_info(int type, uint16_t port, const std::string& alarm,
                          const std::string& tail) {
  std::string r(128, '\0');
  r.replace(4, 4, bytes({0x77, 0x33, 0x10, 0x01}));
  r[12] = type == 2 ? 1 : 0;
  r[13] = static_cast<char>(type);
  r.replace(32, 6, bytes({0xE4, 0xD3, 0xC2, 0xB1, 0xA0, 0x00}));  // 00A0B1C2D3E4
  r.replace(38, 2, bytes({80, 0}));
  r.replace(40, 2, bytes({(port - 1) & 0xFF, (port - 1) >> 8}));
  r.replace(44, 2, bytes({port & 0xFF, port >> 8}));
  // NT, quadvga/vga; mpeg on, gop 30, cbr on, rate 29 + 1, bitrate 768; jpeg on, 50.
  r.replace(46, 12, bytes({1, 1, 2, 30, 2, 30, 0x00, 0x03, 0, 0, 2, 50}));
  r.replace(58, 4, bytes({2, 1, 0x38, 0}));  // osd on, colour 1, text+date+time
  r.replace(62, 20, text_field("Entrance", 20));
  r.replace(83, 20, text_field("Lobby", 20));
  r.replace(104, 5, alarm);
  // BRIGHTNESS 28 shows as 131; WB 1, WB_MANUAL 64, BLC 1; camcontrol2 all off, 4.
  r.replace(110, 5, bytes({131, 128, 96, 128, 140}));
  r.replace(118, 3, bytes({1, 64, 1}));
  r.replace(122, 4, bytes({1, 1, 1, 4}));
  r += type == 2 ? bytes({0, 0, 0}) + tail : tail;
  r += bytes({0x55, 0xAA});
  size_t payload = r.size() - 32;
  r[0] = static_cast<char>(payload & 0xFF);
  r[1] = static_cast<char>(payload >> 8);
  return r;
}

DaemonOptions options_for(int model, bool privacy_file) {
  DaemonOptions options;
  options.camera_type = model == kUnlistedModel ? 1 : model;
  options.prepare = [model, privacy_file](const std::string& root) {
    std::string web = root + kWebRoot + "/";
    if (model == kUnlistedModel)
      write_text_file(web + "admin/product_info.ls", "Vendor = ZR\nModel = ZR-Q999\n");
    if (!privacy_file)
      unlink((web + "kelda2/env_privacy.ls").c_str());
  };
  return options;
}

// Start-up loads what the device information request loads: the record view right
// after start-up and the request's reply are the same bytes, and they are the
// sandbox's values for the groups of the model's start-up mask only.
TEST(EndToEndDeviceInfo, StartupLoadsTheModelsGroups) {
  struct Case {
    const char* name;
    int model;
    bool privacy_file;
    std::string alarm;
    std::string tail;
  } cases[] = {
      {"type 1", 1, true, kAlarmBytes, kPrivacyArea},
      {"type 1 without privacy file", 1, false, kAlarmBytes, kNoPrivacyArea},
      {"type 0: neither alarm nor privacy", kUnlistedModel, true, std::string(5, '\0'),
       kNoPrivacyArea},
      // The auto-run bytes are the auto-run group's: only the layout is checked.
      {"type 2", 2, true, std::string(5, '\0'), std::string(10, '\0')},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    DaemonHarness daemon(options_for(c.model, c.privacy_file));
    ASSERT_TRUE(daemon.ok()) << daemon.error();
    int s = daemon.login_client();
    ASSERT_GE(s, 0);
    Reply startup, info;
    ASSERT_TRUE(record_view(s, &startup));
    RequestHeader request = make_request(kClassInformation, kSubDeviceInfo);
    request_set_version(&request, 6, 1, 0);
    ASSERT_TRUE(exchange(s, request, &info));
    EXPECT_NE(std::string::npos, daemon.output().find("Require Info Ver 01.00\n"));
    std::string expected = expected_info(c.model, daemon.port(), c.alarm, c.tail);
    if (c.model == 2) {
      ASSERT_EQ(expected.size(), info.length);
      expected.replace(131, 9, reply_bytes(info).substr(131, 9));  // auto-run values
    }
    EXPECT_EQ("", byte_differences(expected, reply_bytes(info)));
    EXPECT_EQ("", byte_differences(reply_bytes(info), reply_bytes(startup)));
    close(s);
  }
}

// A privacy area appears on type 0 once a reload request loads the privacy group,
// and stays: the device information request does not load privacy there.
TEST(EndToEndDeviceInfo, ReloadOfPrivacyGivesTypeZeroItsArea) {
  DaemonHarness daemon(options_for(kUnlistedModel, true));
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  int s = daemon.login_client();
  ASSERT_GE(s, 0);
  std::string expected = expected_info(0, daemon.port(), std::string(5, '\0'), kPrivacyArea);
  Reply reply;
  ASSERT_TRUE(exchange(s, make_reload_request(0x0010), &reply));
  EXPECT_EQ("", byte_differences(expected, reply_bytes(reply)));
  ASSERT_TRUE(exchange(s, make_request(kClassInformation, kSubDeviceInfo), &reply));
  EXPECT_EQ("", byte_differences(expected, reply_bytes(reply)));
  close(s);
}

// Valid reload requests load exactly their groups and answer; invalid bit sets and an
// information-class look-alike are dropped without a reply (the close request that
// follows gets the first reply) and the connection goes on.
TEST(EndToEndDeviceInfo, ReloadRequests) {
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  int s = daemon.login_client();
  ASSERT_GE(s, 0);
  // Changed on disk: jpeg quality (load bit 0x004) and contrast (camcontrol1, 0x020).
  std::string jpeg = daemon.web_path("kelda2/env_jpeg.ls");
  std::string camera = daemon.web_path("kelda2/env_camcontrol1.ls");
  ASSERT_TRUE(
      write_text_file(jpeg, with_lines(file_text(jpeg), {{"qfactor = 50", "qfactor = 77"}})));
  ASSERT_TRUE(
      write_text_file(camera, with_lines(file_text(camera), {{"CONTRAST = 128", "CONTRAST = 9"}})));

  struct Case {
    uint16_t bits;
    bool answered;
    uint8_t quality;   // reply byte 57
    uint8_t contrast;  // reply byte 111
  } cases[] = {
      {0x0400, false, 0, 0},   {0x8001, false, 0, 0},
      {0x1005, false, 0, 0},    // byte 2 0x10 is the information class, sub 0x05 unknown
      {0x0201, true, 50, 128},  // bit 9 accepted and ignored: video only
      {0x0005, true, 77, 128},  // video and jpeg
      {0x0020, true, 77, 9},    // camcontrol1
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << std::hex << "bits 0x" << c.bits);
    ASSERT_EQ(0, send_request(s, make_reload_request(c.bits)));
    Reply reply;
    if (c.answered) {
      ASSERT_GT(read_reply(s, &reply), 32);
      EXPECT_EQ(kReplyDeviceInfo, reply.bytes[kReplySub]);
      EXPECT_TRUE(reply_trailer_ok(reply));
      EXPECT_EQ(c.quality, reply.bytes[57]);
      EXPECT_EQ(c.contrast, reply.bytes[111]);
    } else {
      ASSERT_EQ(0, send_request(s, make_request(kClassInformation, kSubClose)));
      ASSERT_EQ(32, read_reply(s, &reply));
      EXPECT_TRUE(is_close_reply(reply));
      close(s);
      s = daemon.login_client();
      ASSERT_GE(s, 0);
    }
  }
  close(s);
}

}  // namespace
}  // namespace camrcd
