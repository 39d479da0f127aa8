// Layout of the 268-byte auth message of the login exchange (the verdict is its first
// 8 bytes only). Multi-byte integers are little-endian.
//
//   offset 0   2 bytes  type     1 answer to the opening message, 3 verdict
//   offset 2   2 bytes  length   bytes after the 8-byte head: 260 challenge/response
//   offset 4   4 bytes  status   see AuthStatus
//   offset 8   4 bytes  nonce    opening: the client's; challenge: the server's
//   offset 12 256 bytes data     opening: user name (zero-terminated);
//                                challenge and response: 32 DES blocks
#ifndef CAMRCD_AUTH_AUTH_MESSAGE_H_
#define CAMRCD_AUTH_AUTH_MESSAGE_H_

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

// The greeting a connection receives before the exchange.
inline constexpr char kGreeting[4] = {'1', '0', '0', '0'};

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

#endif  // CAMRCD_AUTH_AUTH_MESSAGE_H_
