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

constexpr const CodeName* kSw = kSwitchCodes;
constexpr const CodeName* kAct = kActCodes;
constexpr uint8_t kAny = kEveryType;
constexpr uint8_t kPt = kPanTilt;
constexpr uint8_t kFixed = kFixedCamera;

// Presets and motion areas are numbered 1 to 30, and 255 is the default position.
const CodeName kDefaultPosition[] = {{"255", 255}, {nullptr, 0}};
const CodeName kAlarmModeCodes[] = {{"none", 1}, {"s", 128}, {"m", 64}, {"sm", 192}, {nullptr, 0}};
const CodeName kBacklightCodes[] = {
    {"off", 1}, {"blc1", 2}, {"blc2", 3}, {"blc3", 4}, {nullptr, 0}};
// The motion switch and its mode share one byte. A fixed camera reads 0x20 as on and
// 0x10 as off, with the method in bits 0-1; a pan/tilt camera reads bits 0-1 as the
// switch, and its areas work only in block mode (0x10).
const CodeName kFixedDetectionCodes[] = {{"on", 0x20}, {"off", 0x10}, {nullptr, 0}};
const CodeName kAreaDetectionCodes[] = {{"on", 0x12}, {"off", 0x11}, {nullptr, 0}};

}  // namespace

// Rows: name, byte, kind, min, max, codes, types, current field, omitted value,
// required, help.
const CommandSpec kCommands[] = {
    {"info", "info", kAny, kCurrentNone, "print the device information", {{7, 1, kAny}}, {}},
    {"motion get",
     "motion-read",
     kAny,
     kCurrentNone,
     "print the motion settings (on a pan/tilt camera those of one area)",
     {{7, 1, kPt}},
     {{"--area", 8, kValueByte, 1, 30, kDefaultPosition, kPt, nullptr, 0, true,
       "the area: one per preset position"},
      {"--map", 0, kValuePath, 0, 0, nullptr, kAny, nullptr, 0, false,
       "receives the 4801-byte block map"}}},
    {"motion set",
     "motion",
     kAny,
     kCurrentMotion,
     "send the motion settings and block map (on a pan/tilt camera those of one area)",
     {{9, 1, kAny}},
     {{"--map", 0, kValuePath, 0, 0, nullptr, kAny, nullptr, 0, false,
       "holds the 4801-byte block map to send (default: the current map)"},
      {"--detection", 5, kValueByte, 0, 0, kFixedDetectionCodes, kFixed, nullptr, 0, false,
       "motion detection"},
      {"--method", 5, kValueByte, 1, 2, nullptr, kFixed, nullptr, 0, false, "detection method"},
      {"--area", 12, kValueByte, 1, 30, kDefaultPosition, kPt, nullptr, 0, true, "the area"},
      {"--detection", 5, kValueByte, 0, 0, kAreaDetectionCodes, kPt, "motion_flags", 0, false,
       "motion detection of every area"},
      {"--enable", 13, kValueByte, 0, 0, kSw, kPt, "md_enable", 0, false, "this area"},
      {"--act", 14, kValueByte, 0, 0, kAct, kPt, "md_act", 0, false, "what motion starts"},
      {"--actno", 15, kValueByte, 1, 255, nullptr, kPt, "md_actno", 0, false,
       "the preset or sequence it starts"},
      {"--relay", 16, kValueByte, 1, 255, kRelayCodes, kPt, "md_relay", 0, false, "relay code"},
      {"--record", 17, kValueByte, 0, 0, kSw, kPt, "md_record", 0, false, "recording"},
      {"--email", 18, kValueByte, 0, 0, kSw, kPt, "md_email", 0, false, "e-mail"},
      {"--manual", 20, kValueByte, 0, 0, kSw, kPt, "manual_enable", 0, false,
       "manual motion settings"},
      {"--threshold", 21, kValueByte, 1, 255, nullptr, kPt, "manual_threshold", 0, false,
       "manual threshold"},
      {"--sens", 22, kValueByte, 1, 255, nullptr, kPt, "manual_sens", 0, false,
       "manual sensitivity"}}},
    {"alarm-link get",
     "alarm-link-read",
     kPt,
     kCurrentNone,
     "print the links of alarm input IN and alarm output OUT",
     {},
     {{"IN", 8, kValueByte, 1, 99, nullptr, kPt, nullptr, 0, true, "alarm input"},
      {"OUT", 9, kValueByte, 1, 9, nullptr, kPt, nullptr, 0, true, "alarm output"}}},
    {"alarm-link set",
     "alarm-link",
     kPt,
     kCurrentAlarmLink,
     "change the links of alarm input IN and alarm output OUT",
     {},
     {{"IN", 7, kValueByte, 1, 99, nullptr, kPt, nullptr, 0, true, "alarm input"},
      {"OUT", 17, kValueByte, 1, 9, nullptr, kPt, nullptr, 0, true, "alarm output"},
      {"--inputs", 6, kValueByte, 0, 0, kSw, kPt, "alin_allen", 0, false,
       "master switch of every alarm input"},
      {"--enable", 8, kValueByte, 0, 0, kSw, kPt, "alarmin_enable", 0, false, "the input"},
      {"--type", 9, kValueByte, 0, 0, kInputTypeCodes, kPt, "alarmin_type", 0, false,
       "contact: normally open or normally closed"},
      {"--priority", 10, kValueByte, 1, 255, nullptr, kPt, "alarmin_priority", 0, false,
       "priority"},
      {"--act", 11, kValueByte, 0, 0, kAct, kPt, "alarmin_act", 0, false, "what the input starts"},
      {"--actno", 12, kValueByte, 1, 255, nullptr, kPt, "alarmin_actno", 0, false,
       "the preset or sequence it starts"},
      {"--relay", 13, kValueByte, 1, 255, kRelayCodes, kPt, "alarmin_relay", 0, false,
       "relay code"},
      {"--record", 14, kValueByte, 0, 0, kSw, kPt, "alarmin_record", 0, false, "recording"},
      {"--email", 15, kValueByte, 0, 0, kSw, kPt, "alarmin_email", 0, false, "e-mail"},
      {"--outputs", 16, kValueByte, 0, 0, kSw, kPt, "alout_allen", 0, false,
       "master switch of every alarm output"},
      {"--out-enable", 18, kValueByte, 0, 0, kSw, kPt, "alarmout_enable", 0, false, "the output"},
      {"--dwell", 19, kValueByte, 1, 255, nullptr, kPt, "alarmout_dwell", 0, false,
       "how long the output stays on (255 counts as 1)"},
      {"--linkage", 20, kValueByte, 0, 0, kLinkageCodes, kPt, "alarmout_linkage", 0, false,
       "what drives the output"}}},
    {"preset get",
     "preset-read",
     kPt,
     kCurrentNone,
     "print preset N; the camera moves to it (not to 255, the default position)",
     {{7, 1, kPt}},
     {{"N", 8, kValueByte, 1, 30, kDefaultPosition, kPt, nullptr, 0, true, "the preset"}}},
    // The camera takes the name even when it is empty, and no read shows a preset's
    // values without moving the camera there: so the name is required, and the other
    // values of the preset default to the camera's own. The file-wide home and
    // md-first, which the daemon holds only after a preset read, come from preset 255.
    {"preset set",
     "preset",
     kPt,
     kCurrentPresets,
     "store the camera's position as preset N, with all of its values",
     {},
     {{"N", 11, kValueByte, 1, 30, nullptr, kPt, nullptr, 0, true, "the preset"},
      {"--name", 14, kValueText, 0, 10, nullptr, kPt, nullptr, 0, true, "its name (required)"},
      {"--enable", 10, kValueByte, 0, 0, kSw, kPt, nullptr, 2, false,
       "on stores the position, off clears it (default on)"},
      {"--dwell", 12, kValueByte, 1, 255, nullptr, kPt, nullptr, 5, false,
       "dwell time (default 5)"},
      {"--group", 13, kValueByte, 1, 255, nullptr, kPt, nullptr, 255, false,
       "group number (default 255)"},
      {"--home", 7, kValueFlag, 11, 0, nullptr, kPt, "home", 0, false,
       "make preset N the home position"},
      {"--md-first", 8, kValueByte, 1, 255, nullptr, kPt, "md_first", 0, false,
       "the file-wide md-first value"}}},
    {"preset clear",
     "preset",
     kPt,
     kCurrentNone,
     "delete preset N and its motion area, and clear its position",
     {{6, 0x02, kPt}},
     {{"N", 11, kValueByte, 1, 30, nullptr, kPt, nullptr, 0, true, "the preset"}}},
    {"preset clear-all",
     "preset",
     kPt,
     kCurrentNone,
     "delete every preset and motion area but the default position's, clear every position",
     {{6, 0x20, kPt}},
     {}},
    {"autorun",
     "autorun",
     kPt,
     kCurrentNone,
     "change auto-pan, the poa action and auto-run",
     {},
     {{"--direction", 4, kValueByte, 0, 0, kDirectionCodes, kPt, nullptr, 0, false,
       "auto-pan direction"},
      {"--speed", 5, kValueByte, 1, 255, nullptr, kPt, nullptr, 0, false, "auto-pan speed"},
      {"--poa-enable", 6, kValueByte, 0, 0, kSw, kPt, nullptr, 0, false, "the poa action"},
      {"--poa-act", 7, kValueByte, 0, 0, kPoaActCodes, kPt, nullptr, 0, false,
       "what the poa action does"},
      {"--poa-actno", 8, kValueByte, 1, 255, nullptr, kPt, nullptr, 0, false,
       "the preset or sequence it uses"},
      {"--enable", 9, kValueByte, 0, 0, kSw, kPt, nullptr, 0, false, "auto-run"},
      {"--waittime", 10, kValueByte, 1, 255, nullptr, kPt, nullptr, 0, false,
       "idle time before auto-run starts"},
      {"--act", 11, kValueByte, 0, 0, kAct, kPt, nullptr, 0, false, "what auto-run does"},
      {"--actno", 12, kValueByte, 1, 255, nullptr, kPt, nullptr, 0, false,
       "the preset or sequence it uses"}}},
    {"video",
     "video",
     kAny,
     kCurrentInfo,
     "change the video resolution (the daemon then restarts its streams)",
     {},
     {{"--resolution", 4, kValueByte, 1, 3, nullptr, kAny, nullptr, 0, true,
       "1 quadvga+vga, 2 vga+vga, 3 vga+qvga"}}},
    {"mpeg",
     "mpeg",
     kAny,
     kCurrentInfo,
     "change the MPEG encoder (the daemon then restarts its streams)",
     {},
     {{"--enable", 4, kValueByte, 0, 0, kSw, kAny, nullptr, 0, false, "the encoder"},
      {"--gop", 5, kValueByte, 1, 255, nullptr, kAny, nullptr, 0, false,
       "group of pictures length"},
      {"--cbr", 6, kValueByte, 0, 0, kSw, kAny, nullptr, 0, false, "constant bit rate"},
      {"--rate", 7, kValueByte, 1, 255, nullptr, kAny, nullptr, 0, false,
       "frame rate + 1 with CBR on, quality with CBR off"},
      {"--bitrate", 8, kValueU16, 1, 65535, nullptr, kAny, "mpeg_bitrate", 0, false,
       "bit rate, with CBR on"}}},
    {"jpeg",
     "jpeg",
     kAny,
     kCurrentNone,
     "change the JPEG encoder (the daemon then restarts its streams)",
     {},
     {{"--enable", 4, kValueByte, 0, 0, kSw, kAny, nullptr, 0, false, "the encoder"},
      {"--quality", 5, kValueByte, 1, 255, nullptr, kAny, nullptr, 0, false, "quality"}}},
    {"stream",
     "stream",
     kAny,
     kCurrentInfo,
     "change resolution, MPEG and JPEG at once (the daemon then restarts its streams)",
     {},
     {{"--resolution", 4, kValueByte, 1, 3, nullptr, kAny, nullptr, 0, false,
       "1 quadvga+vga, 2 vga+vga, 3 vga+qvga"},
      {"--mpeg-enable", 5, kValueByte, 0, 0, kSw, kAny, nullptr, 0, false, "MPEG encoder"},
      {"--gop", 6, kValueByte, 1, 255, nullptr, kAny, nullptr, 0, false,
       "group of pictures length"},
      {"--cbr", 7, kValueByte, 0, 0, kSw, kAny, nullptr, 0, false, "constant bit rate"},
      {"--rate", 8, kValueByte, 1, 255, nullptr, kAny, nullptr, 0, false,
       "frame rate + 1 with CBR on, quality with CBR off"},
      {"--bitrate", 9, kValueU16, 1, 65535, nullptr, kAny, "mpeg_bitrate", 0, false,
       "bit rate, with CBR on"},
      {"--jpeg-enable", 11, kValueByte, 0, 0, kSw, kAny, nullptr, 0, false, "JPEG encoder"},
      {"--quality", 12, kValueByte, 1, 255, nullptr, kAny, nullptr, 0, false, "JPEG quality"}}},
    {"alarm",
     "alarm",
     kFixed,
     kCurrentNone,
     "change the alarm input and output",
     {},
     {{"--in", 4, kValueByte, 0, 0, kSw, kFixed, nullptr, 0, false, "alarm input"},
      {"--polarity", 5, kValueByte, 0, 0, kPolarityCodes, kFixed, nullptr, 0, false,
       "contact: normally open or normally closed"},
      {"--out", 6, kValueByte, 0, 0, kSw, kFixed, nullptr, 0, false, "alarm output"},
      {"--mode", 7, kValueByte, 0, 0, kAlarmModeCodes, kFixed, nullptr, 0, false,
       "what drives the output"},
      {"--duration", 8, kValueByte, 1, 255, nullptr, kFixed, nullptr, 0, false,
       "how long the output stays on"}}},
    {"osd",
     "osd",
     kAny,
     kCurrentNone,
     "change the on-screen display",
     {},
     {{"--enable", 4, kValueByte, 0, 0, kSw, kAny, nullptr, 0, false, "the display"},
      {"--color", 5, kValueByte, 1, 255, nullptr, kAny, nullptr, 0, false, "colour"},
      {"--flags", 6, kValueByte, 1, 255, nullptr, kAny, nullptr, 0, false,
       "sum of 0x20 text, 0x10 date, 0x08 time, 0x04 icons"},
      {"--extra", 7, kValueByte, 1, 255, nullptr, kAny, nullptr, 0, false,
       "extra byte (not stored)"},
      {"--text", 8, kValueText, 1, 20, nullptr, kAny, nullptr, 0, false, "text line"}}},
    {"title",
     "title",
     kAny,
     kCurrentNone,
     "change the camera title",
     {},
     {{"TEXT", 4, kValueText, 1, 20, nullptr, kAny, nullptr, 0, true, "the title"}}},
    {"privacy",
     "privacy",
     kFixed,
     kCurrentNone,
     "change the privacy mask",
     {},
     {{"--enable", 4, kValueByte, 0, 0, kSw, kFixed, nullptr, 0, false, "the mask"},
      {"--color", 5, kValueByte, 1, 255, nullptr, kFixed, nullptr, 0, false, "colour"},
      {"--areas", 6, kValueByte, 1, 255, nullptr, kFixed, nullptr, 0, false, "area count"},
      {"--left", 7, kValueU16, 1, 65535, nullptr, kFixed, nullptr, 0, false, "left edge"},
      {"--top", 9, kValueU16, 1, 65535, nullptr, kFixed, nullptr, 0, false, "top edge"},
      {"--right", 11, kValueU16, 1, 65535, nullptr, kFixed, nullptr, 0, false, "right edge"},
      {"--bottom", 13, kValueU16, 1, 65535, nullptr, kFixed, nullptr, 0, false, "bottom edge"}}},
    {"picture",
     "picture",
     kAny,
     kCurrentNone,
     "change the picture controls",
     {},
     {{"--brightness", 4, kValueByte, 1, 255, nullptr, kAny, nullptr, 0, false, "brightness"},
      {"--contrast", 5, kValueByte, 1, 255, nullptr, kAny, nullptr, 0, false, "contrast"},
      {"--sharpness", 6, kValueByte, 1, 255, nullptr, kAny, nullptr, 0, false, "sharpness"},
      {"--hue", 7, kValueByte, 1, 255, nullptr, kAny, nullptr, 0, false, "hue"},
      {"--saturation", 8, kValueByte, 1, 255, nullptr, kAny, nullptr, 0, false, "saturation"}}},
    {"whitebalance",
     "white-balance",
     kAny,
     kCurrentNone,
     "change white balance and back-light compensation",
     {},
     {{"--wb", 4, kValueByte, 1, 255, nullptr, kAny, nullptr, 0, false, "white balance mode"},
      {"--manual", 5, kValueByte, 1, 255, nullptr, kAny, nullptr, 0, false, "manual white balance"},
      {"--blc", 6, kValueByte, 0, 0, kBacklightCodes, kAny, nullptr, 0, false,
       "back-light compensation"}}},
    {"camcontrol2",
     "camcontrol2",
     kAny,
     kCurrentNone,
     "change monochrome, negative, colour bar and sensor-up",
     {},
     {{"--monochrome", 4, kValueByte, 0, 0, kSw, kAny, nullptr, 0, false, "monochrome"},
      {"--negative", 5, kValueByte, 0, 0, kSw, kAny, nullptr, 0, false, "negative"},
      {"--colorbar", 6, kValueByte, 0, 0, kSw, kAny, nullptr, 0, false, "colour bar"},
      {"--sensorup", 7, kValueByte, 1, 255, nullptr, kAny, nullptr, 0, false, "sensor-up"}}},
};
const size_t kCommandCount = sizeof(kCommands) / sizeof(kCommands[0]);

