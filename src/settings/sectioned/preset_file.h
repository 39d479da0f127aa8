// The preset2 group: kelda2/env_preset2.ls, "[common]" (home, presetmax, md-first)
// and the section "[preset%d]" of current_preset. The record holds one preset at a
// time. Preset 255 is the default preset, named "Default MD", kept by a reset.
#ifndef CAMRCD_SETTINGS_SECTIONED_PRESET_FILE_H_
#define CAMRCD_SETTINGS_SECTIONED_PRESET_FILE_H_

#include <stdint.h>

namespace camrcd {

struct SectionedFile;
extern const SectionedFile kPresetFile;  // the file's table

// A preset without a section (or no file): enabled (1) when it is at most presetmax
// or 255, else 0; md-first 1, name "preset N", dwell 5, group 255. Preset 255 then
// always gets dwell 5, group 255 and the name "Default MD".
void load_preset2();
// Saving preset 255 first sets the record: enable 2, home 1, dwell 5, group 255,
// "Default MD". A preset saved for the first time is appended.
void save_preset2();
// Deletes the section of preset n (1-255), or resets the file (0) keeping "[preset255]".
void remove_preset(uint8_t n);

// What the record's preset fields become before a clear (any preset write but a set).
void reset_preset_fields();

}  // namespace camrcd

#endif  // CAMRCD_SETTINGS_SECTIONED_PRESET_FILE_H_
