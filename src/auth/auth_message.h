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

}  // namespace camrcd

#endif  // CAMRCD_AUTH_AUTH_MESSAGE_H_
