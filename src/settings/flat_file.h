// Flat configuration files: lines of "KEY = value" closed by a terminator word. Owns
// the one setting scan, the one table-driven reader and the one table-driven writer;
// each file's module supplies tables (path, bound, terminator, keys, lines, messages).
// Readers never write past a field: keys, values and texts are cut to their buffers.
#ifndef CAMRCD_SETTINGS_FLAT_FILE_H_
#define CAMRCD_SETTINGS_FLAT_FILE_H_

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#include "platform/file_reader.h"

namespace camrcd {

// A key is a word of at most 19 characters, a value one of at most 51; longer
// words are consumed whole and cut to these sizes.
inline constexpr size_t kFlatKeySize = 20;
inline constexpr size_t kFlatValueSize = 52;

// How a field is converted when read and formatted when written.
enum class FieldKind : uint8_t {
  kByte,       // uint8_t: decimal_int32, low 8 bits kept; written with a "%d" format
  kInt32,      // int32_t: decimal_int32; "%d"
  kLong,       // int32_t: decimal_int32 (atol on the camera); "%ld"
  kText,       // char[width]: copied, cut to width - 1 characters; "%s"
  kTextIfSet,  // writer only: like kText, but the line is left out while the text is empty
  kConstant,   // writer only: the format is written as it stands
};

template <typename T>
struct FieldKindOf;
template <>
struct FieldKindOf<uint8_t> {
  static constexpr FieldKind kind = FieldKind::kByte;
};
template <>
struct FieldKindOf<int32_t> {
  static constexpr FieldKind kind = FieldKind::kInt32;
};
template <size_t N>
struct FieldKindOf<char[N]> {
  static constexpr FieldKind kind = FieldKind::kText;
};

// One key of a reader: compared with the scanned key over `length` characters.
struct FlatKey {
  const char* name;
  size_t length;
  FieldKind kind;
  size_t offset;  // within the group struct the reader fills
  size_t width;   // sizeof the field
};

// A key named as its field, converted as the field's type says.
// clang-format off
#define CAMRCD_FLAT_KEY(Group, field, length)                                        \
  camrcd::FlatKey{#field, length, camrcd::FieldKindOf<decltype(Group::field)>::kind, \
                  offsetof(Group, field), sizeof(Group::field)}
// clang-format on

struct FlatReader {
  const char* path;        // below the web root, or absolute when it starts with '/'
  int scan_bound;          // settings scanned at most
  const char* terminator;  // "end" or "END", compared over 3 characters; null: none
  const FlatKey* keys;     // in comparison order (longer keys before their prefixes)
  size_t key_count;        // at most 32
  const char* open_error;  // printed whole when the file can't be opened; null: silent
};

// One line of a writer: a printf format and the field it formats.
struct FlatLine {
  const char* format;
  FieldKind kind;
  size_t offset;
  size_t width;
};

#define CAMRCD_FLAT_LINE(format, Group, field)                                         \
  camrcd::FlatLine {                                                                   \
    format, camrcd::FieldKindOf<decltype(Group::field)>::kind, offsetof(Group, field), \
        sizeof(Group::field)                                                           \
  }
#define CAMRCD_FLAT_LINE_AS(format, kind, Group, field)        \
  camrcd::FlatLine {                                           \
    format, kind, offsetof(Group, field), sizeof(Group::field) \
  }
#define CAMRCD_FLAT_CONSTANT(text)           \
  camrcd::FlatLine {                         \
    text, camrcd::FieldKind::kConstant, 0, 0 \
  }

struct FlatWriter {
  const char* path;
  const FlatLine* lines;  // in file order, terminator line included
  size_t line_count;
  const char* open_error;  // printed whole when the file can't be opened; null: silent
};

// How far one scan of "%s = %s" got.
enum class ScanStop : uint8_t {
  kNoKey,     // input ended before a key: the reader's loop ends
  kNoEquals,  // the next character was not '=' (it stays unread) or input ended
  kNoValue,   // input ended after the '='
  kComplete,
};

// The words of the scan in progress. `value` keeps the previous scan's value when a
// scan stops before its value; it starts empty.
struct FlatScan {
  char key[kFlatKeySize];
  char value[kFlatValueSize];
};

// Scans one setting as fscanf(file, "%s = %s", key, value) does, with one exception:
// an "=" followed by blanks and a line feed gives an empty value (kComplete) and leaves
// the line feed unread, where the library would take the next line's first word.
ScanStop scan_setting(FileReader* file, FlatScan* scan);

// The rest of scan_setting once the key is in scan->key: the "=" and the value.
ScanStop scan_after_key(FileReader* file, FlatScan* scan);

// The reader's loop over an open file: at most reader.scan_bound scans, ended early
// by the terminator or the end of input; each matching key's value is converted into
// group. Returns one bit per key (bit i for keys[i]) that matched at least once.
uint32_t read_flat_settings(FileReader* file, const FlatReader& reader, void* group);

// Forms the reader's path and opens it. When it can't be opened prints the
// open error and returns false. Otherwise reads it into group, closes it, stores the
// matched-key bits in *matched (when not null) and returns true.
bool read_flat_file(const FlatReader& reader, void* group, uint32_t* matched = nullptr);

// Writes the writer's lines with the fields of group, in order.
void write_flat_lines(FILE* file, const FlatWriter& writer, const void* group);

// Opens the writer's path ("we", truncating). When it can't be opened prints the
// open error and returns false with nothing changed. Otherwise runs before_write
// (when not null: it derives the file image), writes the lines, closes, returns true.
bool write_flat_file(const FlatWriter& writer, const void* group, void (*before_write)());

// out = the full path of a table path (rooted when absolute, else below the web root).
const char* flat_path(char* out, size_t size, const char* path);

// Copies text into a field of `width` bytes, cut to width - 1 characters.
void copy_text_field(char* field, size_t width, const char* text);

}  // namespace camrcd

#endif  // CAMRCD_SETTINGS_FLAT_FILE_H_
