// The local notices of a pan/tilt camera, byte for byte, as a listener bound to
// 127.0.0.1:1630 receives them from the real daemon: the area selection after a
// motion read and at the end of every motion write, and the saved-area notice of the
// md2 action, sent before its ctrl_ptz line runs. The sandbox's ctrl_ptz is a script
// that records how many bytes wait in the listener's queue when it starts (the test
// reads the queue only once the write is done). These tests hold the notice port:
// ctest runs them under the resource lock notice_port.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <stdio.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "support/daemon_harness.h"

namespace camrcd {
namespace {

constexpr uint16_t kNoticePort = 1630;

// Records the receive queue of the socket bound to port 1630 (0x065E), in hex bytes.
constexpr char kQueueProbe[] =
    "#!/bin/sh\n"
    "awk 'NR > 1 && $2 ~ /:065E$/ { split($5, q, \":\"); print q[2] }' /proc/net/udp"
    " >> \"$CAMRCD_ROOT/queue.log\"\n";

int bind_notice_port() {
  int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = {AF_INET, htons(kNoticePort), {htonl(INADDR_LOOPBACK)}, {}};
  if (bind(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    close(descriptor);
    return -1;
  }
  return descriptor;
}

// Every datagram waiting now, each as hex digits.
std::vector<std::string> drain(int descriptor) {
  std::vector<std::string> notices;
  uint8_t bytes[64];
  for (ssize_t size; (size = recv(descriptor, bytes, sizeof bytes, MSG_DONTWAIT)) >= 0;) {
    std::string hex;
    for (ssize_t i = 0; i < size; ++i) {
      char digits[3];
      snprintf(digits, sizeof digits, "%02x", bytes[i]);
      hex += digits;
    }
    notices.push_back(hex);
  }
  return notices;
}

std::string notice(const std::string& head) {
  return head + std::string(64 - head.size(), '0');
}

TEST(EndToEndNoticePort, AreaSelectionsAndSavedAreasByteForByte) {
  int listener = bind_notice_port();
  ASSERT_GE(listener, 0) << "UDP 127.0.0.1:" << kNoticePort
                         << " is held by another process; these tests need it free";
  DaemonOptions options;
  options.camera_type = 2;
  options.prepare = [](const std::string& root) {
    std::string probe = root + "/home/zr/webserver/web/admin/ctrl_ptz";
    write_text_file(probe, kQueueProbe);
    chmod(probe.c_str(), 0755);
  };
  DaemonHarness daemon(options);
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  int s = daemon.login_client();
  std::vector<uint8_t> payload(4801, 10);
  payload.push_back(0x55);  // the trailer
  payload.push_back(0xAA);
  std::vector<uint8_t> bad = payload;
  bad.back() = 0;
  const struct {
    const char* request;
    const std::vector<uint8_t>* payload;
    std::vector<std::string> notices;
    bool queued_before_ctrl_ptz;  // a ctrl_ptz line ran, after a notice was sent
  } cases[] = {
      {"motion-read 7=1 8=3", nullptr, {notice("3130ff0100008203ff")}, false},
      {"motion-read 7=1 8=255", nullptr, {notice("3130ff01000081ffff")}, false},
      {"motion-read 7=0 8=9", nullptr, {notice("3130ff0100008201ff")}, false},
      {"motion 4=0x10 5=18 6=0xC3,0x12 9=1 12=3 13=2",
       &payload,
       {notice("31304012000010120302"), notice("3130ff0100008203ff")},
       true},
      {"motion 5=18 6=0xC3,0x12 9=1 12=4", &bad, {notice("3130ff0100008204ff")}, false},
      {"motion 6=0xC3,0x12 9=1 12=0", &payload, {notice("3130ff0100008200ff")}, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.request);
    drain(listener);
    unlink((daemon.root() + "/queue.log").c_str());
    ASSERT_EQ(0,
              send_named(s, c.request, c.payload != nullptr ? *c.payload : std::vector<uint8_t>()));
    Reply reply;
    if (c.payload == nullptr) {
      ASSERT_GT(read_reply(s, &reply), 0);
    }
    ASSERT_GT(request_info(s, &reply), 0);  // the request is done
    EXPECT_EQ(drain(listener), c.notices);
    std::string queued = read_file(daemon.root() + "/queue.log");
    EXPECT_EQ(c.queued_before_ctrl_ptz, !queued.empty() && queued != "00000000\n") << queued;
  }
  close(s);
  close(listener);
}

}  // namespace
}  // namespace camrcd
