// The field catalogue, in Field order, and the wire code names.
#include "protocol/wire_fields.h"

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
constexpr LayoutKey kNoKey = LayoutKey::kNone;

constexpr FieldInfo info(const char* name, const char* meaning, const CodeName* codes = nullptr,
                         LayoutKey key = kNoKey) {
  return {name, meaning, codes, key, false};
}

constexpr FieldInfo kFields[] = {
    info("reserved", "zero"),
    info("client_version", "the client's protocol version", nullptr, LayoutKey::kRequestVersion),
    info("payload_version",
         "the payload's layout version; major 0 is refused but on device type 1"),
    info("preset_operation", "0 set; bit 0x20 clear every preset; else bit 0x02 clear one", nullptr,
         LayoutKey::kPresetOperation),
    info("reload_groups", "the groups to reload, one bit each (big-endian)"),
    info("layout_version", "1.00 on device type 2, else 0.00"),
    info("device_type", "1 fixed camera, 2 pan/tilt camera, 0 unknown model", nullptr,
         LayoutKey::kDeviceType),
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
    info("privacy_areas", "privacy area count N", nullptr, LayoutKey::kAreaCount),
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
    info("motion_map_valid", "not 0: the block map follows", nullptr, LayoutKey::kMapValid),
    info("motion_flags",
         "type 1: 0x20 on, 0x10 off, method in bits 0-1; type 2: 0x10 block "
         "mode, switch in bits 0-1"),
    info("motion_map_length", "payload bytes (4803: the map and its trailer)"),
    info("layout_version", "1.00 on device types other than 1, else 0.00", nullptr,
         LayoutKey::kLayoutMajor),
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
    {"preset_name", "its name", nullptr, kNoKey, true},
};
static_assert(sizeof kFields / sizeof kFields[0] == kFieldCount, "one entry per Field");

}  // namespace

const FieldInfo& field_info(Field field) {
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

}  // namespace camrcd
