// The abuse program (tools/abuse.cc) in short, against the real daemon: 600 hostile
// connections of every kind must leave the daemon's descriptors, threads, memory and
// user count as they were, with a well-behaved client served afterwards. The full run
// of 10,000 is scripts/abuse.
#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/wait.h>

#include <string>

#include "support/daemon_harness.h"

namespace camrcd {
namespace {

#if defined(__SANITIZE_ADDRESS__)
// AddressSanitizer's quarantine holds back what the daemon frees: memory is left to
// the release build here.
constexpr const char* kAllowance = "100000";
#else
constexpr const char* kAllowance = "0";
#endif

TEST(AbuseRun, LeavesTheDaemonAsItWas) {
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  std::string command = std::string(CAMRCD_BINARY_DIR "/abuse --pid ") +
                        std::to_string(daemon.pid()) + " --log " + daemon.output_path() +
                        " --port " + std::to_string(daemon.port()) +
                        " --connections 600 --seconds 120 --allowance " + kAllowance + " 2>&1";
  FILE* run = popen(command.c_str(), "r");
  ASSERT_NE(run, nullptr);
  std::string report;
  char piece[512];
  while (fgets(piece, sizeof piece, run) != nullptr)
    report += piece;
  int status = pclose(run);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << report;
  EXPECT_NE(report.find("\nPASS\n"), std::string::npos) << report;
}

}  // namespace
}  // namespace camrcd
