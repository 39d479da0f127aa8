// Text and JSON rendering of decoded reply fields.
#include "camrc_output.h"

#include <stdio.h>

#include "protocol/wire_text.h"

namespace camrcd {

namespace {

std::string hex_escape(const char* prefix, unsigned char c) {
  char escaped[8];
  snprintf(escaped, sizeof(escaped), "%s%02X", prefix, c);
  return escaped;
}

// The value as text, and whether it is a string (not a number) in JSON.
std::string field_value(const FieldValue& field, bool* is_string) {
  *is_string = true;
  switch (field.row->kind) {
    case WireKind::kText:
    case WireKind::kMacReversed:
    case WireKind::kVersion:
      return field.text;
    case WireKind::kByte:
      if (const char* name = code_name(field_text(field.row->field).codes, field.number))
        return name;
      break;
    default:
      break;
  }
  *is_string = false;
  return std::to_string(field.number);
}

std::string printable(const std::string& text) {
  std::string out;
  for (unsigned char c : text)
    out += c < 0x20 || c == 0x7F ? hex_escape("\\x", c) : std::string(1, static_cast<char>(c));
  return out;
}

}  // namespace

std::string json_string(const char* text) {
  std::string out = "\"";
  for (const unsigned char* p = reinterpret_cast<const unsigned char*>(text); *p != 0; p++) {
    if (*p == '"' || *p == '\\')
      out += std::string("\\") + static_cast<char>(*p);
    else if (*p < 0x20 || *p >= 0x7F)
      out += hex_escape("\\u00", *p);
    else
      out += static_cast<char>(*p);
  }
  return out + "\"";
}

std::string format_fields_text(const DecodedReply& reply) {
  std::string out;
  bool is_string = false;
  for (size_t i = 0; i < reply.count; i++) {
    const FieldValue& field = reply.fields[i];
    out += std::string(field_name(field)) + ": " + printable(field_value(field, &is_string)) + "\n";
  }
  return out;
}

std::string format_fields_json(const DecodedReply& reply) {
  std::string out = "{";
  bool is_string = false;
  for (size_t i = 0; i < reply.count; i++) {
    const FieldValue& field = reply.fields[i];
    std::string value = field_value(field, &is_string);
    out += (i == 0 ? "" : ",") + json_string(field_name(field)) + ":" +
           (is_string ? json_string(value.c_str()) : value);
  }
  return out + "}\n";
}

}  // namespace camrcd
