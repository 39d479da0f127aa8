// Decimal conversion through strtoll, whose 64 bits hold every value that matters here
// (it stops at its own limits beyond them), clamped to 32 bits.
#include "platform/decimal.h"

#include <stdlib.h>

namespace camrcd {

int32_t decimal_int32(const char* text) {
  long long value = strtoll(text, nullptr, 10);
  if (value > INT32_MAX)
    return INT32_MAX;
  return value < INT32_MIN ? INT32_MIN : static_cast<int32_t>(value);
}

}  // namespace camrcd
