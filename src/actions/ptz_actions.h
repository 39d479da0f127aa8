// The pan/tilt actions: the four device actions of the extended apply mask and the
// two direct commands. Each = a pure line builder over the settings record +
// run_command_line; exit statuses are ignored. Lines start with the development
// root's command word and the web root.
//
//   autorun  admin/ctrl_ptz <poa part> <auto-run part> (ends " ")
//            poa part: poa.enable 2: --class=save2 --poa_action=<name> --poa_num=<actno>,
//                      else --class=save2 --poa_action=none
//            auto-run: autorun.enable 2: --autorun_action=<name> --autorun_num=<actno>
//                      --autorun_delaytime=<waittime>, else --autorun_action=none
//   alarm2   admin/ctrl_gpio <in> <contact> <out> <wiring> -l <dwell, 255 as 1>
//            admin/ctrl_ptz --alarm_action=<name> --alarm_num=<actno> (input on), else
//            admin/ctrl_ptz --alarm_action=none
//   preset2  preset.enable 2: admin/ctrl_ptz --class=save1 --position=<n> --name=<name>
//            --dwell=<d> --group=<g> --home=<on when home is n, else off>; else
//            admin/ctrl_ptz --class=clear1 --position=<n>
//   md2      the saved-area notice, then admin/ctrl_ptz --class=save1 --mdf=on
//            --position=<n> --start_action=<name> --start_num=<actno> (ends " ") when
//            motion_flags is 18 and md.enable 2, else admin/ctrl_ptz --class=save1
//            --mdf=off --position=<n>  (ends with two blanks)
//   start    admin/ctrl_ptz --class=start --start_action=preset --start_num=<n>
//   clear    admin/ctrl_ptz --class=clear_all (n 0), else --class=clear1 --position=<n>
//
// Action names by act code: 1 preset, 2 sequence, 3 autopan, 4 last_action (poa.act
// only), anything else none. "--name=<name>" is one shell word: the name reaches
// ctrl_ptz as it is, whatever bytes it holds.
#ifndef CAMRCD_ACTIONS_PTZ_ACTIONS_H_
#define CAMRCD_ACTIONS_PTZ_ACTIONS_H_

#include <stddef.h>
#include <stdint.h>

#include "settings/settings_record.h"

namespace camrcd {

const char* ptz_action_name(uint8_t act, bool poa);

// Builders: one command line into out, its length, or 0 when it does not fit.
size_t build_autorun_line(char* out, size_t size, const SettingsRecord& record);
size_t build_alarm2_gpio_line(char* out, size_t size, const SettingsRecord& record);
size_t build_alarm2_ptz_line(char* out, size_t size, const SettingsRecord& record);
size_t build_preset2_line(char* out, size_t size, const SettingsRecord& record);
size_t build_md2_line(char* out, size_t size, const SettingsRecord& record);
size_t build_start_preset_line(char* out, size_t size, uint8_t preset);
size_t build_clear_line(char* out, size_t size, uint8_t position);

// The device actions, as apply_groups runs them under ptz_lock (alarm2: and alarm_lock).
void autorun_action();
void alarm2_action();
void preset2_action();
void md2_action();

// The direct commands, run without a group lock.
void ptz_start_preset(uint8_t preset);
void ptz_clear(uint8_t position);  // 0: every position

}  // namespace camrcd

#endif  // CAMRCD_ACTIONS_PTZ_ACTIONS_H_
