// The flat-file scan, reader and writer. The scan reads byte by byte from the buffered
// reader with one byte of push-back, as the C library's formatted scan does, so a malformed
// line costs scans but never stops the reader. Nothing is kept between calls.
#include "settings/flat_file.h"

#include <string.h>

#include "platform/console.h"
#include "platform/decimal.h"
#include "platform/dev_root.h"

namespace camrcd {
namespace {

void store_value(const FlatKey& key, const char* value, uint8_t* group) {
  uint8_t* field = group + key.offset;
  switch (key.kind) {
    case FieldKind::kByte:
      *field = static_cast<uint8_t>(decimal_int32(value));
      break;
    case FieldKind::kInt32:
    case FieldKind::kLong: {
      int32_t number = decimal_int32(value);
      memcpy(field, &number, sizeof number);
      break;
    }
    case FieldKind::kText:
    case FieldKind::kTextIfSet:
      copy_text_field(reinterpret_cast<char*>(field), key.width, value);
      break;
    case FieldKind::kConstant:
      break;
  }
}

// Index of the first key that the scanned key begins with, or -1.
int match_key(const FlatReader& reader, const char* scanned) {
  for (size_t i = 0; i < reader.key_count; ++i) {
    if (strncmp(scanned, reader.keys[i].name, reader.keys[i].length) == 0) {
      return static_cast<int>(i);
    }
  }
  return -1;
}

// Deliberate deviation, for safety: a CR or LF of a text (a client's title or OSD
// text) is written as a blank, so client text never adds lines to a file that other
// programs of the camera read line by line. The record keeps the text as sent, and
// command lines still receive its exact bytes.
void blank_line_breaks(char* text) {
  for (; *text != '\0'; ++text) {
    if (*text == '\r' || *text == '\n')
      *text = ' ';
  }
}

void write_line(FILE* file, const FlatLine& line, const uint8_t* group) {
  const uint8_t* field = group + line.offset;
  int32_t number = 0;
  char text[kFlatValueSize];
  switch (line.kind) {
    case FieldKind::kConstant:
      fputs(line.format, file);
      break;
    case FieldKind::kByte:
      fprintf(file, line.format, static_cast<int>(*field));
      break;
    case FieldKind::kInt32:
      memcpy(&number, field, sizeof number);
      fprintf(file, line.format, static_cast<int>(number));
      break;
    case FieldKind::kLong:
      memcpy(&number, field, sizeof number);
      fprintf(file, line.format, static_cast<long>(number));
      break;
    case FieldKind::kText:
    case FieldKind::kTextIfSet: {
      // The field may lack its terminating zero; never read past it.
      size_t length = strnlen(reinterpret_cast<const char*>(field), line.width);
      if (length >= sizeof text)
        length = sizeof text - 1;
      memcpy(text, field, length);
      text[length] = '\0';
      blank_line_breaks(text);
      if (line.kind == FieldKind::kTextIfSet && length == 0)
        break;
      fprintf(file, line.format, text);
      break;
    }
  }
}

}  // namespace

void copy_text_field(char* field, size_t width, const char* text) {
  if (width == 0)
    return;
  size_t length = strnlen(text, width - 1);
  memcpy(field, text, length);
  field[length] = '\0';
}

namespace {

// Consumes the blanks after an "=" up to its line feed, which stays unread. Returns
// whether the line ends there; otherwise the scan goes on as "%s = %s" does.
bool line_ends_after_equals(FileReader* file) {
  int c = read_byte(file);
  while (c != kEndOfInput && c != '\n' && is_space(c))
    c = read_byte(file);
  if (c != kEndOfInput)
    unread_byte(file);
  return c == '\n';
}

}  // namespace

ScanStop scan_setting(FileReader* file, FlatScan* scan) {
  if (!scan_word(file, scan->key, sizeof scan->key))
    return ScanStop::kNoKey;
  return scan_after_key(file, scan);
}

ScanStop scan_after_key(FileReader* file, FlatScan* scan) {
  skip_space(file);
  int c = read_byte(file);
  if (c != '=') {
    if (c != kEndOfInput)
      unread_byte(file);
    return ScanStop::kNoEquals;
  }
  // Deliberate deviation, for safety: "KEY = " and a line feed (a writer's empty text)
  // is an empty value, so the next line's key is never taken as this key's value and
  // the keys after it do not drift. Writers keep writing such lines as they are.
  if (line_ends_after_equals(file)) {
    scan->value[0] = '\0';
    return ScanStop::kComplete;
  }
  if (!scan_word(file, scan->value, sizeof scan->value))
    return ScanStop::kNoValue;
  return ScanStop::kComplete;
}

uint32_t read_flat_settings(FileReader* file, const FlatReader& reader, void* group) {
  FlatScan scan;
  scan.value[0] = '\0';
  uint32_t matched = 0;
  for (int i = 0; i < reader.scan_bound; ++i) {
    if (!scan_word(file, scan.key, sizeof scan.key))
      break;
    // The terminator ends the loop as soon as its word is read: the rest of its scan
    // could change nothing the loop keeps, and the file is not read past it.
    if (reader.terminator != nullptr && strncmp(scan.key, reader.terminator, 3) == 0)
      break;
    scan_after_key(file, &scan);
    int index = match_key(reader, scan.key);
    if (index < 0)
      continue;
    store_value(reader.keys[index], scan.value, static_cast<uint8_t*>(group));
    matched |= uint32_t{1} << index;
  }
  return matched;
}

const char* flat_path(char* out, size_t size, const char* path) {
  return path[0] == '/' ? rooted_path(out, size, path) : web_path(out, size, path);
}

bool read_flat_file(const FlatReader& reader, void* group, uint32_t* matched) {
  char path[kPathCapacity];
  FileReader file;
  if (!open_file_reader(&file, flat_path(path, sizeof path, reader.path))) {
    if (reader.open_error != nullptr)
      console_print("%s", reader.open_error);
    return false;
  }
  uint32_t bits = read_flat_settings(&file, reader, group);
  close_file_reader(&file);
  if (matched != nullptr)
    *matched = bits;
  return true;
}

void write_flat_lines(FILE* file, const FlatWriter& writer, const void* group) {
  for (size_t i = 0; i < writer.line_count; ++i) {
    write_line(file, writer.lines[i], static_cast<const uint8_t*>(group));
  }
}

bool write_flat_file(const FlatWriter& writer, const void* group, void (*before_write)()) {
  char path[kPathCapacity];
  FILE* file = fopen(flat_path(path, sizeof path, writer.path), "we");
  if (file == nullptr) {
    if (writer.open_error != nullptr)
      console_print("%s", writer.open_error);
    return false;
  }
  if (before_write != nullptr)
    before_write();
  write_flat_lines(file, writer, group);
  fclose(file);
  return true;
}

}  // namespace camrcd
