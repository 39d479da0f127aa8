// The alarm and motion groups: kelda2/env_alarm.ls, and kelda2/env_motion.ls with
// its 4801-byte block map file kelda2/env_motion_block.dat (a marker byte 0x50, then
// 4800 cells, no header). The block map buffer is shared with the md2 group.
#ifndef CAMRCD_SETTINGS_ALARM_MOTION_FILES_H_
#define CAMRCD_SETTINGS_ALARM_MOTION_FILES_H_

namespace camrcd {

void load_alarm_group();
// Prints "WR. Conf. OK. env_alarm.ls" in test mode.
void save_alarm_group();

// A missing block file gives the default map (marker, every cell 10).
void load_motion_group();
// Writes the block file whenever MD_METHOD is 1, even when env_motion.ls can't be
// opened.
void save_motion_group();

}  // namespace camrcd

#endif  // CAMRCD_SETTINGS_ALARM_MOTION_FILES_H_