const CommandSpec* find_command(int argc, char** argv, int* words) {
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

namespace {

bool is_bare(const CommandOption& option) {
  return option.name[0] != '-';
}

size_t option_count(const CommandSpec& spec) {
  size_t count = 0;
  while (count < kMaxOptions && spec.options[count].name != nullptr)
    count++;
  return count;
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

void write_value(const CommandOption& option, uint32_t value, RequestHeader* header) {
  if (option.kind == kValueU16)
    request_set_u16(header, option.offset, static_cast<uint16_t>(value));
  else
    request_set_byte(header, option.offset, header->bytes[option.offset] | value);
}

std::string option_words(const CommandSpec& spec) {
  std::string words;
  for (size_t i = 0; i < option_count(spec); i++) {
    if (is_bare(spec.options[i]))
      words += " " + std::string(spec.options[i].name);
  }
  return words;
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

int parse_command(const CommandSpec& spec, int argc, char** argv, ParsedCommand* out) {
  *out = ParsedCommand();
  out->spec = &spec;
  const RequestKind* kind = find_request_kind(spec.request);
  size_t rows = option_count(spec), next_bare = 0;
  for (int i = 0; i < argc; i++) {
    const char* name = argv[i];
    const char* value = nullptr;
    bool matched = false;
    if (kind->answered && strcmp(name, "--json") == 0) {
      out->json = true;
      continue;
    }
    if (name[0] != '-') {  // the next bare value
      while (next_bare < rows && !is_bare(spec.options[next_bare]))
        next_bare++;
      if (next_bare < rows) {
        name = spec.options[next_bare++].name;
        value = argv[i];
      }
    }
    for (size_t row = 0; row < rows; row++) {
      const CommandOption& option = spec.options[row];
      if (strcmp(option.name, name) != 0)
        continue;
      if (value == nullptr && option.kind == kValueFlag) {
        value = "";
      } else if (value == nullptr) {
        if (i + 1 >= argc) {
          console_error("camrc: %s %s: missing value (%s)\n", spec.name, name,
                        accepted_values(option).c_str());
          return -1;
        }
        value = argv[++i];
      }
      if (!value_accepted(option, value)) {
        console_error("camrc: %s %s: bad value \"%s\", expected %s\n", spec.name, name, value,
                      accepted_values(option).c_str());
        return -1;
      }
      out->values[row] = value;
      matched = true;
    }
    if (!matched) {
      console_error("camrc: %s: unexpected \"%s\"\n", spec.name, argv[i]);
      return -1;
    }
  }
  for (size_t row = 0; row < rows; row++) {  // required whatever the device type
    const CommandOption& option = spec.options[row];
    bool required = is_bare(option) || (option.required && option.types == spec.types);
    if (required && out->values[row] == nullptr) {
      console_error("camrc: %s: %s is required (%s)\n", spec.name, option.name,
                    accepted_values(option).c_str());
      return -1;
    }
  }
  return 0;
}

const char* given_value(const ParsedCommand& parsed, const char* name) {
  for (size_t row = 0; row < option_count(*parsed.spec); row++) {
    if (strcmp(parsed.spec->options[row].name, name) == 0 && parsed.values[row] != nullptr)
      return parsed.values[row];
  }
  return nullptr;
}

int build_request(const ParsedCommand& parsed, uint8_t device_type, const DecodedReply* current,
                  RequestHeader* header) {
  const CommandSpec& spec = *parsed.spec;
  const RequestKind* kind = find_request_kind(spec.request);
  *header = make_request(kind->command_class, kind->sub);
  uint8_t type = type_bit(device_type);
  for (const FixedByte& fixed : spec.fixed) {
    if (fixed.offset != 0 && (fixed.types & type) != 0)
      request_set_byte(header, fixed.offset, fixed.value);
  }
  size_t rows = option_count(spec);
  for (size_t row = 0; row < rows; row++) {  // a given option some row of this type serves
    const char* value = parsed.values[row];
    bool served = false;
    for (size_t other = 0; other < rows; other++) {
      served = served || (strcmp(spec.options[other].name, spec.options[row].name) == 0 &&
                          (spec.options[other].types & type) != 0);
    }
    if (value != nullptr && !served) {
      console_error("camrc: %s %s: the camera (device type %u) does not serve it\n", spec.name,
                    spec.options[row].name, device_type);
      return -2;
    }
  }
  for (size_t row = 0; row < rows; row++) {
    const CommandOption& option = spec.options[row];
    const char* value = parsed.values[row];
    uint32_t number = 0;
    if ((option.types & type) == 0 || option.kind == kValuePath)
      continue;
    if (value != nullptr && option.kind == kValueText) {
      request_set_text(header, option.offset, option.max, value);
    } else if (value != nullptr && option.kind == kValueFlag) {
      request_set_byte(header, option.offset, header->bytes[option.min]);
    } else if (value != nullptr) {
      option_number(option, value, &number);
      write_value(option, number, header);
    } else if (option.required) {
      console_error("camrc: %s: %s is required (%s)\n", spec.name, option.name,
                    accepted_values(option).c_str());
      return -1;
    } else if (option.current != nullptr && current != nullptr) {
      if (const FieldValue* field = find_field(*current, option.current))
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
    const CommandSpec& spec = kCommands[i];
    bool answered = find_request_kind(spec.request)->answered;
    size_t rows = option_count(spec);
    bool named_options = false;
    for (size_t row = 0; row < rows; row++)
      named_options = named_options || !is_bare(spec.options[row]);
    std::string line = "  " + std::string(spec.name) + option_words(spec) +
                       (named_options ? " [OPTIONS]" : "") + (answered ? " [--json]" : "");
    if (spec.types == kFixedCamera)
      line += "   (fixed cameras, device type 1)";
    else if (spec.types == kPanTilt)
      line += "   (pan/tilt cameras, device type 2)";
    out += line + "\n      " + spec.help + "\n";
    for (size_t row = 0; row < rows; row++) {
      const CommandOption& option = spec.options[row];
      std::string types = option.types == spec.types     ? ""
                          : option.types == kPanTilt     ? " (pan/tilt)"
                          : option.types == kFixedCamera ? " (fixed)"
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
