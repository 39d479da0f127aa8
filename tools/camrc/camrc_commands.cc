// The command table, the option reader and the request builder. Byte positions are
// those of the server's field copies: a request's fields start at byte 4 of its header.
#include "camrc_commands.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <vector>

#include "platform/console.h"

namespace camrcd {

namespace {

using F = Field;
using M = MessageId;
constexpr uint8_t kPt = kPanTiltType;
constexpr uint8_t kFixed = kFixedCameraType;
constexpr uint8_t kAny = kEveryType;

// Presets and motion areas are numbered 1 to 30, and 255 is the default position.
const CodeName kDefaultPositionName[] = {{"255", kDefaultPosition}, {nullptr, 0}};
const CodeName kAlarmModeCodes[] = {{"none", 1}, {"s", 128}, {"m", 64}, {"sm", 192}, {nullptr, 0}};
const CodeName kBacklightCodes[] = {
    {"off", 1}, {"blc1", 2}, {"blc2", 3}, {"blc3", 4}, {nullptr, 0}};
// The motion switch and its mode share one byte. A fixed camera reads 0x20 as on and
// 0x10 as off, with the method in bits 0-1; a pan/tilt camera reads bits 0-1 as the
// switch, and its areas work only in block mode (0x10).
const CodeName kFixedDetectionCodes[] = {{"on", 0x20}, {"off", 0x10}, {nullptr, 0}};
const CodeName kAreaDetectionCodes[] = {{"on", 0x12}, {"off", 0x11}, {nullptr, 0}};

constexpr CommandOption option(const char* name, Field field, ValueKind kind, uint16_t min,
                               uint16_t max, const char* help) {
  return {name, field, kind, min, max, nullptr, 0, false, 0, false, F::kNone, help};
}
// A number from min to max, or a name of the field's codes.
constexpr CommandOption number(const char* name, Field field, uint16_t min, uint16_t max,
                               const char* help) {
  return option(name, field, kValueByte, min, max, help);
}
// A name of the field's codes only.
constexpr CommandOption word(const char* name, Field field, const char* help) {
  return option(name, field, kValueByte, 0, 0, help);
}
constexpr CommandOption wide(const char* name, Field field, const char* help) {
  return option(name, field, kValueU16, 1, 65535, help);
}
// A text of min to the field's width characters.
constexpr CommandOption text(const char* name, Field field, uint16_t min, const char* help) {
  return option(name, field, kValueText, min, 0, help);
}
constexpr CommandOption bare(const char* name, Field field, uint16_t min, uint16_t max,
                             const char* help) {
  return number(name, field, min, max, help).needed();
}
constexpr CommandOption path(const char* name, const char* help) {
  return option(name, F::kNone, kValuePath, 0, 0, help);
}
constexpr CommandOption flag(const char* name, Field field, Field copies, const char* help) {
  CommandOption o = option(name, field, kValueFlag, 0, 0, help);
  o.copies = copies;
  return o;
}

constexpr FixedField kVersionOne = {F::kClientVersion, 0x100, kAny};

}  // namespace

const Command kCommands[] = {
    {"info", M::kInfoRequest, kCurrentNone, "print the device information", {kVersionOne}, {}},
    {"motion get",
     M::kMotionRead,
     kCurrentNone,
     "print the motion settings (on a pan/tilt camera those of one area)",
     {{F::kClientVersion, 0x100, kPt}},
     {number("--area", F::kCurrentMd, 1, 30, "the area: one per preset position")
          .named(kDefaultPositionName)
          .on(kPt)
          .needed(),
      path("--map", "receives the 4801-byte block map")}},
    {"motion set",
     M::kMotionWrite,
     kCurrentMotion,
     "send the motion settings and block map (on a pan/tilt camera those of one area)",
     {{F::kPayloadVersion, 0x100, kAny}},
     {path("--map", "holds the 4801-byte block map to send (default: the current map)"),
      word("--detection", F::kMotionFlags, "motion detection")
          .named(kFixedDetectionCodes)
          .on(kFixed),
      number("--method", F::kMotionFlags, 1, 2, "detection method").on(kFixed),
      number("--area", F::kCurrentMd, 1, 30, "the area")
          .named(kDefaultPositionName)
          .on(kPt)
          .needed(),
      word("--detection", F::kMotionFlags, "motion detection of every area")
          .named(kAreaDetectionCodes)
          .on(kPt)
          .keep_current(),
      word("--enable", F::kMdEnable, "this area").on(kPt).keep_current(),
      word("--act", F::kMdAct, "what motion starts").on(kPt).keep_current(),
      number("--actno", F::kMdActno, 1, 255, "the preset or sequence it starts")
          .on(kPt)
          .keep_current(),
      number("--relay", F::kMdRelay, 1, 255, "relay code").on(kPt).keep_current(),
      word("--record", F::kMdRecord, "recording").on(kPt).keep_current(),
      word("--email", F::kMdEmail, "e-mail").on(kPt).keep_current(),
      word("--manual", F::kManualEnable, "manual motion settings").on(kPt).keep_current(),
      number("--threshold", F::kManualThreshold, 1, 255, "manual threshold").on(kPt).keep_current(),
      number("--sens", F::kManualSens, 1, 255, "manual sensitivity").on(kPt).keep_current()}},
    {"alarm-link get",
     M::kAlarmLinkRead,
     kCurrentNone,
     "print the links of alarm input IN and alarm output OUT",
     {},
     {bare("IN", F::kCurrentAlarmin, 1, 99, "alarm input"),
      bare("OUT", F::kCurrentAlarmout, 1, 9, "alarm output")}},
    {"alarm-link set",
     M::kAlarmLinkWrite,
     kCurrentAlarmLink,
     "change the links of alarm input IN and alarm output OUT",
     {},
     {bare("IN", F::kCurrentAlarmin, 1, 99, "alarm input"),
      bare("OUT", F::kCurrentAlarmout, 1, 9, "alarm output"),
      word("--inputs", F::kAlinAllen, "master switch of every alarm input").keep_current(),
      word("--enable", F::kAlarminEnable, "the input").keep_current(),
      word("--type", F::kAlarminType, "contact: normally open or normally closed").keep_current(),
      number("--priority", F::kAlarminPriority, 1, 255, "priority").keep_current(),
      word("--act", F::kAlarminAct, "what the input starts").keep_current(),
      number("--actno", F::kAlarminActno, 1, 255, "the preset or sequence it starts")
          .keep_current(),
      number("--relay", F::kAlarminRelay, 1, 255, "relay code").keep_current(),
      word("--record", F::kAlarminRecord, "recording").keep_current(),
      word("--email", F::kAlarminEmail, "e-mail").keep_current(),
      word("--outputs", F::kAloutAllen, "master switch of every alarm output").keep_current(),
      word("--out-enable", F::kAlarmoutEnable, "the output").keep_current(),
      number("--dwell", F::kAlarmoutDwell, 1, 255, "how long the output stays on (255 counts as 1)")
          .keep_current(),
      word("--linkage", F::kAlarmoutLinkage, "what drives the output").keep_current()}},
    {"preset get",
     M::kPresetRead,
     kCurrentNone,
     "print preset N; the camera moves to it (not to 255, the default position)",
     {{F::kClientVersion, 0x100, kPt}},
     {bare("N", F::kCurrentPreset, 1, 30, "the preset").named(kDefaultPositionName)}},
    // The camera takes the name even when it is empty, and no read shows a preset's
    // values without moving the camera there: so the name is required, and the other
    // values of the preset default to the camera's own. The file-wide home and
    // md-first, which the daemon holds only after a preset read, come from preset 255.
    {"preset set",
     M::kPresetWrite,
     kCurrentPresets,
     "store the camera's position as preset N, with all of its values",
     {},
     {bare("N", F::kCurrentPreset, 1, 30, "the preset"),
      text("--name", F::kPresetName, 0, "its name (required)").needed(),
      word("--enable", F::kPresetEnable, "on stores the position, off clears it (default on)")
          .or_send(2),
      number("--dwell", F::kPresetDwell, 1, 255, "dwell time (default 5)").or_send(5),
      number("--group", F::kPresetGroup, 1, 255, "group number (default 255)").or_send(255),
      flag("--home", F::kHome, F::kCurrentPreset, "make preset N the home position").keep_current(),
      number("--md-first", F::kMdFirst, 1, 255, "the file-wide md-first value").keep_current()}},
    {"preset clear",
     M::kPresetWrite,
     kCurrentNone,
     "delete preset N and its motion area, and clear its position",
     {{F::kPresetOperation, kPresetClearOne, kPt}},
     {bare("N", F::kCurrentPreset, 1, 30, "the preset")}},
    {"preset clear-all",
     M::kPresetWrite,
     kCurrentNone,
     "delete every preset and motion area but the default position's, clear every position",
     {{F::kPresetOperation, kPresetClearAll, kPt}},
     {}},
    {"autorun",
     M::kAutorunWrite,
     kCurrentNone,
     "change auto-pan, the poa action and auto-run",
     {},
     {word("--direction", F::kAutopanDirection, "auto-pan direction"),
      number("--speed", F::kAutopanSpeed, 1, 255, "auto-pan speed"),
      word("--poa-enable", F::kPoaEnable, "the poa action"),
      word("--poa-act", F::kPoaAct, "what the poa action does"),
      number("--poa-actno", F::kPoaActno, 1, 255, "the preset or sequence it uses"),
      word("--enable", F::kAutorunEnable, "auto-run"),
      number("--waittime", F::kAutorunWaittime, 1, 255, "idle time before auto-run starts"),
      word("--act", F::kAutorunAct, "what auto-run does"),
      number("--actno", F::kAutorunActno, 1, 255, "the preset or sequence it uses")}},
    {"video",
     M::kVideoWrite,
     kCurrentInfo,
     "change the video resolution (the daemon then restarts its streams)",
     {},
     {number("--resolution", F::kVideoResolution, 1, 3, "1 quadvga+vga, 2 vga+vga, 3 vga+qvga")
          .needed()}},
    {"mpeg",
     M::kMpegWrite,
     kCurrentInfo,
     "change the MPEG encoder (the daemon then restarts its streams)",
     {},
     {word("--enable", F::kMpegEnable, "the encoder"),
      number("--gop", F::kMpegGop, 1, 255, "group of pictures length"),
      word("--cbr", F::kMpegCbr, "constant bit rate"),
      number("--rate", F::kMpegRate, 1, 255, "frame rate + 1 with CBR on, quality with CBR off"),
      wide("--bitrate", F::kMpegBitrate, "bit rate, with CBR on").keep_current()}},
    {"jpeg",
     M::kJpegWrite,
     kCurrentNone,
     "change the JPEG encoder (the daemon then restarts its streams)",
     {},
     {word("--enable", F::kJpegEnable, "the encoder"),
      number("--quality", F::kJpegQuality, 1, 255, "quality")}},
    {"stream",
     M::kStreamWrite,
     kCurrentInfo,
     "change resolution, MPEG and JPEG at once (the daemon then restarts its streams)",
     {},
     {number("--resolution", F::kVideoResolution, 1, 3, "1 quadvga+vga, 2 vga+vga, 3 vga+qvga"),
      word("--mpeg-enable", F::kMpegEnable, "MPEG encoder"),
      number("--gop", F::kMpegGop, 1, 255, "group of pictures length"),
      word("--cbr", F::kMpegCbr, "constant bit rate"),
      number("--rate", F::kMpegRate, 1, 255, "frame rate + 1 with CBR on, quality with CBR off"),
      wide("--bitrate", F::kMpegBitrate, "bit rate, with CBR on").keep_current(),
      word("--jpeg-enable", F::kJpegEnable, "JPEG encoder"),
      number("--quality", F::kJpegQuality, 1, 255, "JPEG quality")}},
    {"alarm",
     M::kAlarmWrite,
     kCurrentNone,
     "change the alarm input and output",
     {},
     {word("--in", F::kAlarmIn, "alarm input"),
      word("--polarity", F::kAlarmInPolarity, "contact: normally open or normally closed"),
      word("--out", F::kAlarmOut, "alarm output"),
      word("--mode", F::kAlarmOutMode, "what drives the output").named(kAlarmModeCodes),
      number("--duration", F::kAlarmOutDuration, 1, 255, "how long the output stays on")}},
    {"osd",
     M::kOsdWrite,
     kCurrentNone,
     "change the on-screen display",
     {},
     {word("--enable", F::kOsdEnable, "the display"),
      number("--color", F::kOsdColor, 1, 255, "colour"),
      number("--flags", F::kOsdDisplayFlags, 1, 255,
             "sum of 0x20 text, 0x10 date, 0x08 time, 0x04 icons"),
      number("--extra", F::kOsdExtra, 1, 255, "extra byte (not stored)"),
      text("--text", F::kOsdTitle, 1, "text line")}},
    {"title",
     M::kTitleWrite,
     kCurrentNone,
     "change the camera title",
     {},
     {text("TEXT", F::kCameraTitle, 1, "the title").needed()}},
    {"privacy",
     M::kPrivacyWrite,
     kCurrentNone,
     "change the privacy mask",
     {},
     {word("--enable", F::kPrivacyEnable, "the mask"),
      number("--color", F::kPrivacyColor, 1, 255, "colour"),
      number("--areas", F::kPrivacyAreas, 1, 255, "area count"),
      wide("--left", F::kPrivacyLeft, "left edge"), wide("--top", F::kPrivacyTop, "top edge"),
      wide("--right", F::kPrivacyRight, "right edge"),
      wide("--bottom", F::kPrivacyBottom, "bottom edge")}},
    {"picture",
     M::kPictureWrite,
     kCurrentNone,
     "change the picture controls",
     {},
     {number("--brightness", F::kCamBrightness, 1, 255, "brightness"),
      number("--contrast", F::kCamContrast, 1, 255, "contrast"),
      number("--sharpness", F::kCamSharpness, 1, 255, "sharpness"),
      number("--hue", F::kCamHue, 1, 255, "hue"),
      number("--saturation", F::kCamSaturation, 1, 255, "saturation")}},
    {"whitebalance",
     M::kWhiteBalanceWrite,
     kCurrentNone,
     "change white balance and back-light compensation",
     {},
     {number("--wb", F::kCamWb, 1, 255, "white balance mode"),
      number("--manual", F::kCamWbManual, 1, 255, "manual white balance"),
      word("--blc", F::kCamBlc, "back-light compensation").named(kBacklightCodes)}},
    {"camcontrol2",
     M::kCamcontrol2Write,
     kCurrentNone,
     "change monochrome, negative, colour bar and sensor-up",
     {},
     {word("--monochrome", F::kCamMonochrome, "monochrome"),
      word("--negative", F::kCamNegative, "negative"),
      word("--colorbar", F::kCamColorbar, "colour bar"),
      number("--sensorup", F::kCamSensorup, 1, 255, "sensor-up")}},
};
const size_t kCommandCount = sizeof(kCommands) / sizeof(kCommands[0]);

const Command* find_command(int argc, char** argv, int* words) {
  for (*words = 2; *words >= 1; --*words) {
    if (argc < *words)
      continue;
    std::string name = *words == 2 ? std::string(argv[0]) + " " + argv[1] : argv[0];
    for (size_t i = 0; i < kCommandCount; i++) {
      if (name == kCommands[i].name)
        return &kCommands[i];
    }
  }
  return nullptr;
}

int parse_number(const char* text, uint32_t max, uint32_t* value) {
  if (text[0] < '0' || text[0] > '9')
    return -1;
  char* end = nullptr;
  errno = 0;
  unsigned long number = strtoul(text, &end, 0);
  if (errno != 0 || *end != 0 || number > max)
    return -1;
  *value = static_cast<uint32_t>(number);
  return 0;
}

uint8_t command_types(const Command& command) {
  return message(command.request).cameras;
}

uint8_t option_types(const Command& command, const CommandOption& option) {
  return option.types != 0 ? option.types : command_types(command);
}

namespace {

bool is_bare(const CommandOption& option) {
  return option.name[0] != '-';
}

size_t option_count(const Command& command) {
  size_t count = 0;
  while (count < kMaxOptions && command.options[count].name != nullptr)
    count++;
  return count;
}

// The option row as it applies: its device types, its codes (the field's own unless the
// row names others) and a text's width (the field's, unless the row says less).
CommandOption resolved(const Command& command, size_t row) {
  CommandOption option = command.options[row];
  option.types = option_types(command, option);
  if (option.codes == nullptr)
    option.codes = field_text(option.field).codes;
  const WireRow* wire = find_row(message(command.request), option.field);
  if (option.kind == kValueText && option.max == 0 && wire != nullptr)
    option.max = wire->width;
  return option;
}

// "a, b or c": the words joined for a message.
std::string join_words(const std::vector<std::string>& words) {
  std::string out;
  for (size_t i = 0; i < words.size(); i++)
    out += (i == 0 ? "" : i + 1 == words.size() ? " or " : ", ") + words[i];
  return out;
}

// The value of `text` for a byte or 16-bit option: 0 and the value, or -1.
int option_number(const CommandOption& option, const char* text, uint32_t* value) {
  uint8_t code = 0;
  if (code_value(option.codes, text, &code) == 0) {
    *value = code;
    return 0;
  }
  return option.max > 0 && parse_number(text, option.max, value) == 0 && *value >= option.min ? 0
                                                                                              : -1;
}

bool value_accepted(const CommandOption& option, const char* text) {
  uint32_t number = 0;
  switch (option.kind) {
    case kValueText:
      return strlen(text) >= option.min && strlen(text) <= option.max;
    case kValueByte:
    case kValueU16:
      return option_number(option, text, &number) == 0;
    case kValueFlag:
    case kValuePath:
      return true;
  }
  return false;
}

// A 16-bit value replaces its field; a byte value is OR-ed into it (two options may
// share a byte).
void write_value(const CommandOption& option, uint32_t value, RequestHeader* header) {
  if (option.kind != kValueU16)
    value |= request_get(*header, option.field);
  request_set(header, option.field, value);
}

std::string option_words(const Command& command) {
  std::string words;
  for (size_t i = 0; i < option_count(command); i++) {
    if (is_bare(command.options[i]))
      words += " " + std::string(command.options[i].name);
  }
  return words;
}

bool answered(const Command& command) {
  return message(command.request).answer != MessageId::kCount;
}

}  // namespace

std::string accepted_values(const CommandOption& option) {
  if (option.kind == kValueText)
    return (option.min > 0 ? "1 to " : "at most ") + std::to_string(option.max) + " characters";
  if (option.kind == kValueFlag)
    return "a flag";
  if (option.kind == kValuePath)
    return "a file name";
  std::vector<std::string> words;
  if (option.max > 0 && option.max == option.min + 1)
    words = {std::to_string(option.min), std::to_string(option.max)};
  else if (option.max > 0)
    words.push_back(std::to_string(option.min) + " to " + std::to_string(option.max));
  for (const CodeName* code = option.codes; code != nullptr && code->name != nullptr; code++) {
    bool seen = std::find(words.begin(), words.end(), code->name) != words.end();
    if (code->code != 0 && !seen)
      words.push_back(code->name);
  }
  return join_words(words);
}

int parse_command(const Command& command, int argc, char** argv, ParsedCommand* out) {
  *out = ParsedCommand();
  out->command = &command;
  size_t rows = option_count(command), next_bare = 0;
  for (int i = 0; i < argc; i++) {
    const char* name = argv[i];
    const char* value = nullptr;
    bool matched = false;
    if (answered(command) && strcmp(name, "--json") == 0) {
      out->json = true;
      continue;
    }
    if (name[0] != '-') {  // the next bare value
      while (next_bare < rows && !is_bare(command.options[next_bare]))
        next_bare++;
      if (next_bare < rows) {
        name = command.options[next_bare++].name;
        value = argv[i];
      }
    }
    for (size_t row = 0; row < rows; row++) {
      const CommandOption option = resolved(command, row);
      if (strcmp(option.name, name) != 0)
        continue;
      if (value == nullptr && option.kind == kValueFlag) {
        value = "";
      } else if (value == nullptr) {
        if (i + 1 >= argc) {
          console_error("camrc: %s %s: missing value (%s)\n", command.name, name,
                        accepted_values(option).c_str());
          return -1;
        }
        value = argv[++i];
      }
      if (!value_accepted(option, value)) {
        console_error("camrc: %s %s: bad value \"%s\", expected %s\n", command.name, name, value,
                      accepted_values(option).c_str());
        return -1;
      }
      out->values[row] = value;
      matched = true;
    }
    if (!matched) {
      console_error("camrc: %s: unexpected \"%s\"\n", command.name, argv[i]);
      return -1;
    }
  }
  for (size_t row = 0; row < rows; row++) {  // required whatever the device type
    const CommandOption option = resolved(command, row);
    bool required = is_bare(option) || (option.required && option.types == command_types(command));
    if (required && out->values[row] == nullptr) {
      console_error("camrc: %s: %s is required (%s)\n", command.name, option.name,
                    accepted_values(option).c_str());
      return -1;
    }
  }
  return 0;
}

const char* given_value(const ParsedCommand& parsed, const char* name) {
  for (size_t row = 0; row < option_count(*parsed.command); row++) {
    if (strcmp(parsed.command->options[row].name, name) == 0 && parsed.values[row] != nullptr)
      return parsed.values[row];
  }
  return nullptr;
}

int build_request(const ParsedCommand& parsed, uint8_t device_type, const DecodedReply* current,
                  RequestHeader* header) {
  const Command& command = *parsed.command;
  *header = make_request(command.request);
  uint8_t type = device_type_bit(device_type);
  for (const FixedField& fixed : command.fixed) {
    if (fixed.field != Field::kNone && (fixed.types & type) != 0)
      request_set(header, fixed.field, fixed.value);
  }
  size_t rows = option_count(command);
  for (size_t row = 0; row < rows; row++) {  // a given option some row of this type serves
    const char* value = parsed.values[row];
    bool served = false;
    for (size_t other = 0; other < rows; other++) {
      served = served || (strcmp(command.options[other].name, command.options[row].name) == 0 &&
                          (option_types(command, command.options[other]) & type) != 0);
    }
    if (value != nullptr && !served) {
      console_error("camrc: %s %s: the camera (device type %u) does not serve it\n", command.name,
                    command.options[row].name, device_type);
      return -2;
    }
  }
  for (size_t row = 0; row < rows; row++) {
    const CommandOption option = resolved(command, row);
    const char* value = parsed.values[row];
    uint32_t number = 0;
    if ((option.types & type) == 0 || option.kind == kValuePath)
      continue;
    if (value != nullptr && option.kind == kValueText) {
      request_set_text(header, option.field, value);
    } else if (value != nullptr && option.kind == kValueFlag) {
      request_set(header, option.field, request_get(*header, option.copies));
    } else if (value != nullptr) {
      option_number(option, value, &number);
      write_value(option, number, header);
    } else if (option.required) {
      console_error("camrc: %s: %s is required (%s)\n", command.name, option.name,
                    accepted_values(option).c_str());
      return -1;
    } else if (option.current && current != nullptr) {
      if (const FieldValue* field = find_field(*current, option.field))
        write_value(option, field->number, header);
    } else if (option.omitted != 0) {
      write_value(option, option.omitted, header);
    }
  }
  return 0;
}

std::string commands_help() {
  std::string out;
  for (size_t i = 0; i < kCommandCount; i++) {
    const Command& command = kCommands[i];
    uint8_t served_types = command_types(command);
    size_t rows = option_count(command);
    bool named_options = false;
    for (size_t row = 0; row < rows; row++)
      named_options = named_options || !is_bare(command.options[row]);
    std::string line = "  " + std::string(command.name) + option_words(command) +
                       (named_options ? " [OPTIONS]" : "") + (answered(command) ? " [--json]" : "");
    if (served_types == kFixedCameraType)
      line += "   (fixed cameras, device type 1)";
    else if (served_types == kPanTiltType)
      line += "   (pan/tilt cameras, device type 2)";
    out += line + "\n      " + command.help + "\n";
    for (size_t row = 0; row < rows; row++) {
      const CommandOption option = resolved(command, row);
      std::string types = option.types == served_types       ? ""
                          : option.types == kPanTiltType     ? " (pan/tilt)"
                          : option.types == kFixedCameraType ? " (fixed)"
                                                             : "";
      char text[160];
      snprintf(text, sizeof text, "      %-14s %s: %s%s\n", option.name,
               accepted_values(option).c_str(), option.help, types.c_str());
      out += text;
    }
  }
  return out;
}

}  // namespace camrcd
