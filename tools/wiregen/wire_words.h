// Words for the protocol tables' enumerations, shared by the two generators: the
// identifiers the dissector's runtime switches on, and the phrases of the reference.
#ifndef CAMRCD_TOOLS_WIREGEN_WIRE_WORDS_H_
#define CAMRCD_TOOLS_WIREGEN_WIRE_WORDS_H_

#include <string>

#include "protocol/wire_text.h"

namespace camrcd {

struct Words {
  const char* id;      // "not_fixed_camera"
  const char* phrase;  // "device types other than 1"
};

const Words& kind_words(WireKind kind);
const Words& presence_words(Presence presence);
const Words& rule_words(CopyRule rule);
const char* key_id(LayoutKey key);

// Appends each message's text, as `text_of` gives it, to `requests` or `replies`, in
// table order.
void append_by_direction(std::string (*text_of)(const MessageTable&), std::string* requests,
                         std::string* replies);

// "0x1F", two hex digits at least.
std::string hex(unsigned value);

}  // namespace camrcd

#endif  // CAMRCD_TOOLS_WIREGEN_WIRE_WORDS_H_
