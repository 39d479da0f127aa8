// The named fields of the control protocol's messages: one entry per setting or
// selector that a request or a reply carries (a field that several messages carry is
// one entry), with its name, what it means, the names of its wire codes and, for the
// few that decide a message's layout, which layout key it is. Where a field stands in
// each message is the message tables' business (messages.h).
//
// Wire codes: a switch is 2 for on and 1 for off; a write request's 0 leaves a
// setting unchanged, so no code name ever stands for 0 in a request.
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

// A name for a wire code, e.g. "on" for 2. Tables end with {nullptr, 0}. A name may
// stand twice: code_value takes its first row, code_name the first row of a code. A
// row for code 0 only names what a reply shows.
struct CodeName {
  const char* name;
  uint8_t code;
};

extern const CodeName kSwitchCodes[];     // on 2, off 1 (none 0 shown only)
extern const CodeName kPolarityCodes[];   // no 18, nc 17
extern const CodeName kActCodes[];        // preset 1, sequence 2, autopan 3, none 255
extern const CodeName kPoaActCodes[];     // kActCodes and last_action 4
extern const CodeName kDirectionCodes[];  // cw 1, ccw 2, none 4 (read back as 0)
extern const CodeName kInputTypeCodes[];  // no 2 (normally open), nc 1
extern const CodeName kLinkageCodes[];    // sm 24, s 16, m 8, off 1
extern const CodeName kRelayCodes[];      // off 1; other codes are numbers

// The name of `code` in `codes`, or nullptr.
const char* code_name(const CodeName* codes, uint32_t code);
// The code named `name` in `codes`, never 0: 0 and the code, or -1.
int code_value(const CodeName* codes, const char* name, uint8_t* code);

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

struct FieldInfo {
  const char* name;     // as clients print it and as capture filters spell it
  const char* meaning;  // one line for the reference
  const CodeName* codes;
  LayoutKey key;
  bool file_line;  // a text read from a file line, which may end with its CR or LF
};

const FieldInfo& field_info(Field field);

// The field named `name`, or Field::kNone.
Field find_field_named(const char* name);

}  // namespace camrcd

#endif  // CAMRCD_PROTOCOL_WIRE_FIELDS_H_
