// The clock-derived challenge value; all arithmetic wraps modulo 2^32.
#include "auth/nonce.h"

#include <time.h>

namespace camrcd {

uint32_t make_nonce_at(uint32_t seconds) {
  uint32_t hi = seconds / 127773u;
  uint32_t lo = seconds % 127773u;
  uint32_t x = 16807u * lo - 2836u * hi;  // a negative difference wraps, unfolded
  uint32_t shift = x & 0xFFu;
  if (shift < 32)
    x |= x << shift;
  if (x == 0)
    x = 0x7FFFFFFFu;
  return x;
}

uint32_t make_nonce() {
  return make_nonce_at(static_cast<uint32_t>(time(nullptr)));
}

}  // namespace camrcd
