// Request headers as a client builds them, and replies as a client reads them. The
// header layouts are those of control/request_header.h: a request is a 32-byte header
// (prefix 0x77 0x33, class, sub-command, fields), a motion write adds its payload; a
// reply is a 32-byte header whose bytes 0-1 give the payload length, then the
// payload, which ends with 0x55 0xAA.
#ifndef CAMRCD_CLIENT_CLIENT_REQUEST_H_
#define CAMRCD_CLIENT_CLIENT_REQUEST_H_

#include <stddef.h>
#include <stdint.h>

#include "control/request_header.h"

namespace camrcd {

struct RequestHeader {
  uint8_t bytes[kRequestHeaderSize];
};

// A named request: the camrc tool and the tests pick requests by name.
struct RequestKind {
  const char* name;
  uint8_t command_class;
  uint8_t sub;
  bool answered;  // the server sends a reply
};

// Every request of the protocol, the reload request aside (make_reload_request).
extern const RequestKind kRequestKinds[];
extern const size_t kRequestKindCount;

// The entry named `name`, or nullptr.
const RequestKind* find_request_kind(const char* name);

// A header with the prefix, class and sub-command; every field byte 0.
RequestHeader make_request(uint8_t command_class, uint8_t sub);

// A reload request: bytes 2-3 are the group bit set, big-endian.
RequestHeader make_reload_request(uint16_t group_bits);

// Field setters; offsets count from the start of the header. Out-of-range fields are
// not written.
void request_set_byte(RequestHeader* header, size_t offset, uint8_t value);
void request_set_u16(RequestHeader* header, size_t offset, uint16_t value);  // little-endian
// A protocol version: minor number at offset, major number at offset + 1.
void request_set_version(RequestHeader* header, size_t offset, uint8_t major, uint8_t minor);
// A text field of `width` bytes: zero-filled, then at most `width` characters.
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
