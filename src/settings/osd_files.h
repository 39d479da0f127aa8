// The osd and title groups: kelda2/env_osd.ls, and the camera title, read from
// kelda2/view_title.ls and written to admin/view_title.ls. The osd load runs with
// osd_lock and then title_lock held, since it reads the title as well.
#ifndef CAMRCD_SETTINGS_OSD_FILES_H_
#define CAMRCD_SETTINGS_OSD_FILES_H_

namespace camrcd {

// Reads env_osd.ls (a missing file leaves the osd group unchanged), then the title:
// the value of the title file's first setting, whatever its key ("MegaPixel" when
// the file is missing). A title longer than 20 characters is cut.
void load_osd_group();
void save_osd_group();

void save_title_group();

}  // namespace camrcd

#endif  // CAMRCD_SETTINGS_OSD_FILES_H_
