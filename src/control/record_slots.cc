// The slot table, in Field order (checked at compile time).
#include "control/record_slots.h"

#include <iterator>

#include "settings/group_locks.h"
#include "settings/settings_record.h"

namespace camrcd {
namespace {

constexpr SettingsRecord& s = settings;

struct Entry {
  Field field;
  RecordSlot slot;
};

constexpr Entry none(Field field) {
  return {field, {SlotType::kNone, SlotLock::kNone, 0, nullptr, nullptr}};
}
// A runtime field that start-up sets once is read without a lock (SlotLock::kNone);
// the fields that the motion group and the md2 group share take SlotLock::kMotionMap.
constexpr Entry byte(Field field, uint8_t& value, SlotLock lock) {
  return {field, {SlotType::kByte, lock, 1, &value, nullptr}};
}
constexpr Entry word(Field field, int32_t& value, SlotLock lock) {
  return {field, {SlotType::kWord, lock, 4, &value, nullptr}};
}
template <size_t N>
constexpr Entry text(Field field, char (&value)[N], SlotLock lock) {
  return {field, {SlotType::kText, lock, N, value, nullptr}};
}
constexpr Entry computed(Field field, uint32_t (*compute)()) {
  return {field, {SlotType::kComputed, SlotLock::kNone, 0, nullptr, compute}};
}

// Layout versions: major * 256 + minor.
constexpr uint32_t kVersionOne = 0x100;
uint32_t info_layout_version() {
  return settings.device_type == 2 ? kVersionOne : 0;
}
uint32_t motion_layout_version() {
  return settings.device_type != 1 ? kVersionOne : 0;
}
uint32_t version_one() {
  return kVersionOne;
}

using F = Field;
constexpr SlotLock kNetwork = SlotLock::kNetwork;
constexpr SlotLock kVideo = SlotLock::kVideo;
constexpr SlotLock kMpeg = SlotLock::kMpeg;
constexpr SlotLock kJpeg = SlotLock::kJpeg;
constexpr SlotLock kOsd = SlotLock::kOsd;
constexpr SlotLock kAlarm = SlotLock::kAlarm;
constexpr SlotLock kCam1 = SlotLock::kCamcontrol1;
constexpr SlotLock kCam2 = SlotLock::kCamcontrol2;
constexpr SlotLock kPrivacy = SlotLock::kPrivacy;
constexpr SlotLock kPtz = SlotLock::kPtz;
constexpr SlotLock kMap = SlotLock::kMotionMap;
constexpr SlotLock kTitle = SlotLock::kTitle;
constexpr SlotLock kUnlocked = SlotLock::kNone;

// The mutex of each SlotLock, in its order: none for kNone and kMotionMap (whose lock
// depends on the device type), then the groups'.
constexpr Mutex* kSlotLocks[] = {
    nullptr,           nullptr,       &network_lock, &video_lock, &mpeg_lock,
    &jpeg_lock,        &osd_lock,     &title_lock,   &alarm_lock, &camcontrol1_lock,
    &camcontrol2_lock, &privacy_lock, &ptz_lock,
};
static_assert(std::size(kSlotLocks) == static_cast<size_t>(SlotLock::kPtz) + 1, "one per lock");

constexpr Entry kSlots[] = {
    none(F::kNone),
    none(F::kClientVersion),
    none(F::kPayloadVersion),
    none(F::kPresetOperation),
    none(F::kReloadGroups),
    computed(F::kInfoLayoutVersion, info_layout_version),
    byte(F::kDeviceType, s.device_type, kUnlocked),
    {F::kMacAddress, {SlotType::kBytes, kNetwork, 6, s.network.mac_address, nullptr}},
    word(F::kWebPort, s.network.WEBSERVERPORT, kNetwork),
    word(F::kConnectPort, s.network.CONNECT_PORT, kNetwork),
    word(F::kControlPort, s.control_port, kNetwork),
    byte(F::kVideoType, s.video.VIDEO_TYPE, kVideo),
    byte(F::kVideoResolution, s.video.video_resolution, kVideo),
    byte(F::kMpegEnable, s.mpeg.mpeg_enable_code, kMpeg),
    byte(F::kMpegGop, s.mpeg.mpeg_gop, kMpeg),
    byte(F::kMpegCbr, s.mpeg.mpeg_cbr_code, kMpeg),
    byte(F::kMpegRate, s.mpeg.mpeg_rate, kMpeg),
    word(F::kMpegBitrate, s.mpeg.mpeg_bitrate, kMpeg),
    byte(F::kJpegEnable, s.jpeg.jpeg_enable_code, kJpeg),
    byte(F::kJpegQuality, s.jpeg.jpeg_quality, kJpeg),
    byte(F::kOsdEnable, s.osd.osd_enable_code, kOsd),
    byte(F::kOsdColor, s.osd.osd_color, kOsd),
    byte(F::kOsdDisplayFlags, s.osd.osd_display_flags, kOsd),
    byte(F::kOsdExtra, s.osd.osd_extra, kOsd),
    text(F::kOsdTitle, s.osd.osd_title, kOsd),
    text(F::kCameraTitle, s.title.camera_title, kTitle),
    byte(F::kAlarmIn, s.alarm.alarm_in_code, kAlarm),
    byte(F::kAlarmInPolarity, s.alarm.alarm_in_polarity, kAlarm),
    byte(F::kAlarmOut, s.alarm.alarm_out_code, kAlarm),
    byte(F::kAlarmOutMode, s.alarm.alarm_out_mode, kAlarm),
    byte(F::kAlarmOutDuration, s.alarm.alarm_out_duration, kAlarm),
    byte(F::kCamBrightness, s.camcontrol1.cam_brightness, kCam1),
    byte(F::kCamContrast, s.camcontrol1.cam_contrast, kCam1),
    byte(F::kCamSharpness, s.camcontrol1.cam_sharpness, kCam1),
    byte(F::kCamHue, s.camcontrol1.cam_hue, kCam1),
    byte(F::kCamSaturation, s.camcontrol1.cam_saturation, kCam1),
    byte(F::kCamWb, s.camcontrol1.cam_wb, kCam1),
    byte(F::kCamWbManual, s.camcontrol1.cam_wb_manual, kCam1),
    byte(F::kCamBlc, s.camcontrol1.cam_blc, kCam1),
    byte(F::kCamMonochrome, s.camcontrol2.cam_monochrome_code, kCam2),
    byte(F::kCamNegative, s.camcontrol2.cam_negative_code, kCam2),
    byte(F::kCamColorbar, s.camcontrol2.cam_colorbar_code, kCam2),
    byte(F::kCamSensorup, s.camcontrol2.cam_sensorup, kCam2),
    byte(F::kPrivacyEnable, s.privacy.privacy_enable_code, kPrivacy),
    byte(F::kPrivacyColor, s.privacy.privacy_color, kPrivacy),
    byte(F::kPrivacyAreas, s.privacy.privacy_area_valid, kPrivacy),
    word(F::kPrivacyLeft, s.privacy.privacy_left, kPrivacy),
    word(F::kPrivacyTop, s.privacy.privacy_top, kPrivacy),
    word(F::kPrivacyRight, s.privacy.privacy_right, kPrivacy),
    word(F::kPrivacyBottom, s.privacy.privacy_bottom, kPrivacy),
    byte(F::kAutopanDirection, s.autopan.direction, kPtz),
    byte(F::kAutopanSpeed, s.autopan.speed, kPtz),
    byte(F::kPoaEnable, s.poa.enable, kPtz),
    byte(F::kPoaAct, s.poa.act, kPtz),
    byte(F::kPoaActno, s.poa.actno, kPtz),
    byte(F::kAutorunEnable, s.autorun.enable, kPtz),
    byte(F::kAutorunWaittime, s.autorun.waittime, kPtz),
    byte(F::kAutorunAct, s.autorun.act, kPtz),
    byte(F::kAutorunActno, s.autorun.actno, kPtz),
    byte(F::kMotionMapValid, s.motion_map_valid, kMap),
    byte(F::kMotionFlags, s.motion_flags, kMap),
    word(F::kMotionMapLength, s.motion_map_length, kMap),
    computed(F::kMotionLayoutVersion, motion_layout_version),
    byte(F::kMdMax, s.md_max, kPtz),
    byte(F::kCurrentMd, s.current_md, kPtz),
    byte(F::kMdEnable, s.md.enable, kPtz),
    byte(F::kMdAct, s.md.act, kPtz),
    byte(F::kMdActno, s.md.actno, kPtz),
    byte(F::kMdRelay, s.md.relay, kPtz),
    byte(F::kMdRecord, s.md.record, kPtz),
    byte(F::kMdEmail, s.md.email, kPtz),
    byte(F::kManualEnable, s.manual.enable, kPtz),
    byte(F::kManualThreshold, s.manual.threshold, kPtz),
    byte(F::kManualSens, s.manual.sens, kPtz),
    {F::kMotionBlockMap,
     {SlotType::kBytes, kMap, kMotionBlockMapSize, s.motion_block_map, nullptr}},
    computed(F::kLinkLayoutVersion, version_one),
    byte(F::kCurrentAlarmin, s.current_alarmin, kAlarm),
    byte(F::kAlinMax, s.alin_max, kAlarm),
    byte(F::kAlinAllen, s.alin_allen, kAlarm),
    byte(F::kAlarminEnable, s.alarmin.enable, kAlarm),
    byte(F::kAlarminType, s.alarmin.type, kAlarm),
    byte(F::kAlarminPriority, s.alarmin.priority, kAlarm),
    byte(F::kAlarminAct, s.alarmin.act, kAlarm),
    byte(F::kAlarminActno, s.alarmin.actno, kAlarm),
    byte(F::kAlarminRelay, s.alarmin.relay, kAlarm),
    byte(F::kAlarminRecord, s.alarmin.record, kAlarm),
    byte(F::kAlarminEmail, s.alarmin.email, kAlarm),
    byte(F::kCurrentAlarmout, s.current_alarmout, kAlarm),
    byte(F::kAloutMax, s.alout_max, kAlarm),
    byte(F::kAloutAllen, s.alout_allen, kAlarm),
    byte(F::kAlarmoutEnable, s.alarmout.enable, kAlarm),
    byte(F::kAlarmoutDwell, s.alarmout.dwell, kAlarm),
    byte(F::kAlarmoutLinkage, s.alarmout.linkage, kAlarm),
    computed(F::kPresetLayoutVersion, version_one),
    byte(F::kHome, s.home, kPtz),
    byte(F::kMdFirst, s.md_first, kPtz),
    byte(F::kPresetmax, s.presetmax, kPtz),
    byte(F::kPresetEnable, s.preset.enable, kPtz),
    byte(F::kCurrentPreset, s.current_preset, kPtz),
    byte(F::kPresetDwell, s.preset.dwell, kPtz),
    byte(F::kPresetGroup, s.preset.group, kPtz),
    text(F::kPresetName, s.preset.name, kPtz),
};
static_assert(sizeof kSlots / sizeof kSlots[0] == kFieldCount, "one slot per Field");

constexpr bool slots_in_field_order() {
  for (size_t i = 0; i < kFieldCount; i++) {
    if (kSlots[i].field != static_cast<Field>(i))
      return false;
  }
  return true;
}

}  // namespace

const RecordSlot& record_slot(Field field) {
  static_assert(slots_in_field_order(), "slots in Field order");
  size_t index = static_cast<size_t>(field);
  return kSlots[index < kFieldCount ? index : 0].slot;
}

Mutex* slot_lock(const RecordSlot& slot) {
  if (slot.lock == SlotLock::kMotionMap)
    return settings.device_type == 2 ? &ptz_lock : &motion_lock;
  return kSlotLocks[static_cast<size_t>(slot.lock)];
}

uint32_t slot_number(const RecordSlot& slot) {
  switch (slot.type) {
    case SlotType::kByte:
      return *static_cast<const uint8_t*>(slot.address);
    case SlotType::kWord:
      return static_cast<uint32_t>(*static_cast<const int32_t*>(slot.address));
    case SlotType::kComputed:
      return slot.compute();
    default:
      return 0;
  }
}

void slot_store(const RecordSlot& slot, uint32_t value) {
  if (slot.type == SlotType::kByte)
    *static_cast<uint8_t*>(slot.address) = static_cast<uint8_t>(value);
  else if (slot.type == SlotType::kWord)
    *static_cast<int32_t*>(slot.address) = static_cast<int32_t>(value);
}

void SlotLockHold::take(const RecordSlot& slot) {
  Mutex* lock = slot_lock(slot);
  if (lock == nullptr || lock == current)
    return;
  guard = MutexHold();  // the previous slot's lock, if any, first
  current = lock;
  if (lock != held)
    guard = MutexHold(*lock);
}

}  // namespace camrcd
