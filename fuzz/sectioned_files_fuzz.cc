// Every sectioned file's scan, rewrite and delete-or-reset on text of any content. An
// input is: the file and the operation (byte 0), the selector of each numbered section
// (byte 1), the number a delete or reset takes (byte 2), then the file's text. Checked:
// the section texts stay terminated after a scan; a rewrite copies every piece it does
// not own (a piece of an unknown section after the first header, up to the 500-piece
// bound and, where "end" ends the copy, up to that piece) in order and unchanged.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <iterator>
#include <string>
#include <vector>

#include "settings/sectioned/alarm_link_file.h"
#include "settings/sectioned/autorun_file.h"
#include "settings/sectioned/md_area_file.h"
#include "settings/sectioned/piece_reader.h"
#include "settings/sectioned/preset_file.h"
#include "settings/sectioned/sectioned_file.h"
#include "settings/settings_record.h"
#include "support/fuzz_support.h"

namespace camrcd {
namespace {

const SectionedFile* const kFiles[] = {&kAutorunFile, &kPresetFile, &kAlarmLinkFile, &kMdAreaFile};

enum Operation { kScan, kRewrite, kRemove, kOperationCount };

struct Input {
  const SectionedFile* file;
  Operation operation;
  uint8_t selector;
  uint8_t number;
  std::string text;
};

constexpr size_t kInputHead = 3;

std::string input_bytes(size_t file, Operation operation, uint8_t selector, uint8_t number,
                        const std::string& text) {
  char head[kInputHead] = {static_cast<char>(file * kOperationCount + operation),
                           static_cast<char>(selector), static_cast<char>(number)};
  return std::string(head, kInputHead) + text;
}

Input parse_input(const uint8_t* data, size_t size) {
  Input input;
  input.file = kFiles[data[0] / kOperationCount % std::size(kFiles)];
  input.operation = static_cast<Operation>(data[0] % kOperationCount);
  input.selector = data[1];
  input.number = data[2];
  input.text.assign(reinterpret_cast<const char*>(data + kInputHead), size - kInputHead);
  return input;
}

void select_sections(const SectionedFile& file, uint8_t selector) {
  for (size_t i = 0; i < file.section_count; ++i) {
    if (file.sections[i].selector != nullptr)
      *const_cast<uint8_t*>(file.sections[i].selector) = selector;
  }
}

FileReader reader_of(const std::string& text) {
  FileReader reader;
  open_memory_reader(&reader, text.data(), text.size());
  return reader;
}

// The runs of pieces a rewrite must copy unchanged, worked out apart from the rewrite:
// after the first header, the pieces of a section whose header holds none of the
// headers in use. Pieces that follow one another in the input do so in the output.
std::vector<std::string> runs_not_owned(const Input& input, const SectionHeaders& headers) {
  std::vector<std::string> runs;
  bool in_run = false;
  FileReader reader = reader_of(input.text);
  Piece piece;
  bool seen_header = false;
  bool owned = false;
  for (int count = 0; count < kPieceBound && read_piece(&reader, &piece); ++count) {
    if (piece.length > 0 && piece.bytes[0] == '[') {
      seen_header = true;
      owned = false;
      for (size_t i = 0; i < input.file->section_count; ++i) {
        bool in_use = headers.use[i] == SectionUse::kNamed || headers.use[i] == SectionUse::kTarget;
        owned = owned || (in_use && piece_contains(piece, headers.header[i]));
      }
    }
    if (!seen_header || owned) {
      in_run = false;
      continue;
    }
    if (input.file->end_ends_copy && piece_contains(piece, "end\n"))
      break;
    if (!in_run)
      runs.emplace_back();
    runs.back().append(piece.bytes, piece.length);
    in_run = true;
  }
  return runs;
}

void check_rewrite(const Input& input) {
  SectionHeaders headers;
  form_headers(*input.file, false, &headers);
  char* written = nullptr;
  size_t written_size = 0;
  FileReader reader = reader_of(input.text);
  FILE* writer = open_memstream(&written, &written_size);
  fuzz_check(writer != nullptr, "no memory stream");
  rewrite_sections(&reader, writer, *input.file, headers);
  fclose(writer);
  std::string output(written, written_size);
  free(written);
  // The leftmost place of each run is the best for the runs after it.
  size_t at = 0;
  for (const std::string& run : runs_not_owned(input, headers)) {
    at = output.find(run, at);
    fuzz_check(at != std::string::npos, "a rewrite lost or changed a line it does not own");
    at += run.size();
  }
}

void check_scan(const Input& input) {
  SectionHeaders headers;
  form_headers(*input.file, true, &headers);
  FileReader reader = reader_of(input.text);
  scan_sections(&reader, *input.file, headers);
  for (const char* text : {settings.preset.name, settings.alarmin.name, settings.alarmout.name})
    fuzz_check(text_terminated(text, kSectionTextFieldSize), "a section text lost its zero");
}

void run_remove(const Input& input) {
  char* written = nullptr;
  size_t written_size = 0;
  FileReader reader = reader_of(input.text);
  FILE* writer = open_memstream(&written, &written_size);
  remove_sections(&reader, writer, *input.file, input.number);
  fclose(writer);
  free(written);
}

}  // namespace

void fuzz_setup() {
  camera_root();
}

void fuzz_seeds() {
  const uint8_t selectors[] = {0, 7, 255};
  for (size_t file = 0; file < std::size(kFiles); ++file) {
    std::string text = camera_file(kFiles[file]->path);
    const std::string texts[] = {text, "[vendor]\nlevel = 3\n\n" + text};
    for (int operation = 0; operation < kOperationCount; ++operation) {
      for (uint8_t selector : selectors) {
        for (size_t variant = 0; variant < std::size(texts); ++variant) {
          std::string name = "file-" + std::to_string(file) + "-" + std::to_string(operation) +
                             "-" + std::to_string(selector) + "-" + std::to_string(variant);
          write_seed(name, input_bytes(file, static_cast<Operation>(operation), selector, selector,
                                       texts[variant]));
        }
      }
    }
  }
}

}  // namespace camrcd

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace camrcd;
  if (size < kInputHead)
    return 0;
  Input input = parse_input(data, size);
  select_sections(*input.file, input.selector);
  switch (input.operation) {
    case kScan:
      check_scan(input);
      break;
    case kRewrite:
      check_rewrite(input);
      break;
    default:
      run_remove(input);
      break;
  }
  return 0;
}
