// Decimal text to a 32-bit number, alike on every machine: the value that atoi and atol
// give on the camera's 32-bit C library, where long has 32 bits. On a machine with a
// 64-bit long, atoi and atol would instead wrap a value beyond 32 bits.
#ifndef CAMRCD_PLATFORM_DECIMAL_H_
#define CAMRCD_PLATFORM_DECIMAL_H_

#include <stdint.h>

namespace camrcd {

// Leading white space and a sign, then digits up to the first other character; 0
// without digits. A value beyond the 32-bit range stops at INT32_MIN or INT32_MAX.
int32_t decimal_int32(const char* text);

}  // namespace camrcd

#endif  // CAMRCD_PLATFORM_DECIMAL_H_
