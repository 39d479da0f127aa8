// Client requests and replies: header builders over the request tables, and the reply
// reader.
#include "client/client_request.h"

#include <string.h>

#include "client/client_socket.h"

namespace camrcd {

RequestHeader make_request(uint8_t command_class, uint8_t sub) {
  RequestHeader header;
  memset(header.bytes, 0, sizeof(header.bytes));
  header.bytes[kRequestPrefixHigh] = static_cast<uint8_t>(kRequestPrefix >> 8);
  header.bytes[kRequestPrefixLow] = static_cast<uint8_t>(kRequestPrefix);
  header.bytes[kRequestClass] = command_class;
  header.bytes[kRequestSub] = sub;
  const MessageTable* table = find_request(command_class, sub);
  header.id = table != nullptr ? table->id : MessageId::kCount;
  return header;
}

RequestHeader make_request(MessageId id) {
  const MessageTable& table = message(id);
  return make_request(table.command_class, table.sub);
}

RequestHeader make_reload_request(uint16_t group_bits) {
  return make_request(static_cast<uint8_t>(group_bits >> 8), static_cast<uint8_t>(group_bits));
}

void request_set_byte(RequestHeader* header, size_t offset, uint8_t value) {
  if (offset < kRequestHeaderSize)
    header->bytes[offset] = value;
}

void request_set_u16(RequestHeader* header, size_t offset, uint16_t value) {
  if (offset + 2 <= kRequestHeaderSize)
    write_le16(header->bytes + offset, value);
}

void request_set_text(RequestHeader* header, size_t offset, size_t width, const char* text) {
  if (offset > kRequestHeaderSize || width > kRequestHeaderSize - offset)
    return;
  memset(header->bytes + offset, 0, width);
  memcpy(header->bytes + offset, text, strnlen(text, width));
}

namespace {

// The row of `field` in the header's request, when it lies within the header.
const WireRow* header_row(const RequestHeader& header, Field field) {
  if (header.id == MessageId::kCount)
    return nullptr;
  const WireRow* row = find_row(message(header.id), field);
  return row != nullptr && row->offset + row->width <= kRequestHeaderSize ? row : nullptr;
}

}  // namespace

bool request_set(RequestHeader* header, Field field, uint32_t value) {
  const WireRow* row = header_row(*header, field);
  if (row == nullptr)
    return false;
  switch (row->kind) {
    case WireKind::kByte:
      request_set_byte(header, row->offset, static_cast<uint8_t>(value));
      return true;
    case WireKind::kLe16:
    case WireKind::kVersion:  // minor first: major * 256 + minor, little-endian
      request_set_u16(header, row->offset, static_cast<uint16_t>(value));
      return true;
    default:
      return false;
  }
}

bool request_set_text(RequestHeader* header, Field field, const char* text) {
  const WireRow* row = header_row(*header, field);
  if (row == nullptr || row->kind != WireKind::kText)
    return false;
  request_set_text(header, row->offset, row->width, text);
  return true;
}

uint32_t request_get(const RequestHeader& header, Field field) {
  const WireRow* row = header_row(header, field);
  return row != nullptr ? row_number(*row, header.bytes) : 0;
}

int32_t send_request(int socket, const RequestHeader& header, const uint8_t* payload,
                     size_t payload_length) {
  int32_t code = client_send(socket, header.bytes, sizeof(header.bytes));
  if (code != 0 || payload_length == 0)
    return code;
  return client_send(socket, payload, payload_length);
}

uint16_t reply_payload_length(const uint8_t header[kReplyHeaderSize]) {
  return read_le16(header + kReplyLength);
}

int check_reply_header(const uint8_t header[kReplyHeaderSize]) {
  bool prefix = read_le16(header + kReplyPrefix) == 0x3377;  // bytes 0x77 0x33
  bool fits = kReplyHeaderSize + reply_payload_length(header) <= kConnectionBufferSize;
  return prefix && header[kReplyClass] == kReplyClassValue && fits ? 0 : kClientBadReply;
}

bool reply_trailer_ok(const Reply& reply) {
  if (reply.length == kReplyHeaderSize)
    return true;
  if (reply.length < kReplyHeaderSize + 2)
    return false;
  return reply.bytes[reply.length - 2] == kTrailerFirst &&
         reply.bytes[reply.length - 1] == kTrailerSecond;
}

int32_t read_reply(int socket, Reply* reply) {
  reply->length = 0;
  int32_t code = client_recv(socket, reply->bytes, kReplyHeaderSize);
  if (code < 0)
    return code;
  if (check_reply_header(reply->bytes) != 0)
    return kClientBadReply;
  size_t payload = reply_payload_length(reply->bytes);
  if (payload > 0) {
    code = client_recv(socket, reply->bytes + kReplyHeaderSize, payload);
    if (code < 0)
      return code;
  }
  reply->length = kReplyHeaderSize + payload;
  return static_cast<int32_t>(reply->length);
}

}  // namespace camrcd
