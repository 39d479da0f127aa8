// The field tables of the write requests and their walker. Rows are in the order
// they are copied: byte order, except that the MPEG bitrate follows the rate-control
// code and the motion write's current_md comes first.
#include "control/field_copies.h"

#include <string.h>

#include "control/request_header.h"
#include "settings/group_locks.h"
#include "settings/settings_record.h"

namespace camrcd {
namespace {

constexpr FieldCopy nz(uint8_t offset, uint8_t* field) {
  return {offset, CopyRule::kNonZero, field, 0, 0};
}
constexpr FieldCopy always(uint8_t offset, uint8_t* field) {
  return {offset, CopyRule::kAlways, field, 0, 0};
}
constexpr FieldCopy word_nz(uint8_t offset, int32_t* field) {
  return {offset, CopyRule::kWord16NonZero, field, 0, 0};
}
constexpr FieldCopy mpeg_bitrate(uint8_t offset) {
  return {offset, CopyRule::kMpegBitrate, &settings.mpeg.mpeg_bitrate, 0, 0};
}
template <size_t N>
constexpr FieldCopy text(uint8_t offset, CopyRule rule, char (&field)[N], uint8_t width) {
  static_assert(N < 256, "text field too large");
  return {offset, rule, field, width, static_cast<uint8_t>(N)};
}

template <size_t N>
constexpr FieldCopyTable table(const FieldCopy (&rows)[N], std::mutex* lock) {
  return FieldCopyTable{rows, N, lock};
}

constexpr SettingsRecord& s = settings;

constexpr FieldCopy kMpegRows[] = {
    nz(4, &s.mpeg.mpeg_enable_code), nz(5, &s.mpeg.mpeg_gop), nz(6, &s.mpeg.mpeg_cbr_code),
    nz(7, &s.mpeg.mpeg_rate),        mpeg_bitrate(8),
};
constexpr FieldCopy kJpegRows[] = {
    nz(4, &s.jpeg.jpeg_enable_code),
    nz(5, &s.jpeg.jpeg_quality),
};
constexpr FieldCopy kAutorunRows[] = {
    nz(4, &s.autopan.direction), nz(5, &s.autopan.speed), nz(6, &s.poa.enable),
    nz(7, &s.poa.act),           nz(8, &s.poa.actno),     nz(9, &s.autorun.enable),
    nz(10, &s.autorun.waittime), nz(11, &s.autorun.act),  nz(12, &s.autorun.actno),
};
constexpr FieldCopy kStreamMpegRows[] = {
    nz(5, &s.mpeg.mpeg_enable_code), nz(6, &s.mpeg.mpeg_gop), nz(7, &s.mpeg.mpeg_cbr_code),
    nz(8, &s.mpeg.mpeg_rate),        mpeg_bitrate(9),
};
constexpr FieldCopy kStreamJpegRows[] = {
    nz(11, &s.jpeg.jpeg_enable_code),
    nz(12, &s.jpeg.jpeg_quality),
};
constexpr FieldCopy kMotionRows[] = {
    nz(4, &s.motion_map_valid),
    nz(5, &s.motion_flags),
};
constexpr FieldCopy kMd2MotionRows[] = {
    always(12, &s.current_md), nz(4, &s.motion_map_valid), nz(5, &s.motion_flags),
    nz(11, &s.md_max),         nz(13, &s.md.enable),       nz(14, &s.md.act),
    nz(15, &s.md.actno),       nz(16, &s.md.relay),        nz(17, &s.md.record),
    nz(18, &s.md.email),       nz(20, &s.manual.enable),   nz(21, &s.manual.threshold),
    nz(22, &s.manual.sens),
};
constexpr FieldCopy kAlarmRows[] = {
    nz(4, &s.alarm.alarm_in_code),      nz(5, &s.alarm.alarm_in_polarity),
    nz(6, &s.alarm.alarm_out_code),     nz(7, &s.alarm.alarm_out_mode),
    nz(8, &s.alarm.alarm_out_duration),
};
constexpr FieldCopy kAlarmLinkRows[] = {
    nz(6, &s.alin_allen),       always(7, &s.current_alarmin), nz(8, &s.alarmin.enable),
    nz(9, &s.alarmin.type),     nz(10, &s.alarmin.priority),   nz(11, &s.alarmin.act),
    nz(12, &s.alarmin.actno),   nz(13, &s.alarmin.relay),      nz(14, &s.alarmin.record),
    nz(15, &s.alarmin.email),   nz(16, &s.alout_allen),        always(17, &s.current_alarmout),
    nz(18, &s.alarmout.enable), nz(19, &s.alarmout.dwell),     nz(20, &s.alarmout.linkage),
};
constexpr FieldCopy kPresetSelectorRows[] = {
    always(11, &s.current_preset),
};
constexpr FieldCopy kPresetSetRows[] = {
    nz(7, &s.home),
    nz(8, &s.md_first),
    nz(9, &s.presetmax),
    nz(10, &s.preset.enable),
    nz(12, &s.preset.dwell),
    nz(13, &s.preset.group),
    text(14, CopyRule::kTextAlways, s.preset.name, 10),
};
constexpr FieldCopy kOsdRows[] = {
    nz(4, &s.osd.osd_enable_code),
    nz(5, &s.osd.osd_color),
    nz(6, &s.osd.osd_display_flags),
    nz(7, &s.osd.osd_extra),
    text(8, CopyRule::kTextNonZero, s.osd.osd_title, kTitleWidth),
};
constexpr FieldCopy kTitleRows[] = {
    text(4, CopyRule::kTextNonZero, s.title.camera_title, kTitleWidth),
};
constexpr FieldCopy kPrivacyRows[] = {
    nz(4, &s.privacy.privacy_enable_code),  nz(5, &s.privacy.privacy_color),
    nz(6, &s.privacy.privacy_area_valid),   word_nz(7, &s.privacy.privacy_left),
    word_nz(9, &s.privacy.privacy_top),     word_nz(11, &s.privacy.privacy_right),
    word_nz(13, &s.privacy.privacy_bottom),
};
constexpr FieldCopy kPictureRows[] = {
    nz(4, &s.camcontrol1.cam_brightness), nz(5, &s.camcontrol1.cam_contrast),
    nz(6, &s.camcontrol1.cam_sharpness),  nz(7, &s.camcontrol1.cam_hue),
    nz(8, &s.camcontrol1.cam_saturation),
};
constexpr FieldCopy kWhiteBalanceRows[] = {
    nz(4, &s.camcontrol1.cam_wb),
    nz(5, &s.camcontrol1.cam_wb_manual),
    nz(6, &s.camcontrol1.cam_blc),
};
constexpr FieldCopy kCamcontrol2Rows[] = {
    nz(4, &s.camcontrol2.cam_monochrome_code),
    nz(5, &s.camcontrol2.cam_negative_code),
    nz(6, &s.camcontrol2.cam_colorbar_code),
    nz(7, &s.camcontrol2.cam_sensorup),
};

void copy_text(const FieldCopy& row, const uint8_t* header) {
  char* field = static_cast<char*>(row.field);
  memset(field, 0, row.field_size);
  const char* from = reinterpret_cast<const char*>(header + row.offset);
  size_t limit = row.width < row.field_size ? row.width : row.field_size;
  memcpy(field, from, strnlen(from, limit));
}

}  // namespace

void copy_field(const FieldCopy& row, const uint8_t* header) {
  uint8_t value = header[row.offset];
  int32_t word = read_le16(header + row.offset);  // rows never start at byte 31
  switch (row.rule) {
    case CopyRule::kNonZero:
      if (value != 0)
        *static_cast<uint8_t*>(row.field) = value;
      break;
    case CopyRule::kAlways:
      *static_cast<uint8_t*>(row.field) = value;
      break;
    case CopyRule::kTextNonZero:
      if (value != 0)
        copy_text(row, header);
      break;
    case CopyRule::kTextAlways:
      copy_text(row, header);
      break;
    case CopyRule::kWord16NonZero:
      if (word != 0)
        *static_cast<int32_t*>(row.field) = word;
      break;
    case CopyRule::kMpegBitrate:
      if (settings.mpeg.mpeg_cbr_code == 2)
        *static_cast<int32_t*>(row.field) = word;
      break;
  }
}

void copy_fields(const FieldCopyTable& table, const uint8_t* header, const std::mutex* held) {
  std::unique_lock<std::mutex> guard;
  if (table.lock != nullptr)
    guard = lock_unless_held(*table.lock, held);
  for (size_t i = 0; i < table.count; ++i)
    copy_field(table.rows[i], header);
}

const FieldCopyTable kMpegWriteFields = table(kMpegRows, &mpeg_lock);
const FieldCopyTable kJpegWriteFields = table(kJpegRows, &jpeg_lock);
const FieldCopyTable kAutorunWriteFields = table(kAutorunRows, &ptz_lock);
const FieldCopyTable kStreamMpegWriteFields = table(kStreamMpegRows, &mpeg_lock);
const FieldCopyTable kStreamJpegWriteFields = table(kStreamJpegRows, &jpeg_lock);
const FieldCopyTable kMotionWriteFields = table(kMotionRows, &motion_lock);
const FieldCopyTable kMd2MotionWriteFields = table(kMd2MotionRows, &ptz_lock);
const FieldCopyTable kAlarmWriteFields = table(kAlarmRows, &alarm_lock);
const FieldCopyTable kAlarmLinkWriteFields = table(kAlarmLinkRows, &alarm_lock);
const FieldCopyTable kPresetSelectorField = table(kPresetSelectorRows, &ptz_lock);
const FieldCopyTable kPresetSetFields = table(kPresetSetRows, &ptz_lock);
const FieldCopyTable kOsdWriteFields = table(kOsdRows, &osd_lock);
const FieldCopyTable kTitleWriteFields = table(kTitleRows, &title_lock);
const FieldCopyTable kPrivacyWriteFields = table(kPrivacyRows, &privacy_lock);
const FieldCopyTable kPictureWriteFields = table(kPictureRows, &camcontrol1_lock);
const FieldCopyTable kWhiteBalanceWriteFields = table(kWhiteBalanceRows, &camcontrol1_lock);
const FieldCopyTable kCamcontrol2WriteFields = table(kCamcontrol2Rows, &camcontrol2_lock);

}  // namespace camrcd
