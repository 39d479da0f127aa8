// The md2 group: kelda2/env_md2.ls, "[common]" (md_func, mode, md-max), "[manual]"
// and the area section "[md%d]" of current_md, plus one 4801-byte block file per area,
// kelda2/md/env_mdb%d.dat, which holds the motion block map as it is. Areas are
// numbered like the presets; 255 is the area of the default position.
#ifndef CAMRCD_SETTINGS_SECTIONED_MD_AREA_FILE_H_
#define CAMRCD_SETTINGS_SECTIONED_MD_AREA_FILE_H_

#include <stdint.h>

namespace camrcd {

struct SectionedFile;
extern const SectionedFile kMdAreaFile;  // the file's table

// Also reads the area's block file (a missing one gives the default map and prints
// "Rd.Err <path>"); motion_map_length becomes 4803.
void load_md2();
// Also writes the area's block file when current_md is not 0 and the text file was
// copied ("WR.Err <path>" when it can't be created).
void save_md2();
// Deletes the section of area n (1-255), or resets the file (0) keeping "[md255]".
// The block files stay.
void remove_md_area(uint8_t n);

}  // namespace camrcd

#endif  // CAMRCD_SETTINGS_SECTIONED_MD_AREA_FILE_H_
