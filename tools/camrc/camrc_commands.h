// camrc's commands: one table row per command (its request, whose cameras are the
// device types that serve it, the read whose reply supplies omitted values, its
// options), one row per option (the request field it fills, how its value reads and
// its range; where the field stands comes from the request's table). An option that is
// not given sends 0, which the server takes as "unchanged", unless its row names what
// to send instead: the field's current value from a reply (for bytes the server takes
// even when 0, and for values of a numbered section that the server's record may not
// hold), or a fixed value.
//
// Parsing keeps each option's text; the header is built once the device type is
// known, from the rows that type serves (an option may have a row per type).
#ifndef CAMRCD_TOOLS_CAMRC_CAMRC_COMMANDS_H_
#define CAMRCD_TOOLS_CAMRC_CAMRC_COMMANDS_H_

#include <stddef.h>
#include <stdint.h>

#include <string>

#include "client/client_request.h"
#include "client/reply_fields.h"
#include "protocol/wire_text.h"

namespace camrcd {

enum ValueKind : uint8_t {
  kValueByte,  // a number min..max or a name from its codes, OR-ed into its byte
  kValueU16,   // a number min..max, little-endian
  kValueText,  // at most max characters
  kValueFlag,  // takes no value: copies the request's field `copies` into its field
  kValuePath,  // a file camrc reads or writes; fills no request field
};

struct CommandOption {
  const char* name;  // "--dwell", or an upper-case word for a bare value ("N")
  Field field;       // the request field it fills
  ValueKind kind;
  uint16_t min, max;      // numbers accepted (none when max is 0); texts: max length
  const CodeName* codes;  // named values; nullptr: the field's own
  uint8_t types;          // device types that serve this row; 0: the command's
  bool current;           // omitted: send the field's value in the command's current read
  uint16_t omitted;       // omitted and no current value: send this (0: unchanged)
  bool required;          // bare values are always required
  Field copies;           // a flag's source field
  const char* help;

  constexpr CommandOption on(uint8_t device_types) const {
    CommandOption o = *this;
    o.types = device_types;
    return o;
  }
  constexpr CommandOption keep_current() const {
    CommandOption o = *this;
    o.current = true;
    return o;
  }
  constexpr CommandOption or_send(uint16_t value) const {
    CommandOption o = *this;
    o.omitted = value;
    return o;
  }
  constexpr CommandOption needed() const {
    CommandOption o = *this;
    o.required = true;
    return o;
  }
  constexpr CommandOption named(const CodeName* names) const {
    CommandOption o = *this;
    o.codes = names;
    return o;
  }
};

// The read whose reply gives the current values of a write's omitted options.
enum CurrentRead : uint8_t {
  kCurrentNone,
  kCurrentInfo,       // the device information camrc reads first anyway
  kCurrentMotion,     // the motion read of the same area
  kCurrentAlarmLink,  // the alarm link read of the same input and output
  kCurrentPresets,    // the preset read of 255, the default position: it moves nothing
};

inline constexpr size_t kMaxOptions = 16;

struct FixedField {
  Field field;  // kNone: no field
  uint16_t value;
  uint8_t types;  // device types whose request carries it
};

struct Command {
  const char* name;   // "picture", "preset set"
  MessageId request;  // whose cameras are the device types that serve the command
  CurrentRead current;
  const char* help;
  FixedField fixed[2];                 // request fields the command always sets
  CommandOption options[kMaxOptions];  // ends with a row whose name is nullptr
};

// The device types that serve a command and one of its option rows.
uint8_t command_types(const Command& command);
uint8_t option_types(const Command& command, const CommandOption& option);

extern const Command kCommands[];
extern const size_t kCommandCount;

// The command named by argv[0], or by argv[0] and argv[1] ("preset set"); *words is
// set to the number of words its name took. nullptr when there is none.
const Command* find_command(int argc, char** argv, int* words);

// A command line read against its table row.
struct ParsedCommand {
  const Command* command = nullptr;
  const char* values[kMaxOptions] = {};  // per option row: its text, "" for a flag
  bool json = false;                     // --json (read commands)
};

// Reads the arguments after the command's name. 0, or -1 after printing a one-line
// usage error that names the accepted values.
int parse_command(const Command& command, int argc, char** argv, ParsedCommand* out);

// The value given for the option named `name` (any row), or nullptr.
const char* given_value(const ParsedCommand& parsed, const char* name);

// Builds the request for a camera of device_type: fixed bytes, given options, then for
// omitted ones their current value (from `current`, which may be nullptr when the
// command has no current read) or their fixed value. 0; -1 after printing why (a
// required option missing); -2 after printing that this device type does not serve a
// given option.
int build_request(const ParsedCommand& parsed, uint8_t device_type, const DecodedReply* current,
                  RequestHeader* header);

// Reads a number 0..max (decimal or 0x hex): 0 and the value, or -1.
int parse_number(const char* text, uint32_t max, uint32_t* value);

// The accepted values of an option, for messages: "on or off", "1 to 255".
std::string accepted_values(const CommandOption& option);

// The commands and their options, as --help prints them.
std::string commands_help();

}  // namespace camrcd

#endif  // CAMRCD_TOOLS_CAMRC_CAMRC_COMMANDS_H_
