// Local notices: the 32 bytes that reach a loopback receiver, the result when nobody
// listens or the send fails, and that the socket never outlives the call.
#include "actions/local_notifier.h"

#include <arpa/inet.h>
#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <vector>

namespace camrcd {
namespace {

// A UDP socket bound to 127.0.0.1:port (0 picks one); -1 when the port is taken.
int bind_receiver(uint16_t port, uint16_t* bound_port) {
  int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (bind(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    close(descriptor);
    return -1;
  }
  socklen_t length = sizeof address;
  getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length);
  *bound_port = ntohs(address.sin_port);
  timeval timeout = {2, 0};
  setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
  return descriptor;
}

std::vector<uint8_t> receive(int descriptor) {
  uint8_t buffer[64];
  ssize_t got = recv(descriptor, buffer, sizeof buffer, 0);
  return std::vector<uint8_t>(buffer, buffer + (got > 0 ? got : 0));
}

// The lowest free descriptor number: grows when a call leaks one.
int lowest_free_descriptor() {
  int probe = open("/dev/null", O_RDONLY | O_CLOEXEC);
  close(probe);
  return probe;
}

TEST(LocalNotifier, AreaSelectionBytes) {
  struct Case {
    uint8_t area;
    uint8_t kind, number;
  } cases[] = {{3, 0x82, 3}, {255, 0x81, 255}, {0, 0x82, 0}, {254, 0x82, 254}};
  uint16_t port;
  int receiver = bind_receiver(0, &port);
  ASSERT_GE(receiver, 0);
  for (const Case& c : cases) {
    uint8_t notice[kLocalNoticeSize];
    build_md_area_notice(c.area, notice);
    ASSERT_EQ(local_notify(port, notice), 1);
    std::vector<uint8_t> expected(kLocalNoticeSize, 0);
    const uint8_t head[] = {0x31, 0x30, 0xFF, 0x01, 0, 0, c.kind, c.number, 0xFF};
    std::copy(head, head + sizeof head, expected.begin());
    EXPECT_EQ(receive(receiver), expected) << int(c.area);
  }
  close(receiver);
}

TEST(LocalNotifier, NotifyMdAreaGoesToTheServicePort) {
  uint16_t port;
  int receiver = bind_receiver(kLocalNoticePort, &port);
  if (receiver < 0)
    GTEST_SKIP() << "port 1630 is in use";
  notify_md_area(3);
  std::vector<uint8_t> got = receive(receiver);
  close(receiver);
  ASSERT_EQ(got.size(), kLocalNoticeSize);
  EXPECT_EQ(got[6], 0x82);
  EXPECT_EQ(got[7], 3);
}

TEST(LocalNotifier, ResultAndSocketRelease) {
  uint16_t unused_port;
  int probe = bind_receiver(0, &unused_port);
  ASSERT_GE(probe, 0);
  close(probe);  // nothing listens there any more
  struct Case {
    uint16_t port;
    int result;
  } cases[] = {{unused_port, 1}, {0, 0}};  // port 0 refuses the send
  uint8_t notice[kLocalNoticeSize] = {0x31, 0x30};
  for (const Case& c : cases) {
    int before = lowest_free_descriptor();
    EXPECT_EQ(local_notify(c.port, notice), c.result) << c.port;
    EXPECT_EQ(lowest_free_descriptor(), before) << c.port;
  }
}

}  // namespace
}  // namespace camrcd
