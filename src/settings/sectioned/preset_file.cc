// The preset file's tables and its own steps: the defaults of a missing preset and
// the rules of preset 255. "[common]" is tested home, md-first, presetmax by a load
// and home, presetmax, md-first by a save.
#include "settings/sectioned/preset_file.h"

#include <stdio.h>
#include <string.h>

#include <iterator>

#include "settings/sectioned/sectioned_file.h"
#include "settings/settings_record.h"

namespace camrcd {
namespace {

constexpr uint8_t kDefaultPreset = 255;
constexpr uint8_t kDefaultDwell = 5;
constexpr uint8_t kDefaultGroup = 255;
constexpr char kDefaultPresetName[] = "Default MD";

constexpr SettingsRecord& s = settings;

constexpr KeyRule kCommonKeys[] = {
    {"home", &kOptionalNumberKind, &s.home, nullptr},
    {"md-first", &kNumberKind, &s.md_first, nullptr},
    {"presetmax", &kFixedKind, &s.presetmax, "30"},
};
constexpr KeyRule kCommonSaveKeys[] = {kCommonKeys[0], kCommonKeys[2], kCommonKeys[1]};
constexpr KeyRule kPresetKeys[] = {
    {"enable", &kSwitchKind, &s.preset.enable, nullptr},
    {"dwell", &kNumberKind, &s.preset.dwell, nullptr},
    {"group", &kNumberKind, &s.preset.group, nullptr},
    {"name", &kTextKind, s.preset.name, nullptr},
};
// An appended name is written as the field holds it (no trailing line end cut).
constexpr KeyRule kPresetAppended[] = {
    kPresetKeys[0],
    {"name", &kTextAsIsKind, s.preset.name, nullptr},
    kPresetKeys[1],
    kPresetKeys[2],
};

void set_name(const char* name) {
  memset(s.preset.name, 0, sizeof s.preset.name);
  snprintf(s.preset.name, sizeof s.preset.name, "%s", name);
}

void missing_preset_defaults() {
  uint8_t number = s.current_preset;
  s.preset.enable = s.presetmax >= number || number == kDefaultPreset ? 1 : 0;
  s.md_first = 1;
  char name[kSectionTextFieldSize];
  snprintf(name, sizeof name, "preset %d", number);
  set_name(name);
  s.preset.dwell = kDefaultDwell;
  s.preset.group = kDefaultGroup;
}

constexpr SectionRule kSections[] = {
    {"[common]", nullptr, kCommonKeys, std::size(kCommonKeys), kCommonSaveKeys,
     std::size(kCommonSaveKeys), nullptr, 0, nullptr, true},
    {"[preset%d]", &s.current_preset, kPresetKeys, std::size(kPresetKeys), nullptr, 0,
     kPresetAppended, std::size(kPresetAppended), missing_preset_defaults, false},
};

void clear_enable() {
  s.preset.enable = 0;
}

void set_default_preset_record() {
  if (s.current_preset != kDefaultPreset)
    return;
  s.preset.enable = 2;
  s.home = 1;
  s.preset.dwell = kDefaultDwell;
  s.preset.group = kDefaultGroup;
  set_name(kDefaultPresetName);
}

}  // namespace

const SectionedFile kPresetFile = {
    "kelda2/env_preset2.ls",
    "/tmp/env_preset2.ls",
    kSections,
    std::size(kSections),
    "Conf. Open ERR. env_preset2.ls\n",
    "WR Conf. ERR. env_preset2.ls\n",
    "[common]\nversion = 01.00\nhome = 1\npresetmax = 30\nmd-first = 1\n\nend\n\n",
    true,
    true,
    clear_enable,
    nullptr,
    set_default_preset_record,
    "[common]\nversion = 01.00\nhome = 1\npresetmax = 30\nmd-first = 1\n\n"
    "[preset1]\nenable = off\nname = *\ndwell = 5\ngroup = 255\n\n",
};

void load_preset2() {
  load_sectioned_file(kPresetFile);
  if (s.current_preset == kDefaultPreset) {
    s.preset.dwell = kDefaultDwell;
    s.preset.group = kDefaultGroup;
    set_name(kDefaultPresetName);
  }
}

void save_preset2() {
  save_sectioned_file(kPresetFile);
}

void remove_preset(uint8_t n) {
  remove_sectioned_section(kPresetFile, n);
}

void reset_preset_fields() {
  s.md_first = 1;
  s.presetmax = 30;
  s.preset.enable = 1;
  s.preset.dwell = kDefaultDwell;
  s.preset.group = kDefaultGroup;
  set_name("*");
}

}  // namespace camrcd
