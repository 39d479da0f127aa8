// net_send and net_recv_all over a connected stream socket.
#include "control/net_io.h"

#include <errno.h>
#include <sys/socket.h>
#include <sys/types.h>

namespace camrcd {

int32_t net_send(int socket, const void* data, size_t length, int flags) {
  ssize_t sent = send(socket, data, length, flags);
  if (sent >= 0 && static_cast<size_t>(sent) == length)
    return 0;
  if (sent >= 0)
    return kResultSendFailed;  // a short send is a failure
  if (errno == EPIPE)
    return kResultPeerGone;
  if (errno == EINTR)
    return kResultInterrupted;
  return kResultSendFailed;
}

int32_t net_recv_all(int socket, void* data, size_t length, int flags) {
  char* at = static_cast<char*>(data);
  size_t missing = length;
  while (missing > 0) {
    ssize_t received = recv(socket, at, missing, flags);
    if (received > 0) {
      at += received;
      missing -= static_cast<size_t>(received);
      continue;
    }
    if (received == 0)
      return kResultPeerGone;
    if (errno == EINTR)
      continue;
    if (errno == EAGAIN || errno == EWOULDBLOCK)
      return kResultWouldBlock;
    return kResultReceiveFailed;
  }
  return static_cast<int32_t>(length);
}

}  // namespace camrcd
