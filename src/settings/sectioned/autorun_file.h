// The autorun group: kelda2/env_autorun.ls, sections "[autopan]", "[poa]" and
// "[autorun]" read and written whole on every load and save (no numbered sections,
// no section defaults, nothing appended, "end" lines copied wherever they stand).
#ifndef CAMRCD_SETTINGS_SECTIONED_AUTORUN_FILE_H_
#define CAMRCD_SETTINGS_SECTIONED_AUTORUN_FILE_H_

namespace camrcd {

struct SectionedFile;
extern const SectionedFile kAutorunFile;  // the file's table

// A missing file: its message, and every field keeps its value. Otherwise the
// direction and both enables start at 0 and take what the file holds.
void load_autorun();
void save_autorun();

}  // namespace camrcd

#endif  // CAMRCD_SETTINGS_SECTIONED_AUTORUN_FILE_H_
