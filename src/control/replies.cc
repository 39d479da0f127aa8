// Reply building over the record slots. The layout is learnt from the bytes as they
// are written (the device type, the area count, the map switch), so the length always
// matches what the reply says of itself.
#include "control/replies.h"

#include <string.h>

#include "control/record_slots.h"
#include "platform/mutex.h"
#include "settings/settings_record.h"

namespace camrcd {
namespace {

void start_reply(uint8_t* buffer, uint8_t sub, uint16_t parameter) {
  memset(buffer, 0, kReplyHeaderSize);
  buffer[kReplyPrefix] = static_cast<uint8_t>(kRequestPrefix >> 8);
  buffer[kReplyPrefix + 1] = static_cast<uint8_t>(kRequestPrefix);
  buffer[kReplyClass] = kReplyClassValue;
  buffer[kReplySub] = sub;
  write_le16(buffer + kReplyParameter, parameter);
}

// At most `width` characters of the record text, padded with zeros to `width` bytes.
void put_text(uint8_t* out, const char* text, size_t field_size, size_t width) {
  size_t length = strnlen(text, field_size < width ? field_size : width);
  memcpy(out, text, length);
  memset(out + length, 0, width - length);
}

// Writes `width` bytes of the row at `out` from its record slot.
void put_row(const WireRow& row, const RecordSlot& slot, uint8_t* out, size_t width) {
  uint32_t number = slot_number(slot);
  const uint8_t* bytes = static_cast<const uint8_t*>(slot.address);
  switch (row.kind) {
    case WireKind::kByte:
      out[0] = static_cast<uint8_t>(number);
      return;
    case WireKind::kLe16:
    case WireKind::kVersion:
      write_le16(out, number);
      return;
    case WireKind::kLe32:
      write_le32(out, number);
      return;
    case WireKind::kText:
      put_text(out, static_cast<const char*>(slot.address), slot.size, width);
      return;
    case WireKind::kMacReversed:
      for (size_t i = 0; i < width; ++i)
        out[i] = bytes[width - 1 - i];
      return;
    case WireKind::kBlock:
      memcpy(out, bytes, width);
      return;
    case WireKind::kBe16:  // a request's field only
    case WireKind::kReserved:
    case WireKind::kMoreAreas:  // the record holds one privacy area
      memset(out, 0, width);
      return;
  }
}

}  // namespace

size_t build_reply(MessageId id, uint8_t* buffer, uint16_t parameter, const Mutex* held) {
  const MessageTable& table = message(id);
  start_reply(buffer, table.sub, parameter);
  LayoutContext context;
  context.device_type = settings.device_type;
  size_t end = kReplyHeaderSize;  // the payload written so far ends here
  {
    SlotLockHold hold{held, nullptr, {}};
    for (size_t i = 0; i < table.row_count; ++i) {
      const WireRow& row = table.rows[i];
      if (!row_sent(row, context))
        continue;
      size_t width = row_width(row, context);
      if (row.offset > end)
        memset(buffer + end, 0, row.offset - end);
      const RecordSlot& slot = record_slot(row.field);
      hold.take(slot);
      put_row(row, slot, buffer + row.offset, width);
      layout_learn(row, buffer, &context);
      if (row.offset + width > end)
        end = row.offset + width;
    }
  }
  if (end == kReplyHeaderSize)
    return kReplyHeaderSize;
  buffer[end] = kTrailerFirst;
  buffer[end + 1] = kTrailerSecond;
  write_le16(buffer + kReplyLength, static_cast<uint32_t>(end + 2 - kReplyHeaderSize));
  return end + 2;
}

}  // namespace camrcd
