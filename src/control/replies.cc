// Reply builders over the settings record. Each group's fields are copied under
// that group's lock, one lock at a time (network_lock for the network group).
#include "control/replies.h"

#include <string.h>

#include <mutex>

#include "control/request_header.h"
#include "settings/group_locks.h"
#include "settings/settings_record.h"

namespace camrcd {
namespace {

using Guard = std::lock_guard<std::mutex>;

// Zeroes the header and writes bytes 4 to 10.
void start_reply(uint8_t* buffer, uint8_t sub, uint16_t parameter) {
  memset(buffer, 0, kReplyHeaderSize);
  buffer[kReplyPrefix] = 0x77;
  buffer[kReplyPrefix + 1] = 0x33;
  buffer[kReplyClass] = kReplyClassValue;
  buffer[kReplySub] = sub;
  write_le16(buffer + kReplyParameter, parameter);
}

// Writes the trailer at `at` and the payload length; returns the reply length.
size_t finish_payload(uint8_t* buffer, size_t at) {
  buffer[at] = kTrailerFirst;
  buffer[at + 1] = kTrailerSecond;
  size_t length = at + 2;
  write_le16(buffer + kReplyLength, static_cast<uint32_t>(length - kReplyHeaderSize));
  return length;
}

// At most `width` characters of text, padded with zeros to `width` bytes.
void put_text(uint8_t* out, const char* text, size_t field_size, size_t width) {
  size_t length = strnlen(text, field_size < width ? field_size : width);
  memcpy(out, text, length);
  memset(out + length, 0, width - length);
}

void put_network(uint8_t* b) {
  std::lock_guard<std::mutex> hold(network_lock);
  const NetworkGroup& n = settings.network;
  for (int i = 0; i < 6; ++i)
    b[32 + i] = n.mac_address[5 - i];
  write_le16(b + 38, static_cast<uint32_t>(n.WEBSERVERPORT));
  write_le16(b + 40, static_cast<uint32_t>(n.CONNECT_PORT));
  write_le16(b + 42, 0);
  write_le16(b + 44, static_cast<uint32_t>(settings.control_port));
}

void put_streams(uint8_t* b) {
  {
    Guard guard(video_lock);
    b[46] = settings.video.VIDEO_TYPE;
    b[47] = settings.video.video_resolution;
  }
  {
    Guard guard(mpeg_lock);
    const MpegGroup& m = settings.mpeg;
    b[48] = m.mpeg_enable_code;
    b[49] = m.mpeg_gop;
    b[50] = m.mpeg_cbr_code;
    b[51] = m.mpeg_rate;
    uint32_t bitrate = static_cast<uint32_t>(m.mpeg_bitrate);
    write_le16(b + 52, bitrate);
    write_le16(b + 54, bitrate >> 16);
  }
  Guard guard(jpeg_lock);
  b[56] = settings.jpeg.jpeg_enable_code;
  b[57] = settings.jpeg.jpeg_quality;
}

void put_overlay(uint8_t* b) {
  {
    Guard guard(osd_lock);
    const OsdGroup& o = settings.osd;
    b[58] = o.osd_enable_code;
    b[59] = o.osd_color;
    b[60] = o.osd_display_flags;
    b[61] = o.osd_extra;
    put_text(b + 62, o.osd_title, sizeof o.osd_title, kTitleWidth);
  }
  b[82] = 0;
  {
    Guard guard(title_lock);
    put_text(b + 83, settings.title.camera_title, sizeof settings.title.camera_title, kTitleWidth);
  }
  b[103] = 0;
}

void put_alarm(uint8_t* b) {
  memset(b + 104, 0, 6);
  if (settings.device_type != 1)
    return;
  Guard guard(alarm_lock);
  const AlarmGroup& a = settings.alarm;
  b[104] = a.alarm_in_code;
  b[105] = a.alarm_in_polarity;
  b[106] = a.alarm_out_code;
  b[107] = a.alarm_out_mode;
  b[108] = a.alarm_out_duration;
}

void put_camera(uint8_t* b) {
  memset(b + 110, 0, 18);
  {
    Guard guard(camcontrol1_lock);
    const Camcontrol1Group& c = settings.camcontrol1;
    b[110] = c.cam_brightness;
    b[111] = c.cam_contrast;
    b[112] = c.cam_sharpness;
    b[113] = c.cam_hue;
    b[114] = c.cam_saturation;
    b[118] = c.cam_wb;
    b[119] = c.cam_wb_manual;
    b[120] = c.cam_blc;
  }
  Guard guard(camcontrol2_lock);
  const Camcontrol2Group& c = settings.camcontrol2;
  b[122] = c.cam_monochrome_code;
  b[123] = c.cam_negative_code;
  b[124] = c.cam_colorbar_code;
  b[125] = c.cam_sensorup;
}

// Returns the trailer position.
size_t put_autorun_block(uint8_t* b) {
  memset(b + 128, 0, 13);
  Guard guard(ptz_lock);
  b[131] = settings.autopan.direction;
  b[132] = settings.autopan.speed;
  b[133] = settings.poa.enable;
  b[134] = settings.poa.act;
  b[135] = settings.poa.actno;
  b[136] = settings.autorun.enable;
  b[137] = settings.autorun.waittime;
  b[138] = settings.autorun.act;
  b[139] = settings.autorun.actno;
  return 141;
}

// Returns the trailer position, 131 + 8 * N.
size_t put_privacy_block(uint8_t* b) {
  Guard guard(privacy_lock);
  const PrivacyGroup& p = settings.privacy;
  b[128] = p.privacy_enable_code;
  b[129] = p.privacy_color;
  size_t areas = p.privacy_area_valid;
  b[130] = static_cast<uint8_t>(areas);
  if (areas == 0)
    return 131;
  write_le16(b + 131, static_cast<uint32_t>(p.privacy_left));
  write_le16(b + 133, static_cast<uint32_t>(p.privacy_top));
  write_le16(b + 135, static_cast<uint32_t>(p.privacy_right));
  write_le16(b + 137, static_cast<uint32_t>(p.privacy_bottom));
  memset(b + 139, 0, 8 * (areas - 1));  // the record holds one rectangle
  return 131 + 8 * areas;
}

}  // namespace

size_t build_device_info_reply(uint8_t* buffer, uint16_t parameter) {
  start_reply(buffer, kReplyDeviceInfo, parameter);
  uint8_t type = settings.device_type;
  buffer[12] = type == 2 ? 1 : 0;
  buffer[13] = type;
  put_network(buffer);
  put_streams(buffer);
  put_overlay(buffer);
  put_alarm(buffer);
  put_camera(buffer);
  size_t trailer = type == 2 ? put_autorun_block(buffer) : put_privacy_block(buffer);
  return finish_payload(buffer, trailer);
}

size_t build_motion_reply_holding(uint8_t* buffer, uint16_t parameter, const std::mutex* held) {
  start_reply(buffer, kReplyMotion, parameter);
  uint8_t type = settings.device_type;
  bool with_map;
  {
    // The map was just loaded by the md2 group (type 2) or the motion group.
    auto guard = lock_unless_held(type == 2 ? ptz_lock : motion_lock, held);
    buffer[11] = settings.motion_map_valid;
    buffer[12] = settings.motion_flags;
    with_map = settings.motion_map_valid != 0;
    if (with_map) {
      write_le16(buffer + 13, static_cast<uint32_t>(settings.motion_map_length));
      memcpy(buffer + kReplyPayload, settings.motion_block_map, kMotionBlockMapSize);
    }
  }
  if (type != 1) {
    auto guard = lock_unless_held(ptz_lock, held);
    buffer[16] = 1;
    buffer[17] = settings.md_max;
    buffer[18] = settings.current_md;
    buffer[19] = settings.md.enable;
    buffer[20] = settings.md.act;
    buffer[21] = settings.md.actno;
    buffer[22] = settings.md.relay;
    buffer[23] = settings.md.record;
    buffer[24] = settings.md.email;
    buffer[26] = settings.manual.enable;
    buffer[27] = settings.manual.threshold;
    buffer[28] = settings.manual.sens;
  }
  if (!with_map)
    return kReplyHeaderSize;
  return finish_payload(buffer, kReplyPayload + kMotionBlockMapSize);
}

size_t build_alarm_link_reply_holding(uint8_t* buffer, uint16_t parameter, const std::mutex* held) {
  start_reply(buffer, kReplyAlarmLink, parameter);
  buffer[12] = 1;
  auto guard = lock_unless_held(alarm_lock, held);
  const AlarminSection& in = settings.alarmin;
  const AlarmoutSection& out = settings.alarmout;
  const uint8_t fields[] = {settings.current_alarmin,
                            settings.alin_max,
                            settings.alin_allen,
                            in.enable,
                            in.type,
                            in.priority,
                            in.act,
                            in.actno,
                            in.relay,
                            in.record,
                            in.email,
                            settings.current_alarmout,
                            settings.alout_max,
                            settings.alout_allen,
                            out.enable,
                            out.dwell,
                            out.linkage};
  memcpy(buffer + 13, fields, sizeof fields);
  return kReplyHeaderSize;
}

size_t build_preset_reply_holding(uint8_t* buffer, uint16_t parameter, const std::mutex* held) {
  start_reply(buffer, kReplyPreset, parameter);
  buffer[12] = 1;
  auto guard = lock_unless_held(ptz_lock, held);
  const PresetSection& p = settings.preset;
  const uint8_t fields[] = {settings.home, settings.md_first,       settings.presetmax,
                            p.enable,      settings.current_preset, p.dwell,
                            p.group};
  memcpy(buffer + 13, fields, sizeof fields);
  put_text(buffer + 20, p.name, sizeof p.name, 10);
  return kReplyHeaderSize;
}

size_t build_motion_reply(uint8_t* buffer, uint16_t parameter) {
  return build_motion_reply_holding(buffer, parameter, nullptr);
}

size_t build_alarm_link_reply(uint8_t* buffer, uint16_t parameter) {
  return build_alarm_link_reply_holding(buffer, parameter, nullptr);
}

size_t build_preset_reply(uint8_t* buffer, uint16_t parameter) {
  return build_preset_reply_holding(buffer, parameter, nullptr);
}

size_t build_close_reply(uint8_t* buffer, uint16_t parameter) {
  start_reply(buffer, kReplyClose, parameter);
  return kReplyHeaderSize;
}

}  // namespace camrcd
