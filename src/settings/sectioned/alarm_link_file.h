// The alarm2 group: kelda2/env_alarm2.ls, "[common]" (the two master switches and the
// input and output counts), the input section "[alarmin%d]" of current_alarmin and the
// output section "[alarmout%d]" of current_alarmout. A selector of 0 names no section:
// nothing is read, defaulted, rewritten or appended for it. Headers fit their 12-byte
// buffer for inputs up to 99 and outputs up to 9; a larger selector is handled as a
// section that is never found (defaults at a load, nothing at a save).
#ifndef CAMRCD_SETTINGS_SECTIONED_ALARM_LINK_FILE_H_
#define CAMRCD_SETTINGS_SECTIONED_ALARM_LINK_FILE_H_

namespace camrcd {

struct SectionedFile;
extern const SectionedFile kAlarmLinkFile;  // the file's table

void load_alarm2();
void save_alarm2();

}  // namespace camrcd

#endif  // CAMRCD_SETTINGS_SECTIONED_ALARM_LINK_FILE_H_
