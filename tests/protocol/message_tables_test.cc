// The message tables hold together in every layout a message can take: the rows a
// layout sends neither overlap nor reach into the header's fixed bytes, and a
// request's rows stay within its 32 bytes (the motion payload aside).
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "protocol/wire_text.h"

namespace camrcd {
namespace {

std::vector<LayoutContext> every_layout() {
  std::vector<LayoutContext> layouts;
  for (int type : {0, 1, 2}) {
    for (uint32_t areas : {0u, 1u, 3u}) {
      for (bool map : {false, true}) {
        for (bool set : {false, true})
          layouts.push_back({type, areas, map, set, 1});
      }
    }
  }
  return layouts;
}

TEST(MessageTables, RowsOfEveryLayoutNeitherOverlapNorLeaveTheirPlace) {
  for (size_t m = 0; m < kMessageCount; ++m) {
    const MessageTable& table = message(static_cast<MessageId>(m));
    SCOPED_TRACE(message_text(table.id).title);
    size_t first_field = table.id == MessageId::kReloadRequest ? 2 : table.request ? 4 : 11;
    for (const LayoutContext& layout : every_layout()) {
      std::vector<std::pair<size_t, size_t>> spans;  // [offset, end) of each row sent
      for (size_t i = 0; i < table.row_count; ++i) {
        const WireRow& row = table.rows[i];
        if (row_sent(row, layout))
          spans.push_back({row.offset, row.offset + row_width(row, layout)});
        bool payload = row.offset >= kRequestHeaderSize;
        EXPECT_GE(row.offset, first_field) << "row " << i;
        if (table.request && !payload) {
          EXPECT_LE(row.offset + row.width, kRequestHeaderSize) << "row " << i;
        }
      }
      std::sort(spans.begin(), spans.end());
      for (size_t i = 1; i < spans.size(); ++i)
        EXPECT_LE(spans[i - 1].second, spans[i].first)
            << "bytes " << spans[i].first << " sent twice (type " << layout.device_type
            << ", areas " << layout.areas << ")";
    }
  }
}

}  // namespace
}  // namespace camrcd
