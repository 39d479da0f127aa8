// The client's side of replies: read_reply on a socket that delivers the input, then
// every decoder on what it read and on the raw input. A reply of any bytes is read
// within its buffer and decoded into terminated texts, or refused.
#include <string.h>
#include <unistd.h>

#include <string>

#include "client/client_request.h"
#include "client/reply_fields.h"
#include "control/replies.h"
#include "groups/group_masks.h"
#include "groups/group_table.h"
#include "settings/settings_record.h"
#include "support/fuzz_support.h"

namespace camrcd {
namespace {

void decode(const uint8_t* reply, size_t length) {
  static DecodedReply decoded;
  if (decode_reply(reply, length, &decoded) == 0) {
    fuzz_check(decoded.count <= kMaxReplyFields, "more fields than the table holds");
    for (size_t i = 0; i < decoded.count; i++) {
      const FieldValue& field = decoded.fields[i];
      fuzz_check(text_terminated(field.text, sizeof field.text), "a field text without its end");
    }
  }
}

std::string reply_bytes(MessageId id) {
  static uint8_t buffer[kConnectionBufferSize];
  return std::string(reinterpret_cast<char*>(buffer), build_reply(id, buffer, 0));
}

}  // namespace

void fuzz_setup() {}

// The server's own replies, built from the sandbox camera's settings on both types.
void fuzz_seeds() {
  for (uint8_t type : {1, 2}) {
    memset(&settings, 0, sizeof settings);
    settings.device_type = type;
    settings.current_md = settings.current_alarmin = settings.current_alarmout = 1;
    settings.current_preset = 1;
    load_groups(type == 1 ? kStartupLoadMaskFixedCamera : kStartupLoadMaskOther | kLoadMotion,
                type == 1 ? 0 : kLoadPreset2 | kLoadAlarm2 | kLoadMd2);
    std::string suffix = "-type" + std::to_string(type);
    write_seed("info" + suffix, reply_bytes(MessageId::kInfoReply));
    write_seed("motion" + suffix, reply_bytes(MessageId::kMotionReply));
  }
  write_seed("alarm-link", reply_bytes(MessageId::kAlarmLinkReply));
  write_seed("preset", reply_bytes(MessageId::kPresetReply));
  settings.motion_map_valid = 0;
  write_seed("motion-no-map", reply_bytes(MessageId::kMotionReply));
  write_seed("close", reply_bytes(MessageId::kCloseReply));
}

}  // namespace camrcd

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace camrcd;
  static Reply reply;
  int socket = socket_fed_with(data, size);
  fuzz_check(socket >= 0, "no socket pair");
  int32_t length = read_reply(socket, &reply);
  close(socket);
  if (length > 0) {
    fuzz_check(static_cast<size_t>(length) <= sizeof reply.bytes, "a reply longer than its buffer");
    decode(reply.bytes, static_cast<size_t>(length));
  }
  decode(data, size);
  return 0;
}
