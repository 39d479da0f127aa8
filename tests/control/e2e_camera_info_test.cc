// End-to-end device information through the real daemon: the reply layout per device
// type (what start-up loaded: alarm bytes, privacy block, auto-run block), the MAC and
// port bytes, and reload requests, valid and not, on one connection.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "client/client_request.h"
#include "platform/dev_root.h"
#include "support/daemon_harness.h"
#include "support/e2e_clients.h"

namespace camrcd {
namespace {

// Bytes expected at an offset of a reply.
struct Bytes {
  size_t at;
  std::vector<uint8_t> values;
};

void expect_bytes(const Reply& reply, const std::vector<Bytes>& expected, const char* label) {
  for (const Bytes& b : expected) {
    std::vector<uint8_t> got(reply.bytes + b.at, reply.bytes + b.at + b.values.size());
    EXPECT_EQ(b.values, got) << label << ": bytes from " << b.at;
  }
}

// Checks what every device information reply holds: header, MAC (the sandbox's
// 00A0B1C2D3E4, last byte first), web port 80, CONNECT_PORT and the control port.
void expect_info_frame(const Reply& reply, int32_t length, uint16_t port, const char* label) {
  ASSERT_EQ(static_cast<size_t>(length), reply.length) << label;
  uint16_t connect = static_cast<uint16_t>(port - 1);
  expect_bytes(reply,
               {{0, {static_cast<uint8_t>(length - 32), 0}},
                {4, {0x77, 0x33, 0x10, 0x01, 0, 0, 0}},
                {32, {0xE4, 0xD3, 0xC2, 0xB1, 0xA0, 0x00, 80, 0}},
                {40, {static_cast<uint8_t>(connect), static_cast<uint8_t>(connect >> 8), 0, 0}},
                {44, {static_cast<uint8_t>(port), static_cast<uint8_t>(port >> 8)}},
                {static_cast<size_t>(length - 2), {0x55, 0xAA}}},
               label);
}

int32_t request_info(int socket, Reply* reply) {
  RequestHeader info = make_request(kClassInformation, kSubDeviceInfo);
  request_set_version(&info, 6, 1, 0);
  if (send_request(socket, info) != 0)
    return -1;
  return read_reply(socket, reply);
}

void rename_model(const std::string& root) {
  write_text_file(root + kWebRoot + "/admin/product_info.ls", "Vendor = ZR\nModel = ZR-X100\n");
}

void remove_privacy_file(const std::string& root) {
  unlink((root + kWebRoot + "/kelda2/env_privacy.ls").c_str());
}

TEST(EndToEndCameraInfo, LayoutFollowsTheDeviceTypeAndWhatStartupLoaded) {
  struct {
    const char* label;
    int camera_type;  // of the sandbox
    void (*prepare)(const std::string& root);
    int32_t length;
    std::vector<Bytes> bytes;
  } cases[] = {
      // Type 1 loads the alarm file (codes 2, 18, 2, mode 1 for OUT_WIR 0, 5) and the
      // privacy rectangle 7,143 84x84 as edges.
      {"type 1",
       1,
       nullptr,
       141,
       {{11, {0, 0, 1, 0}},
        {104, {2, 18, 2, 1, 5, 0}},
        {128, {1, 1, 1, 7, 0, 143, 0, 91, 0, 227, 0}}}},
      // Without the privacy file no area is counted: 133 bytes, trailer at 131.
      {"type 1 without privacy file", 1, remove_privacy_file, 133, {{128, {0, 0, 0}}}},
      // An unlisted model loads neither alarm nor privacy although both files exist.
      {"type 0",
       1,
       rename_model,
       133,
       {{11, {0, 0, 0, 0}}, {104, {0, 0, 0, 0, 0}}, {128, {0, 0, 0}}}},
      // The auto-run block: its values come from the auto-run group; the bytes
      // around them are 0.
      {"type 2",
       2,
       nullptr,
       143,
       {{11, {0, 1, 2, 0}}, {104, {0, 0, 0, 0, 0}}, {128, {0, 0, 0}}, {140, {0}}}},
  };
  for (const auto& c : cases) {
    DaemonOptions options;
    options.camera_type = c.camera_type;
    if (c.prepare != nullptr)
      options.prepare = c.prepare;
    DaemonHarness daemon(options);
    ASSERT_TRUE(daemon.ok()) << daemon.error();
    int s = daemon.login_client();
    ASSERT_GE(s, 0) << c.label;
    Reply reply;
    ASSERT_EQ(c.length, request_info(s, &reply)) << c.label;
    expect_info_frame(reply, c.length, daemon.port(), c.label);
    expect_bytes(reply, c.bytes, c.label);
    close(s);
  }
}

// On type 0 start-up never loads the privacy group; reloads decide what the reply
// holds. Requests that are no reload (or an invalid one) get no answer: the motion
// read sent after them must be the next reply.
TEST(EndToEndCameraInfo, ReloadRequestsAnswerOnlyValidBitSets) {
  DaemonOptions options;
  options.prepare = rename_model;
  DaemonHarness daemon(options);
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  // vga + qvga: a video reload reports resolution 3.
  write_text_file(daemon.web_path("kelda2/env_video.ls"),
                  "VIDEO_TYPE = 2\nDD_RES = vga\nED_RES = qvga\nend\n");
  struct {
    uint16_t bits;
    int32_t length;  // 0: no reply
    std::vector<Bytes> bytes;
  } cases[] = {
      {0x0400, 0, {}},
      {0x8001, 0, {}},
      {0x1005, 0, {}},  // information class, unknown sub-command
      {0x0005, 133, {{46, {2, 3}}, {128, {0, 0, 0}}}},
      {0x0010, 141, {{128, {1, 1, 1, 7, 0, 143, 0, 91, 0, 227, 0}}}},
      {0x1200, 141, {{130, {1}}}},              // bits 9 and 12 only: loads nothing
      {0x0080, 141, {{104, {0, 0, 0, 0, 0}}}},  // alarm loaded, not reported on type 0
  };
  int s = daemon.login_client();
  ASSERT_GE(s, 0);
  for (const auto& c : cases) {
    std::string label = "reload " + std::to_string(c.bits);
    ASSERT_EQ(0, send_request(s, make_reload_request(c.bits)));
    Reply reply;
    if (c.length != 0) {
      ASSERT_EQ(c.length, read_reply(s, &reply)) << label;
      expect_info_frame(reply, c.length, daemon.port(), label.c_str());
      expect_bytes(reply, c.bytes, label.c_str());
      continue;
    }
    RequestHeader motion = make_request(kClassInformation, kSubMotionRead);
    ASSERT_EQ(0, send_request(s, motion));
    ASSERT_GT(read_reply(s, &reply), 0) << label;
    EXPECT_EQ(kReplyMotion, reply.bytes[kReplySub]) << label;
  }
  EXPECT_TRUE(close_served(s));
  close(s);
}

}  // namespace
}  // namespace camrcd
