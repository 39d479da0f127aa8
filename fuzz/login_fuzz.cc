// The login exchange from the server's side, through the function the connection
// thread calls (serve_connection): greeting, admission, the opening message looked up
// in the sandbox camera's user list, the challenge, the response and the verdict. The
// input is all the client sends. Afterwards the connection's socket is closed and its
// user slot given back, whatever the input held.
#include <errno.h>
#include <fcntl.h>
#include <stdint.h>
#include <string.h>

#include <string>

#include "client/client_login.h"
#include "control/connection.h"
#include "protocol/login_message.h"
#include "settings/settings_record.h"
#include "support/fuzz_support.h"

namespace camrcd {

void fuzz_setup() {
  camera_root();
}

// Real messages: an opening message for a listed user, an unknown one and a name
// without its end, each followed by a response sealed with another nonce.
void fuzz_seeds() {
  const uint8_t nonce[4] = {1, 2, 3, 4};
  uint8_t opening[kAuthMessageSize];
  uint8_t response[kAuthMessageSize];
  build_response_message(response, "camera1", nonce);
  std::string sealed(reinterpret_cast<char*>(response), sizeof response);
  for (const char* user : {"demo", "admin", "stranger", "demodemodemodemodemodemo"}) {
    build_opening_message(opening, user, nonce);
    write_seed(std::string("login-") + user,
               std::string(reinterpret_cast<char*>(opening), sizeof opening) + sealed);
  }
}

}  // namespace camrcd

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace camrcd;
  int socket = socket_fed_with(data, size);
  fuzz_check(socket >= 0, "no socket pair");
  serve_connection(socket);
  fuzz_check(fcntl(socket, F_GETFD) < 0 && errno == EBADF, "the connection's socket left open");
  fuzz_check(settings.user_count == 0, "the connection's user slot not given back");
  return 0;
}
