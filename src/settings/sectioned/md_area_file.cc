// The md2 file's tables and its own steps. Its own words: "md_func" (reader: "none"
// sets motion_flags and motion_map_valid to 0, else "on" sets motion_flags to 2, else
// 1; writer: the switch word of motion_flags' bits 0-1) and "mode" (reader: "block"
// sets motion_map_valid 0x10 and adds 0x10 to motion_flags, anything else 0x20 and
// 0x20; writer: always "block").
#include "settings/sectioned/md_area_file.h"

#include <stdio.h>
#include <string.h>

#include <iterator>

#include "platform/console.h"
#include "platform/dev_root.h"
#include "platform/file_reader.h"
#include "settings/sectioned/sectioned_file.h"
#include "settings/settings_record.h"

namespace camrcd {
namespace {

constexpr uint8_t kDefaultBlockCell = 10;
constexpr int32_t kMotionMapLength = 4803;  // the map and the reply's two closing bytes
constexpr uint8_t kBlockMode = 0x10;
constexpr uint8_t kAreaMode = 0x20;

constexpr SettingsRecord& s = settings;

void read_md_func(const Piece& piece, const KeyRule&) {
  if (piece_contains(piece, "none")) {
    s.motion_flags = 0;
    s.motion_map_valid = 0;
  } else {
    s.motion_flags = piece_contains(piece, "on") ? 2 : 1;
  }
}

void read_mode(const Piece& piece, const KeyRule&) {
  uint8_t mode = piece_contains(piece, "block") ? kBlockMode : kAreaMode;
  s.motion_map_valid = mode;
  s.motion_flags |= mode;
}

constexpr ValueKind kMdFuncKind = {read_md_func, write_switch};
constexpr ValueKind kModeKind = {read_mode, write_constant};

constexpr KeyRule kCommonKeys[] = {
    {"md_func", &kMdFuncKind, &s.motion_flags, nullptr},
    {"mode", &kModeKind, &s.motion_map_valid, "block"},
    {"md-max", &kFixedKind, &s.md_max, "30"},
};
constexpr KeyRule kAreaKeys[] = {
    {"enable", &kSwitchKind, &s.md.enable, nullptr},
    {"actno", &kNumberKind, &s.md.actno, nullptr},
    {"act", &kOptionalNumberKind, &s.md.act, nullptr},
    {"relay", &kRelayCodeKind, &s.md.relay, nullptr},
    {"record", &kSwitchKind, &s.md.record, nullptr},
    {"email", &kSwitchKind, &s.md.email, nullptr},
};
constexpr KeyRule kAreaAppended[] = {
    kAreaKeys[0], kAreaKeys[2], kAreaKeys[1], kAreaKeys[3], kAreaKeys[4], kAreaKeys[5],
};
constexpr KeyRule kManualKeys[] = {
    {"enable", &kSwitchKind, &s.manual.enable, nullptr},
    {"threshold", &kNumberKind, &s.manual.threshold, nullptr},
    {"sens", &kNumberKind, &s.manual.sens, nullptr},
};

void area_defaults() {
  s.md.enable = s.md_max >= s.current_md || s.current_md == 255 ? 1 : 0;
  s.md.act = 255;
  s.md.actno = 1;
  s.md.relay = 0;
  s.md.record = 0;
  s.md.email = 0;
}

constexpr SectionRule kSections[] = {
    {"[common]", nullptr, kCommonKeys, std::size(kCommonKeys), nullptr, 0, nullptr, 0, nullptr,
     true},
    {"[md%d]", &s.current_md, kAreaKeys, std::size(kAreaKeys), nullptr, 0, kAreaAppended,
     std::size(kAreaAppended), area_defaults, false},
    {"[manual]", nullptr, kManualKeys, std::size(kManualKeys), nullptr, 0, nullptr, 0, nullptr,
     false},
};

void clear_area_enable() {
  s.md.enable = 0;
}

void missing_file_defaults() {
  s.md_max = 30;
  s.manual.enable = 0;
  s.manual.threshold = 5;
  s.manual.sens = 10;
}

const char* block_file_path(char* out, size_t size) {
  char relative[32];
  snprintf(relative, sizeof relative, "kelda2/md/env_mdb%d.dat", s.current_md);
  return web_path(out, size, relative);
}

void read_block_file() {
  char path[kPathCapacity];
  // A shorter file leaves the rest of the map as it was.
  if (!read_file_start(block_file_path(path, sizeof path), s.motion_block_map,
                       kMotionBlockMapSize)) {
    console_print("Rd.Err %s\n", path);
    memset(s.motion_block_map, kDefaultBlockCell, kMotionBlockMapSize);
    s.motion_block_map[0] = kMotionBlockMarker;
  }
}

void write_block_file() {
  char path[kPathCapacity];
  FILE* file = fopen(block_file_path(path, sizeof path), "wbe");
  if (file == nullptr) {
    console_print("WR.Err %s\n", path);
    return;
  }
  fwrite(s.motion_block_map, 1, kMotionBlockMapSize, file);
  fclose(file);
}

}  // namespace

const SectionedFile kMdAreaFile = {
    "kelda2/env_md2.ls",
    "/tmp/env_md2.ls",
    kSections,
    std::size(kSections),
    "Conf. Open ERR. env_md2.ls\n",
    "WR Conf. ERR. env_md2.ls\n",
    "[common]\nversion = 01.00\nmd_func = off\nmode = block\nmd-max = 30\n\nend\n\n",
    true,
    true,
    clear_area_enable,
    missing_file_defaults,
    nullptr,
    "[common]\nversion = 01.00\nmd_func = off\nmode = block\nmd-max = 30\n\n"
    "[manual]\nenable = none\nthreshold = 0\nsens = 0\n\n"
    "[md1]\nenable = off\nact = 255\nactno = 1\nrelay = none\nrecord = none\nemail = none\n\n",
};

void load_md2() {
  s.motion_map_valid = 1;
  s.motion_flags = 1;
  load_sectioned_file(kMdAreaFile);
  read_block_file();
  s.motion_map_length = kMotionMapLength;
  if (s.motion_block_map[0] == 0)
    s.motion_block_map[0] = kMotionBlockMarker;
}

void save_md2() {
  if (save_sectioned_file(kMdAreaFile) && s.current_md != 0)
    write_block_file();
}

void remove_md_area(uint8_t n) {
  remove_sectioned_section(kMdAreaFile, n);
}

}  // namespace camrcd
