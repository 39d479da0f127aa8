// The five reply builders. Each fills the reply header (request_header.h) and its own
// fields from the settings record into the connection buffer and returns the reply
// length. They only read the record, each group's fields under that group's lock.
//
//   Device information (sub 0x01); byte 12 = 1 and byte 13 = device type on type 2,
//   else byte 12 = 0 and byte 13 = device type.
//   32-37 mac_address reversed (32 = last address byte)   38-39 WEBSERVERPORT
//   40-41 CONNECT_PORT   42-43 0   44-45 control_port     46 VIDEO_TYPE
//   47 video_resolution  48 mpeg_enable_code  49 mpeg_gop  50 mpeg_cbr_code
//   51 mpeg_rate  52-55 mpeg_bitrate  56 jpeg_enable_code  57 jpeg_quality
//   58 osd_enable_code  59 osd_color  60 osd_display_flags  61 osd_extra
//   62-81 osd_title (text)  82 0  83-102 camera_title (text)  103 0
//   104-108 device type 1: alarm_in_code, alarm_in_polarity, alarm_out_code,
//           alarm_out_mode, alarm_out_duration; else 0      109 0
//   110-114 cam_brightness, cam_contrast, cam_sharpness, cam_hue, cam_saturation
//   115-117 0  118 cam_wb  119 cam_wb_manual  120 cam_blc  121 0
//   122-125 cam_monochrome_code, cam_negative_code, cam_colorbar_code, cam_sensorup
//   126-127 0
//   device type 2: 128-130 0, 131-132 autopan direction/speed, 133-135 poa
//     enable/act/actno, 136-139 autorun enable/waittime/act/actno, 140 0,
//     141-142 trailer: 143 bytes
//   other types: 128 privacy_enable_code  129 privacy_color  130 N =
//     privacy_area_valid; when N > 0: 131-138 left, top, right, bottom (16 bits
//     each); areas after the first are zero; trailer at 131 + 8N: 133 + 8N bytes
//
//   Motion (sub 0x11)
//   11 motion_map_valid  12 motion_flags  13-14 motion_map_length when byte 11 != 0
//   15 0  16 1 on types other than 1; 17-28 on types other than 1: md_max,
//   current_md, md enable/act/actno/relay/record/email, 0, manual
//   enable/threshold/sens (on type 1 bytes 15-28 are 0)
//   when byte 11 != 0: 32-4832 the block map, 4833-4834 trailer: 4835 bytes; else 32
//
//   Alarm link (sub 0x21), 32 bytes
//   11 0  12 1  13 current_alarmin  14 alin_max  15 alin_allen  16-23 alarmin
//   enable/type/priority/act/actno/relay/record/email  24 current_alarmout
//   25 alout_max  26 alout_allen  27-29 alarmout enable/dwell/linkage
//
//   Preset (sub 0x31), 32 bytes
//   11 0  12 1  13 home  14 md_first  15 presetmax  16 preset.enable
//   17 current_preset  18 preset.dwell  19 preset.group  20-29 preset.name (text)
//
//   Close (sub 0xF1): the bare header.
//
// Text fields carry at most their width in characters, padded with zero bytes; a
// text of exactly the width has no terminating zero.
#ifndef CAMRCD_CONTROL_REPLIES_H_
#define CAMRCD_CONTROL_REPLIES_H_

#include <stddef.h>
#include <stdint.h>

#include <mutex>

namespace camrcd {

// Largest reply: the motion reply, 32 + 4801 + 2 bytes.
inline constexpr size_t kMotionReplySize = 4835;

// Each builder needs a buffer of kConnectionBufferSize bytes (request_header.h).
size_t build_device_info_reply(uint8_t* buffer, uint16_t parameter);
size_t build_motion_reply(uint8_t* buffer, uint16_t parameter);
size_t build_alarm_link_reply(uint8_t* buffer, uint16_t parameter);
size_t build_preset_reply(uint8_t* buffer, uint16_t parameter);
size_t build_close_reply(uint8_t* buffer, uint16_t parameter);

// The same builders for a caller that already holds `held`, the lock of the group it
// has just selected and loaded; they take every other lock they need.
size_t build_motion_reply_holding(uint8_t* buffer, uint16_t parameter, const std::mutex* held);
size_t build_alarm_link_reply_holding(uint8_t* buffer, uint16_t parameter, const std::mutex* held);
size_t build_preset_reply_holding(uint8_t* buffer, uint16_t parameter, const std::mutex* held);

}  // namespace camrcd

#endif  // CAMRCD_CONTROL_REPLIES_H_
