// Group mask bits in their two numberings. Load bits name groups for load_groups
// (load mask, extended load mask); save bits name them for save_groups and
// apply_groups (save, extended save, apply and extended apply masks).
#ifndef CAMRCD_GROUPS_GROUP_MASKS_H_
#define CAMRCD_GROUPS_GROUP_MASKS_H_

#include <stdint.h>

namespace camrcd {

// Load numbering, first mask.
inline constexpr uint32_t kLoadVideo = 0x001;
inline constexpr uint32_t kLoadMpeg = 0x002;
inline constexpr uint32_t kLoadJpeg = 0x004;
inline constexpr uint32_t kLoadOsd = 0x008;  // with the title file
inline constexpr uint32_t kLoadPrivacy = 0x010;
inline constexpr uint32_t kLoadCamcontrol1 = 0x020;
inline constexpr uint32_t kLoadCamcontrol2 = 0x040;
inline constexpr uint32_t kLoadAlarm = 0x080;
inline constexpr uint32_t kLoadAutorun = 0x100;
inline constexpr uint32_t kLoadNetwork = 0x200;
inline constexpr uint32_t kLoadMotion = 0x400;
// Load numbering, extended mask.
inline constexpr uint32_t kLoadPreset2 = 0x002;
inline constexpr uint32_t kLoadAlarm2 = 0x080;
inline constexpr uint32_t kLoadMd2 = 0x400;

// The start-up load masks (also the device information request's).
inline constexpr uint32_t kStartupLoadMaskFixedCamera = 0x2FF;  // device type 1
inline constexpr uint32_t kStartupLoadMaskOther = 0x36F;        // device types 0 and 2

// Save numbering, first mask (also the apply mask).
inline constexpr uint32_t kSaveTitle = 0x001;
inline constexpr uint32_t kSaveVideo = 0x002;
inline constexpr uint32_t kSaveMpeg = 0x004;
inline constexpr uint32_t kSaveJpeg = 0x008;
inline constexpr uint32_t kSaveOsd = 0x010;
inline constexpr uint32_t kSaveAlarm = 0x020;
inline constexpr uint32_t kSaveWhiteBalance = 0x040;  // camcontrol1, first action
inline constexpr uint32_t kSaveCamcontrol2 = 0x080;
inline constexpr uint32_t kSavePrivacy = 0x100;
inline constexpr uint32_t kSaveMotion = 0x200;
inline constexpr uint32_t kSavePicture = 0x400;         // camcontrol1, second action
inline constexpr uint32_t kSaveJpegFile = 0x800;        // jpeg file; no action
inline constexpr uint32_t kSaveMpegFileVideo = 0x1000;  // mpeg file; applies video
// Save numbering, extended mask.
inline constexpr uint32_t kSavePreset2 = 0x002;
inline constexpr uint32_t kSaveAlarm2 = 0x020;
inline constexpr uint32_t kSaveAutorun = 0x100;
inline constexpr uint32_t kSaveMd2 = 0x200;

}  // namespace camrcd

#endif  // CAMRCD_GROUPS_GROUP_MASKS_H_
