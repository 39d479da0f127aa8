// The field and message texts, in Field and MessageId order, and the wire code names.
#include "protocol/wire_text.h"

#include <string.h>

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

constexpr FieldText info(const char* name, const char* meaning, const CodeName* codes = nullptr) {
  return {name, meaning, codes};
}

constexpr FieldText kFields[] = {
    info("reserved", "zero"),
    info("client_version", "the client's protocol version"),
    info("payload_version",
         "the payload's layout version; major 0 is refused but on device type 1"),
    info("preset_operation", "0 set; bit 0x20 clear every preset; else bit 0x02 clear one"),
    info("reload_groups", "the groups to reload, one bit each (big-endian)"),
    info("layout_version", "1.00 on device type 2, else 0.00"),
    info("device_type", "1 fixed camera, 2 pan/tilt camera, 0 unknown model"),
    info("mac_address", "the camera's MAC address, last byte first"),
    info("web_port", "the web server's port"),
    info("connect_port", "the stream port"),
    info("control_port", "the control port (the stream port + 1)"),
    info("video_type", "video system"),
    info("video_resolution", "1 quadvga+vga, 2 vga+vga, 3 vga+qvga"),
    info("mpeg_enable", "MPEG encoder", kSw),
    info("mpeg_gop", "MPEG group of pictures length"),
    info("mpeg_cbr", "MPEG constant bit rate", kSw),
    info("mpeg_rate", "frame rate + 1 with CBR on, quality with CBR off"),
    info("mpeg_bitrate", "MPEG bit rate (0 with CBR off)"),
    info("jpeg_enable", "JPEG encoder", kSw),
    info("jpeg_quality", "JPEG quality"),
    info("osd_enable", "on-screen display", kSw),
    info("osd_color", "on-screen display colour"),
    info("osd_display_flags", "sum of 0x20 text, 0x10 date, 0x08 time, 0x04 icons"),
    info("osd_extra", "extra byte (not stored)"),
    info("osd_title", "on-screen text"),
    info("camera_title", "camera title"),
    info("alarm_in", "alarm input", kSw),
    info("alarm_in_polarity", "alarm input contact", kPolarityCodes),
    info("alarm_out", "alarm output", kSw),
    info("alarm_out_mode", "what drives the alarm output: 1 none, 0x80 s, 0x40 m, 0xC0 sm"),
    info("alarm_out_duration", "how long the alarm output stays on"),
    info("cam_brightness", "brightness"),
    info("cam_contrast", "contrast"),
    info("cam_sharpness", "sharpness"),
    info("cam_hue", "hue"),
    info("cam_saturation", "saturation"),
    info("cam_wb", "white balance mode"),
    info("cam_wb_manual", "manual white balance"),
    info("cam_blc", "back-light compensation: 1 off, 2 to 4 levels"),
    info("cam_monochrome", "monochrome", kSw),
    info("cam_negative", "negative", kSw),
    info("cam_colorbar", "colour bar", kSw),
    info("cam_sensorup", "sensor-up"),
    info("privacy_enable", "privacy mask", kSw),
    info("privacy_color", "privacy mask colour"),
    info("privacy_areas", "privacy area count N"),
    info("privacy_left", "left edge of the privacy area"),
    info("privacy_top", "top edge of the privacy area"),
    info("privacy_right", "right edge of the privacy area"),
    info("privacy_bottom", "bottom edge of the privacy area"),
    info("autopan_direction", "auto-pan direction", kDirectionCodes),
    info("autopan_speed", "auto-pan speed"),
    info("poa_enable", "poa action", kSw),
    info("poa_act", "what the poa action does", kPoaActCodes),
    info("poa_actno", "the preset or sequence it uses"),
    info("autorun_enable", "auto-run", kSw),
    info("autorun_waittime", "idle time before auto-run starts"),
    info("autorun_act", "what auto-run does", kAct),
    info("autorun_actno", "the preset or sequence it uses"),
    info("motion_map_valid", "not 0: the block map follows"),
    info("motion_flags",
         "type 1: 0x20 on, 0x10 off, method in bits 0-1; type 2: 0x10 block "
         "mode, switch in bits 0-1"),
    info("motion_map_length", "payload bytes (4803: the map and its trailer)"),
    info("layout_version", "1.00 on device types other than 1, else 0.00"),
    info("md_max", "number of motion areas"),
    info("current_md", "the motion area (one per preset position, 255 the default position)"),
    info("md_enable", "this area's motion detection", kSw),
    info("md_act", "what motion starts", kAct),
    info("md_actno", "the preset or sequence it starts"),
    info("md_relay", "relay code", kRelayCodes),
    info("md_record", "recording", kSw),
    info("md_email", "e-mail", kSw),
    info("manual_enable", "manual motion settings", kSw),
    info("manual_threshold", "manual threshold"),
    info("manual_sens", "manual sensitivity"),
    info("motion_block_map", "the block map: a marker byte 0x50, then 4800 cells"),
    info("layout_version", "1.00"),
    info("current_alarmin", "the alarm input"),
    info("alin_max", "number of alarm inputs"),
    info("alin_allen", "master switch of every alarm input", kSw),
    info("alarmin_enable", "the input", kSw),
    info("alarmin_type", "contact: normally open or normally closed", kInputTypeCodes),
    info("alarmin_priority", "priority"),
    info("alarmin_act", "what the input starts", kAct),
    info("alarmin_actno", "the preset or sequence it starts"),
    info("alarmin_relay", "relay code", kRelayCodes),
    info("alarmin_record", "recording", kSw),
    info("alarmin_email", "e-mail", kSw),
    info("current_alarmout", "the alarm output"),
    info("alout_max", "number of alarm outputs"),
    info("alout_allen", "master switch of every alarm output", kSw),
    info("alarmout_enable", "the output", kSw),
    info("alarmout_dwell", "how long the output stays on (255 counts as 1)"),
    info("alarmout_linkage", "what drives the output", kLinkageCodes),
    info("layout_version", "1.00"),
    info("home", "the home preset"),
    info("md_first", "the file-wide md-first value"),
    info("presetmax", "number of presets"),
    info("preset_enable", "the preset", kSw),
    info("current_preset", "the preset (255 the default position)"),
    info("preset_dwell", "dwell time"),
    info("preset_group", "group number"),
    info("preset_name", "its name"),
};
static_assert(sizeof kFields / sizeof kFields[0] == kFieldCount, "one entry per Field");

