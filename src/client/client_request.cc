// Client requests and replies: the table of named requests, header builders and the
// reply reader.
#include "client/client_request.h"

#include <string.h>

#include "client/client_socket.h"

namespace camrcd {

const RequestKind kRequestKinds[] = {
    {"info", kClassInformation, kSubDeviceInfo, true},
    {"motion-read", kClassInformation, kSubMotionRead, true},
    {"alarm-link-read", kClassInformation, kSubAlarmLinkRead, true},
    {"preset-read", kClassInformation, kSubPresetRead, true},
    {"close", kClassInformation, kSubClose, true},
    {"video", kClassStream, kSubVideoResolution, false},
    {"mpeg", kClassStream, kSubMpeg, false},
    {"jpeg", kClassStream, kSubJpeg, false},
    {"autorun", kClassStream, kSubAutorun, false},
    {"stream", kClassStream, kSubStreamSettings, false},
    {"motion", kClassEvent, kSubMotionWrite, false},
    {"alarm", kClassEvent, kSubAlarm, false},
    {"alarm-link", kClassEvent, kSubAlarmLink, false},
    {"preset", kClassEvent, kSubPreset, false},
    {"osd", kClassOverlay, kSubOsd, false},
    {"title", kClassOverlay, kSubTitle, false},
    {"privacy", kClassOverlay, kSubPrivacy, false},
    {"picture", kClassCamera, kSubPicture, false},
    {"white-balance", kClassCamera, kSubWhiteBalance, false},
    {"camcontrol2", kClassCamera, kSubCamcontrol2, false},
};
const size_t kRequestKindCount = sizeof(kRequestKinds) / sizeof(kRequestKinds[0]);

const RequestKind* find_request_kind(const char* name) {
  for (size_t i = 0; i < kRequestKindCount; i++) {
    if (strcmp(kRequestKinds[i].name, name) == 0)
      return &kRequestKinds[i];
  }
  return nullptr;
}

RequestHeader make_request(uint8_t command_class, uint8_t sub) {
  RequestHeader header;
  memset(header.bytes, 0, sizeof(header.bytes));
  header.bytes[kRequestPrefixHigh] = static_cast<uint8_t>(kRequestPrefix >> 8);
  header.bytes[kRequestPrefixLow] = static_cast<uint8_t>(kRequestPrefix);
  header.bytes[kRequestClass] = command_class;
  header.bytes[kRequestSub] = sub;
  return header;
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

void request_set_version(RequestHeader* header, size_t offset, uint8_t major, uint8_t minor) {
  request_set_u16(header, offset, static_cast<uint16_t>(major << 8 | minor));
}

void request_set_text(RequestHeader* header, size_t offset, size_t width, const char* text) {
  if (offset > kRequestHeaderSize || width > kRequestHeaderSize - offset)
    return;
  memset(header->bytes + offset, 0, width);
  memcpy(header->bytes + offset, text, strnlen(text, width));
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
