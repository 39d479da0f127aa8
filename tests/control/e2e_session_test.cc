// End-to-end sessions of the real daemon. Start-up: banner, test-mode argument, the
// listener's port (from the port file, or 9001 without one), the end after a failed
// bind. Lifecycle: accept pauses while descriptors are used up (hostile connections
// at scale: AbuseRun). Framing: a header may arrive in pieces; 32 bytes with a wrong
// prefix are dropped whole.
#include <errno.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "client/client_request.h"
#include "client/client_socket.h"
#include "support/daemon_harness.h"

namespace camrcd {
namespace {

// Each case starts a daemon, without the port file (port 9001) or on a port taken by
// another socket when asked.
TEST(EndToEndStartup, BannerTestModeAndListener) {
  const struct {
    std::vector<std::string> arguments;
    bool test_mode, port_file, port_taken;
  } cases[] = {{{"T1", "x"}, true, true, false},
               {{"t"}, false, false, false},
               {{"x", "T"}, false, true, false},
               {{"T"}, true, true, true}};
  for (const auto& c : cases) {
    uint16_t port_9001 = 9001;
    int probe = c.port_file ? -2 : listening_socket(&port_9001);
    if (probe == -1)
      continue;  // port 9001 is in use on this machine
    close(probe);
    DaemonOptions options;
    options.arguments = c.arguments;
    options.port_file = c.port_file;
    options.port = free_tcp_port();
    options.wait_for_listen = !c.port_taken;
    int holder = c.port_taken ? listening_socket(&options.port) : -1;
    DaemonHarness daemon(options);
    ASSERT_TRUE(daemon.ok()) << daemon.error();
    int status = -1;  // a failed bind ends the daemon with status 0
    EXPECT_TRUE(!c.port_taken || (daemon.wait_for_exit(kDaemonStartMs, &status) && status == 0));
    std::string output = daemon.output();
    EXPECT_EQ(output.find("\nRemote Control Ver 2.000 \n 'T' for Test mode \n"), 0u) << output;
    EXPECT_EQ(output.find("TEST MODE argv=T\n") != std::string::npos, c.test_mode) << output;
    std::string port = c.port_file ? std::to_string(daemon.port()) : "9001";
    std::string bind_failed =
        "TCP Lsiten Socket Bind A fail reason : err=" + std::to_string(EADDRINUSE) + " \n";
    EXPECT_EQ(output.find(bind_failed) != std::string::npos, c.port_taken) << output;
    EXPECT_EQ(output.find("Control listen() started - port(" + port + ")\n") != std::string::npos,
              !c.port_taken);
    if (holder >= 0) {
      close(holder);
      continue;
    }
    int client = client_open("127.0.0.1", std::stoi(port));  // the greeting read
    EXPECT_GE(client, 0);
    close(client);
  }
}

// Idle connections use up the descriptors of a daemon with a low limit, so accept
// fails: the daemon pauses between attempts (a few failure lines a second, not a
// spinning loop) and serves again soon after the idle connections have gone.
TEST(EndToEndLifecycle, AcceptPausesWhileDescriptorsAreUsedUpThenRecovers) {
  DaemonOptions options;
  options.open_file_limit = 24;
  DaemonHarness daemon(options);
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  const std::string failure = "accept() failed - err:" + std::to_string(EMFILE) + " \n";
  std::vector<int> idle;
  for (int i = 0; i < 60 && daemon.count_in_output(failure) == 0; i++) {
    int s = client_connect("127.0.0.1", daemon.port(), 500);
    if (s >= 0)  // else the listen queue was full for a moment
      idle.push_back(s);
  }
  ASSERT_TRUE(wait_until(kDaemonWaitMs, [&] { return daemon.count_in_output(failure) > 0; }));
  size_t before = daemon.count_in_output(failure);
  usleep(2000000);
  EXPECT_LE(daemon.count_in_output(failure) - before, 12u) << "failure lines in 2 seconds";
  for (int s : idle)
    close(s);
  int s = -1;
  EXPECT_TRUE(wait_until(kDaemonStartMs, [&] {
    close(s);
    return (s = daemon.login_client()) >= 0 && info_served(s);
  }));
  close(s);
}

// Each case sends an optional bad header, then a close request, in the given pieces;
// the close request must get its close reply.
TEST(EndToEndLifecycle, HeadersInPiecesAndBadPrefixes) {
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  const struct {
    std::vector<uint8_t> prefix;  // of a bad header; empty: none
    std::vector<size_t> pieces;
    const char* printed;
  } cases[] = {
      {{}, {1, 1, 1, 1, 1}, ""},
      {{'x', 'x'}, {}, "Pre-Fix Not Match 7878\n"},
      {{0x33, 0x77}, {32}, "Pre-Fix Not Match 3377\n"},  // byte order swapped
      {{0x77, 0x00}, {37}, "Pre-Fix Not Match 7700\n"},  // the close split after 5 bytes
      {{0x00, 0x33}, {10, 40}, "Pre-Fix Not Match 33\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    int s = daemon.login_client();
    std::vector<uint8_t> bytes = c.prefix;
    if (!bytes.empty()) {
      bytes.resize(32, 0x5A);
      bytes[2] = kClassInformation;  // a good class and sub after a bad prefix
      bytes[3] = message(MessageId::kCloseRequest).sub;
    }
    RequestHeader close_request = make_request(MessageId::kCloseRequest);
    bytes.insert(bytes.end(), close_request.bytes, close_request.bytes + 32);
    ASSERT_TRUE(send_in_pieces(s, bytes.data(), bytes.size(), c.pieces, 20));
    Reply reply;
    EXPECT_EQ(read_reply(s, &reply), 32);
    EXPECT_TRUE(is_close_reply(reply) && client_wait_closed(s, kDaemonWaitMs));
    close(s);
    EXPECT_NE(daemon.output().find(c.printed), std::string::npos);
  }
}

}  // namespace
}  // namespace camrcd
