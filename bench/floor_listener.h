// The listening socket of the floor programs, on 127.0.0.1. It uses the C library
// alone, so a floor that includes it loads no C++ runtime for it.
#ifndef CAMRCD_BENCH_FLOOR_LISTENER_H_
#define CAMRCD_BENCH_FLOOR_LISTENER_H_

#include <netinet/in.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/socket.h>

// Listens on 127.0.0.1:port_text (close-on-exec). -1, with perror(name), on failure.
inline int floor_listen(const char* port_text, const char* name) {
  int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  int on = 1;
  setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<uint16_t>(atoi(port_text)));
  if (listener < 0 || bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      listen(listener, 16) != 0) {
    perror(name);
    return -1;
  }
  return listener;
}

#endif  // CAMRCD_BENCH_FLOOR_LISTENER_H_
