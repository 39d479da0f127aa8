// Device actions: option-word tables, line builders and the action sequences with
// their fixed pauses. Numeric fields are unsigned bytes printed in decimal; a line
// that does not fit its buffer is not run.
#include "actions/device_actions.h"

#include <stdarg.h>
#include <stdio.h>
#include <string.h>

#include "platform/command_runner.h"
#include "platform/dev_root.h"
#include "platform/mutex.h"
#include "platform/pause.h"
#include "platform/shell_word.h"
#include "settings/group_locks.h"

namespace camrcd {
namespace {

// The fixed pauses of the actions, in microseconds: before the stream or video programs
// start again, after the title's ctrl_osd, between the privacy programs.
constexpr uint32_t kStreamRestartPause = 1000000;
constexpr uint32_t kTitlePause = 100;
constexpr uint32_t kPrivacyPause = 1000;

constexpr const char* kWiringWords[] = {"-a none", "-a s", "-a m", "-a sm"};
constexpr const char* kBacklightWords[] = {"", "-l off", "-l blc1", "-l blc2", "-l blc3"};

// The tv-system scripts, indexed by [VIDEO_TYPE is 1][video_resolution is 1].
constexpr const char* kTvSystemScripts[2][2] = {
    {"admin/write_PALVGA_tvsystem", "admin/write_PALQVGA_tvsystem"},
    {"admin/write_NTVGA_tvsystem", "admin/write_NTQVGA_tvsystem"},
};

void run_program(const char* program, const char* tail) {
  char line[kCommandLineCapacity];
  if (build_program_line(line, sizeof line, program, tail) != 0)
    run_command_line(line);
}

template <typename Group>
void run_built(size_t (*build)(char*, size_t, const Group&), const Group& group) {
  char line[kCommandLineCapacity];
  if (build(line, sizeof line, group) != 0)
    run_command_line(line);
}

void mark_stream_restarted() {
  MutexHold hold(stream_lock);
  settings.stream_restarted = 1;
}

void stream_restart() {
  mark_stream_restarted();
  pause_microseconds(kStreamRestartPause);
  run_program("kelda2/kd_stream_rerun", " >/dev/null &");
}

}  // namespace

size_t format_line(char* out, size_t size, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  int length = vsnprintf(out, size, format, arguments);
  va_end(arguments);
  if (length < 0 || static_cast<size_t>(length) >= size) {
    if (size > 0)
      out[0] = '\0';
    return 0;
  }
  return static_cast<size_t>(length);
}

const char* alarm_wiring_word(uint8_t out_wir) {
  return out_wir < 4 ? kWiringWords[out_wir] : kWiringWords[0];
}

const char* backlight_word(uint8_t blc) {
  return blc < 5 ? kBacklightWords[blc] : "";
}

size_t build_program_line(char* out, size_t size, const char* program, const char* tail) {
  return format_line(out, size, "%s%s/%s%s", dev_root_for_command(), kWebRoot, program, tail);
}

size_t build_title_line(char* out, size_t size, const char* title) {
  static const char kPrefix[] = "ctrl_osd -c ";
  constexpr size_t kPrefixLength = sizeof kPrefix - 1;
  if (size <= kPrefixLength || !shell_word(out + kPrefixLength, size - kPrefixLength, title)) {
    if (size > 0)
      out[0] = '\0';
    return 0;
  }
  memcpy(out, kPrefix, kPrefixLength);
  return kPrefixLength + strlen(out + kPrefixLength);
}

size_t build_alarm_line(char* out, size_t size, const AlarmGroup& alarm) {
  return format_line(out, size, "%s%s/admin/ctrl_gpio %s %s %s %s -l %u ", dev_root_for_command(),
                     kWebRoot, switch_word(kAlarmInputWords, alarm.ALARMIN_EN == 1),
                     switch_word(kAlarmContactWords, alarm.NO_NC == 1),
                     switch_word(kAlarmOutputWords, alarm.ALARMOUT_EN == 1),
                     alarm_wiring_word(alarm.OUT_WIR), alarm.OUT_DURATION);
}

size_t build_white_balance_line(char* out, size_t size, const Camcontrol1Group& camera) {
  return format_line(out, size, "%s%s/admin/ctrl_dspset -i %u -v %u %s", dev_root_for_command(),
                     kWebRoot, camera.WB, camera.WB_MANUAL, backlight_word(camera.BLC));
}

size_t build_picture_line(char* out, size_t size, const Camcontrol1Group& camera) {
  return format_line(out, size, "%s%s/admin/ctrl_dspset -b %u -c %u -s %u -h %u -t %u",
                     dev_root_for_command(), kWebRoot, camera.BRIGHTNESS, camera.CONTRAST,
                     camera.SHARPNESS, camera.HUE, camera.SATURATION);
}

size_t build_camcontrol2_line(char* out, size_t size, const Camcontrol2Group& camera) {
  return format_line(out, size, "%s%s/admin/ctrl_dspset %s %s %s -n %u", dev_root_for_command(),
                     kWebRoot, switch_word(kMonochromeWords, camera.MONOCHROME == 1),
                     switch_word(kNegativeWords, camera.NEGATIVE == 1),
                     switch_word(kColorBarWords, camera.COLOR_BAR == 1), camera.SENSORUP);
}

size_t build_tv_system_line(char* out, size_t size, const VideoGroup& video) {
  const char* script = kTvSystemScripts[video.VIDEO_TYPE == 1][video.video_resolution == 1];
  return build_program_line(out, size, script, " > /dev/null");
}

void title_action() {
  if (settings.osd.TXT_EN == 0) {
    char line[kCommandLineCapacity];
    if (build_title_line(line, sizeof line, settings.title.camera_title) != 0) {
      run_command_line(line);
    }
  }
  pause_microseconds(kTitlePause);
  run_program("admin/send_servertitle", " >/dev/null &");
}

void osd_action() {
  run_program("kelda2/kd_osd_webcmd", "");
}

void alarm_action() {
  run_built(build_alarm_line, settings.alarm);
}

void white_balance_action() {
  run_built(build_white_balance_line, settings.camcontrol1);
}

void picture_action() {
  run_built(build_picture_line, settings.camcontrol1);
}

void camcontrol2_action() {
  run_built(build_camcontrol2_line, settings.camcontrol2);
}

void privacy_action() {
  run_program("kelda2/kd_privacy_webcmd", "");
  pause_microseconds(kPrivacyPause);
  run_program("admin/ctrl_getjpeg", "");
}

void motion_action() {
  run_program("kelda2/kd_md_run", "");
}

void mpeg_action() {
  stream_restart();
}

void jpeg_action() {
  stream_restart();
}

void video_action() {
  run_program("admin/allshutdown_exweb", " >/dev/null");
  run_built(build_tv_system_line, settings.video);
  run_command_line("sync");
  mark_stream_restarted();
  pause_microseconds(kStreamRestartPause);
  run_program("kelda2/kd_video_run", " > /dev/null");
}

}  // namespace camrcd
