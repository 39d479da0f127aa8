// Client login exchange: message builders, the challenge check and the four steps.
// The response is sealed with the exchange's own sealing step (auth/auth_exchange.h).
#include "client/client_login.h"

#include <string.h>
#include <time.h>
#include <unistd.h>

#include "auth/auth_exchange.h"
#include "auth/des.h"
#include "client/client_socket.h"

namespace camrcd {

void build_opening_message(uint8_t message[kAuthMessageSize], const char* user,
                           const uint8_t client_nonce[4]) {
  memset(message, 0, kAuthMessageSize);
  memcpy(message + kAuthNonceOffset, client_nonce, 4);
  size_t length = strnlen(user, kAuthDataSize - 1);
  memcpy(message + kAuthDataOffset, user, length);
}

void build_response_message(uint8_t message[kAuthMessageSize], const char* password,
                            const uint8_t server_nonce[4], uint16_t length) {
  memset(message, 0, kAuthMessageSize);
  auth_write_head(message, 0, length, 0);
  seal_mixed_text(password, server_nonce, message + kAuthDataOffset);
}

void read_challenge_name(const uint8_t challenge[kAuthMessageSize], const uint8_t client_nonce[4],
                         char* name, size_t name_size) {
  uint8_t block[kAuthDataSize];
  memcpy(block, challenge + kAuthDataOffset, kAuthDataSize);
  des_crypt(kBuiltInKey, block, kAuthDataSize, kDesDecrypt, kDesEcb, nullptr);
  size_t i = 0;
  for (; i + 1 < name_size && i < kAuthDataSize; i++) {
    char c = static_cast<char>(block[i] ^ client_nonce[i % 4]);
    if (c == 0)
      break;
    name[i] = c;
  }
  if (name_size > 0)
    name[i] = 0;
}

int32_t login_send_opening(int socket, const char* user, const uint8_t client_nonce[4]) {
  uint8_t message[kAuthMessageSize];
  build_opening_message(message, user, client_nonce);
  return client_send(socket, message, sizeof(message));
}

int32_t login_read_answer(int socket, uint8_t answer[kAuthMessageSize]) {
  int32_t got = client_recv(socket, answer, kAuthMessageSize);
  return got < 0 ? got : 0;
}

int32_t login_send_response(int socket, const char* password, const uint8_t server_nonce[4],
                            uint16_t length) {
  uint8_t message[kAuthMessageSize];
  build_response_message(message, password, server_nonce, length);
  return client_send(socket, message, sizeof(message));
}

int32_t login_read_verdict(int socket, uint8_t verdict[kAuthVerdictSize]) {
  int32_t got = client_recv(socket, verdict, kAuthVerdictSize);
  return got < 0 ? got : 0;
}

void make_client_nonce(uint8_t nonce[4]) {
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  uint32_t value = static_cast<uint32_t>(now.tv_nsec) ^
                   static_cast<uint32_t>(now.tv_sec) * 2654435761u ^
                   static_cast<uint32_t>(getpid());
  for (int i = 0; i < 4; i++)
    nonce[i] = static_cast<uint8_t>(value >> (8 * i));
}

static LoginResult ended(int32_t code) {
  return LoginResult{kLoginEnded, 0, code};
}

LoginResult client_login(int socket, const char* user, const char* password) {
  uint8_t nonce[4];
  make_client_nonce(nonce);
  int32_t code = login_send_opening(socket, user, nonce);
  if (code != 0)
    return ended(code);
  uint8_t answer[kAuthMessageSize];
  if ((code = login_read_answer(socket, answer)) != 0)
    return ended(code);
  uint32_t status = auth_read_status(answer);
  if (status != kAuthStatusChallenge)
    return LoginResult{kLoginRefused, status, 0};
  if ((code = login_send_response(socket, password, answer + kAuthNonceOffset)) != 0) {
    return ended(code);
  }
  uint8_t verdict[kAuthVerdictSize];
  if ((code = login_read_verdict(socket, verdict)) != 0)
    return ended(code);
  status = auth_read_status(verdict);
  return LoginResult{status == kAuthStatusAuthenticated ? kLoginLoggedIn : kLoginRejected, status,
                     0};
}

}  // namespace camrcd
