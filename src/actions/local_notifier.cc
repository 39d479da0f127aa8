// Local notices: one fresh UDP socket per notice, no bind, one sendto to the loopback
// address, and the socket is closed whatever the send did. No state between notices.
#include "actions/local_notifier.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/console.h"

namespace camrcd {

int local_notify(uint16_t port, const uint8_t notice[kLocalNoticeSize]) {
  uint8_t datagram[kLocalNoticeSize];
  memcpy(datagram, notice, kLocalNoticeSize);
  int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (descriptor < 0) {
    console_print("socket() failed\n");
    return 0;
  }
  sockaddr_in target;
  memset(&target, 0, sizeof target);
  target.sin_family = AF_INET;
  target.sin_port = htons(port);
  target.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ssize_t sent = sendto(descriptor, datagram, sizeof datagram, 0,
                        reinterpret_cast<const sockaddr*>(&target), sizeof target);
  close(descriptor);
  if (sent != static_cast<ssize_t>(kLocalNoticeSize)) {
    console_print("sendto() sent a different number of bytes then expected\n");
    return 0;
  }
  return 1;
}

void build_md_area_notice(uint8_t area, uint8_t notice[kLocalNoticeSize]) {
  const uint8_t head[] = {0x31, 0x30, 0xFF, 0x01, 0, 0, uint8_t(area == 255 ? 0x81 : 0x82),
                          area, 0xFF};
  memset(notice, 0, kLocalNoticeSize);
  memcpy(notice, head, sizeof head);
}

void build_md_saved_notice(uint8_t map_valid, uint8_t flags, uint8_t area, uint8_t enable,
                           uint8_t notice[kLocalNoticeSize]) {
  const uint8_t head[] = {0x31, 0x30, 0x40, 0x12, 0, 0, map_valid, flags, area, enable};
  memset(notice, 0, kLocalNoticeSize);
  memcpy(notice, head, sizeof head);
}

void notify_md_area(uint8_t area) {
  uint8_t notice[kLocalNoticeSize];
  build_md_area_notice(area, notice);
  local_notify(kLocalNoticePort, notice);
}

}  // namespace camrcd
