// Reply field tables and the decoder that walks them. A reply is checked whole
// (sub-command, length for its layout, trailer) before any field is taken from it.
#include "client/reply_fields.h"

#include <stdio.h>
#include <string.h>

#include "client/client_request.h"
#include "control/replies.h"
#include "control/request_header.h"

namespace camrcd {

const CodeName kSwitchCodes[] = {{"on", 2}, {"off", 1}, {"none", 0}, {nullptr, 0}};
const CodeName kPolarityCodes[] = {{"no", 18}, {"nc", 17}, {nullptr, 0}};
// Any act code other than 1-3 means none; 255 is what the camera's own files hold, and
// an act stored as "none" reads back as 0.
const CodeName kActCodes[] = {{"preset", 1}, {"sequence", 2}, {"autopan", 3},
                              {"none", 255}, {"none", 0},     {nullptr, 0}};
const CodeName kPoaActCodes[] = {{"preset", 1}, {"sequence", 2}, {"autopan", 3}, {"last_action", 4},
                                 {"none", 255}, {"none", 0},     {nullptr, 0}};
// The file spells a direction with bit 0 as cw, bit 1 as ccw, neither as none, and
// none reads back as 0: 4 is the one value that writes none.
const CodeName kDirectionCodes[] = {{"cw", 1}, {"ccw", 2}, {"none", 4}, {"none", 0}, {nullptr, 0}};
const CodeName kInputTypeCodes[] = {{"no", 2}, {"nc", 1}, {nullptr, 0}};
const CodeName kLinkageCodes[] = {{"sm", 24}, {"s", 16},   {"m", 8},
                                  {"off", 1}, {"none", 0}, {nullptr, 0}};
const CodeName kRelayCodes[] = {{"off", 1}, {"none", 0}, {nullptr, 0}};

const char* code_name(const CodeName* codes, uint32_t code) {
  for (; codes != nullptr && codes->name != nullptr; codes++) {
    if (codes->code == code)
      return codes->name;
  }
  return nullptr;
}

int code_value(const CodeName* codes, const char* name, uint8_t* code) {
  for (; codes != nullptr && codes->name != nullptr; codes++) {
    if (codes->code != 0 && strcmp(codes->name, name) == 0) {
      *code = codes->code;
      return 0;
    }
  }
  return -1;
}

namespace {

constexpr const CodeName* kSw = kSwitchCodes;
constexpr const CodeName* kAct = kActCodes;

const FieldSpec kDeviceInfoFields[] = {
    {"device_type", kFieldByte, 13, 0, kWhenAlways, nullptr},
    {"layout_version", kFieldVersion, 11, 0, kWhenAlways, nullptr},
    {"mac_address", kFieldMac, 32, 0, kWhenAlways, nullptr},
    {"web_port", kFieldU16, 38, 0, kWhenAlways, nullptr},
    {"connect_port", kFieldU16, 40, 0, kWhenAlways, nullptr},
    {"control_port", kFieldU16, 44, 0, kWhenAlways, nullptr},
    {"video_type", kFieldByte, 46, 0, kWhenAlways, nullptr},
    {"video_resolution", kFieldByte, 47, 0, kWhenAlways, nullptr},
    {"mpeg_enable", kFieldByte, 48, 0, kWhenAlways, kSw},
    {"mpeg_gop", kFieldByte, 49, 0, kWhenAlways, nullptr},
    {"mpeg_cbr", kFieldByte, 50, 0, kWhenAlways, kSw},
    {"mpeg_rate", kFieldByte, 51, 0, kWhenAlways, nullptr},
    {"mpeg_bitrate", kFieldU32, 52, 0, kWhenAlways, nullptr},
    {"jpeg_enable", kFieldByte, 56, 0, kWhenAlways, kSw},
    {"jpeg_quality", kFieldByte, 57, 0, kWhenAlways, nullptr},
    {"osd_enable", kFieldByte, 58, 0, kWhenAlways, kSw},
    {"osd_color", kFieldByte, 59, 0, kWhenAlways, nullptr},
    {"osd_display_flags", kFieldByte, 60, 0, kWhenAlways, nullptr},
    {"osd_extra", kFieldByte, 61, 0, kWhenAlways, nullptr},
    {"osd_title", kFieldText, 62, 20, kWhenAlways, nullptr},
    {"camera_title", kFieldText, 83, 20, kWhenAlways, nullptr},
    {"alarm_in", kFieldByte, 104, 0, kWhenAlarm, kSw},
    {"alarm_in_polarity", kFieldByte, 105, 0, kWhenAlarm, kPolarityCodes},
    {"alarm_out", kFieldByte, 106, 0, kWhenAlarm, kSw},
    {"alarm_out_mode", kFieldByte, 107, 0, kWhenAlarm, nullptr},
    {"alarm_out_duration", kFieldByte, 108, 0, kWhenAlarm, nullptr},
    {"cam_brightness", kFieldByte, 110, 0, kWhenAlways, nullptr},
    {"cam_contrast", kFieldByte, 111, 0, kWhenAlways, nullptr},
    {"cam_sharpness", kFieldByte, 112, 0, kWhenAlways, nullptr},
    {"cam_hue", kFieldByte, 113, 0, kWhenAlways, nullptr},
    {"cam_saturation", kFieldByte, 114, 0, kWhenAlways, nullptr},
    {"cam_wb", kFieldByte, 118, 0, kWhenAlways, nullptr},
    {"cam_wb_manual", kFieldByte, 119, 0, kWhenAlways, nullptr},
    {"cam_blc", kFieldByte, 120, 0, kWhenAlways, nullptr},
    {"cam_monochrome", kFieldByte, 122, 0, kWhenAlways, kSw},
    {"cam_negative", kFieldByte, 123, 0, kWhenAlways, kSw},
    {"cam_colorbar", kFieldByte, 124, 0, kWhenAlways, kSw},
    {"cam_sensorup", kFieldByte, 125, 0, kWhenAlways, nullptr},
    {"privacy_enable", kFieldByte, 128, 0, kWhenPrivacy, kSw},
    {"privacy_color", kFieldByte, 129, 0, kWhenPrivacy, nullptr},
    {"privacy_areas", kFieldByte, 130, 0, kWhenPrivacy, nullptr},
    {"privacy_left", kFieldU16, 131, 0, kWhenPrivacyArea, nullptr},
    {"privacy_top", kFieldU16, 133, 0, kWhenPrivacyArea, nullptr},
    {"privacy_right", kFieldU16, 135, 0, kWhenPrivacyArea, nullptr},
    {"privacy_bottom", kFieldU16, 137, 0, kWhenPrivacyArea, nullptr},
    {"autopan_direction", kFieldByte, 131, 0, kWhenAutorun, kDirectionCodes},
    {"autopan_speed", kFieldByte, 132, 0, kWhenAutorun, nullptr},
    {"poa_enable", kFieldByte, 133, 0, kWhenAutorun, kSw},
    {"poa_act", kFieldByte, 134, 0, kWhenAutorun, kPoaActCodes},
    {"poa_actno", kFieldByte, 135, 0, kWhenAutorun, nullptr},
    {"autorun_enable", kFieldByte, 136, 0, kWhenAutorun, kSw},
    {"autorun_waittime", kFieldByte, 137, 0, kWhenAutorun, nullptr},
    {"autorun_act", kFieldByte, 138, 0, kWhenAutorun, kAct},
    {"autorun_actno", kFieldByte, 139, 0, kWhenAutorun, nullptr},
};

const FieldSpec kMotionFields[] = {
    {"motion_map_valid", kFieldByte, 11, 0, kWhenAlways, nullptr},
    {"motion_flags", kFieldByte, 12, 0, kWhenAlways, nullptr},
    {"motion_map_length", kFieldU16, 13, 0, kWhenAlways, nullptr},
    {"layout_version", kFieldVersion, 15, 0, kWhenAlways, nullptr},
    {"md_max", kFieldByte, 17, 0, kWhenMd2, nullptr},
    {"current_md", kFieldByte, 18, 0, kWhenMd2, nullptr},
    {"md_enable", kFieldByte, 19, 0, kWhenMd2, kSw},
    {"md_act", kFieldByte, 20, 0, kWhenMd2, kAct},
    {"md_actno", kFieldByte, 21, 0, kWhenMd2, nullptr},
    {"md_relay", kFieldByte, 22, 0, kWhenMd2, kRelayCodes},
    {"md_record", kFieldByte, 23, 0, kWhenMd2, kSw},
    {"md_email", kFieldByte, 24, 0, kWhenMd2, kSw},
    {"manual_enable", kFieldByte, 26, 0, kWhenMd2, kSw},
    {"manual_threshold", kFieldByte, 27, 0, kWhenMd2, nullptr},
    {"manual_sens", kFieldByte, 28, 0, kWhenMd2, nullptr},
};

const FieldSpec kAlarmLinkFields[] = {
    {"layout_version", kFieldVersion, 11, 0, kWhenAlways, nullptr},
    {"current_alarmin", kFieldByte, 13, 0, kWhenAlways, nullptr},
    {"alin_max", kFieldByte, 14, 0, kWhenAlways, nullptr},
    {"alin_allen", kFieldByte, 15, 0, kWhenAlways, kSw},
    {"alarmin_enable", kFieldByte, 16, 0, kWhenAlways, kSw},
    {"alarmin_type", kFieldByte, 17, 0, kWhenAlways, kInputTypeCodes},
    {"alarmin_priority", kFieldByte, 18, 0, kWhenAlways, nullptr},
    {"alarmin_act", kFieldByte, 19, 0, kWhenAlways, kAct},
    {"alarmin_actno", kFieldByte, 20, 0, kWhenAlways, nullptr},
    {"alarmin_relay", kFieldByte, 21, 0, kWhenAlways, kRelayCodes},
    {"alarmin_record", kFieldByte, 22, 0, kWhenAlways, kSw},
    {"alarmin_email", kFieldByte, 23, 0, kWhenAlways, kSw},
    {"current_alarmout", kFieldByte, 24, 0, kWhenAlways, nullptr},
    {"alout_max", kFieldByte, 25, 0, kWhenAlways, nullptr},
    {"alout_allen", kFieldByte, 26, 0, kWhenAlways, kSw},
    {"alarmout_enable", kFieldByte, 27, 0, kWhenAlways, kSw},
    {"alarmout_dwell", kFieldByte, 28, 0, kWhenAlways, nullptr},
    {"alarmout_linkage", kFieldByte, 29, 0, kWhenAlways, kLinkageCodes},
};

const FieldSpec kPresetFields[] = {
    {"layout_version", kFieldVersion, 11, 0, kWhenAlways, nullptr},
    {"home", kFieldByte, 13, 0, kWhenAlways, nullptr},
    {"md_first", kFieldByte, 14, 0, kWhenAlways, nullptr},
    {"presetmax", kFieldByte, 15, 0, kWhenAlways, nullptr},
    {"preset_enable", kFieldByte, 16, 0, kWhenAlways, kSw},
    {"current_preset", kFieldByte, 17, 0, kWhenAlways, nullptr},
    {"preset_dwell", kFieldByte, 18, 0, kWhenAlways, nullptr},
    {"preset_group", kFieldByte, 19, 0, kWhenAlways, nullptr},
    {"preset_name", kFieldLine, 20, 10, kWhenAlways, nullptr},
};

// Device information bytes that choose the layout from byte 128 on.
constexpr size_t kInfoDeviceType = 13;
constexpr size_t kInfoPrivacyAreas = 130;
constexpr size_t kInfoAutorunLength = 143;
constexpr size_t kInfoPrivacyLength = 133;  // plus 8 per privacy area
constexpr size_t kMotionVersionMajor = 16;

uint32_t read_le32(const uint8_t* p) {
  return read_le16(p) | static_cast<uint32_t>(read_le16(p + 2)) << 16;
}

// The camera's sectioned-file reader keeps a value's line end, and its writer drops one
// CR or LF before it writes the value back: neither belongs to the value.
void strip_line_end(char* text) {
  size_t length = strlen(text);
  if (length > 0 && (text[length - 1] == '\n' || text[length - 1] == '\r'))
    text[length - 1] = 0;
}

void decode_field(const FieldSpec& field_layout, const uint8_t* reply, FieldValue* value) {
  const uint8_t* p = reply + field_layout.offset;
  value->field_layout = &field_layout;
  value->number = 0;
  value->text[0] = 0;
  switch (field_layout.kind) {
    case kFieldByte:
      value->number = p[0];
      break;
    case kFieldU16:
      value->number = read_le16(p);
      break;
    case kFieldU32:
      value->number = read_le32(p);
      break;
    case kFieldText:
    case kFieldLine:
      memcpy(value->text, p, field_layout.width);
      value->text[field_layout.width] = 0;
      if (field_layout.kind == kFieldLine)
        strip_line_end(value->text);
      break;
    case kFieldMac:
      snprintf(value->text, sizeof(value->text), "%02x:%02x:%02x:%02x:%02x:%02x", p[5], p[4], p[3],
               p[2], p[1], p[0]);
      break;
    case kFieldVersion:
      value->number = p[1] * 100u + p[0];
      snprintf(value->text, sizeof(value->text), "%u.%02u", p[1], p[0]);
      break;
  }
}

// Decodes the rows of `table` whose `when` the reply satisfies (present[when]).
void decode_table(const FieldSpec* table, size_t rows, const bool* present, const uint8_t* reply,
                  DecodedReply* out) {
  out->count = 0;
  for (size_t i = 0; i < rows && out->count < kMaxReplyFields; i++) {
    if (present[table[i].when])
      decode_field(table[i], reply, &out->fields[out->count++]);
  }
}

bool is_reply(const uint8_t* reply, size_t length, uint8_t sub) {
  return length >= kReplyHeaderSize && check_reply_header(reply) == 0 && reply[kReplySub] == sub &&
         reply_payload_length(reply) + kReplyHeaderSize == length &&
         (length == kReplyHeaderSize ||
          (reply[length - 2] == kTrailerFirst && reply[length - 1] == kTrailerSecond));
}

}  // namespace

int decode_device_info(const uint8_t* reply, size_t length, DecodedReply* out) {
  if (length < kInfoPrivacyLength || !is_reply(reply, length, kReplyDeviceInfo))
    return -1;
  bool autorun = reply[kInfoDeviceType] == 2;
  uint8_t areas = reply[kInfoPrivacyAreas];
  size_t expected = autorun ? kInfoAutorunLength : kInfoPrivacyLength + 8u * areas;
  if (length != expected)
    return -1;
  bool present[] = {true, reply[kInfoDeviceType] == 1, !autorun, !autorun && areas != 0, autorun,
                    false};
  decode_table(kDeviceInfoFields, sizeof(kDeviceInfoFields) / sizeof(kDeviceInfoFields[0]), present,
               reply, out);
  return 0;
}

int decode_motion_reply(const uint8_t* reply, size_t length, DecodedReply* out) {
  if (!is_reply(reply, length, kReplyMotion))
    return -1;
  bool with_map = reply[kReplyFields] != 0;
  if (length != (with_map ? kMotionReplySize : kReplyHeaderSize))
    return -1;
  bool present[] = {true, false, false, false, false, reply[kMotionVersionMajor] != 0};
  decode_table(kMotionFields, sizeof(kMotionFields) / sizeof(kMotionFields[0]), present, reply,
               out);
  return 0;
}

// The alarm link and preset replies: a bare 32-byte header, every field always there.
static int decode_bare_reply(const uint8_t* reply, size_t length, uint8_t sub,
                             const FieldSpec* table, size_t rows, DecodedReply* out) {
  if (length != kReplyHeaderSize || !is_reply(reply, length, sub))
    return -1;
  const bool present[] = {true, false, false, false, false, false};
  decode_table(table, rows, present, reply, out);
  return 0;
}

int decode_alarm_link_reply(const uint8_t* reply, size_t length, DecodedReply* out) {
  return decode_bare_reply(reply, length, kReplyAlarmLink, kAlarmLinkFields,
                           sizeof(kAlarmLinkFields) / sizeof(kAlarmLinkFields[0]), out);
}

int decode_preset_reply(const uint8_t* reply, size_t length, DecodedReply* out) {
  return decode_bare_reply(reply, length, kReplyPreset, kPresetFields,
                           sizeof(kPresetFields) / sizeof(kPresetFields[0]), out);
}

int decode_reply(const uint8_t* reply, size_t length, DecodedReply* out) {
  using Decoder = int (*)(const uint8_t*, size_t, DecodedReply*);
  static const struct {
    uint8_t sub;
    Decoder decode;
  } kDecoders[] = {{kReplyDeviceInfo, decode_device_info},
                   {kReplyMotion, decode_motion_reply},
                   {kReplyAlarmLink, decode_alarm_link_reply},
                   {kReplyPreset, decode_preset_reply}};
  if (length < kReplyHeaderSize)
    return -1;
  for (const auto& row : kDecoders) {
    if (row.sub == reply[kReplySub])
      return row.decode(reply, length, out);
  }
  return -1;
}

const FieldValue* find_field(const DecodedReply& reply, const char* name) {
  for (size_t i = 0; i < reply.count; i++) {
    if (strcmp(reply.fields[i].field_layout->name, name) == 0)
      return &reply.fields[i];
  }
  return nullptr;
}

}  // namespace camrcd
