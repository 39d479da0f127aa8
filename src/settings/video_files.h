// The video, mpeg and jpeg groups: kelda2/env_video.ls, kelda2/env_mpeg.ls and
// kelda2/env_jpeg.ls. Readers fill the file image and derive the wire fields;
// writers derive the file image from the wire fields and rewrite the whole file.
// Each runs with its group lock held by the group table walker; the jpeg writer with
// video_lock too, since the jpeg src follows the video resolution.
#ifndef CAMRCD_SETTINGS_VIDEO_FILES_H_
#define CAMRCD_SETTINGS_VIDEO_FILES_H_

namespace camrcd {

void load_video_group();
// Keeps DD_REVERSE, ED_REVERSE and EZOOM of the existing file; a kept key that the
// existing file lacks is left out of the new one.
void save_video_group();

void load_mpeg_group();
void save_mpeg_group();

void load_jpeg_group();
// src follows the video resolution: "dd" for 1, "ed" for 2 and 3.
void save_jpeg_group();

}  // namespace camrcd

#endif  // CAMRCD_SETTINGS_VIDEO_FILES_H_
