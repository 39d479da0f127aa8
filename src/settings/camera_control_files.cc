// Readers and writers of the image-control and privacy files. Wire switches are
// codes (2 on, 1 off), file switches 1/0. Rectangle arithmetic wraps like the
// camera's 32-bit words instead of overflowing.
#include "settings/camera_control_files.h"

#include <iterator>

#include "platform/console.h"
#include "settings/flat_file.h"
#include "settings/settings_record.h"

namespace camrcd {
namespace {

constexpr FlatKey kCamcontrol1Keys[] = {
    CAMRCD_FLAT_KEY(Camcontrol1Group, DNF_WIR, 7),
    CAMRCD_FLAT_KEY(Camcontrol1Group, DNF_AUTO, 8),
    CAMRCD_FLAT_KEY(Camcontrol1Group, DNF, 3),
    CAMRCD_FLAT_KEY(Camcontrol1Group, BRIGHTNESS, 10),
    CAMRCD_FLAT_KEY(Camcontrol1Group, CONTRAST, 8),
    CAMRCD_FLAT_KEY(Camcontrol1Group, SHARPNESS, 9),
    CAMRCD_FLAT_KEY(Camcontrol1Group, HUE, 3),
    CAMRCD_FLAT_KEY(Camcontrol1Group, SATURATION, 10),
    CAMRCD_FLAT_KEY(Camcontrol1Group, WB_MANUAL, 9),
    CAMRCD_FLAT_KEY(Camcontrol1Group, WB, 2),
    CAMRCD_FLAT_KEY(Camcontrol1Group, BLC, 3),
};
constexpr FlatReader kCamcontrol1Reader = {
    "kelda2/env_camcontrol1.ls",
    12,
    "END",
    kCamcontrol1Keys,
    std::size(kCamcontrol1Keys),
    "Conf. Open ERR. env_camcontrol1.ls\n",
};

constexpr FlatLine kCamcontrol1Lines[] = {
    CAMRCD_FLAT_LINE("DNF = %d\n", Camcontrol1Group, DNF),
    CAMRCD_FLAT_LINE("DNF_AUTO = %d\n", Camcontrol1Group, DNF_AUTO),
    CAMRCD_FLAT_LINE("DNF_WIR = %d\n", Camcontrol1Group, DNF_WIR),
    CAMRCD_FLAT_LINE("BRIGHTNESS = %d\n", Camcontrol1Group, BRIGHTNESS),
    CAMRCD_FLAT_LINE("CONTRAST = %d\n", Camcontrol1Group, CONTRAST),
    CAMRCD_FLAT_LINE("SHARPNESS = %d\n", Camcontrol1Group, SHARPNESS),
    CAMRCD_FLAT_LINE("HUE = %d\n", Camcontrol1Group, HUE),
    CAMRCD_FLAT_LINE("SATURATION = %d\n", Camcontrol1Group, SATURATION),
    CAMRCD_FLAT_LINE("WB = %d\n", Camcontrol1Group, WB),
    CAMRCD_FLAT_LINE("WB_MANUAL = %d\n", Camcontrol1Group, WB_MANUAL),
    CAMRCD_FLAT_LINE("BLC = %d\n", Camcontrol1Group, BLC),
    CAMRCD_FLAT_CONSTANT("END\n"),
};
constexpr FlatWriter kCamcontrol1Writer = {
    "kelda2/env_camcontrol1.ls",
    kCamcontrol1Lines,
    std::size(kCamcontrol1Lines),
    "WR. Conf. Open ERR. env_camcontrol1.ls\n",
};

// File field and wire field of the camcontrol1 values copied unchanged.
struct CopiedValue {
  size_t file_offset;
  size_t wire_offset;
};
constexpr CopiedValue kCamcontrol1Copies[] = {
    {offsetof(Camcontrol1Group, CONTRAST), offsetof(Camcontrol1Group, cam_contrast)},
    {offsetof(Camcontrol1Group, SHARPNESS), offsetof(Camcontrol1Group, cam_sharpness)},
    {offsetof(Camcontrol1Group, HUE), offsetof(Camcontrol1Group, cam_hue)},
    {offsetof(Camcontrol1Group, SATURATION), offsetof(Camcontrol1Group, cam_saturation)},
    {offsetof(Camcontrol1Group, WB_MANUAL), offsetof(Camcontrol1Group, cam_wb_manual)},
    {offsetof(Camcontrol1Group, WB), offsetof(Camcontrol1Group, cam_wb)},
    {offsetof(Camcontrol1Group, BLC), offsetof(Camcontrol1Group, cam_blc)},
};

uint8_t* byte_at(void* group, size_t offset) {
  return static_cast<uint8_t*>(group) + offset;
}

void derive_camcontrol1_file_image() {
  Camcontrol1Group& cam = settings.camcontrol1;
  cam.BRIGHTNESS = brightness_to_file(cam.cam_brightness);
  for (const CopiedValue& copy : kCamcontrol1Copies) {
    *byte_at(&cam, copy.file_offset) = *byte_at(&cam, copy.wire_offset);
  }
}

// --- camcontrol2 ---

constexpr FlatKey kCamcontrol2Keys[] = {
    CAMRCD_FLAT_KEY(Camcontrol2Group, MONOCHROME, 10),
    CAMRCD_FLAT_KEY(Camcontrol2Group, NEGATIVE, 8),
    CAMRCD_FLAT_KEY(Camcontrol2Group, COLOR_BAR, 9),
    CAMRCD_FLAT_KEY(Camcontrol2Group, SENSORUP, 8),
};
constexpr FlatReader kCamcontrol2Reader = {
    "kelda2/env_camcontrol2.ls", 5, "end", kCamcontrol2Keys, std::size(kCamcontrol2Keys), nullptr,
};

constexpr FlatLine kCamcontrol2Lines[] = {
    CAMRCD_FLAT_LINE("MONOCHROME = %d\n", Camcontrol2Group, MONOCHROME),
    CAMRCD_FLAT_LINE("NEGATIVE = %d\n", Camcontrol2Group, NEGATIVE),
    CAMRCD_FLAT_LINE("COLOR_BAR = %d\n", Camcontrol2Group, COLOR_BAR),
    CAMRCD_FLAT_LINE("SENSORUP = %d\n", Camcontrol2Group, SENSORUP),
    CAMRCD_FLAT_CONSTANT("end\n"),
};
constexpr FlatWriter kCamcontrol2Writer = {
    "kelda2/env_camcontrol2.ls",
    kCamcontrol2Lines,
    std::size(kCamcontrol2Lines),
    "WR. Conf. Open ERR. env_camcontrol2.ls\n",
};

// The 1/0 file switches and their 2/1 wire codes.
constexpr CopiedValue kCamcontrol2Switches[] = {
    {offsetof(Camcontrol2Group, MONOCHROME), offsetof(Camcontrol2Group, cam_monochrome_code)},
    {offsetof(Camcontrol2Group, NEGATIVE), offsetof(Camcontrol2Group, cam_negative_code)},
    {offsetof(Camcontrol2Group, COLOR_BAR), offsetof(Camcontrol2Group, cam_colorbar_code)},
};

void derive_camcontrol2_file_image() {
  Camcontrol2Group& cam = settings.camcontrol2;
  for (const CopiedValue& entry : kCamcontrol2Switches) {
    *byte_at(&cam, entry.file_offset) = *byte_at(&cam, entry.wire_offset) == 2 ? 1 : 0;
  }
  cam.SENSORUP = cam.cam_sensorup;
}

// --- privacy ---

constexpr FlatKey kPrivacyKeys[] = {
    CAMRCD_FLAT_KEY(PrivacyGroup, PRIVACY_EN, 10),
    CAMRCD_FLAT_KEY(PrivacyGroup, PRIVACY_COLOR, 13),
    CAMRCD_FLAT_KEY(PrivacyGroup, PRIVACY_MASK, 12),
    CAMRCD_FLAT_KEY(PrivacyGroup, STARTX, 6),
    CAMRCD_FLAT_KEY(PrivacyGroup, STARTY, 6),
    CAMRCD_FLAT_KEY(PrivacyGroup, WIDTH, 5),
    CAMRCD_FLAT_KEY(PrivacyGroup, HEIGHT, 6),
};
constexpr FlatReader kPrivacyReader = {
    "kelda2/env_privacy.ls", 8, "END", kPrivacyKeys, std::size(kPrivacyKeys), nullptr,
};

constexpr FlatLine kPrivacyLines[] = {
    CAMRCD_FLAT_LINE("PRIVACY_EN = %d\n", PrivacyGroup, PRIVACY_EN),
    CAMRCD_FLAT_LINE("PRIVACY_COLOR = %d\n", PrivacyGroup, PRIVACY_COLOR),
    CAMRCD_FLAT_LINE("PRIVACY_MASK = %d\n", PrivacyGroup, PRIVACY_MASK),
    CAMRCD_FLAT_LINE("STARTX = %d\n", PrivacyGroup, STARTX),
    CAMRCD_FLAT_LINE("STARTY = %d\n", PrivacyGroup, STARTY),
    CAMRCD_FLAT_LINE("WIDTH = %d\n", PrivacyGroup, WIDTH),
    CAMRCD_FLAT_LINE("HEIGHT = %d\n", PrivacyGroup, HEIGHT),
};
constexpr FlatWriter kPrivacyWriter = {
    "kelda2/env_privacy.ls",
    kPrivacyLines,
    std::size(kPrivacyLines),
    nullptr,
};

int32_t wrapping_add(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

int32_t wrapping_sub(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

void derive_privacy_file_image() {
  PrivacyGroup& privacy = settings.privacy;
  privacy.PRIVACY_EN = privacy.privacy_enable_code == 2 ? 1 : 0;
  privacy.PRIVACY_COLOR = privacy.privacy_color;
  privacy.STARTX = privacy.privacy_left;
  privacy.STARTY = privacy.privacy_top;
  privacy.WIDTH = wrapping_sub(privacy.privacy_right, privacy.privacy_left);
  privacy.HEIGHT = wrapping_sub(privacy.privacy_bottom, privacy.privacy_top);
}

}  // namespace

uint8_t brightness_to_wire(uint8_t file_value) {
  return static_cast<uint8_t>((255 * file_value - 2805) / 33);
}

uint8_t brightness_to_file(uint8_t wire_value) {
  int file_value = 33 * wire_value / 255 + 11;
  return static_cast<uint8_t>(file_value <= 11 ? 12 : file_value);
}

void load_camcontrol1_group() {
  Camcontrol1Group& cam = settings.camcontrol1;
  if (!read_flat_file(kCamcontrol1Reader, &cam))
    return;
  cam.cam_brightness = brightness_to_wire(cam.BRIGHTNESS);
  for (const CopiedValue& copy : kCamcontrol1Copies) {
    *byte_at(&cam, copy.wire_offset) = *byte_at(&cam, copy.file_offset);
  }
  // Every wire value is 1 to 255: a 0 shows as 1.
  if (cam.cam_brightness == 0)
    cam.cam_brightness = 1;
  for (const CopiedValue& copy : kCamcontrol1Copies) {
    if (*byte_at(&cam, copy.wire_offset) == 0)
      *byte_at(&cam, copy.wire_offset) = 1;
  }
}

void save_camcontrol1_group() {
  write_flat_file(kCamcontrol1Writer, &settings.camcontrol1, derive_camcontrol1_file_image);
}

void load_camcontrol2_group() {
  Camcontrol2Group& cam = settings.camcontrol2;
  if (!read_flat_file(kCamcontrol2Reader, &cam)) {
    cam.MONOCHROME = 0;
    cam.NEGATIVE = 0;
    cam.COLOR_BAR = 0;
    cam.SENSORUP = 4;
    return;
  }
  for (const CopiedValue& entry : kCamcontrol2Switches) {
    *byte_at(&cam, entry.wire_offset) = *byte_at(&cam, entry.file_offset) == 1 ? 2 : 1;
  }
  cam.cam_sensorup = cam.SENSORUP;
}

void save_camcontrol2_group() {
  write_flat_file(kCamcontrol2Writer, &settings.camcontrol2, derive_camcontrol2_file_image);
}

void load_privacy_group() {
  PrivacyGroup& privacy = settings.privacy;
  if (!read_flat_file(kPrivacyReader, &privacy)) {
    privacy.PRIVACY_EN = 0;
    privacy.PRIVACY_COLOR = 1;
    privacy.PRIVACY_MASK = 1;
    privacy.STARTX = 7;
    privacy.STARTY = 143;
    privacy.WIDTH = 84;
    privacy.HEIGHT = 84;
    return;
  }
  privacy.privacy_area_valid = 1;
  privacy.privacy_enable_code = privacy.PRIVACY_EN == 1 ? 2 : 1;
  privacy.privacy_color = privacy.PRIVACY_COLOR;
  privacy.privacy_left = privacy.STARTX;
  privacy.privacy_top = privacy.STARTY;
  privacy.privacy_right = wrapping_add(privacy.STARTX, privacy.WIDTH);
  privacy.privacy_bottom = wrapping_add(privacy.STARTY, privacy.HEIGHT);
}

void save_privacy_group() {
  if (write_flat_file(kPrivacyWriter, &settings.privacy, derive_privacy_file_image)) {
    console_print("WR. Conf. OK. env_privacy.ls \n");
  }
}

}  // namespace camrcd
