// End-to-end concurrency on one daemon: picture writes racing device information reads
// never show a mix of two writes; a SIGALRM from outside is printed and ends nothing.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

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
TEST(EndToEndCameraConcurrency, PictureWritesAndReadsNeverMix) {
  const Picture initial = {131, 128, 96, 128, 140};  // the sandbox file
  const Picture written[2] = {{255, 10, 20, 30, 40}, {7, 50, 60, 70, 80}};
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  int writer = daemon.login_client();
  int reader = daemon.login_client();
  ASSERT_TRUE(writer >= 0 && reader >= 0);

  std::atomic<bool> stop(false);
  std::set<Picture> writer_seen;
  std::set<Picture> reader_seen;
  size_t reads = 0;
  std::thread writing([&] {
    for (int64_t end = monotonic_ms() + kHammerMs; monotonic_ms() < end;) {
      write_picture(writer, written[0]);
      write_picture(writer, written[1]);
      writer_seen.insert(read_picture(writer));  // also paces the writes
    }
    stop = true;
  });
  while (!stop) {
    reader_seen.insert(read_picture(reader));
    reads++;
  }
  writing.join();

  EXPECT_GT(reads, 10u);
  EXPECT_EQ(std::set<Picture>{written[1]}, writer_seen);  // its own last write
  for (const std::set<Picture>* seen : {&writer_seen, &reader_seen}) {
    for (const Picture& p : *seen) {
      EXPECT_TRUE(p == initial || p == written[0] || p == written[1])
          << "mixed: " << +p[0] << " " << +p[1] << " " << +p[2] << " " << +p[3] << " " << +p[4];
    }
  }
  EXPECT_TRUE(close_served(writer));
  EXPECT_TRUE(close_served(reader));
  close(writer);
  close(reader);
  daemon.stop();
  EXPECT_EQ(std::string::npos, daemon.errors().find("ThreadSanitizer")) << daemon.errors();
}

TEST(EndToEndCameraConcurrency, AlarmSignalIsPrintedAndEndsNoConnection) {
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  int idle = daemon.login_client();  // waits in the header read when the signal comes
  int busy = daemon.login_client();
  ASSERT_TRUE(idle >= 0 && busy >= 0);
  ASSERT_TRUE(info_served(busy));
  for (int i = 1; i <= 3; i++) {
    ASSERT_EQ(0, kill(daemon.pid(), SIGALRM));
    EXPECT_TRUE(daemon.wait_for_count("CountAlarm !!!!!!!!!\n", i)) << daemon.output();
  }
  EXPECT_TRUE(info_served(idle));
  EXPECT_TRUE(info_served(busy));
  EXPECT_EQ(0u, daemon.count_in_output("Close - SockHandle"));
  EXPECT_TRUE(close_served(idle));
  EXPECT_TRUE(close_served(busy));
  close(idle);
  close(busy);
}

}  // namespace
}  // namespace camrcd
