// Replies decoded into named fields: the device information, motion, alarm link and
// preset replies, each walked through one table of (name, kind, offset, where it
// stands). The byte layouts are those of control/replies.h; a field that stands only
// in one device type's layout (alarm, privacy block, auto-run block, md2 fields) is
// decoded only from replies of that layout. Pure functions over a buffer.
#ifndef CAMRCD_CLIENT_REPLY_FIELDS_H_
#define CAMRCD_CLIENT_REPLY_FIELDS_H_

#include <stddef.h>
#include <stdint.h>

namespace camrcd {

// A name for a wire code, e.g. "on" for 2. Tables end with {nullptr, 0}. A name may
// stand twice: code_value takes its first row, code_name the first row of a code.
// A row for code 0 only names what a reply shows: a write cannot send 0, which the
// server takes as "unchanged".
struct CodeName {
  const char* name;
  uint8_t code;
};

extern const CodeName kSwitchCodes[];     // on 2, off 1 (none 0 shown only)
extern const CodeName kPolarityCodes[];   // no 18, nc 17 (NO_NC 1 and 0)
extern const CodeName kActCodes[];        // preset 1, sequence 2, autopan 3, none 255
extern const CodeName kPoaActCodes[];     // kActCodes and last_action 4
extern const CodeName kDirectionCodes[];  // cw 1, ccw 2, none 4 (read back as 0)
extern const CodeName kInputTypeCodes[];  // no 2 (normally open), nc 1
extern const CodeName kLinkageCodes[];    // sm 24, s 16, m 8, off 1
extern const CodeName kRelayCodes[];      // off 1; other codes are numbers

// The name of `code` in `codes`, or nullptr.
const char* code_name(const CodeName* codes, uint32_t code);
// The code named `name` in `codes`, never 0: 0 and the code, or -1.
int code_value(const CodeName* codes, const char* name, uint8_t* code);

enum FieldKind : uint8_t {
  kFieldByte,     // one byte; `codes` may name its values
  kFieldU16,      // little-endian 16 bits
  kFieldU32,      // little-endian 32 bits
  kFieldText,     // `width` bytes, zero-padded (no zero when the text fills them)
  kFieldMac,      // six bytes in reverse order: the first address byte stands last
  kFieldVersion,  // minor number at the offset, major number after it
  kFieldLine,     // a text field read from a file line: one trailing CR or LF is the line's
};

// Which replies carry a field.
enum FieldWhen : uint8_t {
  kWhenAlways,
  kWhenAlarm,        // device information, device type 1
  kWhenPrivacy,      // device information, device type other than 2
  kWhenPrivacyArea,  // ... and a privacy area count other than 0
  kWhenAutorun,      // device information, device type 2
  kWhenMd2,          // motion reply with layout version major 1
};

struct FieldSpec {
  const char* name;
  FieldKind kind;
  uint16_t offset;  // from the start of the reply
  uint8_t width;    // text fields only
  FieldWhen when;
  const CodeName* codes;  // byte fields with named values, else nullptr
};

// One decoded field. Numbers (codes, ports, versions as major * 100 + minor) are in
// `number`; texts and the MAC address ("00:a0:b1:c2:d3:e4") in `text`.
struct FieldValue {
  const FieldSpec* field_layout;
  uint32_t number;
  char text[24];
};

inline constexpr size_t kMaxReplyFields = 56;

struct DecodedReply {
  size_t count;
  FieldValue fields[kMaxReplyFields];
};

// Decodes a whole device information reply (sub-command 0x01) of `length` bytes.
// 0, or -1 when it is not one: wrong sub-command, a length that does not match its
// layout, or no 0x55 0xAA trailer.
int decode_device_info(const uint8_t* reply, size_t length, DecodedReply* out);

// Decodes a whole motion reply (sub-command 0x11): 32 bytes without a block map, or
// 4835 with the map (kMotionBlockMapSize bytes) at byte 32 and the trailer. 0, or -1
// when it is not one.
int decode_motion_reply(const uint8_t* reply, size_t length, DecodedReply* out);

// Decodes an alarm link reply (0x21) or a preset reply (0x31): 32 bytes each.
// 0, or -1 when it is not one.
int decode_alarm_link_reply(const uint8_t* reply, size_t length, DecodedReply* out);
int decode_preset_reply(const uint8_t* reply, size_t length, DecodedReply* out);

// Decodes any of the four by its sub-command (byte 7): 0, or -1.
int decode_reply(const uint8_t* reply, size_t length, DecodedReply* out);

// The field named `name`, or nullptr.
const FieldValue* find_field(const DecodedReply& reply, const char* name);

}  // namespace camrcd

#endif  // CAMRCD_CLIENT_REPLY_FIELDS_H_
