// The one process-wide settings record: every setting the server reads, reports and
// changes, plus the runtime fields. Statically allocated and zero-filled at start;
// never freed. File-image fields are named exactly as their configuration keys
// (nearest legal C++ spelling); wire fields carry the values as requests and replies
// do. Each group is guarded by its lock (group_locks.h) while it is read, written or
// applied.
#ifndef CAMRCD_SETTINGS_SETTINGS_RECORD_H_
#define CAMRCD_SETTINGS_SETTINGS_RECORD_H_

#include <stddef.h>
#include <stdint.h>

#include "protocol/wire_format.h"  // kMotionBlockMapSize

namespace camrcd {

// The motion block map (kMotionBlockMapSize bytes) opens with this marker.
inline constexpr uint8_t kMotionBlockMarker = 0x50;  // the letter P
// Width of a camera title, an OSD text and their record fields.
inline constexpr size_t kTitleWidth = 20;
inline constexpr size_t kTitleFieldSize = 22;
// Width of the text fields of the sectioned files (preset, alarm input/output names).
inline constexpr size_t kSectionTextFieldSize = 12;

// Product identity, MAC address file and port file.
struct NetworkGroup {
  uint8_t mac_address[6];
  int32_t WEBSERVERPORT;
  int32_t CONNECT_PORT;
};

// kelda2/env_video.ls
struct VideoGroup {
  uint8_t VIDEO_TYPE;
  uint8_t video_resolution;  // wire: 1 quadvga+vga, 2 vga+vga, 3 vga+qvga, 0 unknown
};

// kelda2/env_mpeg.ls
struct MpegGroup {
  char enable[4];
  char src[4];
  char profile[4];
  uint8_t govl;
  char govs[4];
  char cbr[4];
  uint8_t inputrate;
  int32_t bitrate;
  char priority[10];
  char f_skipauto[4];
  uint8_t frameskip;
  int32_t packetsize;
  uint8_t framerate_en;
  uint8_t quality;
  // wire fields
  uint8_t mpeg_enable_code;
  uint8_t mpeg_gop;
  uint8_t mpeg_cbr_code;
  uint8_t mpeg_rate;
  int32_t mpeg_bitrate;
};

// kelda2/env_jpeg.ls
struct JpegGroup {
  char enable[4];
  char src[4];
  uint8_t qfactor;
  uint8_t frameskip;
  int32_t dri;
  int32_t port;
  int32_t packetsize;
  // wire fields
  uint8_t jpeg_enable_code;
  uint8_t jpeg_quality;
};

// kelda2/env_osd.ls
struct OsdGroup {
  uint8_t OSD_EN;
  uint8_t TXT_EN;
  char TXT_STR[22];
  uint8_t DATE_EN;
  uint8_t TIME_EN;
  uint8_t ICON_EN;
  uint8_t ICON_DN;
  uint8_t ICON_MD;
  uint8_t ICON_FAN;
  uint8_t ICON_HEATER;
  uint8_t ICON_SENSOR;
  uint8_t ICON_RELAY;
  uint8_t LANGUAGE;
  uint8_t FONTSIZE;
  uint8_t OSD_OUTLINE;
  uint8_t OSD_MASK;
  uint8_t OSD_COLOR;
  // wire fields
  uint8_t osd_enable_code;
  uint8_t osd_color;
  uint8_t osd_display_flags;
  uint8_t osd_extra;
  char osd_title[kTitleFieldSize];
};

// Read from kelda2/view_title.ls, written to admin/view_title.ls.
struct TitleGroup {
  char camera_title[kTitleFieldSize];
};

// kelda2/env_camcontrol1.ls
struct Camcontrol1Group {
  uint8_t DNF;
  uint8_t DNF_AUTO;
  uint8_t DNF_WIR;
  uint8_t BRIGHTNESS;
  uint8_t CONTRAST;
  uint8_t SHARPNESS;
  uint8_t HUE;
  uint8_t SATURATION;
  uint8_t WB;
  uint8_t WB_MANUAL;
  uint8_t BLC;
  // wire fields
  uint8_t cam_brightness;
  uint8_t cam_contrast;
  uint8_t cam_sharpness;
  uint8_t cam_hue;
  uint8_t cam_saturation;
  uint8_t cam_wb;
  uint8_t cam_wb_manual;
  uint8_t cam_blc;
};

// kelda2/env_camcontrol2.ls
struct Camcontrol2Group {
  uint8_t MONOCHROME;
  uint8_t NEGATIVE;
  uint8_t COLOR_BAR;
  uint8_t SENSORUP;
  // wire fields
  uint8_t cam_monochrome_code;
  uint8_t cam_negative_code;
  uint8_t cam_colorbar_code;
  uint8_t cam_sensorup;
};

// kelda2/env_privacy.ls
struct PrivacyGroup {
  uint8_t PRIVACY_EN;
  uint8_t PRIVACY_COLOR;
  uint8_t PRIVACY_MASK;
  int32_t STARTX;
  int32_t STARTY;
  int32_t WIDTH;
  int32_t HEIGHT;
  // wire fields
  uint8_t privacy_area_valid;
  uint8_t privacy_enable_code;
  uint8_t privacy_color;
  int32_t privacy_left;
  int32_t privacy_top;
  int32_t privacy_right;
  int32_t privacy_bottom;
};

// kelda2/env_alarm.ls
struct AlarmGroup {
  uint8_t ALARMIN_EN;
  uint8_t NO_NC;
  char IN_NAME[16];
  uint8_t ALARMOUT_EN;
  uint8_t OUT_WIR;
  uint8_t OUT_DURATION;
  // wire fields
  uint8_t alarm_in_code;
  uint8_t alarm_in_polarity;
  uint8_t alarm_out_code;
  uint8_t alarm_out_mode;
  uint8_t alarm_out_duration;
};

// kelda2/env_motion.ls (its block map and wire fields are shared, see below)
struct MotionGroup {
  uint8_t MOTION_EN;
  uint8_t MD_METHOD;
  uint8_t ACCURACY;
  uint8_t THRESHOLD;
  uint8_t SENSITIVITY;
  uint8_t THRESHOLD2;
  uint8_t SENSITIVITY2;
  int32_t SEL_SX1;
  int32_t SEL_SY1;
  int32_t SEL_W1;
  int32_t SEL_H1;
  int32_t SEL_SX2;
  int32_t SEL_SY2;
  int32_t SEL_W2;
  int32_t SEL_H2;
  int32_t DSEL_SX3;
  int32_t DSEL_SY3;
  int32_t DSEL_W3;
  int32_t DSEL_H3;
};

// Sections of the sectioned files: one unsigned byte per key, three 12-byte texts.
struct AutopanSection {
  uint8_t direction;
  uint8_t speed;
};
struct PoaSection {
  uint8_t enable;
  uint8_t act;
  uint8_t actno;
};
struct AutorunSection {
  uint8_t enable;
  uint8_t waittime;
  uint8_t act;
  uint8_t actno;
};
struct PresetSection {
  uint8_t enable;
  uint8_t dwell;
  uint8_t group;
  char name[kSectionTextFieldSize];
};
struct AlarminSection {
  uint8_t enable;
  uint8_t type;
  uint8_t priority;
  uint8_t act;
  uint8_t actno;
  uint8_t relay;
  uint8_t record;
  uint8_t email;
  char name[kSectionTextFieldSize];
};
struct AlarmoutSection {
  uint8_t enable;
  uint8_t dwell;
  uint8_t linkage;
  char name[kSectionTextFieldSize];
};
struct ManualSection {
  uint8_t enable;
  uint8_t threshold;
  uint8_t sens;
};
struct MdSection {
  uint8_t enable;
  uint8_t act;
  uint8_t actno;
  uint8_t relay;
  uint8_t record;
  uint8_t email;
};

struct SettingsRecord {
  // Runtime fields.
  char web_root[24];
  int32_t test_mode;
  uint8_t device_type;  // 1 fixed camera, 2 pan/tilt camera, 0 unknown model
  int32_t user_count;   // under user_count_lock
  int32_t control_port;
  int32_t stream_restarted;  // under stream_lock; once 1, stays 1
  // Selectors: the numbered sections that the sectioned groups load and save.
  uint8_t current_md;
  uint8_t current_alarmin;
  uint8_t current_alarmout;
  uint8_t current_preset;

