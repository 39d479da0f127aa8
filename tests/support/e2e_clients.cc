// Client moves of the end-to-end tests.
#include "support/e2e_clients.h"

#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include "client/client_socket.h"

namespace camrcd {

bool info_served(int socket) {
  RequestHeader info = make_request(kClassInformation, kSubDeviceInfo);
  request_set_version(&info, 6, 1, 0);
  Reply reply;
  return send_request(socket, info) == 0 &&
         read_reply(socket, &reply) > static_cast<int32_t>(kReplyHeaderSize) &&
         reply.bytes[kReplySub] == kReplyDeviceInfo && reply_trailer_ok(reply);
}

bool is_close_reply(const Reply& reply) {
  static const uint8_t kCloseHead[8] = {0, 0, 0, 0, 0x77, 0x33, 0x10, 0xF1};
  return reply.length == kReplyHeaderSize && memcmp(reply.bytes, kCloseHead, 8) == 0;
}

bool close_served(int socket) {
  Reply reply;
  return send_request(socket, make_request(kClassInformation, kSubClose)) == 0 &&
         read_reply(socket, &reply) == static_cast<int32_t>(kReplyHeaderSize) &&
         is_close_reply(reply) && client_wait_closed(socket, kDaemonWaitMs);
}

bool send_in_pieces(int socket, const uint8_t* data, size_t length,
                    const std::vector<size_t>& pieces, int pause_ms) {
  size_t at = 0;
  for (size_t piece : pieces) {
    if (piece > length - at || client_send(socket, data + at, piece) != 0)
      return false;
    at += piece;
    usleep(pause_ms * 1000);
  }
  return at == length || client_send(socket, data + at, length - at) == 0;
}

void close_with_reset(int socket) {
  linger abrupt = {1, 0};
  setsockopt(socket, SOL_SOCKET, SO_LINGER, &abrupt, sizeof(abrupt));
  close(socket);
}

size_t ended_connections(const DaemonHarness& daemon) {
  return daemon.count_in_output("Failed to Authentication. Close") +
         daemon.count_in_output("==Finish User Count =");
}

bool wait_for_ended(const DaemonHarness& daemon, size_t count, int timeout_ms) {
  return wait_until(timeout_ms, [&] { return ended_connections(daemon) >= count; });
}

}  // namespace camrcd
