// The section scan, the rewrite through /tmp and the delete-or-reset, driven by the
// file tables. The move command gets the development root in front of both paths.
#include "settings/sectioned/sectioned_file.h"

#include <stdio.h>
#include <string.h>

#include "platform/command_runner.h"
#include "platform/console.h"
#include "platform/dev_root.h"

namespace camrcd {
namespace {

constexpr int kNoHeaderYet = -2;
constexpr int kOtherSection = -1;

bool is_header(const Piece& piece) {
  return piece.length > 0 && piece.bytes[0] == '[';
}

// Index of the first section whose header occurs in the piece, or kOtherSection.
int find_section(const Piece& piece, const SectionedFile& file, const SectionHeaders& headers) {
  for (size_t i = 0; i < file.section_count; ++i) {
    SectionUse use = headers.use[i];
    if ((use == SectionUse::kNamed || use == SectionUse::kTarget) &&
        piece_contains(piece, headers.header[i]))
      return static_cast<int>(i);
  }
  return kOtherSection;
}

const KeyRule* find_key(const Piece& piece, const KeyRule* keys, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    if (piece_contains(piece, keys[i].name))
      return &keys[i];
  }
  return nullptr;
}

void write_key_line(FILE* output, const KeyRule& key) {
  char text[kValueTextSize];
  key.kind->write(key, text);
  fprintf(output, "%s = %s\n", key.name, text);
}

bool format_header(char (&out)[kHeaderBufferSize], const char* format, unsigned number) {
  int length = snprintf(out, sizeof out, format, number);
  return length > 0 && static_cast<size_t>(length) < sizeof out;
}

// The file's copy in /tmp, emptied; null (and input closed) when it can't be created.
FILE* open_copy(const SectionedFile& file, FileReader* input) {
  char temporary[kPathCapacity];
  FILE* output = fopen(rooted_path(temporary, sizeof temporary, file.temporary), "we");
  if (output == nullptr)
    close_file_reader(input);
  return output;
}

// Closes both files and moves the copy into place; the move's result is not looked at.
void move_copy(const SectionedFile& file, FileReader* input, FILE* output) {
  close_file_reader(input);
  fclose(output);
  char line[kPathCapacity * 3];
  const char* root = dev_root_for_command();
  snprintf(line, sizeof line, "mv -f %s%s %s%s/kelda2/", root, file.temporary, root, kWebRoot);
  run_command_line(line);
}

// A save's copy of one piece of a section of the group: its header, its version line
// and pieces without a key as they are; a key's piece as the key's line made afresh.
void copy_own_piece(FILE* output, const Piece& piece, const SectionRule& section) {
  const KeyRule* keys = section.save_keys != nullptr ? section.save_keys : section.keys;
  size_t count = section.save_keys != nullptr ? section.save_key_count : section.key_count;
  const KeyRule* key = nullptr;
  if (!is_header(piece) && !(section.keeps_version && piece_contains(piece, "version")))
    key = find_key(piece, keys, count);
  if (key != nullptr)
    write_key_line(output, *key);
  else
    write_piece(output, piece);
}

void append_target(FILE* output, const SectionRule& section, const char* header) {
  fprintf(output, "%s\n", header);
  for (size_t i = 0; i < section.appended_count; ++i)
    write_key_line(output, section.appended[i]);
  fputc('\n', output);
}

const SectionRule* numbered_section(const SectionedFile& file) {
  for (size_t i = 0; i < file.section_count; ++i) {
    if (file.sections[i].selector != nullptr)
      return &file.sections[i];
  }
  return nullptr;
}

}  // namespace

void form_headers(const SectionedFile& file, bool for_load, SectionHeaders* headers) {
  for (size_t i = 0; i < file.section_count; ++i) {
    const SectionRule& section = file.sections[i];
    SectionUse& use = headers->use[i];
    if (section.selector == nullptr) {
      use = SectionUse::kNamed;
      snprintf(headers->header[i], kHeaderBufferSize, "%s", section.header);
    } else if (*section.selector == 0 && !(for_load && file.load_targets_zero)) {
      use = SectionUse::kNone;
    } else {
      bool fits = format_header(headers->header[i], section.header, *section.selector);
      use = fits ? SectionUse::kTarget : SectionUse::kTooLong;
    }
  }
}

uint32_t scan_sections(FileReader* input, const SectionedFile& file,
                       const SectionHeaders& headers) {
  uint32_t found = 0;
  int current = kOtherSection;
  Piece piece;
  for (int count = 0; count < kPieceBound && read_piece(input, &piece); ++count) {
    if (is_header(piece)) {
      current = find_section(piece, file, headers);
      if (current >= 0)
        found |= uint32_t{1} << current;
    } else if (current >= 0) {
      const SectionRule& section = file.sections[current];
      const KeyRule* key = find_key(piece, section.keys, section.key_count);
      if (key != nullptr)
        key->kind->read(piece, *key);
    }
  }
  return found;
}

