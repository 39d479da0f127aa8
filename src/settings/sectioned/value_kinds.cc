// The converter pairs of the sectioned value kinds. Readers decide by words found
// anywhere in the piece; no key name holds "on", "off" or "none".
#include "settings/sectioned/value_kinds.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "settings/settings_record.h"

namespace camrcd {
namespace {

uint8_t& byte_field(const KeyRule& key) {
  return *static_cast<uint8_t*>(key.field);
}

bool is_blank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

void read_switch(const Piece& piece, const KeyRule& key) {
  byte_field(key) = piece_contains(piece, "none") ? 0 : piece_contains(piece, "on") ? 2 : 1;
}

void read_optional_number(const Piece& piece, const KeyRule& key) {
  byte_field(key) = piece_contains(piece, "none") ? 0 : static_cast<uint8_t>(key_number(piece));
}

void read_relay_code(const Piece& piece, const KeyRule& key) {
  byte_field(key) = piece_contains(piece, "off")    ? 1
                    : piece_contains(piece, "none") ? 0
                                                    : static_cast<uint8_t>(key_number(piece));
}

void write_relay_code(const KeyRule& key, char text[kValueTextSize]) {
  uint8_t value = byte_field(key);
  if (value & 1)
    snprintf(text, kValueTextSize, "off");
  else
    write_optional_number(key, text);
}

// The value starts at the piece's 8th byte, whatever stands before it. A piece of 7
// bytes or fewer has nothing there: the field becomes the empty text, never bytes
// from beyond the piece. A value longer than the field is cut to the field's 11
// bytes, which keeps every name of up to 10 characters together with its line end.
void read_text(const Piece& piece, const KeyRule& key) {
  constexpr size_t kValueStart = 7;  // strlen("name = ")
  char* field = static_cast<char*>(key.field);
  memset(field, 0, kSectionTextFieldSize);
  if (piece.length <= kValueStart)
    return;
  size_t length = piece.length - kValueStart;
  if (length > kSectionTextFieldSize - 1)
    length = kSectionTextFieldSize - 1;
  memcpy(field, piece.bytes + kValueStart, length);
}

// Deliberate deviation, for safety: a CR or LF still inside the text after the
// trailing line end rule is written as a blank, so client text (a preset name) can
// never add lines to the file. The field keeps its bytes; command lines get them all.
void write_text_as_is(const KeyRule& key, char text[kValueTextSize]) {
  const char* field = static_cast<const char*>(key.field);
  size_t length = strnlen(field, kSectionTextFieldSize - 1);
  for (size_t i = 0; i < length; ++i)
    text[i] = field[i] == '\r' || field[i] == '\n' ? ' ' : field[i];
  text[length] = '\0';
}

void write_text(const KeyRule& key, char text[kValueTextSize]) {
  cut_trailing_line_end(static_cast<char*>(key.field));
  write_text_as_is(key, text);
}

void read_fixed(const Piece&, const KeyRule& key) {
  byte_field(key) = static_cast<uint8_t>(atoi(key.constant));
}

}  // namespace

int32_t key_number(const Piece& piece) {
  const char* equals = static_cast<const char*>(memchr(piece.bytes, '=', piece.length));
  if (equals == nullptr)
    return 0;
  const char* end = piece.bytes + piece.length;
  const char* at = equals + 1;
  while (at < end && is_blank(*at))
    ++at;
  bool negative = at < end && *at == '-';
  if (at < end && (*at == '-' || *at == '+'))
    ++at;
  uint32_t value = 0;  // wraps: the low bits are those of the whole number
  for (; at < end && *at >= '0' && *at <= '9'; ++at)
    value = value * 10 + static_cast<uint32_t>(*at - '0');
  return static_cast<int32_t>(negative ? 0u - value : value);
}

void cut_trailing_line_end(char* text) {
  size_t length = strnlen(text, kSectionTextFieldSize - 1);
  if (length > 0 && (text[length - 1] == '\n' || text[length - 1] == '\r'))
    text[length - 1] = '\0';
}

void read_number(const Piece& piece, const KeyRule& key) {
  byte_field(key) = static_cast<uint8_t>(key_number(piece));
}

void write_number(const KeyRule& key, char text[kValueTextSize]) {
  snprintf(text, kValueTextSize, "%d", byte_field(key));
}

void write_optional_number(const KeyRule& key, char text[kValueTextSize]) {
  if (byte_field(key) == 0)
    snprintf(text, kValueTextSize, "none");
  else
    write_number(key, text);
}

void write_switch(const KeyRule& key, char text[kValueTextSize]) {
  uint8_t value = byte_field(key);
  snprintf(text, kValueTextSize, "%s", value & 1 ? "off" : value & 2 ? "on" : "none");
}

void write_constant(const KeyRule& key, char text[kValueTextSize]) {
  snprintf(text, kValueTextSize, "%s", key.constant);
}

const ValueKind kNumberKind = {read_number, write_number};
const ValueKind kSwitchKind = {read_switch, write_switch};
const ValueKind kOptionalNumberKind = {read_optional_number, write_optional_number};
const ValueKind kRelayCodeKind = {read_relay_code, write_relay_code};
const ValueKind kTextKind = {read_text, write_text};
const ValueKind kFixedKind = {read_fixed, write_constant};
const ValueKind kTextAsIsKind = {read_text, write_text_as_is};

}  // namespace camrcd