  // Flat-file groups.
  NetworkGroup network;
  VideoGroup video;
  MpegGroup mpeg;
  JpegGroup jpeg;
  OsdGroup osd;
  TitleGroup title;
  Camcontrol1Group camcontrol1;
  Camcontrol2Group camcontrol2;
  PrivacyGroup privacy;
  AlarmGroup alarm;
  MotionGroup motion;

  // Shared by the motion group and the md2 group.
  uint8_t motion_block_map[kMotionBlockMapSize];
  uint8_t motion_map_valid;
  uint8_t motion_flags;
  int32_t motion_map_length;

  // autorun group (kelda2/env_autorun.ls).
  AutopanSection autopan;
  PoaSection poa;
  AutorunSection autorun;
  // preset2 group (kelda2/env_preset2.ls).
  uint8_t home;
  uint8_t md_first;
  uint8_t presetmax;
  PresetSection preset;
  // alarm2 group (kelda2/env_alarm2.ls).
  uint8_t alin_allen;
  uint8_t alout_allen;
  uint8_t alin_max;
  uint8_t alout_max;
  AlarminSection alarmin;
  AlarmoutSection alarmout;
  // md2 group (kelda2/env_md2.ls and kelda2/md/env_mdb%d.dat).
  uint8_t md_max;
  ManualSection manual;
  MdSection md;
};

// The record itself.
extern SettingsRecord settings;

}  // namespace camrcd

#endif  // CAMRCD_SETTINGS_SETTINGS_RECORD_H_
