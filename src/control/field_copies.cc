// The copy walk and the rules.
#include "control/field_copies.h"

#include <string.h>

#include "control/record_slots.h"
#include "settings/settings_record.h"

namespace camrcd {
namespace {

void copy_text(const WireRow& row, const RecordSlot& slot, const uint8_t* header) {
  char* field = static_cast<char*>(slot.address);
  memset(field, 0, slot.size);
  const char* from = reinterpret_cast<const char*>(header + row.offset);
  size_t limit = row.width < slot.size ? row.width : slot.size;
  memcpy(field, from, strnlen(from, limit));
}

// Whether the rule takes the row's value; value may be replaced.
bool rule_takes(const WireRow& row, const uint8_t* header, const LayoutContext& context,
                uint32_t* value) {
  switch (row.rule) {
    case CopyRule::kNone:
    case CopyRule::kResolution:
      return false;
    case CopyRule::kNonZero:
      return row.kind == WireKind::kText ? header[row.offset] != 0 : *value != 0;
    case CopyRule::kAlways:
      return true;
    case CopyRule::kIfCbr:
      return slot_number(record_slot(Field::kMpegCbr)) == 2;
    case CopyRule::kAreaOrFirst:
      if (context.version_major == 0)
        *value = 1;
      return true;
  }
  return false;
}

}  // namespace

void copy_request_fields(MessageId id, const uint8_t* header, const Mutex* held, CopyScope scope) {
  const MessageTable& table = message(id);
  LayoutContext context;
  context.device_type = settings.device_type;
  SlotLockHold hold{held, nullptr, {}};
  for (size_t i = 0; i < table.row_count; ++i) {
    const WireRow& row = table.rows[i];
    if (row.offset + row.width > kRequestHeaderSize || !row_stands(row, context))
      continue;  // the motion write's payload is no header field
    uint32_t value = row_number(row, header);
    const RecordSlot& slot = record_slot(row.field);
    bool in_scope = scope == CopyScope::kEveryRow || slot_lock(slot) == held;
    if (in_scope && rule_takes(row, header, context, &value)) {
      if (held == nullptr)
        hold.take(slot);
      if (row.kind == WireKind::kText)
        copy_text(row, slot, header);
      else
        slot_store(slot, value);
    }
    layout_learn(row, header, &context);
  }
}

}  // namespace camrcd
