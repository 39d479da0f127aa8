// End-to-end concurrency: one client writes picture settings in a loop while another
// reads the device information; every reply carries one written tuple whole, never a
// mix, and the daemon's standard error holds no sanitizer report.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "client/client_request.h"
#include "support/daemon_harness.h"
#include "support/e2e_requests.h"

namespace camrcd {
namespace {

constexpr int kHammerMs = 1500;
constexpr size_t kPictureAt = 110;  // brightness, contrast, sharpness, hue, saturation

// Tuples that survive the file round trip: brightness 255 is saved as 44 and 7 as 12,
// which read back as 255 and 7.
const std::string kTuples[] = {bytes({255, 10, 20, 30, 40}), bytes({7, 200, 190, 180, 170})};

bool is_written_tuple(const Reply& reply) {
  std::string picture = reply_bytes(reply).substr(kPictureAt, 5);
  return picture == kTuples[0] || picture == kTuples[1];
}

std::string picture_of(const Reply& reply) {
  std::string out;
  for (size_t i = 0; i < 5; i++)
    out += std::to_string(reply.bytes[kPictureAt + i]) + " ";
  return out;
}

TEST(EndToEndConcurrency, PictureWritesAndInfoReadsStayConsistent) {
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  int writer = daemon.login_client();
  int reader = daemon.login_client();
  ASSERT_TRUE(writer >= 0 && reader >= 0);
  RequestHeader writes[2];
  for (int i = 0; i < 2; i++)
    writes[i] = make_patched_request(kClassCamera, kSubPicture, {{4, kTuples[i]}});
  Reply reply;
  ASSERT_EQ(0, send_request(writer, writes[0]));
  ASSERT_TRUE(record_view(writer, &reply));

  std::atomic<bool> stop{false};
  std::atomic<int> reads{0}, mixed{0};
  std::string first_mix;
  std::thread reading([&] {
    Reply info;
    while (!stop) {
      if (!exchange(reader, make_request(kClassInformation, kSubDeviceInfo), &info)) {
        mixed++;
        first_mix = "no reply";
        return;
      }
      reads++;
      if (!is_written_tuple(info) && mixed++ == 0)
        first_mix = picture_of(info);
    }
  });
  // Each write is followed by a record view, which paces the writer to the daemon.
  int written = 0, writer_mixed = 0;
  for (int64_t end = monotonic_ms() + kHammerMs; monotonic_ms() < end; written++) {
    if (send_request(writer, writes[written % 2]) != 0 || !record_view(writer, &reply))
      break;
    if (!is_written_tuple(reply))
      writer_mixed++;
  }
  stop = true;
  reading.join();
  EXPECT_EQ(0, mixed.load()) << "first mixed reply: " << first_mix;
  EXPECT_EQ(0, writer_mixed);
  EXPECT_GT(written, 20);
  EXPECT_GT(reads.load(), 20);
  close(writer);
  close(reader);
  daemon.stop();
  EXPECT_EQ(std::string::npos, daemon.errors().find("ThreadSanitizer")) << daemon.errors();
}

}  // namespace
}  // namespace camrcd
