// The dispatch table and the request handlers. Values a request carries are copied
// into the record under the lock of the group that loads or saves them (selectors
// included). A request of one group does its copy (or its selectors), its load or
// save and apply, and its reply's fields under one hold of that group's lock, so no
// other connection's selector or load comes between them: a reply names the section
// it was asked for with that section's fields, and a save writes what was copied.
// Loads, saves and applies take every other lock they need through the group table.
#include "control/dispatch.h"

#include <stddef.h>
#include <string.h>

#include <algorithm>
#include <mutex>

#include "actions/local_notifier.h"
#include "actions/ptz_actions.h"
#include "control/field_copies.h"
#include "control/net_io.h"
#include "control/replies.h"
#include "control/request_header.h"
#include "platform/console.h"
#include "platform/pause.h"
#include "settings/group_locks.h"
#include "settings/group_masks.h"
#include "settings/group_table.h"
#include "settings/sectioned/md_area_file.h"
#include "settings/sectioned/preset_file.h"
#include "settings/settings_record.h"

namespace camrcd {
namespace {

using Guard = std::lock_guard<std::mutex>;

// A valid motion payload: the block map, then 0x55 0xAA.
constexpr size_t kMotionPayloadSize = kMotionBlockMapSize + 2;
constexpr uint32_t kReadReplyWait = 5000;  // microseconds
constexpr uint8_t kDefaultPreset = 255;    // neither moved to nor put into the pan/tilt head
constexpr uint8_t kPresetClearAll = 0x20;
constexpr uint8_t kPresetClearOne = 0x02;

struct Request {
  const uint8_t* header;
  int socket;
  uint8_t* buffer;
  RequestMasks* masks;
};

// A write request that copies its fields and saves and applies fixed groups.
struct PlainWrite {
  const FieldCopyTable* fields;
  uint32_t save;
  uint32_t extended_save;
  uint32_t apply;
  uint32_t extended_apply;
};

using Handler = RequestOutcome (*)(const Request&, const PlainWrite*);

struct DispatchRow {
  uint8_t class_byte;
  uint8_t sub;
  Handler handler;
  const PlainWrite* write;
};

void send_reply(const Request& r, size_t length) {
  net_send(r.socket, r.buffer, length, 0);  // a failed send shows at the next read
}

void save_and_apply(const RequestMasks& m, const std::mutex* held = nullptr) {
  save_groups(m.save, m.extended_save, held);
  apply_groups(m.apply, m.extended_apply, held);
}

uint8_t selected_md_area() {
  Guard guard(ptz_lock);
  return settings.current_md;
}

uint32_t startup_load_mask() {
  return settings.device_type == 1 ? kStartupLoadMaskFixedCamera : kStartupLoadMaskOther;
}

RequestOutcome device_info(const Request& r, const PlainWrite*) {
  console_print("Require Info Ver %02d.%02d\n", r.header[7], r.header[6]);
  r.masks->load = startup_load_mask();
  load_groups(r.masks->load, r.masks->extended_load);
  pause_microseconds(kReadReplyWait);
  send_reply(r, build_device_info_reply(r.buffer, 0));
  return RequestOutcome::kKeepServing;
}

// A read of a sectioned group: under one hold of the group's lock its selectors are
// set from the header, the group loaded and the reply built, so the reply names the
// section it was asked for with that section's fields. The 5 ms wait follows,
// outside the lock.
struct SectionedRead {
  std::mutex* lock;
  uint32_t extended_load;
  void (*select)(const uint8_t* header);
  size_t (*build)(uint8_t* buffer, uint16_t parameter, const std::mutex* held);
};

// The area of a motion read: 1 when the version's major number (byte 7) is 0.
uint8_t requested_area(const uint8_t* header) {
  return header[7] == 0 ? 1 : header[8];
}

constexpr SectionedRead kMotionAreaRead = {
    &ptz_lock, kLoadMd2, [](const uint8_t* h) { settings.current_md = requested_area(h); },
    build_motion_reply_holding};
constexpr SectionedRead kAlarmLinkRead = {&alarm_lock, kLoadAlarm2,
                                          [](const uint8_t* h) {
                                            settings.current_alarmin = h[8];
                                            settings.current_alarmout = h[9];
                                          },
                                          build_alarm_link_reply_holding};
constexpr SectionedRead kPresetRead = {&ptz_lock, kLoadPreset2,
                                       [](const uint8_t* h) { settings.current_preset = h[8]; },
                                       build_preset_reply_holding};

// Returns the reply length.
size_t read_sectioned(const Request& r, const SectionedRead& read) {
  size_t length;
  {
    Guard guard(*read.lock);
    read.select(r.header);
    r.masks->extended_load = read.extended_load;
    load_groups(r.masks->load, r.masks->extended_load, read.lock);
    length = read.build(r.buffer, 0, read.lock);
  }
  pause_microseconds(kReadReplyWait);
  return length;
}

// A pan/tilt camera reads the md2 area and announces it after the reply; the others
// read the motion group.
RequestOutcome motion_read(const Request& r, const PlainWrite*) {
  uint8_t area = requested_area(r.header);
  size_t length;
  if (settings.device_type == 2) {
    length = read_sectioned(r, kMotionAreaRead);
  } else {
    {
      Guard guard(ptz_lock);
      settings.current_md = area;
    }
    r.masks->load = kLoadMotion;
    load_groups(r.masks->load, r.masks->extended_load);
    pause_microseconds(kReadReplyWait);
    length = build_motion_reply(r.buffer, 0);
  }
  send_reply(r, length);
  if (settings.device_type == 2)
    notify_md_area(area);
  return RequestOutcome::kKeepServing;
}

RequestOutcome alarm_link_read(const Request& r, const PlainWrite*) {
  send_reply(r, read_sectioned(r, kAlarmLinkRead));
  return RequestOutcome::kKeepServing;
}

// The camera moves to the preset (not to the default preset 255) after the wait and
// before the reply goes out; the move runs without a group lock.
RequestOutcome preset_read(const Request& r, const PlainWrite*) {
  console_print("Preset Req. Ver %02d.%02d\n", r.header[7], r.header[6]);
  size_t length = read_sectioned(r, kPresetRead);
  uint8_t preset = r.header[8];
  if (preset != kDefaultPreset)
    ptz_start_preset(preset);
  send_reply(r, length);
  return RequestOutcome::kKeepServing;
}

RequestOutcome close_request(const Request& r, const PlainWrite*) {
  send_reply(r, build_close_reply(r.buffer, 0));
  return RequestOutcome::kStopAfterRequest;
}

RequestOutcome video_resolution_write(const Request& r, const PlainWrite*) {
  if (settings.test_mode)
    console_print("Video setting\n");
  uint8_t requested = r.header[4];
  {
    Guard guard(video_lock);
    uint8_t current = settings.video.video_resolution;
    if (requested == current)
      return RequestOutcome::kCloseNow;
    if (video_resolution_accepted(requested, current)) {
      settings.video.video_resolution = requested;
      r.masks->save |= kSaveJpegFile | kSaveVideo;
    }
  }
  r.masks->apply |= kSaveVideo;
  save_and_apply(*r.masks);
  return RequestOutcome::kKeepServing;
}

RequestOutcome stream_settings_write(const Request& r, const PlainWrite*) {
  {
    Guard guard(video_lock);
    uint8_t requested = r.header[4];
    if (video_resolution_accepted(requested, settings.video.video_resolution)) {
      settings.video.video_resolution = requested;
      r.masks->save |= kSaveVideo;
    }
  }
  // The mpeg and jpeg files in the save table's order, each copy and save under one
  // hold of its group's lock: no reload comes between them and undoes the copy.
  struct CopyAndSave {
    const FieldCopyTable* fields;
    uint32_t save;
  };
  for (CopyAndSave file : {CopyAndSave{&kStreamMpegWriteFields, kSaveMpegFileVideo},
                           CopyAndSave{&kStreamJpegWriteFields, kSaveJpegFile}}) {
    Guard guard(*file.fields->lock);
    copy_fields(*file.fields, r.header, file.fields->lock);
    save_groups(file.save, 0, file.fields->lock);
  }
  r.masks->apply |= kSaveVideo;
  save_and_apply(*r.masks);
  return RequestOutcome::kKeepServing;
}

// Reads a motion payload of `length` bytes and tells whether it is valid.
// A declared length may reach 65535 bytes, more than the connection buffer holds.
// The first kConnectionBufferSize bytes are read into the buffer and the excess is
// read and dropped: the byte stream stays in step with the client, so its next
// header is read as a header and the connection goes on; the trailer is then
// tested in the buffer as usual. A payload shorter than 4803 bytes cannot carry the
// trailer, so buffer bytes it did not reach (left by earlier requests) never count.
bool read_motion_payload(int socket, uint8_t* buffer, size_t length) {
  size_t kept = std::min(length, kConnectionBufferSize);
  if (kept > 0 && net_recv_all(socket, buffer, kept, 0) < 0)
    return false;
  uint8_t dropped[512];
  for (size_t left = length - kept; left > 0;) {
    size_t piece = std::min(left, sizeof dropped);
    if (net_recv_all(socket, dropped, piece, 0) < 0)
      return false;
    left -= piece;
  }
  return kept >= kMotionPayloadSize && buffer[kMotionBlockMapSize] == kTrailerFirst &&
         buffer[kMotionBlockMapSize + 1] == kTrailerSecond;
}

// The payload is read before any lock is taken, so a slow client holds up no other
// connection; the header fields, the map, the save and the apply then go under one
// hold of the fields' lock (ptz_lock for the md2 group, motion_lock on type 1).
RequestOutcome motion_write(const Request& r, const PlainWrite*) {
  uint8_t type = settings.device_type;
  bool fixed = type == 1;
  // The block map goes to the motion group's files on type 1, else to md2's.
  const FieldCopyTable& fields = fixed ? kMotionWriteFields : kMd2MotionWriteFields;
  uint16_t length = read_le16(r.header + 6);
  bool valid = read_motion_payload(r.socket, r.buffer, length);
  uint8_t area = fixed ? selected_md_area() : 0;
  {
    Guard guard(*fields.lock);
    copy_fields(fields, r.header, fields.lock);
    settings.motion_map_length = length;
    if (!fixed)
      area = settings.current_md;
    if (valid) {
      memcpy(settings.motion_block_map, r.buffer, kMotionBlockMapSize);
      if (fixed) {
        r.masks->save |= kSaveMotion;
        r.masks->apply |= kSaveMotion;
      } else if (r.header[9] == 0) {
        console_print("Version Mismatch\n");
        return RequestOutcome::kCloseNow;
      } else {
        r.masks->extended_save |= kSaveMd2;
        r.masks->extended_apply |= kSaveMd2;
      }
      if (area != 0)
        save_and_apply(*r.masks, fields.lock);
    }
  }
  if (type == 2)
    notify_md_area(area);
  return RequestOutcome::kKeepServing;
}

// Operation 0 stores the preset (and, unless it is 255, puts it into the pan/tilt
// head); bit 0x20 clears every preset and area, else bit 0x02 one preset and its
// area. The pan/tilt clear runs after ptz_lock is released.
RequestOutcome preset_write(const Request& r, const PlainWrite*) {
  uint8_t operation = r.header[6];
  bool clear = false;
  uint8_t cleared = 0;  // 0: every position
  {
    Guard guard(ptz_lock);
    copy_fields(kPresetSelectorField, r.header, &ptz_lock);
    uint8_t preset = settings.current_preset;
    if (operation == 0) {
      copy_fields(kPresetSetFields, r.header, &ptz_lock);
      r.masks->extended_save |= kSavePreset2;
      r.masks->extended_apply |= kSavePreset2;
      save_groups(r.masks->save, r.masks->extended_save, &ptz_lock);
      if (preset != kDefaultPreset)
        apply_groups(r.masks->apply, r.masks->extended_apply, &ptz_lock);
      return RequestOutcome::kKeepServing;
    }
    reset_preset_fields();
    if (operation & kPresetClearAll) {
      settings.home = 1;
      clear = true;
    } else if ((operation & kPresetClearOne) && preset != 0) {
      clear = true;
      cleared = preset;
    }
    if (clear) {
      remove_preset(cleared);
      remove_md_area(cleared);
    }
  }
  if (clear)
    ptz_clear(cleared);
  return RequestOutcome::kKeepServing;
}

// Copy, save and apply under one hold of the fields' lock: no other connection's load
// comes between the copy and the save.
RequestOutcome plain_write(const Request& r, const PlainWrite* w) {
  Guard guard(*w->fields->lock);
  copy_fields(*w->fields, r.header, w->fields->lock);
  r.masks->save |= w->save;
  r.masks->extended_save |= w->extended_save;
  r.masks->apply |= w->apply;
  r.masks->extended_apply |= w->extended_apply;
  save_and_apply(*r.masks, w->fields->lock);
  return RequestOutcome::kKeepServing;
}

RequestOutcome reload(const Request& r) {
  uint16_t v = static_cast<uint16_t>(r.header[kRequestClass] << 8 | r.header[kRequestSub]);
  if (!reload_load_mask(v, &r.masks->load))
    return RequestOutcome::kKeepServing;
  load_groups(r.masks->load, 0);
  send_reply(r, build_device_info_reply(r.buffer, 0));
  return RequestOutcome::kKeepServing;
}

constexpr PlainWrite kMpegWrite = {&kMpegWriteFields, kSaveMpeg, 0, kSaveMpeg, 0};
constexpr PlainWrite kJpegWrite = {&kJpegWriteFields, kSaveJpeg, 0, kSaveJpeg, 0};
constexpr PlainWrite kAutorunWrite = {&kAutorunWriteFields, 0, kSaveAutorun, 0, kSaveAutorun};
constexpr PlainWrite kAlarmLinkWrite = {&kAlarmLinkWriteFields, 0, kSaveAlarm2, 0, kSaveAlarm2};
constexpr PlainWrite kAlarmWrite = {&kAlarmWriteFields, kSaveAlarm, 0, kSaveAlarm, 0};
constexpr PlainWrite kOsdWrite = {&kOsdWriteFields, kSaveOsd, 0, kSaveOsd, 0};
constexpr PlainWrite kTitleWrite = {&kTitleWriteFields, kSaveTitle, 0, kSaveTitle, 0};
constexpr PlainWrite kPrivacyWrite = {&kPrivacyWriteFields, kSavePrivacy, 0, kSavePrivacy, 0};
constexpr PlainWrite kPictureWrite = {&kPictureWriteFields, kSavePicture, 0, kSavePicture, 0};
constexpr PlainWrite kWhiteBalanceWrite = {&kWhiteBalanceWriteFields, kSaveWhiteBalance, 0,
                                           kSaveWhiteBalance, 0};
constexpr PlainWrite kCamcontrol2Write = {&kCamcontrol2WriteFields, kSaveCamcontrol2, 0,
                                          kSaveCamcontrol2, 0};

// Walked in order: classes 0x10, 0x20, 0x40, 0x50, 0x60, each in sub-command order.
constexpr DispatchRow kDispatchRows[] = {
    {kClassInformation, kSubDeviceInfo, device_info, nullptr},
    {kClassInformation, kSubMotionRead, motion_read, nullptr},
    {kClassInformation, kSubAlarmLinkRead, alarm_link_read, nullptr},
    {kClassInformation, kSubPresetRead, preset_read, nullptr},
    {kClassInformation, kSubClose, close_request, nullptr},
    {kClassStream, kSubVideoResolution, video_resolution_write, nullptr},
    {kClassStream, kSubMpeg, plain_write, &kMpegWrite},
    {kClassStream, kSubJpeg, plain_write, &kJpegWrite},
    {kClassStream, kSubAutorun, plain_write, &kAutorunWrite},
    {kClassStream, kSubStreamSettings, stream_settings_write, nullptr},
    {kClassEvent, kSubMotionWrite, motion_write, nullptr},
    {kClassEvent, kSubAlarm, plain_write, &kAlarmWrite},
    {kClassEvent, kSubAlarmLink, plain_write, &kAlarmLinkWrite},
    {kClassEvent, kSubPreset, preset_write, nullptr},
    {kClassOverlay, kSubOsd, plain_write, &kOsdWrite},
    {kClassOverlay, kSubTitle, plain_write, &kTitleWrite},
    {kClassOverlay, kSubPrivacy, plain_write, &kPrivacyWrite},
    {kClassCamera, kSubPicture, plain_write, &kPictureWrite},
    {kClassCamera, kSubWhiteBalance, plain_write, &kWhiteBalanceWrite},
    {kClassCamera, kSubCamcontrol2, plain_write, &kCamcontrol2Write},
};

}  // namespace

bool video_resolution_accepted(uint8_t requested, uint8_t current) {
  bool in_range = requested >= 1 && requested <= 3 && current >= 1 && current <= 3;
  return in_range && requested != current;
}

bool reload_load_mask(uint16_t v, uint32_t* load_mask) {
  if ((v & 0xEC00) != 0)
    return false;
  *load_mask = v & 0x1FF;  // bits 9 and 12 are accepted and ignored
  return true;
}

RequestOutcome execute_request(const uint8_t* header, int socket, uint8_t* buffer,
                               RequestMasks* masks) {
  Request request = {header, socket, buffer, masks};
  bool known_class = false;
  for (const DispatchRow& row : kDispatchRows) {
    if (row.class_byte != header[kRequestClass])
      continue;
    known_class = true;
    if (row.sub != header[kRequestSub])
      continue;
    return row.handler(request, row.write);
  }
  if (known_class)
    return RequestOutcome::kKeepServing;  // unknown sub-command
  return reload(request);
}

}  // namespace camrcd
