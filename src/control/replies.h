// The reply builder: one walk over a reply's rows (protocol/messages.h) that writes the
// reply header and every row the layout sends from the settings record into the
// connection buffer, then the trailer when the reply has a payload. It only reads the
// record, each group's fields under that group's lock, one lock at a time.
#ifndef CAMRCD_CONTROL_REPLIES_H_
#define CAMRCD_CONTROL_REPLIES_H_

#include <stddef.h>
#include <stdint.h>

#include "platform/mutex.h"
#include "protocol/messages.h"

namespace camrcd {

// Builds reply `id` with `parameter` in bytes 8-9 into `buffer` (kConnectionBufferSize
// bytes) and returns its length. Bytes past the reply are not touched. `held` is a
// group lock the caller already holds (it has just selected and loaded that group), or
// nullptr; every other lock the reply needs is taken here.
size_t build_reply(MessageId id, uint8_t* buffer, uint16_t parameter, const Mutex* held = nullptr);

}  // namespace camrcd

#endif  // CAMRCD_CONTROL_REPLIES_H_
