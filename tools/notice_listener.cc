// Stand-in for the camera's local motion service: receives the daemon's local notices.
// Binds UDP 127.0.0.1:PORT and appends each datagram to LOG as one line of lower-case
// hex digits, flushed at once; with --print it also shows each notice on standard
// output in words. Ends after SECONDS, or cleanly on SIGTERM or SIGINT.
//
// usage: notice_listener LOG [--port N] [--seconds S] [--print]   (defaults: 1630, 600)
//
// A notice is 32 bytes: '1' '0', its kind in bytes 2-3, zero bytes 4-5, then
//   kind 0xFF 0x01, area selection: byte 6 0x81 (area 255) or 0x82, byte 7 the area
//   kind 0x40 0x12, saved area: bytes 6-9 map valid, motion flags, area, area enable
#include <arpa/inet.h>
#include <errno.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include "platform/console.h"

namespace {

volatile sig_atomic_t g_stop = 0;

void on_stop(int) {
  g_stop = 1;
}

struct Options {
  const char* log_path = nullptr;
  int port = 1630;
  int seconds = 600;
  bool print = false;
};

bool parse_options(int argc, char** argv, Options* options) {
  if (argc < 2)
    return false;
  options->log_path = argv[1];
  for (int i = 2; i < argc; i += 2) {
    if (strcmp(argv[i], "--print") == 0) {
      options->print = true;
      i--;
      continue;
    }
    if (i + 1 >= argc)
      return false;
    int value = atoi(argv[i + 1]);
    if (strcmp(argv[i], "--port") == 0 && value > 0 && value < 65536) {
      options->port = value;
    } else if (strcmp(argv[i], "--seconds") == 0 && value > 0) {
      options->seconds = value;
    } else {
      return false;
    }
  }
  return true;
}

int open_socket(int port) {
  int socket_fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (socket_fd < 0)
    return -1;
  sockaddr_in address;
  memset(&address, 0, sizeof(address));
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (bind(socket_fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
    close(socket_fd);
    return -1;
  }
  return socket_fd;
}

void append_hex_line(FILE* log, const unsigned char* data, size_t length) {
  static const char kHex[] = "0123456789abcdef";
  char line[2 * 65536 + 2];
  size_t at = 0;
  for (size_t i = 0; i < length; i++) {
    line[at++] = kHex[data[i] >> 4];
    line[at++] = kHex[data[i] & 15];
  }
  line[at++] = '\n';
  fwrite(line, 1, at, log);
  fflush(log);
}

void print_notice(const unsigned char* data, size_t length) {
  bool notice = length == 32 && data[0] == '1' && data[1] == '0';
  if (notice && data[2] == 0xFF && data[3] == 0x01) {
    camrcd::console_print("notice: area %u selected (0x%02x)\n", data[7], data[6]);
  } else if (notice && data[2] == 0x40 && data[3] == 0x12) {
    camrcd::console_print("notice: area %u saved: map valid 0x%02x, flags 0x%02x, enable %u\n",
                          data[8], data[6], data[7], data[9]);
  } else {
    camrcd::console_print("notice: %zu bytes of another kind\n", length);
  }
}

void install_stop_handlers() {
  struct sigaction action;
  memset(&action, 0, sizeof(action));
  action.sa_handler = on_stop;
  sigemptyset(&action.sa_mask);
  sigaction(SIGTERM, &action, nullptr);
  sigaction(SIGINT, &action, nullptr);
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!parse_options(argc, argv, &options)) {
    camrcd::console_error("usage: notice_listener LOG [--port N] [--seconds S] [--print]\n");
    return 2;
  }
  install_stop_handlers();
  int socket_fd = open_socket(options.port);
  if (socket_fd < 0) {
    camrcd::console_error("notice_listener: cannot bind 127.0.0.1:%d: %s\n", options.port,
                          strerror(errno));
    return 1;
  }
  FILE* log = fopen(options.log_path, "ae");
  if (log == nullptr) {
    camrcd::console_error("notice_listener: cannot open %s\n", options.log_path);
    close(socket_fd);
    return 1;
  }
  camrcd::console_print("notice_listener: listening on 127.0.0.1:%d\n", options.port);
  time_t deadline = time(nullptr) + options.seconds;
  static unsigned char datagram[65536];
  while (!g_stop && time(nullptr) < deadline) {
    pollfd watch = {socket_fd, POLLIN, 0};
    if (poll(&watch, 1, 200) <= 0)
      continue;
    ssize_t got = recv(socket_fd, datagram, sizeof(datagram), 0);
    if (got < 0)
      continue;
    append_hex_line(log, datagram, static_cast<size_t>(got));
    if (options.print)
      print_notice(datagram, static_cast<size_t>(got));
  }
  fclose(log);
  close(socket_fd);
  return 0;
}
