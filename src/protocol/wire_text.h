// The control protocol's names and texts, which clients print and tools turn into the
// dissector and the reference: each field's name, meaning and code names, each
// message's short name, title and summary, the command classes' and reload groups'
// names. The server never reads them (its image carries none); the text tables are in
// Field and MessageId order, one entry per field and per message, checked at compile
// time against the layout tables (wire_fields.h, messages.h).
//
// Wire codes: a switch is 2 for on and 1 for off; a write request's 0 leaves a
// setting unchanged, so no code name ever stands for 0 in a request.
#ifndef CAMRCD_PROTOCOL_WIRE_TEXT_H_
#define CAMRCD_PROTOCOL_WIRE_TEXT_H_

#include <stddef.h>
#include <stdint.h>

#include "protocol/messages.h"
#include "protocol/wire_fields.h"
#include "protocol/wire_format.h"

namespace camrcd {

// A name for a wire code, e.g. "on" for 2. Tables end with {nullptr, 0}. A name may
// stand twice: code_value takes its first row, code_name the first row of a code. A
// row for code 0 only names what a reply shows.
struct CodeName {
  const char* name;
  uint8_t code;
};

extern const CodeName kSwitchCodes[];     // on 2, off 1 (none 0 shown only)
extern const CodeName kPolarityCodes[];   // no 18, nc 17
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

struct FieldText {
  const char* name;     // as clients print it and as capture filters spell it
  const char* meaning;  // one line for the reference
  const CodeName* codes;
};

const FieldText& field_text(Field field);

// The field named `name`, or Field::kNone.
Field find_field_named(const char* name);

struct MessageText {
  MessageId id;
  const char* name;     // short name: "picture", "info-reply"
  const char* title;    // "picture write"
  const char* summary;  // what the server does with it, for the reference
};

const MessageText& message_text(MessageId id);

// The request of that short name, or nullptr.
const MessageTable* find_request_named(const char* name);

struct CommandClass {
  uint8_t value;
  const char* name;
};
inline constexpr CommandClass kCommandClasses[] = {
    {kClassInformation, "information"}, {kClassStream, "stream"}, {kClassEvent, "event"},
    {kClassOverlay, "overlay"},         {kClassCamera, "camera"},
};

// The groups a reload request names, bit by bit (kReloadAcceptedBits, wire_format.h).
struct ReloadGroup {
  const char* name;
  uint16_t bit;
};
inline constexpr ReloadGroup kReloadGroups[] = {
    {"video", 0x001},       {"mpeg", 0x002},    {"jpeg", 0x004},
    {"osd", 0x008},         {"privacy", 0x010}, {"camcontrol1", 0x020},
    {"camcontrol2", 0x040}, {"alarm", 0x080},   {"autorun", 0x100},
};

}  // namespace camrcd

#endif  // CAMRCD_PROTOCOL_WIRE_TEXT_H_
