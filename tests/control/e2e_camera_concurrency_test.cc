// End-to-end concurrency on one daemon: picture writes racing device information reads
// never show a mix of two writes; a SIGALRM from outside is printed and ends nothing.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <set>
#include <string>
#include <thread>

#include "client/client_request.h"
#include "support/daemon_harness.h"
#include "support/e2e_clients.h"

namespace camrcd {
namespace {

using Picture = std::array<uint8_t, 5>;  // brightness, contrast, sharpness, hue, saturation

constexpr int kHammerMs = 2000;

// Reads the device information; the picture bytes 110-114, or all 0 on failure.
Picture read_picture(int socket) {
  Picture picture = {};
  Reply reply;
  if (send_request(socket, make_request(kClassInformation, kSubDeviceInfo)) == 0 &&
      read_reply(socket, &reply) == 141) {
    std::copy(reply.bytes + 110, reply.bytes + 115, picture.begin());
  }
  return picture;
}

void write_picture(int socket, const Picture& picture) {
  RequestHeader header = make_request(kClassCamera, kSubPicture);
  for (size_t i = 0; i < picture.size(); i++)
    request_set_byte(&header, 4 + i, picture[i]);
  send_request(socket, header);
}

// Both tuples survive the file's brightness scale unchanged (255 <-> 44, 7 <-> 12).
// Afterwards a SIGALRM from outside is printed and ends neither connection.
TEST(EndToEndCameraConcurrency, PictureWritesAndReadsNeverMixThenAlarmEndsNothing) {
  const Picture written[2] = {{255, 10, 20, 30, 40}, {7, 50, 60, 70, 80}};
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
    for (int64_t end = monotonic_ms() + kHammerMs; monotonic_ms() < end;) {
      write_picture(writer, written[0]);
      write_picture(writer, written[1]);
      writer_seen.insert(read_picture(writer));  // also paces the writes
    }
    stop = true;
  });
  size_t reads = 0;
  for (; !stop; reads++)
    reader_seen.insert(read_picture(reader));
  writing.join();
  EXPECT_GT(reads, 10u);
  EXPECT_EQ(std::set<Picture>{written[1]}, writer_seen);  // its own last write
  for (const Picture& p : reader_seen)
    EXPECT_EQ(1u, whole.count(p)) << "mixed: " << testing::PrintToString(p);

  for (size_t i = 1; i <= 3; i++) {
    ASSERT_EQ(0, kill(daemon.pid(), SIGALRM));
    EXPECT_TRUE(daemon.wait_for_count("CountAlarm !!!!!!!!!\n", i)) << daemon.output();
  }
  EXPECT_TRUE(close_served(writer));
  EXPECT_TRUE(close_served(reader));
  close(writer);
  close(reader);
  daemon.stop();
  EXPECT_EQ(std::string::npos, daemon.errors().find("ThreadSanitizer")) << daemon.errors();
}

}  // namespace
}  // namespace camrcd
