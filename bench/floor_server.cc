// The floor of the login and request figures: a server shaped like the daemon (one
// thread per connection) that sends the 4-byte greeting, takes the login's two
// 268-byte messages, answering the first with 268 bytes and the second with an 8-byte
// verdict, then answers every 32-byte request with 143 bytes, until the client
// closes. No crypto, no files, no locks: what the machine's loopback and threads cost.
// With FILE, every request first opens, reads and closes that file, as a reload must:
// the floor of a reload with the system calls of its one file read.
//
//   floor_server PORT [FILE]
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <thread>

#include "client/client_socket.h"
#include "floor_listener.h"
#include "protocol/login_message.h"
#include "protocol/wire_format.h"

namespace {

constexpr size_t kReplySize = 143;
const char* file_per_request = nullptr;

void read_file_once() {
  char bytes[4096];
  int file = open(file_per_request, O_RDONLY | O_CLOEXEC);
  if (file < 0)
    return;
  ssize_t ignored = read(file, bytes, sizeof bytes);
  (void)ignored;
  close(file);
}

void serve(int socket) {
  uint8_t message[camrcd::kAuthMessageSize] = {'1', '0', '0', '0'};
  uint8_t request[camrcd::kRequestHeaderSize];
  uint8_t reply[kReplySize] = {};
  bool open = camrcd::client_send(socket, message, 4) == 0 &&
              camrcd::client_recv(socket, message, sizeof message) > 0 &&
              camrcd::client_send(socket, message, sizeof message) == 0 &&
              camrcd::client_recv(socket, message, sizeof message) > 0 &&
              camrcd::client_send(socket, message, camrcd::kAuthVerdictSize) == 0;
  while (open && camrcd::client_recv(socket, request, sizeof request) > 0) {
    if (file_per_request != nullptr)
      read_file_once();
    open = camrcd::client_send(socket, reply, sizeof reply) == 0;
  }
  close(socket);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 && argc != 3) {
    fprintf(stderr, "usage: floor_server PORT [FILE]\n");
    return 2;
  }
  if (argc == 3)
    file_per_request = argv[2];
  int listener = floor_listen(argv[1], "floor_server");
  if (listener < 0)
    return 1;
  for (;;) {
    int socket = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (socket >= 0)
      std::thread(serve, socket).detach();
  }
}
