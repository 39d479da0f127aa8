// How camrc prints a decoded reply: "name: value" lines, or one JSON object on one
// line. JSON output is plain ASCII: control characters and bytes from 0x80 on are
// written as \u00XX, so a title holding any byte still gives valid JSON.
#ifndef CAMRCD_TOOLS_CAMRC_CAMRC_OUTPUT_H_
#define CAMRCD_TOOLS_CAMRC_CAMRC_OUTPUT_H_

#include <string>

#include "client/reply_fields.h"

namespace camrcd {

// One "name: value\n" line per field; switch codes by name ("on"), texts with
// control characters as \xNN.
std::string format_fields_text(const DecodedReply& reply);

// {"name":value,...} and a newline: numbers as JSON numbers, named codes, texts, the
// MAC address and versions as JSON strings.
std::string format_fields_json(const DecodedReply& reply);

// A JSON string literal (quotes included) of the zero-terminated bytes of text.
std::string json_string(const char* text);

}  // namespace camrcd

#endif  // CAMRCD_TOOLS_CAMRC_CAMRC_OUTPUT_H_
