// Every request and reply of the control protocol as a table of rows: where each field
// stands (offset from the start of the message, width, byte order), which field it is
// (wire_fields.h), in which layouts it stands, and for a write the rule by which the
// server takes it. The server's reply builders and field copies, the client's request
// builder and reply decoder, camrc, the capture dissector and the protocol reference
// all read these tables; the messages' names, titles and summaries are wire_text.h's.
//
// A message's layout can depend on its own bytes: the device type of a device
// information reply, the privacy area count, whether a motion reply sends its map, a
// preset write's operation. Those bytes are layout keys (wire_fields.h); a walk over
// the rows in order learns them as it passes them (layout_learn), and a row whose
// presence needs them always comes after them.
//
// Rows of a message are in offset order, except that rows of two layouts that exclude
// each other may both start at the same offsets (the privacy block and the auto-run
// block of the device information), and that within the 32-byte header the order is
// the order in which clients list the fields. Rows at offset 32 and beyond are a
// reply's payload, which the trailer 0x55 0xAA closes, or the motion write's payload.
#ifndef CAMRCD_PROTOCOL_MESSAGES_H_
#define CAMRCD_PROTOCOL_MESSAGES_H_

#include <stddef.h>
#include <stdint.h>

#include "protocol/wire_fields.h"
#include "protocol/wire_format.h"

namespace camrcd {

enum class WireKind : uint8_t {
  kByte,         // one byte (a record field's low byte)
  kLe16,         // 16 bits, little-endian
  kLe32,         // 32 bits, little-endian
  kBe16,         // 16 bits, big-endian (the reload request's group bits)
  kText,         // `width` bytes, zero-padded; a text that fills them has no zero
  kMacReversed,  // six bytes, the address's last byte first
  kVersion,      // minor number, then major number
  kReserved,     // `width` zero bytes
  kBlock,        // `width` bytes of data
  kMoreAreas,    // 8 zero bytes for each privacy area after the first
};

// In which layouts a row stands. A row that stands is decoded; a row that is sent holds
// its value (a row that stands but is not sent holds zeros).
enum class Presence : uint8_t {
  kAlways,
  kFixedCamera,     // device type 1
  kNotFixedCamera,  // device types other than 1
  kPanTilt,         // device type 2
  kNotPanTilt,      // device types other than 2
  kPrivacyArea,     // device types other than 2, with a privacy area count above 0
  kWithMap,         // only when the block map is sent
  kZeroWithoutMap,  // always there, but 0 unless the block map is sent
  kPresetSet,       // only in a set operation (preset operation 0)
};

// How the server takes a request field into its settings.
enum class CopyRule : uint8_t {
  kNone,         // not stored (versions, the operation, reply fields)
  kNonZero,      // stored when not 0 (16 bits: either byte; text: its first byte)
  kAlways,       // stored whatever its value (text: the field is zeroed first)
  kIfCbr,        // the MPEG bit rate: stored, even 0, while the rate control (taken
                 // first) is 2, else ignored
  kAreaOrFirst,  // the motion area: stored; a request version of major 0 selects area 1
  kResolution,   // the video resolution: the request's own change rule
};

struct WireRow {
  uint16_t offset;
  uint16_t width;  // kMoreAreas: the bytes of one area
  WireKind kind;
  Field field;
  Presence presence;
  CopyRule rule;

  constexpr WireRow when(Presence p) const { return {offset, width, kind, field, p, rule}; }
  constexpr WireRow nz() const { return with(CopyRule::kNonZero); }
  constexpr WireRow always() const { return with(CopyRule::kAlways); }
  constexpr WireRow with(CopyRule r) const { return {offset, width, kind, field, presence, r}; }
};

enum class MessageId : uint8_t {
  // Requests, in the server's dispatch order.
  kInfoRequest,
  kMotionRead,
  kAlarmLinkRead,
  kPresetRead,
  kCloseRequest,
  kVideoWrite,
  kMpegWrite,
  kJpegWrite,
  kAutorunWrite,
  kStreamWrite,
  kMotionWrite,
  kAlarmWrite,
  kAlarmLinkWrite,
  kPresetWrite,
  kOsdWrite,
  kTitleWrite,
  kPrivacyWrite,
  kPictureWrite,
  kWhiteBalanceWrite,
  kCamcontrol2Write,
  kReloadRequest,  // any class byte that is no class: bytes 2-3 are the group bits
  // Replies.
  kInfoReply,
  kMotionReply,
  kAlarmLinkReply,
  kPresetReply,
  kCloseReply,
  kCount,
};
inline constexpr size_t kMessageCount = static_cast<size_t>(MessageId::kCount);
inline constexpr size_t kRequestCount = static_cast<size_t>(MessageId::kInfoReply);

// Device types as bits, for the cameras a message or a field is for.
inline constexpr uint8_t kFixedCameraType = 1 << 1;
inline constexpr uint8_t kPanTiltType = 1 << 2;
inline constexpr uint8_t kEveryType = 0xFF;

// Whether every entry of a table indexed by MessageId names the id of its index.
template <typename Entry, size_t N>
constexpr bool in_id_order(const Entry (&entries)[N]) {
  for (size_t i = 0; i < N; i++) {
    if (static_cast<size_t>(entries[i].id) != i)
      return false;
  }
  return true;
}

inline uint8_t device_type_bit(uint8_t device_type) {
  return device_type < 8 ? static_cast<uint8_t>(1 << device_type) : 0;
}

struct MessageTable {
  MessageId id;
  bool request;
  uint8_t command_class;  // requests; every reply's class is 0x10
  uint8_t sub;            // the request's, or the reply's sub-command
  uint8_t cameras;        // device types whose cameras have these settings
  MessageId answer;       // the reply to this request, or kCount for none
  bool restarts_streams;  // after this write the server ends every connection after
                          // one request, until it is restarted
  const WireRow* rows;
  size_t row_count;
};

const MessageTable& message(MessageId id);

// The request with this class and sub-command: a known class with an unknown
// sub-command gives nullptr, an unknown class the reload request.
const MessageTable* find_request(uint8_t command_class, uint8_t sub);
// The reply with this sub-command, or nullptr.
const MessageTable* find_reply(uint8_t sub);

// The row of `field` in the message, or nullptr.
const WireRow* find_row(const MessageTable& table, Field field);

// What the layout keys met so far say. A fresh context knows nothing: every device
// type's rows stand, no areas, no map, a set operation.
inline constexpr int kUnknownDeviceType = -1;
struct LayoutContext {
  int device_type = kUnknownDeviceType;
  uint32_t areas = 0;
  bool map_sent = false;
  bool preset_set = true;
  uint8_t version_major = 0;
};

// Whether a row stands in the layout so far, whether it holds its value, and its width
// there (a kMoreAreas row grows with the area count).
bool row_stands(const WireRow& row, const LayoutContext& context);
bool row_sent(const WireRow& row, const LayoutContext& context);
size_t row_width(const WireRow& row, const LayoutContext& context);

// The number a row holds in `message` (bytes, 16- and 32-bit numbers and versions as
// major * 256 + minor); 0 for other kinds. The caller has checked the row lies within.
uint32_t row_number(const WireRow& row, const uint8_t* message);

// When the row is a layout key, takes its value from `message` into the context.
void layout_learn(const WireRow& row, const uint8_t* message, LayoutContext* context);

}  // namespace camrcd

#endif  // CAMRCD_PROTOCOL_MESSAGES_H_
