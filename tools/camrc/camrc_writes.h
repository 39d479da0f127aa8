// camrc's write commands: one table row per command (its request and its options),
// one row per option (the header byte it fills, its width and how its value reads).
// An option that is not given leaves its byte 0, which the server takes as
// "unchanged"; switches read on/off as 2/1.
#ifndef CAMRCD_TOOLS_CAMRC_CAMRC_WRITES_H_
#define CAMRCD_TOOLS_CAMRC_CAMRC_WRITES_H_

#include <stddef.h>
#include <stdint.h>

#include "client/client_request.h"
#include "client/reply_fields.h"

namespace camrcd {

enum ValueKind : uint8_t {
  kValueByte,  // 0-255, or a name from `codes`
  kValueU16,   // 0-65535, little-endian
  kValueText,  // at most `width` characters
};

struct WriteOption {
  const char* name;  // "--brightness"
  uint8_t offset;    // header byte
  ValueKind kind;
  uint8_t width;          // text options
  const CodeName* codes;  // byte options with named values, else nullptr
};

inline constexpr size_t kMaxWriteOptions = 10;

struct WriteCommand {
  const char* name;                       // camrc command word
  const char* request;                    // name in kRequestKinds
  const char* positional;                 // option that a bare argument fills, or nullptr
  WriteOption options[kMaxWriteOptions];  // ends with a row whose name is nullptr
};

extern const WriteCommand kWriteCommands[];
extern const size_t kWriteCommandCount;

// Options of `motion set` (the map file aside) and of `motion get`.
extern const WriteCommand kMotionSetOptions;
extern const WriteCommand kMotionGetOptions;

// The command named `name`, or nullptr.
const WriteCommand* find_write_command(const char* name);

// Reads "NAME VALUE" pairs (and, when the command has one, a bare positional value)
// into the header. 0, or -1 after printing a one-line usage error.
int parse_write_options(const WriteCommand& command, int argc, char** argv, RequestHeader* header);

// Reads a number 0..max (decimal or 0x hex): 0 and the value, or -1.
int parse_number(const char* text, uint32_t max, uint32_t* value);

// Prints the write commands and their options, one command a line.
void print_write_usage();

}  // namespace camrcd

#endif  // CAMRCD_TOOLS_CAMRC_CAMRC_WRITES_H_
