// Requests and checks shared by the end-to-end request tests: headers built from
// byte patches, whole request/reply exchanges, the record view (a reload request
// with no group bits, answered from the record without loading anything), exact
// file texts with line edits, and the stub log as word lists.
#ifndef CAMRCD_SUPPORT_E2E_REQUESTS_H_
#define CAMRCD_SUPPORT_E2E_REQUESTS_H_

#include <stddef.h>
#include <stdint.h>

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "client/client_request.h"

namespace camrcd {

// Bytes to put at an offset (of a request header or of a reply).
struct BytePatch {
  size_t at;
  std::string bytes;
};
using BytePatches = std::vector<BytePatch>;

// The bytes given as numbers, e.g. bytes({0x2C, 0x01}).
std::string bytes(std::initializer_list<int> values);
// A text field: `text` zero-padded (or cut) to `width` bytes.
std::string text_field(const char* text, size_t width);

// A request of class and sub-command with the patches written over its zero fields.
RequestHeader make_patched_request(uint8_t command_class, uint8_t sub, const BytePatches& fields);

// Copies `reply` (its whole length) and writes the patches over the copy.
std::string patched_reply(const Reply& reply, const BytePatches& patches);
std::string reply_bytes(const Reply& reply);

// "" when the two byte strings are equal, else their length difference or each
// differing byte as "byte N: X, not Y" (expected first).
std::string byte_differences(const std::string& expected, const std::string& actual);

// Sends a request and reads its reply: true when a reply came back.
bool exchange(int socket, const RequestHeader& request, Reply* reply);

// The device information reply built from the record as it stands (reload request
// with no group bits: nothing is loaded, no wait).
bool record_view(int socket, Reply* reply);

// A file's whole content ("" when it cannot be read) and whether it exists.
std::string file_text(const std::string& path);
bool file_exists(const std::string& path);

// `base` with each whole line `from` replaced by `to`; a missing line is reported by
// adding "<no line: from>" at the end, so that a comparison fails visibly.
using LineEdits = std::vector<std::pair<std::string, std::string>>;
std::string with_lines(const std::string& base, const LineEdits& edits);

// One program call as words: the program's base name, then its arguments.
using CallWords = std::vector<std::string>;

// Waits until root's stub log holds at least `count` calls (bounded) and returns all
// of them as words.
std::vector<CallWords> stub_call_words(const std::string& root, size_t count,
                                       int timeout_ms = 3000);

}  // namespace camrcd

#endif  // CAMRCD_SUPPORT_E2E_REQUESTS_H_
