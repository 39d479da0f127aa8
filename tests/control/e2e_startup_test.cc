// End-to-end start-up of the real daemon: banner, test-mode argument, the listener's
// port (from the port file, or 9001 without one) and the end after a failed bind.
#include <errno.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "client/client_socket.h"
#include "support/daemon_harness.h"

namespace camrcd {
namespace {

// A listening socket on the wildcard address without SO_REUSEADDR; -1 on failure.
int occupy_port(uint16_t port) {
  int socket_fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  if (bind(socket_fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
      listen(socket_fd, 1) == 0)
    return socket_fd;
  close(socket_fd);
  return -1;
}

// Each case starts a daemon, without the port file (port 9001) when asked; the first
// runs without arguments.
TEST(EndToEndStartup, BannerTestModeAndListener) {
  const struct {
    std::vector<std::string> arguments;
    bool test_mode, port_file;
  } cases[] = {{{}, false, true},
               {{"T1", "x"}, true, true},
               {{"t"}, false, false},
               {{"x", "T"}, false, true}};
  for (const auto& c : cases) {
    int probe = c.port_file ? -2 : occupy_port(9001);
    if (probe == -1)
      continue;  // port 9001 is in use on this machine
    close(probe);
    DaemonOptions options;
    options.arguments = c.arguments;
    options.port_file = c.port_file;
    DaemonHarness daemon(options);
    ASSERT_TRUE(daemon.ok()) << daemon.error();
    std::string output = daemon.output();
    EXPECT_EQ(output.find("\nRemote Control Ver 2.000 \n 'T' for Test mode \n"), 0u) << output;
    EXPECT_EQ(output.find("TEST MODE argv=T\n") != std::string::npos, c.test_mode) << output;
    std::string port = c.port_file ? std::to_string(daemon.port()) : "9001";
    EXPECT_NE(output.find("Control listen() started - port(" + port + ")\n"), std::string::npos);
    int client = client_connect("127.0.0.1", std::stoi(port));
    char greeting[5] = {};
    EXPECT_EQ(client_recv(client, greeting, 4), 4);
    EXPECT_STREQ(greeting, "1000");
    close(client);
  }
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
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
  std::string bind_failed =
      "TCP Lsiten Socket Bind A fail reason : err=" + std::to_string(EADDRINUSE) + " \n";
  EXPECT_NE(daemon.output().find(bind_failed), std::string::npos) << daemon.output();
  EXPECT_EQ(daemon.output().find("Control listen() started"), std::string::npos);
  close(holder);
}

}  // namespace
}  // namespace camrcd
