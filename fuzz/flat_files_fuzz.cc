// Every flat file's reader, and its writer, through load_groups and save_groups on a
// file of any content. Byte 0 of an input picks the file; the rest is its content, put
// in the sandbox camera beside the other files as made. Checked: the load changes
// nothing outside its group and leaves every text field terminated; and what the
// writer then writes reads back as the same file image (an empty or odd value must not
// shift the keys after it).
#include <stddef.h>
#include <string.h>

#include <iterator>
#include <string>

#include "groups/group_masks.h"
#include "groups/group_table.h"
#include "settings/settings_record.h"
#include "support/fuzz_support.h"

namespace camrcd {
namespace {

// A range of the settings record.
struct Span {
  const void* start;
  const void* end;
};

template <typename T>
Span span_of(T& field) {
  return {&field, &field + 1};
}

struct FlatCase {
  const char* path;
  uint32_t load;
  uint32_t save;  // 0: the server never writes this file
  Span group;     // what the load may change, with `also`
  Span image;     // the file image, which the writer's file must give back
  Span also = {nullptr, nullptr};
};

SettingsRecord& s = settings;

// clang-format off
const FlatCase kCases[] = {
    {"kelda2/env_video.ls", kLoadVideo, kSaveVideo, span_of(s.video), span_of(s.video.VIDEO_TYPE)},
    {"kelda2/env_mpeg.ls", kLoadMpeg, kSaveMpeg, span_of(s.mpeg),
     {&s.mpeg, &s.mpeg.mpeg_enable_code}},
    {"kelda2/env_jpeg.ls", kLoadJpeg, kSaveJpeg, span_of(s.jpeg),
     {&s.jpeg, &s.jpeg.jpeg_enable_code}},
    {"kelda2/env_osd.ls", kLoadOsd, kSaveOsd, {&s.osd, &s.title + 1},
     {&s.osd, &s.osd.osd_enable_code}},
    {"kelda2/view_title.ls", kLoadOsd, 0, {&s.osd, &s.title + 1}, {}},
    {"kelda2/env_camcontrol1.ls", kLoadCamcontrol1, kSaveWhiteBalance, span_of(s.camcontrol1),
     {&s.camcontrol1, &s.camcontrol1.cam_brightness}},
    {"kelda2/env_camcontrol2.ls", kLoadCamcontrol2, kSaveCamcontrol2, span_of(s.camcontrol2),
     {&s.camcontrol2, &s.camcontrol2.cam_monochrome_code}},
    {"kelda2/env_privacy.ls", kLoadPrivacy, kSavePrivacy, span_of(s.privacy),
     {&s.privacy, &s.privacy.privacy_area_valid}},
    {"kelda2/env_alarm.ls", kLoadAlarm, kSaveAlarm, span_of(s.alarm),
     {&s.alarm, &s.alarm.alarm_in_code}},
    {"kelda2/env_motion.ls", kLoadMotion, kSaveMotion, {&s.motion, &s.motion_map_length + 1},
     {&s.motion, &s.motion_block_map + 1}},
    {"kelda2/env_motion_block.dat", kLoadMotion, kSaveMotion,
     {&s.motion, &s.motion_map_length + 1}, {&s.motion, &s.motion_block_map + 1}},
    {"admin/stream_port_ch1.ls", kLoadNetwork, 0, span_of(s.network), {},
     span_of(s.control_port)},
    {"/tmp/macaddr.ls", kLoadNetwork, 0, span_of(s.network), {}, span_of(s.control_port)},
};
// clang-format on

size_t offset_of(const void* at) {
  return static_cast<const uint8_t*>(at) - reinterpret_cast<const uint8_t*>(&settings);
}

size_t size_of(const Span& span) {
  return static_cast<const uint8_t*>(span.end) - static_cast<const uint8_t*>(span.start);
}

// True when `record` and the settings record differ only inside the spans.
bool same_outside(const SettingsRecord& record, const Span& group, const Span& also) {
  static SettingsRecord expected;
  memcpy(&expected, &record, sizeof record);
  for (const Span& span : {group, also}) {
    if (span.start == nullptr)
      continue;
    size_t at = offset_of(span.start);
    memcpy(reinterpret_cast<uint8_t*>(&expected) + at, span.start, size_of(span));
  }
  return memcmp(&expected, &settings, sizeof settings) == 0;
}

const Span kTexts[] = {
    span_of(s.mpeg.enable),     span_of(s.mpeg.src),      span_of(s.mpeg.profile),
    span_of(s.mpeg.govs),       span_of(s.mpeg.cbr),      span_of(s.mpeg.priority),
    span_of(s.mpeg.f_skipauto), span_of(s.jpeg.enable),   span_of(s.jpeg.src),
    span_of(s.osd.TXT_STR),     span_of(s.osd.osd_title), span_of(s.title.camera_title),
    span_of(s.alarm.IN_NAME),
};

// Every byte of the record is 0xA5 but the last of each text field.
void fill_record() {
  memset(&settings, 0xA5, sizeof settings);
  for (const Span& text : kTexts)
    static_cast<char*>(const_cast<void*>(text.end))[-1] = '\0';
}

bool texts_terminated() {
  for (const Span& text : kTexts) {
    if (!text_terminated(static_cast<const char*>(text.start), size_of(text)))
      return false;
  }
  return true;
}

}  // namespace

void fuzz_setup() {
  camera_root();
}

void fuzz_seeds() {
  for (size_t i = 0; i < std::size(kCases); i++)
    write_seed("file-" + std::to_string(i),
               std::string(1, static_cast<char>(i)) + camera_file(kCases[i].path));
}

}  // namespace camrcd

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace camrcd;
  if (size == 0)
    return 0;
  const FlatCase& c = kCases[data[0] % std::size(kCases)];
  restore_camera_files();
  put_camera_file(c.path, std::string(reinterpret_cast<const char*>(data + 1), size - 1));
  fill_record();  // no field holds a value that a reader gave it
  static SettingsRecord before;
  memcpy(&before, &settings, sizeof settings);
  load_groups(c.load, 0);
  fuzz_check(same_outside(before, c.group, c.also),
             "a reader changed the record outside its group");
  fuzz_check(texts_terminated(), "a text field lost its terminating zero");
  if (c.save == 0)
    return 0;
  save_groups(c.save, 0);
  static SettingsRecord written;
  memcpy(&written, &settings, sizeof settings);
  load_groups(c.load, 0);
  size_t at = offset_of(c.image.start);
  fuzz_check(
      memcmp(reinterpret_cast<const uint8_t*>(&written) + at, c.image.start, size_of(c.image)) == 0,
      "a written file read back as another file image");
  return 0;
}
