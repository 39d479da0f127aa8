// The device actions of the first apply mask: each puts a saved settings group into
// effect by running the camera's programs. An action = pure line builders over the
// file-image fields of the settings record + run_command_line; actions print nothing
// and ignore exit statuses. Absolute paths in a line get dev_root_for_command() in
// front ("" on a camera); ctrl_osd is found through PATH.
//
//   title        [ctrl_osd -c <title word>]  (only when TXT_EN is 0), pause 100 us,
//                admin/send_servertitle >/dev/null &
//   osd          kelda2/kd_osd_webcmd
//   alarm        admin/ctrl_gpio <in> <contact> <out> <wiring> -l <OUT_DURATION> (ends " ")
//   white bal.   admin/ctrl_dspset -i <WB> -v <WB_MANUAL> <back-light word or nothing>
//   picture      admin/ctrl_dspset -b <BRIGHTNESS> -c <CONTRAST> -s <SHARPNESS> -h <HUE>
//                -t <SATURATION>
//   camcontrol2  admin/ctrl_dspset <mono> <negative> <colour bar> -n <SENSORUP>
//   privacy      kelda2/kd_privacy_webcmd, pause 1000 us, admin/ctrl_getjpeg
//   motion       kelda2/kd_md_run
//   mpeg, jpeg   stream restart: stream_restarted = 1 (under stream_lock), pause 1 s,
//                kelda2/kd_stream_rerun >/dev/null &
//   video        admin/allshutdown_exweb >/dev/null, the tv-system script > /dev/null,
//                sync, stream_restarted = 1, pause 1 s, kelda2/kd_video_run > /dev/null
#ifndef CAMRCD_ACTIONS_DEVICE_ACTIONS_H_
#define CAMRCD_ACTIONS_DEVICE_ACTIONS_H_

#include <stddef.h>
#include <stdint.h>

#include "settings/settings_record.h"

namespace camrcd {

// Room for every line an action builds (the quoted root is at most about 1 KiB).
inline constexpr size_t kCommandLineCapacity = 2048;

// Option words chosen by a switch: `on` when the field is 1, `off` for any other value.
struct SwitchWords {
  const char* on;
  const char* off;
};
inline constexpr SwitchWords kAlarmInputWords = {"-s s1", "-e s1"};
inline constexpr SwitchWords kAlarmContactWords = {"-o s1", "-n s1"};
inline constexpr SwitchWords kAlarmOutputWords = {"-R r1", "-E r1"};
inline constexpr SwitchWords kMonochromeWords = {"-e on", "-e off"};
inline constexpr SwitchWords kNegativeWords = {"-f on", "-f off"};
inline constexpr SwitchWords kColorBarWords = {"-x on", "-x off"};

inline const char* switch_word(SwitchWords words, bool on) {
  return on ? words.on : words.off;
}

// Output wiring word by OUT_WIR: 0 none, 1 s, 2 m, 3 sm; any other value none.
const char* alarm_wiring_word(uint8_t out_wir);
// Back-light word by BLC: 1 off, 2 blc1, 3 blc2, 4 blc3; any other value "" (no word).
const char* backlight_word(uint8_t blc);

// Line builders. Each writes one NUL-terminated command line into out and returns its
// length, or 0 (nothing to run) when it does not fit.

// Formats like snprintf; the length, or 0 (and out "") when the line does not fit.
size_t format_line(char* out, size_t size, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

// root + web root + "/" + program (relative to the web root) + tail.
size_t build_program_line(char* out, size_t size, const char* program, const char* tail);
// "ctrl_osd -c " + the title as one shell word.
size_t build_title_line(char* out, size_t size, const char* title);
size_t build_alarm_line(char* out, size_t size, const AlarmGroup& alarm);
size_t build_white_balance_line(char* out, size_t size, const Camcontrol1Group& camera);
size_t build_picture_line(char* out, size_t size, const Camcontrol1Group& camera);
size_t build_camcontrol2_line(char* out, size_t size, const Camcontrol2Group& camera);
// The tv-system script: NT when VIDEO_TYPE is 1 (else PAL), QVGA when
// video_resolution is 1 (else VGA).
size_t build_tv_system_line(char* out, size_t size, const VideoGroup& video);

// The actions, as apply_groups runs them under the group's lock.
void title_action();
void osd_action();
void alarm_action();
void white_balance_action();  // first camcontrol1 action (0x040)
void picture_action();        // second camcontrol1 action (0x400)
void camcontrol2_action();
void privacy_action();
void motion_action();
void mpeg_action();  // stream restart
void jpeg_action();  // stream restart
void video_action();

}  // namespace camrcd

#endif  // CAMRCD_ACTIONS_DEVICE_ACTIONS_H_
