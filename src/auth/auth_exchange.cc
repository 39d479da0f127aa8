// The server side of the login exchange. Each exchange owns one 268-byte message buffer
// from the heap, released on every return; the user list is read afresh each time.
#include "auth/auth_exchange.h"

#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>

#include "auth/des.h"
#include "auth/nonce.h"
#include "auth/user_list.h"
#include "platform/console.h"
#include "platform/net_io.h"

namespace camrcd {
namespace {

constexpr int kResponseMalformed = -1;
constexpr int kResponseWrong = -2;

struct StatusRow {
  int result;
  uint32_t status;
};

// find_user result -> refusal status.
constexpr StatusRow kRefusals[] = {
    {kUserUnknown, kAuthStatusNoSuchUser},
    {kUserListUnreadable, kAuthStatusUserListUnreadable},
    {kUserRefused, kAuthStatusRightsRefused},
};

// check_response result -> verdict status.
constexpr StatusRow kVerdicts[] = {
    {0, kAuthStatusAuthenticated},
    {kResponseWrong, kAuthStatusWrongResponse},
    {kResponseMalformed, kAuthStatusMalformedResponse},
};

template <size_t N>
uint32_t status_for(const StatusRow (&table)[N], int result) {
  for (const StatusRow& row : table) {
    if (row.result == result)
      return row.status;
  }
  return table[N - 1].status;  // not reached: every result has a row
}

int run_exchange(int socket, uint8_t* message, int64_t deadline) {
  if (net_recv_all_until(socket, message, kAuthMessageSize, 0, deadline) < 0)
    return kResultReceiveFailed;
  char name[kUserFieldSize] = {};
  char password[kUserFieldSize] = {};
  uint8_t rights = 0;
  int found = find_user(message, name, password, &rights);
  if (found != kUserAdmitted) {
    // The refusal echoes bytes 8..267 of the opening message unchanged.
    auth_write_head(message, kAuthTypeAnswer, 0, status_for(kRefusals, found));
    int sent = net_send(socket, message, kAuthMessageSize, 0);
    return sent != 0 ? sent : kResultRefused;
  }
  uint8_t nonce[4];
  make_challenge(message, nonce, name);
  int sent = net_send(socket, message, kAuthMessageSize, 0);
  if (sent != 0)
    return sent;
  memset(message, 0, kAuthMessageSize);
  if (net_recv_all_until(socket, message, kAuthMessageSize, 0, deadline) < 0)
    return kResultReceiveFailed;
  uint32_t status = status_for(kVerdicts, check_response(message, nonce, password));
  auth_write_head(message, kAuthTypeVerdict, 0, status);
  sent = net_send(socket, message, kAuthVerdictSize, MSG_NOSIGNAL);
  if (sent != 0)
    return sent;
  return status == kAuthStatusAuthenticated ? 0 : kResultRefused;
}

}  // namespace

void seal_mixed_text(const char* text, const uint8_t nonce[4], uint8_t out[kAuthDataSize]) {
  memset(out, 0, kAuthDataSize);
  for (size_t i = 0; i < kAuthDataSize; ++i) {
    out[i] = static_cast<uint8_t>(text[i] ^ nonce[i % 4]);
    if (text[i] == '\0')
      break;
  }
  des_crypt(kBuiltInKey, out, kAuthDataSize, kDesEncrypt, kDesEcb, nullptr);
}

void make_challenge(uint8_t* message, uint8_t nonce_out[4], const char* name) {
  uint32_t value = make_nonce();
  for (int i = 0; i < 4; ++i)
    nonce_out[i] = static_cast<uint8_t>(value >> (8 * i));
  uint8_t sealed[kAuthDataSize];
  seal_mixed_text(name, message + kAuthNonceOffset, sealed);
  memset(message, 0, kAuthMessageSize);
  auth_write_head(message, kAuthTypeAnswer, kAuthBodyLength, kAuthStatusChallenge);
  memcpy(message + kAuthNonceOffset, nonce_out, 4);
  memcpy(message + kAuthDataOffset, sealed, kAuthDataSize);
}

int check_response(const uint8_t* response, const uint8_t nonce[4], const char* password) {
  if (auth_read_length(response) != kAuthBodyLength)
    return kResponseMalformed;
  uint8_t expected[kAuthDataSize];
  seal_mixed_text(password, nonce, expected);
  if (memcmp(expected, response + kAuthDataOffset, kAuthDataSize) != 0)
    return kResponseWrong;
  return 0;
}

int authenticate_client(int socket, int64_t deadline) {
  uint8_t* message = static_cast<uint8_t*>(malloc(kAuthMessageSize));
  if (message == nullptr) {
    console_print("malloc NULL \n");
    console_print("MK malloc Error\n");
    return kResultRefused;
  }
  int result = run_exchange(socket, message, deadline);
  free(message);
  return result;
}

}  // namespace camrcd
