// The server's challenge value: a pure function of the current second, with no state
// kept between calls, so two calls within one second give the same value.
#ifndef CAMRCD_AUTH_NONCE_H_
#define CAMRCD_AUTH_NONCE_H_

#include <stdint.h>

namespace camrcd {

// The value for `seconds` since the epoch: one minimal-standard generator step by
// Schrage's decomposition (unfolded, wrapping mod 2^32), then x |= x << (x & 0xFF)
// when that shift is below 32; never 0 (0 becomes 0x7FFFFFFF).
uint32_t make_nonce_at(uint32_t seconds);

// make_nonce_at(the current time). Its bytes, least significant first, are the nonce.
uint32_t make_nonce();

}  // namespace camrcd

#endif  // CAMRCD_AUTH_NONCE_H_
