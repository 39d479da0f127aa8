// Readers and writers of the video, mpeg and jpeg files. The video resolution is the
// pair of DD_RES and ED_RES words; only three pairs are known. Switch words count as
// on when they begin with "on".
#include "settings/video_files.h"

#include <stdint.h>
#include <string.h>

#include <iterator>

#include "settings/flat_file.h"
#include "settings/settings_record.h"

namespace camrcd {
namespace {

constexpr size_t kKeptTextSize = 16;  // kept video texts: at most 15 characters

// The video file as read and written; only VIDEO_TYPE is held in the record.
struct VideoFileImage {
  uint8_t VIDEO_TYPE;
  char DD_RES[kKeptTextSize];
  char ED_RES[kKeptTextSize];
  char DD_REVERSE[kKeptTextSize];
  char ED_REVERSE[kKeptTextSize];
  char EZOOM[kKeptTextSize];
};

constexpr FlatKey kVideoKeys[] = {
    CAMRCD_FLAT_KEY(VideoFileImage, VIDEO_TYPE, 10),
    CAMRCD_FLAT_KEY(VideoFileImage, DD_RES, 6),
    CAMRCD_FLAT_KEY(VideoFileImage, ED_RES, 6),
};
constexpr uint32_t kMatchedDdRes = 1u << 1;
constexpr uint32_t kMatchedEdRes = 1u << 2;
constexpr FlatReader kVideoReader = {
    "kelda2/env_video.ls",
    5,
    "end",
    kVideoKeys,
    std::size(kVideoKeys),
    "Conf. Open ERR. env_video.ls\n",
};

constexpr FlatKey kVideoKeptKeys[] = {
    CAMRCD_FLAT_KEY(VideoFileImage, DD_REVERSE, 10),
    CAMRCD_FLAT_KEY(VideoFileImage, ED_REVERSE, 10),
    CAMRCD_FLAT_KEY(VideoFileImage, EZOOM, 5),
};
constexpr FlatReader kVideoKeptReader = {
    "kelda2/env_video.ls",
    15,
    "end",
    kVideoKeptKeys,
    std::size(kVideoKeptKeys),
    "RD. Conf. Open ERR. env_video.ls\n",
};

constexpr FlatLine kVideoLines[] = {
    CAMRCD_FLAT_LINE("VIDEO_TYPE = %d\n", VideoFileImage, VIDEO_TYPE),
    CAMRCD_FLAT_LINE_AS("DD_RES = %s\n", FieldKind::kTextIfSet, VideoFileImage, DD_RES),
    CAMRCD_FLAT_LINE_AS("ED_RES = %s\n", FieldKind::kTextIfSet, VideoFileImage, ED_RES),
    CAMRCD_FLAT_LINE_AS("DD_REVERSE = %s\n", FieldKind::kTextIfSet, VideoFileImage, DD_REVERSE),
    CAMRCD_FLAT_LINE_AS("ED_REVERSE = %s\n", FieldKind::kTextIfSet, VideoFileImage, ED_REVERSE),
    CAMRCD_FLAT_LINE_AS("EZOOM = %s\n", FieldKind::kTextIfSet, VideoFileImage, EZOOM),
    CAMRCD_FLAT_CONSTANT("end\n"),
};
constexpr FlatWriter kVideoWriter = {
    "kelda2/env_video.ls",
    kVideoLines,
    std::size(kVideoLines),
    "WR. Conf. Open ERR. env_video.ls\n",
};

// The known resolution pairs; the row index + 1 is video_resolution. DD codes:
// 1 quadvga, 2 other; ED codes: 2 vga, 3 qvga, 4 other.
struct ResolutionPair {
  uint8_t dd_code;
  uint8_t ed_code;
  const char* dd_word;
  const char* ed_word;
};
constexpr ResolutionPair kResolutionPairs[] = {
    {1, 2, "quadvga", "vga"},
    {2, 2, "vga", "vga"},
    {2, 3, "vga", "qvga"},
};
constexpr size_t kResolutionCount = std::size(kResolutionPairs);

bool begins_with(const char* text, const char* word) {
  return strncmp(text, word, strlen(word)) == 0;
}

uint8_t switch_code(const char* word) {
  return begins_with(word, "on") ? 2 : 1;
}

const char* switch_word(uint8_t code) {
  return code == 2 ? "on" : "off";
}

uint8_t dd_code(const VideoFileImage& image, uint32_t matched) {
  if ((matched & kMatchedDdRes) == 0)
    return 0;
  return begins_with(image.DD_RES, "quadvga") ? 1 : 2;
}

uint8_t ed_code(const VideoFileImage& image, uint32_t matched) {
  if ((matched & kMatchedEdRes) == 0)
    return 0;
  if (begins_with(image.ED_RES, "vga"))
    return 2;
  return begins_with(image.ED_RES, "qvga") ? 3 : 4;
}

// --- mpeg ---

constexpr FlatKey kMpegKeys[] = {
    CAMRCD_FLAT_KEY(MpegGroup, enable, 6),
    CAMRCD_FLAT_KEY(MpegGroup, src, 3),
    CAMRCD_FLAT_KEY(MpegGroup, profile, 7),
    CAMRCD_FLAT_KEY(MpegGroup, govl, 4),
    CAMRCD_FLAT_KEY(MpegGroup, govs, 4),
    CAMRCD_FLAT_KEY(MpegGroup, cbr, 3),
    CAMRCD_FLAT_KEY(MpegGroup, inputrate, 9),
    {"bitrate", 7, FieldKind::kLong, offsetof(MpegGroup, bitrate), sizeof(int32_t)},
    CAMRCD_FLAT_KEY(MpegGroup, priority, 8),
    CAMRCD_FLAT_KEY(MpegGroup, f_skipauto, 10),
    CAMRCD_FLAT_KEY(MpegGroup, frameskip, 9),
    CAMRCD_FLAT_KEY(MpegGroup, packetsize, 10),
    CAMRCD_FLAT_KEY(MpegGroup, framerate_en, 12),
    CAMRCD_FLAT_KEY(MpegGroup, quality, 7),
};
constexpr FlatReader kMpegReader = {
    "kelda2/env_mpeg.ls",
    15,
    "end",
    kMpegKeys,
    std::size(kMpegKeys),
    "Conf. Open ERR. env_mpeg.ls\n",
};

constexpr FlatLine kMpegLines[] = {
    CAMRCD_FLAT_LINE("enable = %s\n", MpegGroup, enable),
    CAMRCD_FLAT_LINE("src = %s\n", MpegGroup, src),
    CAMRCD_FLAT_LINE("profile = %s\n", MpegGroup, profile),
    CAMRCD_FLAT_LINE("govl = %d\n", MpegGroup, govl),
    CAMRCD_FLAT_LINE("govs = %s\n", MpegGroup, govs),
    CAMRCD_FLAT_LINE("cbr = %s\n", MpegGroup, cbr),
    CAMRCD_FLAT_LINE("inputrate = %d\n", MpegGroup, inputrate),
    CAMRCD_FLAT_LINE_AS("bitrate = %ld\n", FieldKind::kLong, MpegGroup, bitrate),
    CAMRCD_FLAT_LINE("priority = %s\n", MpegGroup, priority),
    CAMRCD_FLAT_LINE("f_skipauto = %s\n", MpegGroup, f_skipauto),
    CAMRCD_FLAT_LINE("frameskip = %d\n", MpegGroup, frameskip),
    CAMRCD_FLAT_LINE("packetsize = %d\n", MpegGroup, packetsize),
    CAMRCD_FLAT_LINE("framerate_en = %d\n", MpegGroup, framerate_en),
    CAMRCD_FLAT_LINE("quality = %d\n", MpegGroup, quality),
    CAMRCD_FLAT_CONSTANT("end\n"),
};
constexpr FlatWriter kMpegWriter = {
    "kelda2/env_mpeg.ls",
    kMpegLines,
    std::size(kMpegLines),
    "WR. Conf. Open ERR. env_mpeg.ls\n",
};

void derive_mpeg_file_image() {
  MpegGroup& mpeg = settings.mpeg;
  copy_text_field(mpeg.enable, sizeof mpeg.enable, switch_word(mpeg.mpeg_enable_code));
  mpeg.govl = mpeg.mpeg_gop;
  copy_text_field(mpeg.cbr, sizeof mpeg.cbr, switch_word(mpeg.mpeg_cbr_code));
  if (mpeg.mpeg_cbr_code == 2) {
    mpeg.inputrate = static_cast<uint8_t>(mpeg.mpeg_rate - 1);
    mpeg.bitrate = mpeg.mpeg_bitrate;
  } else {
    mpeg.quality = mpeg.mpeg_rate;
  }
}

// --- jpeg ---

constexpr FlatKey kJpegKeys[] = {
    CAMRCD_FLAT_KEY(JpegGroup, enable, 6),      CAMRCD_FLAT_KEY(JpegGroup, src, 3),
    CAMRCD_FLAT_KEY(JpegGroup, qfactor, 7),     CAMRCD_FLAT_KEY(JpegGroup, frameskip, 9),
    CAMRCD_FLAT_KEY(JpegGroup, dri, 3),         CAMRCD_FLAT_KEY(JpegGroup, port, 4),
    CAMRCD_FLAT_KEY(JpegGroup, packetsize, 10),
};
constexpr FlatReader kJpegReader = {
    "kelda2/env_jpeg.ls",
    14,
    "end",
    kJpegKeys,
    std::size(kJpegKeys),
    "Conf. Open ERR. env_jpeg.ls\n",
};

constexpr FlatLine kJpegLines[] = {
    CAMRCD_FLAT_LINE("enable = %s\n", JpegGroup, enable),
    CAMRCD_FLAT_LINE("src = %s\n", JpegGroup, src),
    CAMRCD_FLAT_CONSTANT("http = off\n"),
    CAMRCD_FLAT_CONSTANT("format = 422\n"),
    CAMRCD_FLAT_LINE("qfactor = %d\n", JpegGroup, qfactor),
    CAMRCD_FLAT_CONSTANT("huffmandcy = 1\n"),
    CAMRCD_FLAT_CONSTANT("huffmandcc = 1\n"),
    CAMRCD_FLAT_CONSTANT("huffmanacy = 1\n"),
    CAMRCD_FLAT_CONSTANT("huffmanacc = 1\n"),
    CAMRCD_FLAT_LINE("frameskip = %d\n", JpegGroup, frameskip),
    CAMRCD_FLAT_LINE("dri = %d\n", JpegGroup, dri),
    CAMRCD_FLAT_LINE("port = %d\n", JpegGroup, port),
    CAMRCD_FLAT_LINE("packetsize = %d\n", JpegGroup, packetsize),
    CAMRCD_FLAT_CONSTANT("end\n"),
};
constexpr FlatWriter kJpegWriter = {
    "kelda2/env_jpeg.ls",
    kJpegLines,
    std::size(kJpegLines),
    "WR. Conf. Open ERR. env_jpeg.ls\n",
};

void set_jpeg_defaults() {
  JpegGroup& jpeg = settings.jpeg;
  jpeg.jpeg_enable_code = 2;
  jpeg.jpeg_quality = 50;
  copy_text_field(jpeg.enable, sizeof jpeg.enable, "on");
  copy_text_field(jpeg.src, sizeof jpeg.src, "dd");
  jpeg.qfactor = 50;
  jpeg.frameskip = 0;
  jpeg.dri = 40;
  jpeg.port = 8008;
  jpeg.packetsize = 1460;
}

void derive_jpeg_file_image() {
  JpegGroup& jpeg = settings.jpeg;
  copy_text_field(jpeg.enable, sizeof jpeg.enable, switch_word(jpeg.jpeg_enable_code));
  jpeg.qfactor = jpeg.jpeg_quality;
  uint8_t resolution = settings.video.video_resolution;
  if (resolution == 1)
    copy_text_field(jpeg.src, sizeof jpeg.src, "dd");
  if (resolution == 2 || resolution == 3)
    copy_text_field(jpeg.src, sizeof jpeg.src, "ed");
}

}  // namespace

void load_video_group() {
  VideoFileImage image = {};
  uint32_t matched = 0;
  if (!read_flat_file(kVideoReader, &image, &matched)) {
    settings.video.VIDEO_TYPE = 2;
    settings.video.video_resolution = 1;
    return;
  }
  if (matched & 1u)
    settings.video.VIDEO_TYPE = image.VIDEO_TYPE;
  uint8_t dd = dd_code(image, matched);
  uint8_t ed = ed_code(image, matched);
  for (size_t i = 0; i < kResolutionCount; ++i) {
    if (kResolutionPairs[i].dd_code == dd && kResolutionPairs[i].ed_code == ed) {
      settings.video.video_resolution = static_cast<uint8_t>(i + 1);
    }
  }
}

void save_video_group() {
  VideoFileImage image = {};
  read_flat_file(kVideoKeptReader, &image);
  image.VIDEO_TYPE = settings.video.VIDEO_TYPE;
  uint8_t resolution = settings.video.video_resolution;
  if (resolution >= 1 && resolution <= kResolutionCount) {
    const ResolutionPair& pair = kResolutionPairs[resolution - 1];
    copy_text_field(image.DD_RES, sizeof image.DD_RES, pair.dd_word);
    copy_text_field(image.ED_RES, sizeof image.ED_RES, pair.ed_word);
  }
  write_flat_file(kVideoWriter, &image, nullptr);
}

void load_mpeg_group() {
  MpegGroup& mpeg = settings.mpeg;
  if (!read_flat_file(kMpegReader, &mpeg))
    return;
  mpeg.mpeg_enable_code = switch_code(mpeg.enable);
  mpeg.mpeg_gop = mpeg.govl;
  mpeg.mpeg_cbr_code = switch_code(mpeg.cbr);
  if (mpeg.mpeg_cbr_code == 2) {
    mpeg.mpeg_rate = static_cast<uint8_t>(mpeg.inputrate + 1);
    mpeg.mpeg_bitrate = mpeg.bitrate;
  } else {
    mpeg.mpeg_rate = mpeg.quality;
    mpeg.mpeg_bitrate = 0;
  }
}

void save_mpeg_group() {
  write_flat_file(kMpegWriter, &settings.mpeg, derive_mpeg_file_image);
}

void load_jpeg_group() {
  JpegGroup& jpeg = settings.jpeg;
  if (!read_flat_file(kJpegReader, &jpeg)) {
    set_jpeg_defaults();
    return;
  }
  jpeg.jpeg_enable_code = switch_code(jpeg.enable);
  jpeg.jpeg_quality = jpeg.qfactor;
}

void save_jpeg_group() {
  write_flat_file(kJpegWriter, &settings.jpeg, derive_jpeg_file_image);
}

}  // namespace camrcd
