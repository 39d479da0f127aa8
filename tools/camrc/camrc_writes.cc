// The write command table and the option reader that fills a request header from it.
// Byte positions are those of the server's field copies: a request's fields start at
// byte 4 of its header.
#include "camrc_writes.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>

#include <string>

#include "platform/console.h"

namespace camrcd {

namespace {

constexpr const CodeName* kSw = kSwitchCodes;
constexpr uint8_t kTitleWidth = 20;

}  // namespace

const WriteCommand kWriteCommands[] = {
    {"video", "video", nullptr, {{"--resolution", 4, kValueByte, 0, nullptr}}},
    {"mpeg",
     "mpeg",
     nullptr,
     {{"--enable", 4, kValueByte, 0, kSw},
      {"--gop", 5, kValueByte, 0, nullptr},
      {"--cbr", 6, kValueByte, 0, kSw},
      {"--rate", 7, kValueByte, 0, nullptr},
      {"--bitrate", 8, kValueU16, 0, nullptr}}},
    {"jpeg",
     "jpeg",
     nullptr,
     {{"--enable", 4, kValueByte, 0, kSw}, {"--quality", 5, kValueByte, 0, nullptr}}},
    {"stream",
     "stream",
     nullptr,
     {{"--resolution", 4, kValueByte, 0, nullptr},
      {"--mpeg-enable", 5, kValueByte, 0, kSw},
      {"--gop", 6, kValueByte, 0, nullptr},
      {"--cbr", 7, kValueByte, 0, kSw},
      {"--rate", 8, kValueByte, 0, nullptr},
      {"--bitrate", 9, kValueU16, 0, nullptr},
      {"--jpeg-enable", 11, kValueByte, 0, kSw},
      {"--quality", 12, kValueByte, 0, nullptr}}},
    {"autorun",
     "autorun",
     nullptr,
     {{"--direction", 4, kValueByte, 0, nullptr},
      {"--speed", 5, kValueByte, 0, nullptr},
      {"--poa-enable", 6, kValueByte, 0, kSw},
      {"--poa-act", 7, kValueByte, 0, nullptr},
      {"--poa-actno", 8, kValueByte, 0, nullptr},
      {"--enable", 9, kValueByte, 0, kSw},
      {"--waittime", 10, kValueByte, 0, nullptr},
      {"--act", 11, kValueByte, 0, nullptr},
      {"--actno", 12, kValueByte, 0, nullptr}}},
    {"alarm",
     "alarm",
     nullptr,
     {{"--in", 4, kValueByte, 0, kSw},
      {"--polarity", 5, kValueByte, 0, kPolarityCodes},
      {"--out", 6, kValueByte, 0, kSw},
      {"--mode", 7, kValueByte, 0, nullptr},
      {"--duration", 8, kValueByte, 0, nullptr}}},
    {"osd",
     "osd",
     nullptr,
     {{"--enable", 4, kValueByte, 0, kSw},
      {"--color", 5, kValueByte, 0, nullptr},
      {"--flags", 6, kValueByte, 0, nullptr},
      {"--extra", 7, kValueByte, 0, nullptr},
      {"--text", 8, kValueText, kTitleWidth, nullptr}}},
    {"title", "title", "--text", {{"--text", 4, kValueText, kTitleWidth, nullptr}}},
    {"privacy",
     "privacy",
     nullptr,
     {{"--enable", 4, kValueByte, 0, kSw},
      {"--color", 5, kValueByte, 0, nullptr},
      {"--areas", 6, kValueByte, 0, nullptr},
      {"--left", 7, kValueU16, 0, nullptr},
      {"--top", 9, kValueU16, 0, nullptr},
      {"--right", 11, kValueU16, 0, nullptr},
      {"--bottom", 13, kValueU16, 0, nullptr}}},
    {"picture",
     "picture",
     nullptr,
     {{"--brightness", 4, kValueByte, 0, nullptr},
      {"--contrast", 5, kValueByte, 0, nullptr},
      {"--sharpness", 6, kValueByte, 0, nullptr},
      {"--hue", 7, kValueByte, 0, nullptr},
      {"--saturation", 8, kValueByte, 0, nullptr}}},
    {"whitebalance",
     "white-balance",
     nullptr,
     {{"--wb", 4, kValueByte, 0, nullptr},
      {"--manual", 5, kValueByte, 0, nullptr},
      {"--blc", 6, kValueByte, 0, nullptr}}},
    {"camcontrol2",
     "camcontrol2",
     nullptr,
     {{"--monochrome", 4, kValueByte, 0, kSw},
      {"--negative", 5, kValueByte, 0, kSw},
      {"--colorbar", 6, kValueByte, 0, kSw},
      {"--sensorup", 7, kValueByte, 0, nullptr}}},
};
const size_t kWriteCommandCount = sizeof(kWriteCommands) / sizeof(kWriteCommands[0]);

// The motion write: bytes 4-5 are the map's valid and flags bytes; byte 12 is the
// motion area set on pan/tilt cameras (0 there means nothing is saved).
const WriteCommand kMotionSetOptions = {"motion set",
                                        "motion",
                                        nullptr,
                                        {{"--valid", 4, kValueByte, 0, nullptr},
                                         {"--flags", 5, kValueByte, 0, nullptr},
                                         {"--area", 12, kValueByte, 0, nullptr}}};

// The motion read: byte 8 selects the area set once the version (bytes 6-7) is set.
const WriteCommand kMotionGetOptions = {
    "motion get", "motion-read", nullptr, {{"--area", 8, kValueByte, 0, nullptr}}};

const WriteCommand* find_write_command(const char* name) {
  for (size_t i = 0; i < kWriteCommandCount; i++) {
    if (strcmp(kWriteCommands[i].name, name) == 0)
      return &kWriteCommands[i];
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

const WriteOption* find_option(const WriteCommand& command, const char* name) {
  for (const WriteOption* option = command.options; option->name != nullptr; option++) {
    if (strcmp(option->name, name) == 0)
      return option;
  }
  return nullptr;
}

// "on|off", "N" or "TEXT": the value an option takes.
std::string value_hint(const WriteOption& option) {
  if (option.kind == kValueText)
    return "TEXT";
  if (option.codes == nullptr)
    return "N";
  std::string hint;
  for (const CodeName* code = option.codes; code->name != nullptr; code++)
    hint += (hint.empty() ? "" : "|") + std::string(code->name);
  return hint;
}

int set_value(const WriteCommand& command, const WriteOption& option, const char* text,
              RequestHeader* header) {
  uint32_t number = 0;
  uint8_t code = 0;
  switch (option.kind) {
    case kValueText:
      if (strlen(text) > option.width)
        break;
      request_set_text(header, option.offset, option.width, text);
      return 0;
    case kValueU16:
      if (parse_number(text, 0xFFFF, &number) != 0)
        break;
      request_set_u16(header, option.offset, static_cast<uint16_t>(number));
      return 0;
    case kValueByte:
      if (code_value(option.codes, text, &code) == 0) {
        request_set_byte(header, option.offset, code);
        return 0;
      }
      if (parse_number(text, 0xFF, &number) != 0)
        break;
      request_set_byte(header, option.offset, static_cast<uint8_t>(number));
      return 0;
  }
  std::string expected = value_hint(option);
  if (option.kind == kValueText)
    expected += " of at most " + std::to_string(option.width) + " characters";
  console_error("camrc: %s %s: bad value \"%s\", expected %s\n", command.name, option.name, text,
                expected.c_str());
  return -1;
}

}  // namespace

int parse_write_options(const WriteCommand& command, int argc, char** argv, RequestHeader* header) {
  for (int i = 0; i < argc; i++) {
    const WriteOption* option = find_option(command, argv[i]);
    if (option == nullptr && command.positional != nullptr && argv[i][0] != '-') {
      if (set_value(command, *find_option(command, command.positional), argv[i], header) != 0)
        return -1;
      continue;
    }
    if (option == nullptr) {
      console_error("camrc: %s: unknown option \"%s\"\n", command.name, argv[i]);
      return -1;
    }
    if (i + 1 >= argc) {
      console_error("camrc: %s %s: missing value\n", command.name, option->name);
      return -1;
    }
    if (set_value(command, *option, argv[++i], header) != 0)
      return -1;
  }
  return 0;
}

void print_write_usage() {
  for (size_t i = 0; i < kWriteCommandCount; i++) {
    const WriteCommand& command = kWriteCommands[i];
    std::string line = "  " + std::string(command.name);
    if (command.positional != nullptr)
      line += " TEXT |";
    for (const WriteOption* option = command.options; option->name != nullptr; option++)
      line += " [" + std::string(option->name) + " " + value_hint(*option) + "]";
    console_print("%s\n", line.c_str());
  }
}

}  // namespace camrcd
