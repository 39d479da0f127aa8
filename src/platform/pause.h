// The server's fixed pauses (the wait before a read request's reply, the pauses
// between the command lines of a device action, the accept back-off) all go through
// one call, so that a program that must never wait (a fuzz target) links its own.
#ifndef CAMRCD_PLATFORM_PAUSE_H_
#define CAMRCD_PLATFORM_PAUSE_H_

#include <stdint.h>

namespace camrcd {

// Sleeps the calling thread for the whole time; a signal does not cut it short.
void pause_microseconds(uint32_t microseconds);

}  // namespace camrcd

#endif  // CAMRCD_PLATFORM_PAUSE_H_
