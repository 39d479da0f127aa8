// The six row tables in priority order and the walker. Operations are the readers
// and writers of settings/ and settings/sectioned/ and the device actions of
// actions/.
#include "groups/group_table.h"

#include "actions/device_actions.h"
#include "actions/ptz_actions.h"
#include "groups/group_masks.h"
#include "settings/alarm_motion_files.h"
#include "settings/camera_control_files.h"
#include "settings/group_locks.h"
#include "settings/network_group.h"
#include "settings/osd_files.h"
#include "settings/sectioned/alarm_link_file.h"
#include "settings/sectioned/autorun_file.h"
#include "settings/sectioned/md_area_file.h"
#include "settings/sectioned/preset_file.h"
#include "settings/video_files.h"

namespace camrcd {
namespace {

constexpr GroupRow kLoadRows[] = {
    {kLoadNetwork, &network_lock, nullptr, load_network_group},
    {kLoadOsd, &osd_lock, &title_lock, load_osd_group},
    {kLoadAlarm, &alarm_lock, nullptr, load_alarm_group},
    {kLoadCamcontrol1, &camcontrol1_lock, nullptr, load_camcontrol1_group},
    {kLoadCamcontrol2, &camcontrol2_lock, nullptr, load_camcontrol2_group},
    {kLoadPrivacy, &privacy_lock, nullptr, load_privacy_group},
    {kLoadMotion, &motion_lock, nullptr, load_motion_group},
    {kLoadMpeg, &mpeg_lock, nullptr, load_mpeg_group},
    {kLoadJpeg, &jpeg_lock, nullptr, load_jpeg_group},
    {kLoadVideo, &video_lock, nullptr, load_video_group},
    {kLoadAutorun, &ptz_lock, nullptr, load_autorun},
};

constexpr GroupRow kExtendedLoadRows[] = {
    {kLoadAlarm2, &alarm_lock, nullptr, load_alarm2},
    {kLoadPreset2, &ptz_lock, nullptr, load_preset2},
    {kLoadMd2, &ptz_lock, nullptr, load_md2},
};

constexpr GroupRow kSaveRows[] = {
    {kSaveTitle, &title_lock, nullptr, save_title_group},
    // The osd save derives TXT_EN, which the title action reads under title_lock:
    // it takes title_lock too, in the osd load's order (osd_lock, then title_lock).
    {kSaveOsd, &osd_lock, &title_lock, save_osd_group},
    {kSaveAlarm, &alarm_lock, nullptr, save_alarm_group},
    {kSaveWhiteBalance, &camcontrol1_lock, nullptr, save_camcontrol1_group},
    {kSavePicture, &camcontrol1_lock, nullptr, save_camcontrol1_group},
    {kSaveCamcontrol2, &camcontrol2_lock, nullptr, save_camcontrol2_group},
    {kSavePrivacy, &privacy_lock, nullptr, save_privacy_group},
    {kSaveMotion, &motion_lock, nullptr, save_motion_group},
    {kSaveMpegFileVideo, &mpeg_lock, nullptr, save_mpeg_group},
    // The jpeg file's src follows the video resolution, which the video group's load
    // and writes change under video_lock: the jpeg save holds it too, after jpeg_lock.
    {kSaveJpegFile, &jpeg_lock, &video_lock, save_jpeg_group},
    {kSaveMpeg, &mpeg_lock, nullptr, save_mpeg_group},
    {kSaveJpeg, &jpeg_lock, &video_lock, save_jpeg_group},
    {kSaveVideo, &video_lock, nullptr, save_video_group},
};

constexpr GroupRow kExtendedSaveRows[] = {
    {kSaveAutorun, &ptz_lock, nullptr, save_autorun},
    {kSaveAlarm2, &alarm_lock, nullptr, save_alarm2},
    {kSavePreset2, &ptz_lock, nullptr, save_preset2},
    {kSaveMd2, &ptz_lock, nullptr, save_md2},
};

constexpr GroupRow kApplyRows[] = {
    {kSaveTitle, &title_lock, nullptr, title_action},
    {kSaveOsd, &osd_lock, nullptr, osd_action},
    {kSaveAlarm, &alarm_lock, nullptr, alarm_action},
    {kSaveWhiteBalance, &camcontrol1_lock, nullptr, white_balance_action},
    {kSavePicture, &camcontrol1_lock, nullptr, picture_action},
    {kSaveCamcontrol2, &camcontrol2_lock, nullptr, camcontrol2_action},
    {kSavePrivacy, &privacy_lock, nullptr, privacy_action},
    {kSaveMotion, &motion_lock, nullptr, motion_action},
    {kSaveMpeg, &mpeg_lock, nullptr, mpeg_action},
    {kSaveJpeg, &jpeg_lock, nullptr, jpeg_action},
    {kSaveVideo, &video_lock, nullptr, video_action},
    {kSaveMpegFileVideo, &video_lock, nullptr, video_action},
};

constexpr GroupRow kExtendedApplyRows[] = {
    {kSaveAutorun, &ptz_lock, nullptr, autorun_action},
    // The alarm2 action runs under ptz_lock and reads the alarm2 fields, which are
    // loaded and saved under alarm_lock: it holds alarm_lock too, taken first.
    {kSaveAlarm2, &alarm_lock, &ptz_lock, alarm2_action},
    {kSavePreset2, &ptz_lock, nullptr, preset2_action},
    {kSaveMd2, &ptz_lock, nullptr, md2_action},
};

template <size_t N>
constexpr GroupTable table_of(const GroupRow (&rows)[N]) {
  return GroupTable{rows, N};
}

}  // namespace

const GroupTable kLoadTable = table_of(kLoadRows);
const GroupTable kExtendedLoadTable = table_of(kExtendedLoadRows);
const GroupTable kSaveTable = table_of(kSaveRows);
const GroupTable kExtendedSaveTable = table_of(kExtendedSaveRows);
const GroupTable kApplyTable = table_of(kApplyRows);
const GroupTable kExtendedApplyTable = table_of(kExtendedApplyRows);

void run_group_rows(GroupTable table, uint32_t mask, HeldLocks held) {
  // Rows that follow each other with the same locks run under one hold of them; any
  // other row's locks are taken only after the previous row's are released.
  MutexHold first, second;
  const GroupRow* holding = nullptr;
  for (size_t i = 0; i < table.count && mask != 0; ++i) {
    const GroupRow& row = table.rows[i];
    if ((mask & row.bit) == 0)
      continue;
    mask &= ~row.bit;
    if (row.operation == nullptr)
      continue;
    if (holding == nullptr || holding->first_lock != row.first_lock ||
        holding->second_lock != row.second_lock) {
      second = MutexHold();
      first = MutexHold();
      if (row.first_lock != nullptr)
        first = lock_unless_held(*row.first_lock, held);
      if (row.second_lock != nullptr)
        second = lock_unless_held(*row.second_lock, held);
      holding = &row;
    }
    row.operation();
  }
}

void load_groups(uint32_t load_mask, uint32_t extended_load_mask, HeldLocks held) {
  run_group_rows(kLoadTable, load_mask, held);
  run_group_rows(kExtendedLoadTable, extended_load_mask, held);
}

void save_groups(uint32_t save_mask, uint32_t extended_save_mask, HeldLocks held) {
  run_group_rows(kSaveTable, save_mask, held);
  run_group_rows(kExtendedSaveTable, extended_save_mask, held);
}

void apply_groups(uint32_t apply_mask, uint32_t extended_apply_mask, HeldLocks held) {
  run_group_rows(kApplyTable, apply_mask, held);
  run_group_rows(kExtendedApplyTable, extended_apply_mask, held);
}

}  // namespace camrcd
