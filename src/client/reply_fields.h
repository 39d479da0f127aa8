// Replies decoded into named fields: one walk over the reply's rows (protocol/
// messages.h) that learns the layout from the reply's own bytes (device type, privacy
// area count, map switch) and takes every field that stands in it. A reply is checked
// whole (header, sub-command, a length that matches its layout, trailer) before it
// counts as decoded. Pure functions over a buffer.
#ifndef CAMRCD_CLIENT_REPLY_FIELDS_H_
#define CAMRCD_CLIENT_REPLY_FIELDS_H_

#include <stddef.h>
#include <stdint.h>

#include "protocol/messages.h"

namespace camrcd {

// One decoded field. Numbers (codes, ports; versions as major * 256 + minor) are in
// `number`; texts, the MAC address ("00:a0:b1:c2:d3:e4") and versions ("1.00") in
// `text`.
struct FieldValue {
  const WireRow* row;
  uint32_t number;
  char text[24];
};

inline constexpr size_t kMaxReplyFields = 56;

struct DecodedReply {
  size_t count;
  FieldValue fields[kMaxReplyFields];
};

// Decodes a whole reply of `length` bytes: 0, or -1 when it is not a reply of this
// protocol, or not the reply `expected` (kCount: any reply).
int decode_reply(const uint8_t* reply, size_t length, DecodedReply* out,
                 MessageId expected = MessageId::kCount);

// The field's name, as its catalogue entry gives it.
const char* field_name(const FieldValue& value);

// The field named `name`, or the field `field`; nullptr when the reply has none.
const FieldValue* find_field(const DecodedReply& reply, const char* name);
const FieldValue* find_field(const DecodedReply& reply, Field field);

}  // namespace camrcd

#endif  // CAMRCD_CLIENT_REPLY_FIELDS_H_
