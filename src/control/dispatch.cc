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

#include "actions/local_notifier.h"
#include "actions/ptz_actions.h"
#include "control/field_copies.h"
#include "control/record_slots.h"
#include "control/replies.h"
#include "groups/group_masks.h"
#include "groups/group_table.h"
#include "platform/console.h"
#include "platform/mutex.h"
#include "platform/net_io.h"
#include "platform/pause.h"
#include "protocol/messages.h"
#include "settings/group_locks.h"
#include "settings/sectioned/md_area_file.h"
#include "settings/sectioned/preset_file.h"
#include "settings/settings_record.h"

namespace camrcd {
namespace {

using Guard = MutexHold;

constexpr uint32_t kReadReplyWait = 5000;  // microseconds

struct Request {
  MessageId id;
  const uint8_t* header;
  int socket;
  uint8_t* buffer;
  RequestMasks* masks;
};

// A write request that copies its fields under their group's lock and saves and
// applies fixed groups.
struct PlainWrite {
  Mutex* lock;
  uint32_t save;
  uint32_t extended_save;
  uint32_t apply;
  uint32_t extended_apply;
};

using Handler = RequestOutcome (*)(const Request&, const PlainWrite*);

struct DispatchRow {
  MessageId id;
  Handler handler;
  const PlainWrite* write;
};

// The value of `field` in the request's header (numbers; versions as major * 256 +
// minor).
uint32_t header_value(const Request& r, Field field) {
  const WireRow* row = find_row(message(r.id), field);
  return row != nullptr ? row_number(*row, r.header) : 0;
}

// Prints a request's version ("%02d.%02d", major first).
void print_version(const char* format, const Request& r) {
  uint32_t version = header_value(r, Field::kClientVersion);
  console_print(format, version >> 8, version & 0xFF);
}

void send_reply(const Request& r, size_t length) {
  net_send(r.socket, r.buffer, length, 0);  // a failed send shows at the next read
}

void save_and_apply(const RequestMasks& m, HeldLocks held = {}) {
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
  print_version("Require Info Ver %02d.%02d\n", r);
  r.masks->load = startup_load_mask();
  load_groups(r.masks->load, r.masks->extended_load);
  pause_microseconds(kReadReplyWait);
  send_reply(r, build_reply(MessageId::kInfoReply, r.buffer, 0));
  return RequestOutcome::kKeepServing;
}

// A read of a sectioned group: under one hold of the group's lock its selectors are
// copied from the header, the group loaded and the reply built, so the reply names the
// section it was asked for with that section's fields. The 5 ms wait follows,
// outside the lock.
struct SectionedRead {
  Mutex* lock;
  uint32_t extended_load;
  Field selector;  // the section that the read selects, for the caller
};

constexpr SectionedRead kMotionAreaRead = {&ptz_lock, kLoadMd2, Field::kCurrentMd};
constexpr SectionedRead kAlarmLinkRead = {&alarm_lock, kLoadAlarm2, Field::kCurrentAlarmin};
constexpr SectionedRead kPresetRead = {&ptz_lock, kLoadPreset2, Field::kCurrentPreset};

// Returns the reply length; *selected is the section selected.
size_t read_sectioned(const Request& r, const SectionedRead& read, uint8_t* selected) {
  size_t length;
  {
    Guard guard(*read.lock);
    copy_request_fields(r.id, r.header, read.lock);
    *selected = static_cast<uint8_t>(slot_number(record_slot(read.selector)));
    r.masks->extended_load = read.extended_load;
    load_groups(r.masks->load, r.masks->extended_load, read.lock);
    length = build_reply(message(r.id).answer, r.buffer, 0, read.lock);
  }
  pause_microseconds(kReadReplyWait);
  return length;
}

// A pan/tilt camera reads the md2 area and announces it after the reply; the others
// read the motion group.
RequestOutcome motion_read(const Request& r, const PlainWrite*) {
  uint8_t area = 0;
  size_t length;
  if (settings.device_type == 2) {
    length = read_sectioned(r, kMotionAreaRead, &area);
  } else {
    copy_request_fields(r.id, r.header);  // current_md, under ptz_lock
    r.masks->load = kLoadMotion;
    load_groups(r.masks->load, r.masks->extended_load);
    pause_microseconds(kReadReplyWait);
    length = build_reply(MessageId::kMotionReply, r.buffer, 0);
  }
  send_reply(r, length);
  if (settings.device_type == 2)
    notify_md_area(area);
  return RequestOutcome::kKeepServing;
}

RequestOutcome alarm_link_read(const Request& r, const PlainWrite*) {
  uint8_t input = 0;
  send_reply(r, read_sectioned(r, kAlarmLinkRead, &input));
  return RequestOutcome::kKeepServing;
}

// The camera moves to the preset (not to the default preset 255) after the wait and
// before the reply goes out; the move runs without a group lock.
RequestOutcome preset_read(const Request& r, const PlainWrite*) {
  print_version("Preset Req. Ver %02d.%02d\n", r);
  uint8_t preset = 0;
  size_t length = read_sectioned(r, kPresetRead, &preset);
  if (preset != kDefaultPosition)
    ptz_start_preset(preset);
  send_reply(r, length);
  return RequestOutcome::kKeepServing;
}

RequestOutcome close_request(const Request& r, const PlainWrite*) {
  send_reply(r, build_reply(MessageId::kCloseReply, r.buffer, 0));
  return RequestOutcome::kStopAfterRequest;
}

// The jpeg file's src follows the video resolution, so a resolution change saves it
// too. The change and both saves go under one hold of jpeg_lock and video_lock (the
// jpeg save's order), so no reload of the video group comes between the change and its
// save and undoes it; the video action runs afterwards, under video_lock alone.
constexpr HeldLocks kJpegAndVideoLocks = {&jpeg_lock, &video_lock};

// Sets the requested video resolution when it is accepted and tells whether it did;
// the caller holds video_lock.
bool change_video_resolution(uint8_t requested) {
  if (!video_resolution_accepted(requested, settings.video.video_resolution))
    return false;
  settings.video.video_resolution = requested;
  return true;
}

RequestOutcome video_resolution_write(const Request& r, const PlainWrite*) {
  if (settings.test_mode)
    console_print("Video setting\n");
  uint8_t requested = static_cast<uint8_t>(header_value(r, Field::kVideoResolution));
  {
    Guard jpeg(jpeg_lock);
    Guard video(video_lock);
    if (requested == settings.video.video_resolution)
      return RequestOutcome::kCloseNow;
    if (change_video_resolution(requested))
      r.masks->save |= kSaveJpegFile | kSaveVideo;
    save_groups(r.masks->save, r.masks->extended_save, kJpegAndVideoLocks);
  }
  r.masks->apply |= kSaveVideo;
  apply_groups(r.masks->apply, r.masks->extended_apply);
  return RequestOutcome::kKeepServing;
}

// The MPEG fields are copied and their file saved under one hold of mpeg_lock; then
// the video resolution and the JPEG fields are copied and the jpeg and video files
// saved under one hold of jpeg_lock and video_lock: no reload comes between a copy and
// its save. The files are written in the save table's order: mpeg, jpeg, video.
RequestOutcome stream_settings_write(const Request& r, const PlainWrite*) {
  {
    Guard mpeg(mpeg_lock);
    copy_request_fields(r.id, r.header, &mpeg_lock, CopyScope::kHeldLockRows);
    save_groups(kSaveMpegFileVideo, 0, &mpeg_lock);
  }
  {
    Guard jpeg(jpeg_lock);
    Guard video(video_lock);
    if (change_video_resolution(static_cast<uint8_t>(header_value(r, Field::kVideoResolution))))
      r.masks->save |= kSaveVideo;
    copy_request_fields(r.id, r.header, &jpeg_lock, CopyScope::kHeldLockRows);
    save_groups(kSaveJpegFile | r.masks->save, r.masks->extended_save, kJpegAndVideoLocks);
  }
  r.masks->apply |= kSaveVideo;
  apply_groups(r.masks->apply, r.masks->extended_apply);
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
  Mutex& lock = fixed ? motion_lock : ptz_lock;
  size_t length = header_value(r, Field::kMotionMapLength);
  bool valid = read_motion_payload(r.socket, r.buffer, length);
  uint8_t area = fixed ? selected_md_area() : 0;
  {
    Guard guard(lock);
    copy_request_fields(r.id, r.header, &lock);
    if (!fixed)
      area = settings.current_md;
    if (valid) {
      memcpy(settings.motion_block_map, r.buffer, kMotionBlockMapSize);
      if (fixed) {
        r.masks->save |= kSaveMotion;
        r.masks->apply |= kSaveMotion;
      } else if (header_value(r, Field::kPayloadVersion) >> 8 == 0) {
        console_print("Version Mismatch\n");
        return RequestOutcome::kCloseNow;
      } else {
        r.masks->extended_save |= kSaveMd2;
        r.masks->extended_apply |= kSaveMd2;
      }
      if (area != 0)
        save_and_apply(*r.masks, &lock);
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
  uint32_t operation = header_value(r, Field::kPresetOperation);
  bool clear = false;
  uint8_t cleared = 0;  // 0: every position
  {
    Guard guard(ptz_lock);
    copy_request_fields(r.id, r.header, &ptz_lock);  // the preset's fields on a set only
    uint8_t preset = settings.current_preset;
    if (operation == 0) {
      r.masks->extended_save |= kSavePreset2;
      r.masks->extended_apply |= kSavePreset2;
      save_groups(r.masks->save, r.masks->extended_save, &ptz_lock);
      if (preset != kDefaultPosition)
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
  Guard guard(*w->lock);
  copy_request_fields(r.id, r.header, w->lock);
  r.masks->save |= w->save;
  r.masks->extended_save |= w->extended_save;
  r.masks->apply |= w->apply;
  r.masks->extended_apply |= w->extended_apply;
  save_and_apply(*r.masks, w->lock);
  return RequestOutcome::kKeepServing;
}

RequestOutcome reload(const Request& r, const PlainWrite*) {
  uint16_t v = static_cast<uint16_t>(header_value(r, Field::kReloadGroups));
  if (!reload_load_mask(v, &r.masks->load))
    return RequestOutcome::kKeepServing;
  load_groups(r.masks->load, 0);
  send_reply(r, build_reply(MessageId::kInfoReply, r.buffer, 0));
  return RequestOutcome::kKeepServing;
}

constexpr PlainWrite kMpegWrite = {&mpeg_lock, kSaveMpeg, 0, kSaveMpeg, 0};
constexpr PlainWrite kJpegWrite = {&jpeg_lock, kSaveJpeg, 0, kSaveJpeg, 0};
constexpr PlainWrite kAutorunWrite = {&ptz_lock, 0, kSaveAutorun, 0, kSaveAutorun};
constexpr PlainWrite kAlarmLinkWrite = {&alarm_lock, 0, kSaveAlarm2, 0, kSaveAlarm2};
constexpr PlainWrite kAlarmWrite = {&alarm_lock, kSaveAlarm, 0, kSaveAlarm, 0};
constexpr PlainWrite kOsdWrite = {&osd_lock, kSaveOsd, 0, kSaveOsd, 0};
constexpr PlainWrite kTitleWrite = {&title_lock, kSaveTitle, 0, kSaveTitle, 0};
constexpr PlainWrite kPrivacyWrite = {&privacy_lock, kSavePrivacy, 0, kSavePrivacy, 0};
constexpr PlainWrite kPictureWrite = {&camcontrol1_lock, kSavePicture, 0, kSavePicture, 0};
constexpr PlainWrite kWhiteBalanceWrite = {&camcontrol1_lock, kSaveWhiteBalance, 0,
                                           kSaveWhiteBalance, 0};
constexpr PlainWrite kCamcontrol2Write = {&camcontrol2_lock, kSaveCamcontrol2, 0, kSaveCamcontrol2,
                                          0};

// One row per request of protocol/messages.h, in its order.
using M = MessageId;
constexpr DispatchRow kDispatchRows[] = {
    {M::kInfoRequest, device_info, nullptr},
    {M::kMotionRead, motion_read, nullptr},
    {M::kAlarmLinkRead, alarm_link_read, nullptr},
    {M::kPresetRead, preset_read, nullptr},
    {M::kCloseRequest, close_request, nullptr},
    {M::kVideoWrite, video_resolution_write, nullptr},
    {M::kMpegWrite, plain_write, &kMpegWrite},
    {M::kJpegWrite, plain_write, &kJpegWrite},
    {M::kAutorunWrite, plain_write, &kAutorunWrite},
    {M::kStreamWrite, stream_settings_write, nullptr},
    {M::kMotionWrite, motion_write, nullptr},
    {M::kAlarmWrite, plain_write, &kAlarmWrite},
    {M::kAlarmLinkWrite, plain_write, &kAlarmLinkWrite},
    {M::kPresetWrite, preset_write, nullptr},
    {M::kOsdWrite, plain_write, &kOsdWrite},
    {M::kTitleWrite, plain_write, &kTitleWrite},
    {M::kPrivacyWrite, plain_write, &kPrivacyWrite},
    {M::kPictureWrite, plain_write, &kPictureWrite},
    {M::kWhiteBalanceWrite, plain_write, &kWhiteBalanceWrite},
    {M::kCamcontrol2Write, plain_write, &kCamcontrol2Write},
    {M::kReloadRequest, reload, nullptr},
};
static_assert(sizeof kDispatchRows / sizeof kDispatchRows[0] == kRequestCount,
              "a handler for every request");

constexpr bool rows_in_message_order() {
  for (size_t i = 0; i < kRequestCount; ++i) {
    if (kDispatchRows[i].id != static_cast<MessageId>(i))
      return false;
  }
  return true;
}
static_assert(rows_in_message_order(), "dispatch rows in message order");

}  // namespace

bool video_resolution_accepted(uint8_t requested, uint8_t current) {
  bool in_range = requested >= 1 && requested <= 3 && current >= 1 && current <= 3;
  return in_range && requested != current;
}

bool reload_load_mask(uint16_t v, uint32_t* load_mask) {
  if ((v & ~kReloadAcceptedBits) != 0)
    return false;
  *load_mask = v & 0x1FF;  // bits 9 and 12 are accepted and ignored
  return true;
}

RequestOutcome execute_request(const uint8_t* header, int socket, uint8_t* buffer,
                               RequestMasks* masks) {
  const MessageTable* table = find_request(header[kRequestClass], header[kRequestSub]);
  if (table == nullptr)
    return RequestOutcome::kKeepServing;  // a class's unknown sub-command
  const DispatchRow& row = kDispatchRows[static_cast<size_t>(table->id)];
  return row.handler({table->id, header, socket, buffer, masks}, row.write);
}

}  // namespace camrcd
