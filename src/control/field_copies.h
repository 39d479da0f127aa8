// The copy of a request's fields into the settings record: one walk over the
// request's rows (protocol/messages.h), each row stored by its copy rule into its
// record slot. Write requests copy their settings this way, read requests their
// selectors.
//
// Rules: a one-byte field is stored when not 0 (nz) or whatever its value (always); a
// 16-bit field goes little-endian into a 32-bit record field, under nz when either
// byte is not 0; a text is taken under nz when its first byte is not 0, the record
// field is then zeroed whole and at most the row's width in characters copied; the
// MPEG bit rate is taken, even when 0, only while mpeg_cbr_code (after the
// rate-control byte was taken) is 2; a motion read's area is 1 when the request's
// version has major number 0. The video resolution is left to the request's handler.
#ifndef CAMRCD_CONTROL_FIELD_COPIES_H_
#define CAMRCD_CONTROL_FIELD_COPIES_H_

#include <stdint.h>

#include "platform/mutex.h"
#include "protocol/messages.h"

namespace camrcd {

// Which rows a copy stores: all of them, or only those the held lock guards (a write
// whose groups are each copied and saved under one hold of their lock).
enum class CopyScope : uint8_t { kEveryRow, kHeldLockRows };

// Copies the fields of request `id` from its 32-byte header, in row order, for the
// record's device type. With `held`, the caller holds the lock that guards the fields
// and none is taken; without, each group's fields are copied under that group's lock.
void copy_request_fields(MessageId id, const uint8_t* header, const Mutex* held = nullptr,
                         CopyScope scope = CopyScope::kEveryRow);

}  // namespace camrcd

#endif  // CAMRCD_CONTROL_FIELD_COPIES_H_
