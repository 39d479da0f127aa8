// End-to-end start-up of the real daemon: banner, test-mode argument, the listener's
// port (from the port file or 9001 without one) and the end after a failed bind.
#include <errno.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "client/client_request.h"
#include "client/client_socket.h"
#include "support/daemon_harness.h"

namespace camrcd {
namespace {

constexpr char kBanner[] = "\nRemote Control Ver 2.000 \n 'T' for Test mode \n";

// A listening socket on the wildcard address without SO_REUSEADDR; -1 on failure.
int occupy_port(uint16_t port) {
  int socket_fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address;
  memset(&address, 0, sizeof(address));
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  if (bind(socket_fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
      listen(socket_fd, 1) != 0) {
    close(socket_fd);
    return -1;
  }
  return socket_fd;
}

TEST(EndToEndStartup, BannerThenListenerOnPortFilePortPlusOne) {
  DaemonHarness daemon;
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  std::string output = daemon.output();
  EXPECT_EQ(0u, output.find(kBanner)) << output;
  std::string listening =
      "Control listen() started - port(" + std::to_string(daemon.port()) + ")\n";
  EXPECT_NE(std::string::npos, output.find(listening)) << output;
  EXPECT_EQ(std::string::npos, output.find("TEST MODE")) << output;

  int client = daemon.connect_client();  // reads and checks the greeting "1000"
  EXPECT_GE(client, 0);
  if (client >= 0)
    close(client);
}

// The model line of the sandbox's product file decides the device type, which shapes
// the device information reply (privacy block on type 1, auto-run block on type 2).
TEST(EndToEndStartup, ProductFileDecidesTheDeviceType) {
  struct {
    int camera_type;
    int32_t reply_length;
  } cases[] = {{1, 141}, {2, 143}};
  for (const auto& c : cases) {
    DaemonOptions options;
    options.camera_type = c.camera_type;
    DaemonHarness daemon(options);
    ASSERT_TRUE(daemon.ok()) << daemon.error();
    int client = daemon.login_client();
    ASSERT_GE(client, 0);
    RequestHeader info = make_request(kClassInformation, kSubDeviceInfo);
    ASSERT_EQ(0, send_request(client, info));
    Reply reply;
    EXPECT_EQ(c.reply_length, read_reply(client, &reply)) << "type " << c.camera_type;
    EXPECT_EQ(c.camera_type, reply.bytes[13]);
    EXPECT_TRUE(reply_trailer_ok(reply));
    close(client);
  }
}

TEST(EndToEndStartup, TestModeOnlyForAFirstArgumentStartingWithCapitalT) {
  struct {
    std::vector<std::string> arguments;
    bool test_mode;
  } cases[] = {
      {{"T"}, true},  {{"Test"}, true}, {{"T1"}, true},      {{"T", "x"}, true},
      {{"t"}, false}, {{""}, false},    {{"x", "T"}, false},
  };
  for (const auto& c : cases) {
    DaemonOptions options;
    options.arguments = c.arguments;
    DaemonHarness daemon(options);
    ASSERT_TRUE(daemon.ok()) << daemon.error();
    std::string first = c.arguments[0];
    bool printed = daemon.output().find("TEST MODE argv=T\n") != std::string::npos;
    EXPECT_EQ(c.test_mode, printed) << "first argument \"" << first << "\"";
  }
}

TEST(EndToEndStartup, ListensOn9001WithoutPortFile) {
  int probe = occupy_port(9001);
  if (probe < 0)
    GTEST_SKIP() << "port 9001 is in use on this machine";
  close(probe);
  DaemonOptions options;
  options.port_file = false;
  DaemonHarness daemon(options);
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  EXPECT_NE(std::string::npos, daemon.output().find("Control listen() started - port(9001)\n"));
  int client = client_open("127.0.0.1", 9001);
  EXPECT_GE(client, 0);
  if (client >= 0)
    close(client);
}

TEST(EndToEndStartup, PortInUseEndsWithStatusZeroAfterTheBindMessage) {
  uint16_t port = free_tcp_port();
  int holder = occupy_port(port);
  ASSERT_GE(holder, 0);
  DaemonOptions options;
  options.port = port;
  options.wait_for_listen = false;
  DaemonHarness daemon(options);
  ASSERT_TRUE(daemon.ok()) << daemon.error();
  int status = -1;
  ASSERT_TRUE(daemon.wait_for_exit(kDaemonStartMs, &status)) << daemon.output();
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(0, WEXITSTATUS(status));
  std::string bind_failed =
      "TCP Lsiten Socket Bind A fail reason : err=" + std::to_string(EADDRINUSE) + " \n";
  EXPECT_NE(std::string::npos, daemon.output().find(bind_failed)) << daemon.output();
  EXPECT_EQ(std::string::npos, daemon.output().find("Control listen() started"));
  close(holder);
}

}  // namespace
}  // namespace camrcd
