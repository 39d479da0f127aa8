// The login exchange that follows the greeting: the client's opening message (its nonce
// and the user name), the server's answer (a refusal, or a challenge with the server's
// nonce and the name sealed with DES), the client's response (the password mixed with
// the server's nonce and sealed) and the server's 8-byte verdict. Every message is a
// 268-byte auth message, the verdict its first 8 bytes only. Integers are little-endian.
//
//   offset 0   2 bytes  type     1 answer to the opening message, 3 verdict
//   offset 2   2 bytes  length   bytes after the 8-byte head: 260 challenge/response
//   offset 4   4 bytes  status   see AuthStatus
//   offset 8   4 bytes  nonce    opening: the client's; challenge: the server's
//   offset 12 256 bytes data     opening: user name (zero-terminated);
//                                challenge and response: 32 DES blocks
#ifndef CAMRCD_PROTOCOL_LOGIN_MESSAGE_H_
#define CAMRCD_PROTOCOL_LOGIN_MESSAGE_H_

#include <stddef.h>
#include <stdint.h>

namespace camrcd {

inline constexpr size_t kAuthMessageSize = 268;
inline constexpr size_t kAuthVerdictSize = 8;
inline constexpr size_t kAuthTypeOffset = 0;
inline constexpr size_t kAuthLengthOffset = 2;
inline constexpr size_t kAuthStatusOffset = 4;
inline constexpr size_t kAuthNonceOffset = 8;
inline constexpr size_t kAuthDataOffset = 12;
inline constexpr size_t kAuthDataSize = 256;
inline constexpr uint16_t kAuthBodyLength = 260;  // nonce + data

inline constexpr uint16_t kAuthTypeAnswer = 1;
inline constexpr uint16_t kAuthTypeVerdict = 3;

enum AuthStatus : uint32_t {
  kAuthStatusChallenge = 0,
  kAuthStatusNoSuchUser = 1,
  kAuthStatusWrongResponse = 2,
  kAuthStatusAuthenticated = 3,
  kAuthStatusUserListUnreadable = 4,  // in a refusal
  kAuthStatusMalformedResponse = 4,   // in a verdict
  kAuthStatusRightsRefused = 7,
};

// The DES key of the exchange: "tasopek" and a zero byte.
inline constexpr uint8_t kBuiltInKey[8] = {'t', 'a', 's', 'o', 'p', 'e', 'k', 0};

// The fields of an auth message, and what the server's answers and verdicts say.
struct LoginField {
  const char* name;
  uint16_t offset;
  uint16_t width;
  const char* meaning;
};
inline constexpr LoginField kLoginFields[] = {
    {"type", kAuthTypeOffset, 2, "1 in the server's answer, 3 in its verdict"},
    {"length", kAuthLengthOffset, 2,
     "bytes after the 8-byte head: 260 in a challenge and a response"},
    {"status", kAuthStatusOffset, 4, "the server's status code"},
    {"nonce", kAuthNonceOffset, 4, "opening message: the client's nonce; challenge: the server's"},
    {"data", kAuthDataOffset, kAuthDataSize,
     "opening message: the user name and its zero byte; challenge and response: 32 DES blocks"},
};

struct LoginStatus {
  uint16_t type;
  uint32_t status;
  const char* reason;
};
inline constexpr LoginStatus kLoginStatuses[] = {
    {kAuthTypeAnswer, kAuthStatusChallenge, "the user exists; the challenge follows"},
    {kAuthTypeAnswer, kAuthStatusNoSuchUser, "no such user"},
    {kAuthTypeAnswer, kAuthStatusUserListUnreadable, "user list unreadable"},
    {kAuthTypeAnswer, kAuthStatusRightsRefused, "the user's rights refuse this service"},
    {kAuthTypeVerdict, kAuthStatusAuthenticated, "logged in"},
    {kAuthTypeVerdict, kAuthStatusWrongResponse, "wrong password"},
    {kAuthTypeVerdict, kAuthStatusMalformedResponse, "malformed response"},
};

// The reason for `status` in a message of `type`, or nullptr.
inline const char* login_status_reason(uint16_t type, uint32_t status) {
  for (const LoginStatus& row : kLoginStatuses) {
    if (row.type == type && row.status == status)
      return row.reason;
  }
  return nullptr;
}

// Writes type, length and status (little-endian) over the first 8 bytes of a message.
inline void auth_write_head(uint8_t* message, uint16_t type, uint16_t length, uint32_t status) {
  message[kAuthTypeOffset] = static_cast<uint8_t>(type);
  message[kAuthTypeOffset + 1] = static_cast<uint8_t>(type >> 8);
  message[kAuthLengthOffset] = static_cast<uint8_t>(length);
  message[kAuthLengthOffset + 1] = static_cast<uint8_t>(length >> 8);
  for (int i = 0; i < 4; ++i) {
    message[kAuthStatusOffset + i] = static_cast<uint8_t>(status >> (8 * i));
  }
}

inline uint16_t auth_read_type(const uint8_t* message) {
  return static_cast<uint16_t>(message[kAuthTypeOffset] | (message[kAuthTypeOffset + 1] << 8));
}

inline uint16_t auth_read_length(const uint8_t* message) {
  return static_cast<uint16_t>(message[kAuthLengthOffset] | (message[kAuthLengthOffset + 1] << 8));
}

inline uint32_t auth_read_status(const uint8_t* message) {
  uint32_t status = 0;
  for (int i = 3; i >= 0; --i)
    status = (status << 8) | message[kAuthStatusOffset + i];
  return status;
}

}  // namespace camrcd

#endif  // CAMRCD_PROTOCOL_LOGIN_MESSAGE_H_
