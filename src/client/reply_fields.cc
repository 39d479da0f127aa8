// The decoding walk over a reply's rows.
#include "client/reply_fields.h"

#include <stdio.h>
#include <string.h>

#include "client/client_request.h"
#include "protocol/wire_text.h"

namespace camrcd {
namespace {

// The camera's sectioned-file reader keeps a value's line end, and its writer drops one
// CR or LF before it writes the value back: neither belongs to the value.
void strip_line_end(char* text) {
  size_t length = strlen(text);
  if (length > 0 && (text[length - 1] == '\n' || text[length - 1] == '\r'))
    text[length - 1] = 0;
}

bool is_named(const WireRow& row) {
  return row.field != Field::kNone && row.kind != WireKind::kBlock;
}

void decode_field(const WireRow& row, const uint8_t* reply, FieldValue* value) {
  const uint8_t* p = reply + row.offset;
  value->row = &row;
  value->number = row_number(row, reply);
  value->text[0] = 0;
  switch (row.kind) {
    case WireKind::kText:
      memcpy(value->text, p, row.width);
      value->text[row.width] = 0;
      if (field_is_file_line(row.field))
        strip_line_end(value->text);
      break;
    case WireKind::kMacReversed:
      snprintf(value->text, sizeof(value->text), "%02x:%02x:%02x:%02x:%02x:%02x", p[5], p[4], p[3],
               p[2], p[1], p[0]);
      break;
    case WireKind::kVersion:
      snprintf(value->text, sizeof(value->text), "%u.%02u", p[1], p[0]);
      break;
    default:
      break;
  }
}

static_assert(sizeof(FieldValue::text) > 20, "the widest text field and its zero fit");

}  // namespace

int decode_reply(const uint8_t* reply, size_t length, DecodedReply* out, MessageId expected) {
  out->count = 0;
  if (length < kReplyHeaderSize || check_reply_header(reply) != 0 ||
      reply_payload_length(reply) + kReplyHeaderSize != length)
    return -1;
  const MessageTable* table = find_reply(reply[kReplySub]);
  if (table == nullptr || (expected != MessageId::kCount && table->id != expected))
    return -1;
  bool payload = length > kReplyHeaderSize;
  if (payload && (length < kReplyHeaderSize + 2 || reply[length - 2] != kTrailerFirst ||
                  reply[length - 1] != kTrailerSecond))
    return -1;
  size_t limit = payload ? length - 2 : kReplyHeaderSize;  // where the rows must end
  size_t end = kReplyHeaderSize;                           // where the rows sent end
  LayoutContext context;
  for (size_t i = 0; i < table->row_count; ++i) {
    const WireRow& row = table->rows[i];
    if (!row_stands(row, context))
      continue;
    size_t row_end = row.offset + row_width(row, context);
    if (row_end > limit)
      return -1;
    if (row_sent(row, context) && row_end > end)
      end = row_end;
    if (is_named(row) && out->count < kMaxReplyFields)
      decode_field(row, reply, &out->fields[out->count++]);
    layout_learn(row, reply, &context);
  }
  return end == limit ? 0 : -1;
}

const char* field_name(const FieldValue& value) {
  return field_text(value.row->field).name;
}

const FieldValue* find_field(const DecodedReply& reply, const char* name) {
  for (size_t i = 0; i < reply.count; i++) {
    if (strcmp(field_name(reply.fields[i]), name) == 0)
      return &reply.fields[i];
  }
  return nullptr;
}

const FieldValue* find_field(const DecodedReply& reply, Field field) {
  for (size_t i = 0; i < reply.count; i++) {
    if (reply.fields[i].row->field == field)
      return &reply.fields[i];
  }
  return nullptr;
}

}  // namespace camrcd
