// Request headers as a client builds them, and replies as a client reads them. A
// request is a 32-byte header (protocol/wire_format.h) whose fields stand where the
// request's table says (protocol/messages.h); a motion write adds its payload. A reply
// is a 32-byte header whose bytes 0-1 give the payload length, then the payload, which
// ends with 0x55 0xAA.
#ifndef CAMRCD_CLIENT_CLIENT_REQUEST_H_
#define CAMRCD_CLIENT_CLIENT_REQUEST_H_

#include <stddef.h>
#include <stdint.h>

#include "protocol/messages.h"

namespace camrcd {

struct RequestHeader {
  uint8_t bytes[kRequestHeaderSize];
  MessageId id;  // the request the class and sub-command name
};

// A header with the prefix, class and sub-command; every field byte 0.
RequestHeader make_request(MessageId id);
// The same for any class and sub-command, known or not.
RequestHeader make_request(uint8_t command_class, uint8_t sub);
// A reload request: bytes 2-3 are the group bit set, big-endian.
RequestHeader make_reload_request(uint16_t group_bits);

// A field of the request, where its table puts it: a number (a version as major * 256
// + minor) or a text (zero-filled, at most the field's width in characters). False
// when the request has no such field.
bool request_set(RequestHeader* header, Field field, uint32_t value);
bool request_set_text(RequestHeader* header, Field field, const char* text);
// The number a field holds, 0 when the request has no such field.
uint32_t request_get(const RequestHeader& header, Field field);

// Raw setters by offset from the start of the header, for bytes no table names.
// Out-of-range bytes are not written.
void request_set_byte(RequestHeader* header, size_t offset, uint8_t value);
void request_set_u16(RequestHeader* header, size_t offset, uint16_t value);  // little-endian
void request_set_text(RequestHeader* header, size_t offset, size_t width, const char* text);

// Sends the header, then `payload_length` bytes of payload (none when 0).
int32_t send_request(int socket, const RequestHeader& header, const uint8_t* payload = nullptr,
                     size_t payload_length = 0);

// A reply read whole: the header and its payload.
struct Reply {
  size_t length;  // 32 + payload length
  uint8_t bytes[kConnectionBufferSize];
};

// The reply header is not one (no 0x77 0x33 0x10 at bytes 4-6), or its declared
// payload does not fit a Reply.
inline constexpr int kClientBadReply = -41;

// Payload length declared by a reply header (bytes 0-1, little-endian).
uint16_t reply_payload_length(const uint8_t header[kReplyHeaderSize]);

// 0 when the header has the reply prefix and class and its payload fits a Reply,
// else kClientBadReply.
int check_reply_header(const uint8_t header[kReplyHeaderSize]);

// True for a reply without payload, or one whose last two bytes are 0x55 0xAA.
bool reply_trailer_ok(const Reply& reply);

// Reads one reply: its length, or kClientBadReply, or a negative socket code.
int32_t read_reply(int socket, Reply* reply);

}  // namespace camrcd

#endif  // CAMRCD_CLIENT_CLIENT_REQUEST_H_
