// Readers and writers of the alarm and motion files. On the wire the output mode
// OUT_WIR 0..3 is 0x01, 0x80, 0x40, 0xC0, and an OUT_DURATION of 1 is 255.
// motion_flags: 0x20 detection on, 0x10 off; 0x01 method 1, 0x02 method 2.
#include "settings/alarm_motion_files.h"

#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include <iterator>

#include "platform/console.h"
#include "platform/dev_root.h"
#include "platform/file_reader.h"
#include "settings/flat_file.h"
#include "settings/settings_record.h"

namespace camrcd {
namespace {

constexpr FlatKey kAlarmKeys[] = {
    CAMRCD_FLAT_KEY(AlarmGroup, ALARMIN_EN, 10), CAMRCD_FLAT_KEY(AlarmGroup, NO_NC, 5),
    CAMRCD_FLAT_KEY(AlarmGroup, IN_NAME, 7),     CAMRCD_FLAT_KEY(AlarmGroup, ALARMOUT_EN, 11),
    CAMRCD_FLAT_KEY(AlarmGroup, OUT_WIR, 7),     CAMRCD_FLAT_KEY(AlarmGroup, OUT_DURATION, 12),
};
constexpr FlatReader kAlarmReader = {
    "kelda2/env_alarm.ls",
    7,
    "end",
    kAlarmKeys,
    std::size(kAlarmKeys),
    "Conf. Open ERR. env_alarm.ls\n",
};

constexpr FlatLine kAlarmLines[] = {
    CAMRCD_FLAT_LINE("ALARMIN_EN = %d\n", AlarmGroup, ALARMIN_EN),
    CAMRCD_FLAT_LINE("NO_NC = %d\n", AlarmGroup, NO_NC),
    CAMRCD_FLAT_LINE("IN_NAME = %s\n", AlarmGroup, IN_NAME),
    CAMRCD_FLAT_LINE("ALARMOUT_EN = %d\n", AlarmGroup, ALARMOUT_EN),
    CAMRCD_FLAT_LINE("OUT_WIR = %d\n", AlarmGroup, OUT_WIR),
    CAMRCD_FLAT_LINE("OUT_DURATION = %d\n", AlarmGroup, OUT_DURATION),
    CAMRCD_FLAT_CONSTANT("end\n"),
};
constexpr FlatWriter kAlarmWriter = {
    "kelda2/env_alarm.ls",
    kAlarmLines,
    std::size(kAlarmLines),
    "WR. Conf. Open ERR. env_alarm.ls\n",
};

// alarm_out_mode for OUT_WIR 0 to 3.
constexpr uint8_t kOutputModes[] = {0x01, 0x80, 0x40, 0xC0};
constexpr uint8_t kOutputModeCount = sizeof kOutputModes;

void derive_alarm_file_image() {
  AlarmGroup& alarm = settings.alarm;
  alarm.ALARMIN_EN = alarm.alarm_in_code == 2 ? 1 : 0;
  alarm.NO_NC = alarm.alarm_in_polarity == 18 ? 1 : 0;
  alarm.ALARMOUT_EN = alarm.alarm_out_code == 2 ? 1 : 0;
  for (uint8_t wir = 0; wir < kOutputModeCount; ++wir) {
    if (kOutputModes[wir] == alarm.alarm_out_mode)
      alarm.OUT_WIR = wir;
  }
  alarm.OUT_DURATION = alarm.alarm_out_duration == 255 ? 1 : alarm.alarm_out_duration;
}

// --- motion ---

constexpr FlatKey kMotionKeys[] = {
    CAMRCD_FLAT_KEY(MotionGroup, MOTION_EN, 9),     CAMRCD_FLAT_KEY(MotionGroup, MD_METHOD, 9),
    CAMRCD_FLAT_KEY(MotionGroup, ACCURACY, 8),      CAMRCD_FLAT_KEY(MotionGroup, THRESHOLD2, 10),
    CAMRCD_FLAT_KEY(MotionGroup, SENSITIVITY2, 12), CAMRCD_FLAT_KEY(MotionGroup, THRESHOLD, 9),
    CAMRCD_FLAT_KEY(MotionGroup, SENSITIVITY, 11),  CAMRCD_FLAT_KEY(MotionGroup, SEL_SX1, 7),
    CAMRCD_FLAT_KEY(MotionGroup, SEL_SY1, 7),       CAMRCD_FLAT_KEY(MotionGroup, SEL_W1, 6),
    CAMRCD_FLAT_KEY(MotionGroup, SEL_H1, 6),        CAMRCD_FLAT_KEY(MotionGroup, SEL_SX2, 7),
    CAMRCD_FLAT_KEY(MotionGroup, SEL_SY2, 7),       CAMRCD_FLAT_KEY(MotionGroup, SEL_W2, 6),
    CAMRCD_FLAT_KEY(MotionGroup, SEL_H2, 6),        CAMRCD_FLAT_KEY(MotionGroup, DSEL_SX3, 8),
    CAMRCD_FLAT_KEY(MotionGroup, DSEL_SY3, 8),      CAMRCD_FLAT_KEY(MotionGroup, DSEL_W3, 7),
    CAMRCD_FLAT_KEY(MotionGroup, DSEL_H3, 7),
};
constexpr FlatReader kMotionReader = {
    "kelda2/env_motion.ls",
    20,
    "end",
    kMotionKeys,
    std::size(kMotionKeys),
    "Conf. Open ERR. env_motion.ls\n",
};

constexpr FlatLine kMotionLines[] = {
    CAMRCD_FLAT_LINE("MOTION_EN = %d\n", MotionGroup, MOTION_EN),
    CAMRCD_FLAT_LINE("MD_METHOD = %d\n", MotionGroup, MD_METHOD),
    CAMRCD_FLAT_LINE("ACCURACY = %d\n", MotionGroup, ACCURACY),
    CAMRCD_FLAT_LINE("THRESHOLD = %d\n", MotionGroup, THRESHOLD),
    CAMRCD_FLAT_LINE("SENSITIVITY = %d\n", MotionGroup, SENSITIVITY),
    CAMRCD_FLAT_LINE("THRESHOLD2 = %d\n", MotionGroup, THRESHOLD2),
    CAMRCD_FLAT_LINE("SENSITIVITY2 = %d\n", MotionGroup, SENSITIVITY2),
    CAMRCD_FLAT_LINE("SEL_SX1 = %d\n", MotionGroup, SEL_SX1),
    CAMRCD_FLAT_LINE("SEL_SY1 = %d\n", MotionGroup, SEL_SY1),
    CAMRCD_FLAT_LINE("SEL_W1 = %d\n", MotionGroup, SEL_W1),
    CAMRCD_FLAT_LINE("SEL_H1 = %d\n", MotionGroup, SEL_H1),
    CAMRCD_FLAT_LINE("SEL_SX2 = %d\n", MotionGroup, SEL_SX2),
    CAMRCD_FLAT_LINE("SEL_SY2 = %d\n", MotionGroup, SEL_SY2),
    CAMRCD_FLAT_LINE("SEL_W2 = %d\n", MotionGroup, SEL_W2),
    CAMRCD_FLAT_LINE("SEL_H2 = %d\n", MotionGroup, SEL_H2),
    CAMRCD_FLAT_LINE("DSEL_SX3 = %d\n", MotionGroup, DSEL_SX3),
    CAMRCD_FLAT_LINE("DSEL_SY3 = %d\n", MotionGroup, DSEL_SY3),
    CAMRCD_FLAT_LINE("DSEL_W3 = %d\n", MotionGroup, DSEL_W3),
    CAMRCD_FLAT_LINE("DSEL_H3 = %d\n", MotionGroup, DSEL_H3),
    CAMRCD_FLAT_CONSTANT("end\n"),
};
constexpr FlatWriter kMotionWriter = {
    "kelda2/env_motion.ls",
    kMotionLines,
    std::size(kMotionLines),
    "WR. Conf. Open ERR. env_motion.ls\n",
};

constexpr char kBlockFile[] = "kelda2/env_motion_block.dat";
constexpr uint8_t kDefaultBlockCell = 10;
constexpr int32_t kMotionMapLength = 4803;  // length of the motion payload on the wire

void read_block_map() {
  uint8_t* map = settings.motion_block_map;
  char path[kPathCapacity];
  // A shorter file leaves the rest of the map as it was.
  if (!read_file_start(web_path(path, sizeof path, kBlockFile), map, kMotionBlockMapSize)) {
    console_print("Rd. Conf. Open ERR. env_motion_block.dat\n");
    memset(map, kDefaultBlockCell, kMotionBlockMapSize);
    map[0] = kMotionBlockMarker;
  }
}

void write_block_map() {
  char path[kPathCapacity];
  FILE* file = fopen(web_path(path, sizeof path, kBlockFile), "we");
  if (file == nullptr) {
    console_print("WR. Conf. Open ERR. env_motion_block.dat\n");
    return;
  }
  fwrite(settings.motion_block_map, 1, kMotionBlockMapSize, file);
  fclose(file);
}

void derive_motion_file_image() {
  MotionGroup& motion = settings.motion;
  uint8_t flags = settings.motion_flags;
  if (flags & 0x20) {
    motion.MOTION_EN = 1;
  } else if (flags & 0x10) {
    motion.MOTION_EN = 0;
  }
  if (flags & 0x01) {
    motion.MD_METHOD = 1;
  } else if (flags & 0x02) {
    motion.MD_METHOD = 2;
  }
}

}  // namespace

void load_alarm_group() {
  AlarmGroup& alarm = settings.alarm;
  if (!read_flat_file(kAlarmReader, &alarm))
    return;
  alarm.alarm_in_code = alarm.ALARMIN_EN == 1 ? 2 : 1;
  alarm.alarm_in_polarity = alarm.NO_NC == 1 ? 18 : 17;
  alarm.alarm_out_code = alarm.ALARMOUT_EN == 1 ? 2 : 1;
  alarm.alarm_out_mode = alarm.OUT_WIR < kOutputModeCount ? kOutputModes[alarm.OUT_WIR] : 1;
  alarm.alarm_out_duration = alarm.OUT_DURATION == 1 ? 255 : alarm.OUT_DURATION;
}

void save_alarm_group() {
  if (write_flat_file(kAlarmWriter, &settings.alarm, derive_alarm_file_image) &&
      settings.test_mode) {
    console_print("WR. Conf. OK. env_alarm.ls\n");
  }
}

void load_motion_group() {
  if (!read_flat_file(kMotionReader, &settings.motion))
    return;
  read_block_map();
  settings.motion_map_valid = 1;
  settings.motion_map_length = kMotionMapLength;
  uint8_t flags = settings.motion.MOTION_EN == 1 ? 0x20 : 0x10;
  if (settings.motion.MD_METHOD == 1)
    flags |= 0x01;
  if (settings.motion.MD_METHOD == 2)
    flags |= 0x02;
  settings.motion_flags = flags;
  if (settings.motion_block_map[0] == 0)
    settings.motion_block_map[0] = kMotionBlockMarker;
}

void save_motion_group() {
  write_flat_file(kMotionWriter, &settings.motion, derive_motion_file_image);
  if (settings.motion.MD_METHOD == 1)
    write_block_map();
}

}  // namespace camrcd
