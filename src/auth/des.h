// Single DES (64-bit blocks, 16 rounds) in ECB, CBC, CFB-64 and OFB-64, in place.
// A process-wide key schedule cache makes repeated calls with one key cheap; it is
// safe for concurrent callers and nothing is allocated.
#ifndef CAMRCD_AUTH_DES_H_
#define CAMRCD_AUTH_DES_H_

#include <stddef.h>
#include <stdint.h>

namespace camrcd {

enum DesDirection : int { kDesEncrypt = 0, kDesDecrypt = 1 };  // any non-zero decrypts
enum DesMode : int { kDesEcb = 0, kDesCbc = 1, kDesCfb = 2, kDesOfb = 3 };

// Transforms floor(length / 8) whole blocks of buffer in place; trailing 0 to 7 bytes
// stay as they were. initial_vector (8 bytes, may be null = zeros) is read in modes
// 1 to 3 and, when given, receives the chaining value a following call needs.
// Returns 0.
int des_crypt(const uint8_t key[8], uint8_t* buffer, size_t length, int direction, int mode,
              uint8_t* initial_vector);

}  // namespace camrcd

#endif  // CAMRCD_AUTH_DES_H_
