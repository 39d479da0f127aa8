// End-to-end descriptors of the programs the daemon starts: while one client reads
// the device information in a loop (the daemon opening configuration files) and
// another writes settings whose actions start programs, every program finds only
// descriptors 0, 1 and 2 open: no listener, no client socket, no configuration file.
#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "client/client_request.h"
#include "support/daemon_harness.h"
#include "support/e2e_requests.h"
#include "support/stub_log.h"

namespace camrcd {
namespace {

constexpr int kRounds = 4;

// Marks every descriptor above 2 of this process close-on-exec, so that the daemon
// starts with only 0, 1 and 2, as on a camera, whatever the test runner left open.
void keep_own_descriptors() {
  DIR* directory = opendir("/proc/self/fd");
  ASSERT_NE(nullptr, directory);
  while (dirent* entry = readdir(directory)) {
    int descriptor = atoi(entry->d_name);
    if (descriptor > 2 && descriptor != dirfd(directory))
      fcntl(descriptor, F_SETFD, fcntl(descriptor, F_GETFD) | FD_CLOEXEC);
  }
  closedir(directory);
}

TEST(EndToEndStubDescriptors, ProgramsSeeOnlyTheStandardDescriptors) {
  keep_own_descriptors();
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  int writer = daemon.login_client();
  int reader = daemon.login_client();
  int idle = daemon.login_client();
  ASSERT_TRUE(writer >= 0 && reader >= 0 && idle >= 0);
  const RequestHeader writes[] = {
      make_patched_request(kClassCamera, kSubCamcontrol2, {{4, bytes({2, 1, 1, 5})}}),
      make_patched_request(kClassCamera, kSubWhiteBalance, {{4, bytes({2, 5, 2})}}),
      make_patched_request(kClassOverlay, kSubPrivacy, {{4, bytes({2})}}),
      make_patched_request(kClassOverlay, kSubTitle, {{4, "Desk"}}),
      make_patched_request(kClassOverlay, kSubOsd, {{4, bytes({2})}}),
      make_patched_request(kClassEvent, kSubAlarm, {{4, bytes({2})}}),
  };
  // ctrl_dspset twice, kd_privacy_webcmd and ctrl_getjpeg, send_servertitle,
  // kd_osd_webcmd, ctrl_gpio.
  constexpr size_t kCallsPerRound = 7;

  std::atomic<bool> stop{false};
  std::thread reading([&] {
    Reply info;
    while (!stop && exchange(reader, make_request(kClassInformation, kSubDeviceInfo), &info)) {
    }
  });
  Reply view;
  for (int round = 0; round < kRounds; round++) {
    for (const RequestHeader& write : writes)
      ASSERT_EQ(0, send_request(writer, write));
    ASSERT_TRUE(record_view(writer, &view));
  }
  stop = true;
  reading.join();

  size_t calls = wait_for_stub_calls(daemon.root(), kRounds * kCallsPerRound, 3000).size();
  EXPECT_EQ(kRounds * kCallsPerRound, calls);
  std::vector<StubDescriptors> seen = read_stub_descriptors(daemon.root());
  EXPECT_EQ(calls, seen.size());
  for (const StubDescriptors& program : seen)
    EXPECT_EQ(std::vector<int>({0, 1, 2}), program.descriptors) << program.program;
  close(writer);
  close(reader);
  close(idle);
}

}  // namespace
}  // namespace camrcd
