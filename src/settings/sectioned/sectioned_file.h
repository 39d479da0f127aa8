// The sectioned files: blocks opened by a bracketed header ("[common]", "[preset7]")
// holding "key = value" lines, ended by "end". Owns the one section scan (every
// load), the one rewrite through a copy in /tmp moved into place with "mv -f" (every
// save) and the one delete-or-reset; each file's module supplies a table of sections
// in test order, their keys in test order with kinds and fields, messages, the
// default file and its own few steps. The operations take no lock: the caller holds
// the group's lock. Headers are formed in a 12-byte buffer; a piece is a header when
// its first byte is '['; a section or key is found when its text occurs anywhere in
// the piece. Loads and saves read at most 500 pieces; a delete or reset reads all.
#ifndef CAMRCD_SETTINGS_SECTIONED_SECTIONED_FILE_H_
#define CAMRCD_SETTINGS_SECTIONED_SECTIONED_FILE_H_

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#include "platform/file_reader.h"
#include "settings/sectioned/value_kinds.h"

namespace camrcd {

inline constexpr size_t kHeaderBufferSize = 12;  // 11 characters and the zero
inline constexpr int kPieceBound = 500;
inline constexpr size_t kMaxSections = 4;

struct SectionRule {
  const char* header;       // a named section's header, or a target's format ("[md%d]")
  const uint8_t* selector;  // a target's selector in the settings record; null: named
  const KeyRule* keys;      // in test order
  size_t key_count;
  const KeyRule* save_keys;  // the test order of a save where it differs; else null
  size_t save_key_count;
  const KeyRule* appended;  // a target: its lines in the order a save appends them
  size_t appended_count;
  void (*defaults)();  // a target: its values when a load does not find it; may be null
  bool keeps_version;  // "[common]": a piece holding "version" is copied unchanged
};

struct SectionedFile {
  const char* path;       // below the web root
  const char* temporary;  // absolute; below the development root
  const SectionRule* sections;
  size_t section_count;  // at most kMaxSections
  const char* read_error;
  const char* write_error;
  const char* default_text;  // written at the path by a save that finds no file
  bool end_ends_copy;        // "end" and a line feed in an unknown section end a save's copy
  bool load_targets_zero;    // a load looks for the section of a selector of 0 too
  void (*opened)();          // a load, once the file is open and before the scan; may be null
  void (*open_failed)();     // a load, after the read message; may be null
  void (*before_copy)();     // a save, once both files are open; may be null
  const char* reset_text;    // delete or reset: the text a reset starts with; else null
};

// The headers one operation looks for, formed from the selectors when it starts.
enum class SectionUse : uint8_t {
  kNamed,
  kTarget,   // header holds the section's header
  kNone,     // a selector of 0 names no section
  kTooLong,  // the header does not fit its buffer: never found, never appended
};
struct SectionHeaders {
  SectionUse use[kMaxSections];
  char header[kMaxSections][kHeaderBufferSize];
};

// The headers of a load (for_load) or a save. A header that does not fit its 12 bytes
// ("[alarmin100]") is never cut to another section's ("[alarmin10]"): a load gives
// that target its defaults and a save neither rewrites nor appends it.
void form_headers(const SectionedFile& file, bool for_load, SectionHeaders* headers);

// The scan of a load over input: stores the keys found in the file's sections. Returns
// one bit per section (bit i for sections[i]) whose header was found.
uint32_t scan_sections(FileReader* input, const SectionedFile& file, const SectionHeaders& headers);

// The copy of a save from input to output, targets appended at the end.
void rewrite_sections(FileReader* input, FILE* output, const SectionedFile& file,
                      const SectionHeaders& headers);

// The copy of a delete (number not 0: the section of that number dropped) or a reset
// (number 0: the reset text, then the section of number 255 as it stands).
void remove_sections(FileReader* input, FILE* output, const SectionedFile& file, uint8_t number);

// A group's load: prints the read message when the file can't be opened; a target not
// found (or every target, when the file can't be opened) gets its defaults.
void load_sectioned_file(const SectionedFile& file);

// A group's save. A missing file: the write message, and the default file written at
// the path (not the record's values). A copy in /tmp that can't be created: nothing,
// silently. Otherwise the copy is moved into place; whether the move worked is not
// looked at and not reported (a move that fails leaves the stored file as it was).
// Returns true when the copy was made and its move run.
bool save_sectioned_file(const SectionedFile& file);

// Delete or reset; prints "WR Conf. ERR. <path>" when the file can't be opened.
void remove_sectioned_section(const SectionedFile& file, uint8_t number);

}  // namespace camrcd

#endif  // CAMRCD_SETTINGS_SECTIONED_SECTIONED_FILE_H_
