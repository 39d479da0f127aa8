// Client connections: name lookup, connect with a time limit, whole sends and
// receives through the shared socket operations, and the greeting.
#include "client/client_socket.h"

#include <errno.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include "platform/net_io.h"
#include "protocol/wire_format.h"

namespace camrcd {

int client_set_timeout(int socket, int timeout_ms) {
  timeval limit;
  limit.tv_sec = timeout_ms / 1000;
  limit.tv_usec = (timeout_ms % 1000) * 1000;
  if (setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit)) != 0)
    return -1;
  if (setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit)) != 0)
    return -1;
  return 0;
}

int client_connect(const char* host, uint16_t port, int timeout_ms) {
  addrinfo hints;
  memset(&hints, 0, sizeof(hints));
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (getaddrinfo(host, nullptr, &hints, &found) != 0 || found == nullptr)
    return -1;
  sockaddr_in address;
  memcpy(&address, found->ai_addr, sizeof(address));
  freeaddrinfo(found);
  address.sin_port = htons(port);

  int socket_fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP);
  if (socket_fd < 0)
    return -1;
  // The send time limit also bounds connect() on this system.
  if (client_set_timeout(socket_fd, timeout_ms) != 0 ||
      connect(socket_fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
    close(socket_fd);
    return -1;
  }
  int one = 1;
  setsockopt(socket_fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof(one));
  return socket_fd;
}

int32_t client_send(int socket, const void* data, size_t length) {
  return net_send(socket, data, length, MSG_NOSIGNAL);
}

int32_t client_recv(int socket, void* data, size_t length) {
  return net_recv_all(socket, data, length, 0);
}

int32_t client_read_greeting(int socket) {
  char greeting[sizeof(kGreeting)];
  int32_t got = client_recv(socket, greeting, sizeof(greeting));
  if (got < 0)
    return got;
  return memcmp(greeting, kGreeting, sizeof(greeting)) == 0 ? 0 : kClientBadGreeting;
}

int client_open(const char* host, uint16_t port, int timeout_ms) {
  int socket_fd = client_connect(host, port, timeout_ms);
  if (socket_fd < 0)
    return -1;
  if (client_read_greeting(socket_fd) != 0) {
    close(socket_fd);
    return -1;
  }
  return socket_fd;
}

static int64_t now_ms() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

bool client_wait_closed(int socket, int timeout_ms) {
  int64_t deadline = now_ms() + timeout_ms;
  char sink[512];
  for (;;) {
    int64_t left = deadline - now_ms();
    if (left <= 0)
      return false;
    pollfd watch = {socket, POLLIN, 0};
    int ready = poll(&watch, 1, static_cast<int>(left));
    if (ready <= 0)
      continue;
    ssize_t got = recv(socket, sink, sizeof(sink), MSG_DONTWAIT);
    if (got == 0)
      return true;
    if (got < 0 && errno != EAGAIN && errno != EINTR)
      return true;  // reset counts as closed
  }
}

}  // namespace camrcd
