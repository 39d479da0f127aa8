// Reader and writer of env_osd.ls and the title files. osd_display_flags packs the
// four display switches: 0x20 text, 0x10 date, 0x08 time, 0x04 icons.
#include "settings/osd_files.h"

#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include <iterator>

#include "platform/console.h"
#include "platform/dev_root.h"
#include "settings/flat_file.h"
#include "settings/settings_record.h"

namespace camrcd {
namespace {

constexpr FlatKey kOsdKeys[] = {
    CAMRCD_FLAT_KEY(OsdGroup, OSD_EN, 6),       CAMRCD_FLAT_KEY(OsdGroup, TXT_EN, 6),
    CAMRCD_FLAT_KEY(OsdGroup, TXT_STR, 7),      CAMRCD_FLAT_KEY(OsdGroup, DATE_EN, 7),
    CAMRCD_FLAT_KEY(OsdGroup, TIME_EN, 7),      CAMRCD_FLAT_KEY(OsdGroup, ICON_EN, 7),
    CAMRCD_FLAT_KEY(OsdGroup, ICON_DN, 7),      CAMRCD_FLAT_KEY(OsdGroup, ICON_MD, 7),
    CAMRCD_FLAT_KEY(OsdGroup, ICON_FAN, 8),     CAMRCD_FLAT_KEY(OsdGroup, ICON_HEATER, 11),
    CAMRCD_FLAT_KEY(OsdGroup, ICON_SENSOR, 11), CAMRCD_FLAT_KEY(OsdGroup, ICON_RELAY, 10),
    CAMRCD_FLAT_KEY(OsdGroup, LANGUAGE, 8),     CAMRCD_FLAT_KEY(OsdGroup, FONTSIZE, 8),
    CAMRCD_FLAT_KEY(OsdGroup, OSD_OUTLINE, 11), CAMRCD_FLAT_KEY(OsdGroup, OSD_MASK, 8),
    CAMRCD_FLAT_KEY(OsdGroup, OSD_COLOR, 9),
};
constexpr FlatReader kOsdReader = {
    "kelda2/env_osd.ls", 19, "END", kOsdKeys, std::size(kOsdKeys), "Conf. Open ERR. env_osd.ls\n",
};

constexpr FlatLine kOsdLines[] = {
    CAMRCD_FLAT_LINE("OSD_EN = %d\n", OsdGroup, OSD_EN),
    CAMRCD_FLAT_LINE("TXT_EN = %d\n", OsdGroup, TXT_EN),
    CAMRCD_FLAT_CONSTANT("TXT_TYPE = 1\n"),
    CAMRCD_FLAT_LINE("TXT_STR = %s\n", OsdGroup, TXT_STR),
    CAMRCD_FLAT_LINE("DATE_EN = %d\n", OsdGroup, DATE_EN),
    CAMRCD_FLAT_LINE("TIME_EN = %d\n", OsdGroup, TIME_EN),
    CAMRCD_FLAT_LINE("ICON_EN = %d\n", OsdGroup, ICON_EN),
    CAMRCD_FLAT_LINE("ICON_DN = %d\n", OsdGroup, ICON_DN),
    CAMRCD_FLAT_LINE("ICON_MD = %d\n", OsdGroup, ICON_MD),
    CAMRCD_FLAT_LINE("ICON_FAN = %d\n", OsdGroup, ICON_FAN),
    CAMRCD_FLAT_LINE("ICON_HEATER = %d\n", OsdGroup, ICON_HEATER),
    CAMRCD_FLAT_LINE("ICON_SENSOR = %d\n", OsdGroup, ICON_SENSOR),
    CAMRCD_FLAT_LINE("ICON_RELAY = %d\n", OsdGroup, ICON_RELAY),
    CAMRCD_FLAT_LINE("LANGUAGE = %d\n", OsdGroup, LANGUAGE),
    CAMRCD_FLAT_LINE("FONTSIZE = %d\n", OsdGroup, FONTSIZE),
    CAMRCD_FLAT_LINE("OSD_OUTLINE = %d\n", OsdGroup, OSD_OUTLINE),
    CAMRCD_FLAT_LINE("OSD_MASK = %d\n", OsdGroup, OSD_MASK),
    CAMRCD_FLAT_LINE("OSD_COLOR = %d\n", OsdGroup, OSD_COLOR),
    CAMRCD_FLAT_CONSTANT("END\n"),
};
constexpr FlatWriter kOsdWriter = {
    "kelda2/env_osd.ls",
    kOsdLines,
    std::size(kOsdLines),
    "WR. Conf. Open ERR. env_osd.ls\n",
};

constexpr FlatLine kTitleLines[] = {
    CAMRCD_FLAT_LINE("NAME = %s\n", TitleGroup, camera_title),
    CAMRCD_FLAT_CONSTANT("END\n"),
};
constexpr FlatWriter kTitleWriter = {
    "admin/view_title.ls",
    kTitleLines,
    std::size(kTitleLines),
    "WR.Conf. Open ERR. view_title.ls\n",
};

// The display switches and their bits in osd_display_flags.
struct DisplaySwitch {
  size_t offset;
  uint8_t bit;
};
constexpr DisplaySwitch kDisplaySwitches[] = {
    {offsetof(OsdGroup, TXT_EN), 0x20},
    {offsetof(OsdGroup, DATE_EN), 0x10},
    {offsetof(OsdGroup, TIME_EN), 0x08},
    {offsetof(OsdGroup, ICON_EN), 0x04},
};

uint8_t& switch_field(OsdGroup& osd, const DisplaySwitch& entry) {
  return reinterpret_cast<uint8_t*>(&osd)[entry.offset];
}

void derive_osd_wire_fields() {
  OsdGroup& osd = settings.osd;
  osd.osd_enable_code = osd.OSD_EN == 1 ? 2 : 1;
  osd.osd_color = osd.OSD_COLOR;
  osd.osd_display_flags = 0;
  for (const DisplaySwitch& entry : kDisplaySwitches) {
    if (switch_field(osd, entry) == 1)
      osd.osd_display_flags |= entry.bit;
  }
  osd.osd_extra = 0;
  memset(osd.osd_title, 0, sizeof osd.osd_title);
  copy_text_field(osd.osd_title, sizeof osd.osd_title, osd.TXT_STR);
}

void derive_osd_file_image() {
  OsdGroup& osd = settings.osd;
  osd.OSD_EN = osd.osd_enable_code == 2 ? 1 : 0;
  osd.OSD_COLOR = osd.osd_color;
  for (const DisplaySwitch& entry : kDisplaySwitches) {
    switch_field(osd, entry) = (osd.osd_display_flags & entry.bit) ? 1 : 0;
  }
  char title[sizeof osd.osd_title + 1] = "";
  memcpy(title, osd.osd_title, sizeof osd.osd_title);  // the field may lack its zero
  copy_text_field(osd.TXT_STR, sizeof osd.TXT_STR, title);
}

void read_title() {
  char* title = settings.title.camera_title;
  memset(title, 0, kTitleFieldSize);
  char path[kPathCapacity];
  FileReader file;
  if (!open_file_reader(&file, web_path(path, sizeof path, "kelda2/view_title.ls"))) {
    copy_text_field(title, kTitleWidth + 1, "MegaPixel");
    console_print("Conf. Open ERR. view_title.ls\n");
    return;
  }
  FlatScan scan;
  scan.value[0] = '\0';
  scan_setting(&file, &scan);
  close_file_reader(&file);
  copy_text_field(title, kTitleWidth + 1, scan.value);
}

}  // namespace

void load_osd_group() {
  if (read_flat_file(kOsdReader, &settings.osd))
    derive_osd_wire_fields();
  read_title();
}

void save_osd_group() {
  write_flat_file(kOsdWriter, &settings.osd, derive_osd_file_image);
}

void save_title_group() {
  write_flat_file(kTitleWriter, &settings.title, nullptr);
}

}  // namespace camrcd
