// Pan/tilt command lines: option tables, builders and the actions. Numbers are
// unsigned bytes in decimal; a line that does not fit its buffer is not run.
#include "actions/ptz_actions.h"

#include <stdio.h>
#include <string.h>

#include "actions/device_actions.h"
#include "actions/local_notifier.h"
#include "platform/command_runner.h"
#include "platform/dev_root.h"
#include "platform/shell_word.h"

namespace camrcd {
namespace {

constexpr uint8_t kOn = 2;
constexpr uint8_t kMotionPresetsOn = 18;  // motion_flags: on (2), block mode (0x10)

constexpr const char* kActionNames[] = {"none", "preset", "sequence", "autopan", "last_action"};

struct WiringWord {
  uint8_t linkage;
  const char* word;
};
constexpr WiringWord kWiringWords[] = {{24, "-a sm"}, {16, "-a s"}, {8, "-a m"}};

const char* wiring_word(uint8_t linkage) {
  for (const WiringWord& wiring : kWiringWords) {
    if (wiring.linkage == linkage)
      return wiring.word;
  }
  return "-a none";
}

bool input_on(const SettingsRecord& r) {
  return r.alin_allen == kOn && r.alarmin.enable == kOn;
}

void run_line(size_t (*build)(char*, size_t, const SettingsRecord&)) {
  char line[kCommandLineCapacity];
  if (build(line, sizeof line, settings) != 0)
    run_command_line(line);
}

}  // namespace

const char* ptz_action_name(uint8_t act, bool poa) {
  if (act >= 1 && act <= 3)
    return kActionNames[act];
  return act == 4 && poa ? kActionNames[4] : kActionNames[0];
}

size_t build_autorun_line(char* out, size_t size, const SettingsRecord& r) {
  char poa[128], autorun[128];
  if (r.poa.enable == kOn)
    snprintf(poa, sizeof poa, "--class=save2 --poa_action=%s --poa_num=%u",
             ptz_action_name(r.poa.act, true), r.poa.actno);
  else
    snprintf(poa, sizeof poa, "--class=save2 --poa_action=none");
  if (r.autorun.enable == kOn)
    snprintf(autorun, sizeof autorun, "--autorun_action=%s --autorun_num=%u --autorun_delaytime=%u",
             ptz_action_name(r.autorun.act, false), r.autorun.actno, r.autorun.waittime);
  else
    snprintf(autorun, sizeof autorun, "--autorun_action=none");
  return format_line(out, size, "%s%s/admin/ctrl_ptz %s %s ", dev_root_for_command(), kWebRoot, poa,
                     autorun);
}

size_t build_alarm2_gpio_line(char* out, size_t size, const SettingsRecord& r) {
  unsigned duration = r.alarmout.dwell == 255 ? 1 : r.alarmout.dwell;
  return format_line(
      out, size, "%s%s/admin/ctrl_gpio %s %s %s %s -l %u", dev_root_for_command(), kWebRoot,
      switch_word(kAlarmInputWords, input_on(r)),
      switch_word(kAlarmContactWords, r.alarmin.type == kOn),
      switch_word(kAlarmOutputWords, r.alout_allen == kOn && r.alarmout.enable == kOn),
      wiring_word(r.alarmout.linkage), duration);
}

size_t build_alarm2_ptz_line(char* out, size_t size, const SettingsRecord& r) {
  if (!input_on(r))
    return format_line(out, size, "%s%s/admin/ctrl_ptz --alarm_action=none", dev_root_for_command(),
                       kWebRoot);
  return format_line(out, size, "%s%s/admin/ctrl_ptz --alarm_action=%s --alarm_num=%u",
                     dev_root_for_command(), kWebRoot, ptz_action_name(r.alarmin.act, false),
                     r.alarmin.actno);
}

size_t build_preset2_line(char* out, size_t size, const SettingsRecord& r) {
  uint8_t position = r.current_preset;
  if (r.preset.enable != kOn)
    return build_clear_line(out, size, position);
  char name[sizeof "--name=" + kSectionTextFieldSize];
  snprintf(name, sizeof name, "--name=%.*s", static_cast<int>(kSectionTextFieldSize - 1),
           r.preset.name);
  char word[4 * sizeof name + 3];
  if (!shell_word(word, sizeof word, name))
    return 0;
  return format_line(
      out, size,
      "%s%s/admin/ctrl_ptz --class=save1 --position=%u %s --dwell=%u --group=%u --home=%s",
      dev_root_for_command(), kWebRoot, position, word, r.preset.dwell, r.preset.group,
      r.home == position ? "on" : "off");
}

size_t build_md2_line(char* out, size_t size, const SettingsRecord& r) {
  if (r.motion_flags == kMotionPresetsOn && r.md.enable == kOn)
    return format_line(out, size,
                       "%s%s/admin/ctrl_ptz --class=save1 --mdf=on --position=%u --start_action=%s "
                       "--start_num=%u ",
                       dev_root_for_command(), kWebRoot, r.current_md,
                       ptz_action_name(r.md.act, false), r.md.actno);
  return format_line(out, size, "%s%s/admin/ctrl_ptz --class=save1 --mdf=off --position=%u  ",
                     dev_root_for_command(), kWebRoot, r.current_md);
}

size_t build_start_preset_line(char* out, size_t size, uint8_t preset) {
  return format_line(out, size,
                     "%s%s/admin/ctrl_ptz --class=start --start_action=preset --start_num=%u",
                     dev_root_for_command(), kWebRoot, preset);
}

size_t build_clear_line(char* out, size_t size, uint8_t position) {
  if (position == 0)
    return format_line(out, size, "%s%s/admin/ctrl_ptz --class=clear_all", dev_root_for_command(),
                       kWebRoot);
  return format_line(out, size, "%s%s/admin/ctrl_ptz --class=clear1 --position=%u",
                     dev_root_for_command(), kWebRoot, position);
}

void autorun_action() {
  run_line(build_autorun_line);
}

void alarm2_action() {
  run_line(build_alarm2_gpio_line);
  run_line(build_alarm2_ptz_line);
}

void preset2_action() {
  run_line(build_preset2_line);
}

void md2_action() {
  uint8_t notice[kLocalNoticeSize];
  build_md_saved_notice(settings.motion_map_valid, settings.motion_flags, settings.current_md,
                        settings.md.enable, notice);
  local_notify(kLocalNoticePort, notice);
  run_line(build_md2_line);
}

void ptz_start_preset(uint8_t preset) {
  char line[kCommandLineCapacity];
  if (build_start_preset_line(line, sizeof line, preset) != 0)
    run_command_line(line);
}

void ptz_clear(uint8_t position) {
  char line[kCommandLineCapacity];
  if (build_clear_line(line, sizeof line, position) != 0)
    run_command_line(line);
}

}  // namespace camrcd
