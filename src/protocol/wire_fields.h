// The named fields of the control protocol's messages: one entry per setting or
// selector that a request or a reply carries (a field that several messages carry is
// one entry) and, for the few that decide a message's layout, which layout key it is.
// Where a field stands in each message is the message tables' business (messages.h);
// the fields' names, meanings and code names, which only clients and tools read, are
// wire_text.h's, so that the server's image carries none of them.
#ifndef CAMRCD_PROTOCOL_WIRE_FIELDS_H_
#define CAMRCD_PROTOCOL_WIRE_FIELDS_H_

#include <stddef.h>
#include <stdint.h>

namespace camrcd {

enum class Field : uint8_t {
  kNone,  // reserved bytes
  // Request-only fields.
  kClientVersion,
  kPayloadVersion,
  kPresetOperation,
  kReloadGroups,
  // Device information.
  kInfoLayoutVersion,
  kDeviceType,
  kMacAddress,
  kWebPort,
  kConnectPort,
  kControlPort,
  kVideoType,
  kVideoResolution,
  kMpegEnable,
  kMpegGop,
  kMpegCbr,
  kMpegRate,
  kMpegBitrate,
  kJpegEnable,
  kJpegQuality,
  kOsdEnable,
  kOsdColor,
  kOsdDisplayFlags,
  kOsdExtra,
  kOsdTitle,
  kCameraTitle,
  kAlarmIn,
  kAlarmInPolarity,
  kAlarmOut,
  kAlarmOutMode,
  kAlarmOutDuration,
  kCamBrightness,
  kCamContrast,
  kCamSharpness,
  kCamHue,
  kCamSaturation,
  kCamWb,
  kCamWbManual,
  kCamBlc,
  kCamMonochrome,
  kCamNegative,
  kCamColorbar,
  kCamSensorup,
  kPrivacyEnable,
  kPrivacyColor,
  kPrivacyAreas,
  kPrivacyLeft,
  kPrivacyTop,
  kPrivacyRight,
  kPrivacyBottom,
  kAutopanDirection,
  kAutopanSpeed,
  kPoaEnable,
  kPoaAct,
  kPoaActno,
  kAutorunEnable,
  kAutorunWaittime,
  kAutorunAct,
  kAutorunActno,
  // Motion detection.
  kMotionMapValid,
  kMotionFlags,
  kMotionMapLength,
  kMotionLayoutVersion,
  kMdMax,
  kCurrentMd,
  kMdEnable,
  kMdAct,
  kMdActno,
  kMdRelay,
  kMdRecord,
  kMdEmail,
  kManualEnable,
  kManualThreshold,
  kManualSens,
  kMotionBlockMap,
  // Alarm links.
  kLinkLayoutVersion,
  kCurrentAlarmin,
  kAlinMax,
  kAlinAllen,
  kAlarminEnable,
  kAlarminType,
  kAlarminPriority,
  kAlarminAct,
  kAlarminActno,
  kAlarminRelay,
  kAlarminRecord,
  kAlarminEmail,
  kCurrentAlarmout,
  kAloutMax,
  kAloutAllen,
  kAlarmoutEnable,
  kAlarmoutDwell,
  kAlarmoutLinkage,
  // Presets.
  kPresetLayoutVersion,
  kHome,
  kMdFirst,
  kPresetmax,
  kPresetEnable,
  kCurrentPreset,
  kPresetDwell,
  kPresetGroup,
  kPresetName,
  kCount,
};
inline constexpr size_t kFieldCount = static_cast<size_t>(Field::kCount);

// The fields whose value decides which other fields of the same message stand where.
enum class LayoutKey : uint8_t {
  kNone,
  kDeviceType,       // the device type itself
  kLayoutMajor,      // a layout version whose major number 0 is the fixed camera's layout
  kAreaCount,        // the privacy area count
  kMapValid,         // not 0: the motion block map is sent
  kPresetOperation,  // 0: a set operation, which carries the preset's fields
  kRequestVersion,   // a request's version; major number 0 selects motion area 1
};

// The layout key `field` is, or LayoutKey::kNone.
LayoutKey field_layout_key(Field field);

// Whether the field is a text read from a file line, which may end with its CR or LF.
inline bool field_is_file_line(Field field) {
  return field == Field::kPresetName;
}

}  // namespace camrcd

#endif  // CAMRCD_PROTOCOL_WIRE_FIELDS_H_
