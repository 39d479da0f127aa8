// The client's half of the login exchange. The client sends an opening message (its
// nonce, the user name), reads the 268-byte answer (a refusal, or a challenge with
// the server's nonce), sends the response (the password mixed with the server's nonce
// and DES-sealed under the built-in key, length 260) and reads the 8-byte verdict.
// Message layout: protocol/login_message.h. Builders and readers are pure functions over
// a buffer; the step functions each do one send or receive, so tests can stop after
// any step.
#ifndef CAMRCD_CLIENT_CLIENT_LOGIN_H_
#define CAMRCD_CLIENT_CLIENT_LOGIN_H_

#include <stddef.h>
#include <stdint.h>

#include "protocol/login_message.h"

namespace camrcd {

enum LoginOutcome : int {
  kLoginLoggedIn = 0,  // verdict status 3
  kLoginRefused = 1,   // the answer was a refusal: status 1, 4 or 7
  kLoginRejected = 2,  // the verdict said no: status 2 (wrong) or 4 (malformed)
  kLoginEnded = 3,     // the connection failed or ended; `code` tells how
};

struct LoginResult {
  LoginOutcome outcome;
  uint32_t status;  // status of the answer (refused) or of the verdict
  int32_t code;     // socket result code when the connection ended, else 0
};

// Opening message: all zero except the nonce at 8 and the user name at 12 (cut to
// 255 characters so that its zero byte fits).
void build_opening_message(uint8_t message[kAuthMessageSize], const char* user,
                           const uint8_t client_nonce[4]);

// Response message: all zero except `length` and the sealed password block at 12.
// The server accepts it when length is 260 and the password is the user's.
void build_response_message(uint8_t message[kAuthMessageSize], const char* password,
                            const uint8_t server_nonce[4], uint16_t length = kAuthBodyLength);

// Opens a challenge's sealed block with the client's nonce: the user name the server
// sealed, cut to name_size - 1 characters.
void read_challenge_name(const uint8_t challenge[kAuthMessageSize], const uint8_t client_nonce[4],
                         char* name, size_t name_size);

// The steps of the exchange: each returns 0 or a negative socket code.
int32_t login_send_opening(int socket, const char* user, const uint8_t client_nonce[4]);
int32_t login_read_answer(int socket, uint8_t answer[kAuthMessageSize]);
int32_t login_send_response(int socket, const char* password, const uint8_t server_nonce[4],
                            uint16_t length = kAuthBodyLength);
int32_t login_read_verdict(int socket, uint8_t verdict[kAuthVerdictSize]);

// A fresh client nonce from the clock.
void make_client_nonce(uint8_t nonce[4]);

// The whole exchange on a socket whose greeting has been read.
LoginResult client_login(int socket, const char* user, const char* password);

}  // namespace camrcd

#endif  // CAMRCD_CLIENT_CLIENT_LOGIN_H_
