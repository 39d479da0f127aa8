// The abuse program (tools/abuse.cc) in short, against the real daemon: 600 hostile
// connections of every kind must leave the daemon's descriptors, threads, memory and
// user count as they were, with a well-behaved client served afterwards. The full run
// of 10,000 is scripts/abuse.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/daemon_harness.h"

namespace camrcd {
namespace {

// AddressSanitizer's quarantine holds back what the daemon frees, and an emulator's
// code cache grows as it runs: memory is left to the native release build there.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kMemoryOwnedByOthers = true;
#else
constexpr bool kMemoryOwnedByOthers = sizeof CAMRCD_EMULATOR > 1;
#endif

TEST(AbuseRun, LeavesTheDaemonAsItWas) {
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  std::vector<std::string> argv = target_command(CAMRCD_BINARY_DIR "/abuse");
  argv.insert(argv.begin(), "/usr/bin/env");  // finds an emulator named without a path
  argv.insert(argv.end(),
              {"--pid", std::to_string(daemon.pid()), "--log", daemon.output_path(), "--port",
               std::to_string(daemon.port()), "--connections", "600", "--seconds", "300",
               "--allowance", kMemoryOwnedByOthers ? "100000" : "0"});
  std::string out = daemon.root() + "/abuse";
  int status = run_process(argv, out + ".out", out + ".err");
  std::string report = read_file(out + ".out") + read_file(out + ".err");
  EXPECT_EQ(status, 0) << report;
  EXPECT_NE(report.find("\nPASS\n"), std::string::npos) << report;
}

}  // namespace
}  // namespace camrcd