void rewrite_sections(FileReader* input, FILE* output, const SectionedFile& file,
                      const SectionHeaders& headers) {
  bool to_append[kMaxSections] = {};
  for (size_t i = 0; i < file.section_count; ++i)
    to_append[i] = headers.use[i] == SectionUse::kTarget;
  auto any_to_append = [&] {
    for (size_t i = 0; i < file.section_count; ++i) {
      if (to_append[i])
        return true;
    }
    return false;
  };
  int current = kNoHeaderYet;
  Piece piece;
  for (int count = 0; count < kPieceBound && read_piece(input, &piece); ++count) {
    if (is_header(piece)) {
      current = find_section(piece, file, headers);
      if (current >= 0)
        to_append[current] = false;
    }
    if (current == kNoHeaderYet)
      continue;  // nothing before the first header is kept
    if (current >= 0) {
      copy_own_piece(output, piece, file.sections[current]);
    } else if (file.end_ends_copy && piece_contains(piece, "end\n")) {
      if (!any_to_append()) {
        write_piece(output, piece);
        fputc('\n', output);
      }
      break;
    } else {
      write_piece(output, piece);
    }
  }
  if (!any_to_append())
    return;
  for (size_t i = 0; i < file.section_count; ++i) {
    if (to_append[i])
      append_target(output, file.sections[i], headers.header[i]);
  }
  fputs("end\n\n", output);
}

void remove_sections(FileReader* input, FILE* output, const SectionedFile& file, uint8_t number) {
  const SectionRule* numbered = numbered_section(file);
  char header[kHeaderBufferSize] = "";
  if (numbered == nullptr || !format_header(header, numbered->header, number != 0 ? number : 255))
    return;
  Piece piece;
  if (number != 0) {
    enum { kBeforeHeaders, kDropped, kKept } current = kBeforeHeaders;
    while (read_piece(input, &piece)) {
      if (is_header(piece))
        current = piece_contains(piece, header) ? kDropped : kKept;
      if (current == kKept && !piece_begins_with(piece, "end"))
        write_piece(output, piece);
    }
  } else {
    fputs(file.reset_text, output);
    bool kept = false;  // in the section of number 255
    while (read_piece(input, &piece)) {
      if (is_header(piece))
        kept = piece_contains(piece, header);
      if (kept && piece_begins_with(piece, "end"))
        break;
      if (kept)
        write_piece(output, piece);
    }
  }
  fputs("end\n\n", output);
}

void load_sectioned_file(const SectionedFile& file) {
  SectionHeaders headers;
  form_headers(file, true, &headers);
  char path[kPathCapacity];
  FileReader input;
  uint32_t found = 0;
  if (!open_file_reader(&input, web_path(path, sizeof path, file.path))) {
    console_print("%s", file.read_error);
    if (file.open_failed != nullptr)
      file.open_failed();
  } else {
    if (file.opened != nullptr)
      file.opened();
    found = scan_sections(&input, file, headers);
    close_file_reader(&input);
  }
  for (size_t i = 0; i < file.section_count; ++i) {
    bool target = headers.use[i] == SectionUse::kTarget || headers.use[i] == SectionUse::kTooLong;
    if (target && (found & (uint32_t{1} << i)) == 0 && file.sections[i].defaults != nullptr)
      file.sections[i].defaults();
  }
}

bool save_sectioned_file(const SectionedFile& file) {
  char path[kPathCapacity];
  web_path(path, sizeof path, file.path);
  FileReader input;
  if (!open_file_reader(&input, path)) {
    console_print("%s", file.write_error);
    if (FILE* created = fopen(path, "we")) {
      fputs(file.default_text, created);
      fclose(created);
    }
    return false;
  }
  FILE* output = open_copy(file, &input);
  if (output == nullptr)
    return false;
  if (file.before_copy != nullptr)
    file.before_copy();
  SectionHeaders headers;
  form_headers(file, false, &headers);
  rewrite_sections(&input, output, file, headers);
  move_copy(file, &input, output);
  return true;
}

void remove_sectioned_section(const SectionedFile& file, uint8_t number) {
  char path[kPathCapacity];
  FileReader input;
  if (!open_file_reader(&input, web_path(path, sizeof path, file.path))) {
    console_print("WR Conf. ERR. %s\n", path);
    return;
  }
  FILE* output = open_copy(file, &input);
  if (output == nullptr)
    return;
  remove_sections(&input, output, file, number);
  move_copy(file, &input, output);
}

}  // namespace camrcd
