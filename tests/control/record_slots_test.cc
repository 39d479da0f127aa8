// Every row the server writes into a reply or stores from a request has a record slot
// of a type that fits the row: a reply of a new table row without a slot, or a slot of
// the wrong width, would send zeros or store past a field.
#include "control/record_slots.h"

#include <gtest/gtest.h>

#include "protocol/messages.h"

namespace camrcd {
namespace {

// Whether a slot of this type can give (reply) or take (request) a row of this kind.
bool fits(const WireRow& row, const RecordSlot& slot, bool request) {
  switch (row.kind) {
    case WireKind::kByte:
      return slot.type == SlotType::kByte || (!request && slot.type == SlotType::kComputed);
    case WireKind::kLe16:
    case WireKind::kLe32:
      return slot.type == SlotType::kWord;
    case WireKind::kVersion:
      return !request && slot.type == SlotType::kComputed;
    case WireKind::kText:
      return slot.type == SlotType::kText && slot.size > row.width;  // room for the zero
    case WireKind::kMacReversed:
    case WireKind::kBlock:
      return !request && slot.type == SlotType::kBytes && slot.size == row.width;
    default:
      return true;  // zeros, or what the request's handler reads itself
  }
}

TEST(RecordSlots, EveryRowTheServerWritesOrStoresHasAFittingSlot) {
  for (size_t m = 0; m < kMessageCount; ++m) {
    const MessageSpec& spec = message(static_cast<MessageId>(m));
    for (size_t i = 0; i < spec.row_count; ++i) {
      const WireRow& row = spec.rows[i];
      bool stored = row.rule != CopyRule::kNone && row.rule != CopyRule::kResolution;
      if (row.field == Field::kNone || (spec.request && !stored))
        continue;
      EXPECT_TRUE(fits(row, record_slot(row.field), spec.request))
          << spec.title << ": " << field_info(row.field).name;
    }
  }
}

}  // namespace
}  // namespace camrcd
