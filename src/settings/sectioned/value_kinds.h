// Values of the sectioned files: one converter pair (piece to field, field to value
// text) per kind. The reader sees the whole piece, key included; the writer gives the
// text after "key = ". Fields are unsigned bytes, or 12-byte texts that always keep a
// terminating zero.
//
//   kind             reader                                   writer
//   number           key_number, low 8 bits                   "%d"
//   switch           "none" in the piece 0, else "on" 2,      bit 0 "off", else bit 1
//                    else 1                                   "on", else "none"
//   optional number  "none" 0, else key_number                0 "none", else "%d"
//   relay code       "off" 1, else "none" 0, else key_number  bit 0 "off", else non-zero
//                                                             "%d", else "none"
//   text             the piece from its 8th byte on (after    one trailing CR or LF cut
//                    "name = "), line end included            from the field, then the text
//   fixed            the key's constant                       the key's constant
#ifndef CAMRCD_SETTINGS_SECTIONED_VALUE_KINDS_H_
#define CAMRCD_SETTINGS_SECTIONED_VALUE_KINDS_H_

#include <stddef.h>
#include <stdint.h>

#include "settings/sectioned/piece_reader.h"

namespace camrcd {

// Room for any value text a writer forms (the longest: a 12-byte text field).
inline constexpr size_t kValueTextSize = 16;

struct KeyRule;

struct ValueKind {
  void (*read)(const Piece& piece, const KeyRule& key);
  void (*write)(const KeyRule& key, char text[kValueTextSize]);
};

// One key of a section: its name (found anywhere in a piece), its kind and its field
// (a uint8_t, or a char[kSectionTextFieldSize] for the text kinds).
struct KeyRule {
  const char* name;
  const ValueKind* kind;
  void* field;
  const char* constant;  // the fixed kind's value text; else null
};

// The integer after the first '=' of the piece: blanks skipped, an optional sign, the
// digits up to the first other byte, as the low 32 bits of the number. No digits give
// 0, and so does a piece without '=' (a key line without a value gives what a value
// without digits gives).
int32_t key_number(const Piece& piece);

// Cuts one trailing CR or LF from a text field of kSectionTextFieldSize bytes.
void cut_trailing_line_end(char* text);

extern const ValueKind kNumberKind;
extern const ValueKind kSwitchKind;
extern const ValueKind kOptionalNumberKind;
extern const ValueKind kRelayCodeKind;
extern const ValueKind kTextKind;
extern const ValueKind kFixedKind;
// The text kind whose writer keeps the field as it is (no trailing line end cut).
extern const ValueKind kTextAsIsKind;

// Converters that a file's own kinds are made of.
void read_number(const Piece& piece, const KeyRule& key);
void write_number(const KeyRule& key, char text[kValueTextSize]);
void write_optional_number(const KeyRule& key, char text[kValueTextSize]);
void write_switch(const KeyRule& key, char text[kValueTextSize]);
void write_constant(const KeyRule& key, char text[kValueTextSize]);  // the key's constant

}  // namespace camrcd

#endif  // CAMRCD_SETTINGS_SECTIONED_VALUE_KINDS_H_
