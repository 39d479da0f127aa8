// net_send and net_recv_all over a connected stream socket; a receive with a deadline
// polls for the time left before each receive call.
#include "platform/net_io.h"

#include <errno.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/types.h>
#include <time.h>

#include <algorithm>

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

namespace {

int64_t monotonic_ms() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

// Waits until the socket has bytes (or its end) to read, or the deadline passes:
// false then.
bool readable_before(int socket, int64_t deadline) {
  for (;;) {
    int64_t left = deadline - monotonic_ms();
    if (left <= 0)
      return false;
    pollfd waiting = {socket, POLLIN, 0};
    int ready = poll(&waiting, 1, static_cast<int>(std::min<int64_t>(left, 60000)));
    if (ready > 0 || (ready < 0 && errno != EINTR))
      return true;  // a failed poll leaves the verdict to the receive
  }
}

}  // namespace

int64_t net_deadline_in(int seconds) {
  return seconds == 0 ? kNoDeadline : monotonic_ms() + int64_t{seconds} * 1000;
}

int32_t net_recv_all(int socket, void* data, size_t length, int flags) {
  return net_recv_all_until(socket, data, length, flags, kNoDeadline);
}

int32_t net_recv_all_until(int socket, void* data, size_t length, int flags, int64_t deadline) {
  char* at = static_cast<char*>(data);
  size_t missing = length;
  while (missing > 0) {
    if (deadline != kNoDeadline && !readable_before(socket, deadline))
      return kResultWouldBlock;
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