using M = MessageId;
constexpr MessageText kMessages[] = {
    {M::kInfoRequest, "info", "device information request",
     "The server reloads the start-up groups and answers with the device information."},
    {M::kMotionRead, "motion-read", "motion read",
     "Selects the motion area, loads its settings and answers with the motion reply; a "
     "pan/tilt camera then announces the area to its local service."},
    {M::kAlarmLinkRead, "alarm-link-read", "alarm link read",
     "Selects an alarm input and output, loads their links and answers with the alarm "
     "link reply."},
    {M::kPresetRead, "preset-read", "preset read",
     "Selects a preset and loads it; unless it is 255 the camera moves there before the "
     "preset reply goes out."},
    {M::kCloseRequest, "close", "close request",
     "Answered by the close reply, after which the server closes the connection."},
    {M::kVideoWrite, "video", "video resolution write",
     "Changes the video resolution (1 to 3, to another value than the current one); the "
     "current value ends the connection at once."},
    {M::kMpegWrite, "mpeg", "MPEG write", "Saves and applies the MPEG settings."},
    {M::kJpegWrite, "jpeg", "JPEG write", "Saves and applies the JPEG settings."},
    {M::kAutorunWrite, "autorun", "auto-run write",
     "Saves and applies auto-pan, the poa action and auto-run."},
    {M::kStreamWrite, "stream", "stream settings write",
     "Saves the video resolution (when it changes), the MPEG and the JPEG settings at "
     "once and restarts the video."},
    {M::kMotionWrite, "motion", "motion write",
     "Followed by motion_map_length payload bytes: the block map and 0x55 0xAA. A valid "
     "payload replaces the map, and the settings are saved and applied while an area is "
     "selected; on device types other than 1 a payload version of major 0 ends the "
     "connection instead. A pan/tilt camera announces the area."},
    {M::kAlarmWrite, "alarm", "alarm write", "Saves and applies the alarm input and output."},
    {M::kAlarmLinkWrite, "alarm-link", "alarm link write",
     "Selects an alarm input and output and saves and applies their links."},
    {M::kPresetWrite, "preset", "preset write",
     "Operation 0 stores preset current_preset, into the pan/tilt head too unless it is "
     "255; bit 0x20 clears every preset and area, else bit 0x02 the preset and its area."},
    {M::kOsdWrite, "osd", "OSD write", "Saves and applies the on-screen display."},
    {M::kTitleWrite, "title", "title write", "Saves and applies the camera title."},
    {M::kPrivacyWrite, "privacy", "privacy write", "Saves and applies the privacy mask."},
    {M::kPictureWrite, "picture", "picture write", "Saves and applies the picture controls."},
    {M::kWhiteBalanceWrite, "white-balance", "white balance write",
     "Saves and applies white balance and back-light compensation."},
    {M::kCamcontrol2Write, "camcontrol2", "camcontrol2 write",
     "Saves and applies monochrome, negative, colour bar and sensor-up."},
    {M::kReloadRequest, "reload", "reload request",
     "Any class byte other than the five classes: reloads the groups that bytes 2-3 name "
     "and answers with the device information. A bit outside 0x13FF makes the server "
     "ignore the request."},
    {M::kInfoReply, "info-reply", "device information",
     "133 + 8 x N bytes on device types other than 2 (N privacy areas), 143 on device type 2."},
    {M::kMotionReply, "motion-reply", "motion reply",
     "4835 bytes when the block map is sent (motion_map_valid not 0), else the header alone."},
    {M::kAlarmLinkReply, "alarm-link-reply", "alarm link reply", "The header alone."},
    {M::kPresetReply, "preset-reply", "preset reply", "The header alone."},
    {M::kCloseReply, "close-reply", "close reply",
     "The header alone; the server then closes the connection."},
};
static_assert(sizeof kMessages / sizeof kMessages[0] == kMessageCount, "one entry per message");
static_assert(in_id_order(kMessages), "entries in MessageId order");

}  // namespace

const FieldText& field_text(Field field) {
  size_t index = static_cast<size_t>(field);
  return kFields[index < kFieldCount ? index : 0];
}

Field find_field_named(const char* name) {
  for (size_t i = 1; i < kFieldCount; i++) {
    if (strcmp(kFields[i].name, name) == 0)
      return static_cast<Field>(i);
  }
  return Field::kNone;
}

const MessageText& message_text(MessageId id) {
  size_t index = static_cast<size_t>(id);
  return kMessages[index < kMessageCount ? index : 0];
}

const MessageTable* find_request_named(const char* name) {
  for (size_t i = 0; i < kRequestCount; i++) {
    if (strcmp(kMessages[i].name, name) == 0)
      return &message(kMessages[i].id);
  }
  return nullptr;
}

}  // namespace camrcd
