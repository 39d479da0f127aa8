// The camcontrol1, camcontrol2 and privacy groups: kelda2/env_camcontrol1.ls,
// kelda2/env_camcontrol2.ls and kelda2/env_privacy.ls. Brightness is 12..44 in the
// file and 0..255 on the wire; the privacy rectangle is a corner and a size in the
// file and four edges on the wire.
#ifndef CAMRCD_SETTINGS_CAMERA_CONTROL_FILES_H_
#define CAMRCD_SETTINGS_CAMERA_CONTROL_FILES_H_

#include <stdint.h>

namespace camrcd {

// Wire brightness of a file BRIGHTNESS, and back (results of 11 or less become 12).
uint8_t brightness_to_wire(uint8_t file_value);
uint8_t brightness_to_file(uint8_t wire_value);

void load_camcontrol1_group();
void save_camcontrol1_group();

// A missing file puts defaults into the file image only, silently.
void load_camcontrol2_group();
void save_camcontrol2_group();

// A missing file puts defaults into the file image only, silently. The file is
// written without a terminator line.
void load_privacy_group();
void save_privacy_group();

}  // namespace camrcd

#endif  // CAMRCD_SETTINGS_CAMERA_CONTROL_FILES_H_
