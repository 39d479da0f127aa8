// The group walker: rows run in table order whatever order the bits were set in,
// each operation under its row's locks (checked from another thread), and rows
// naming the same group run again.
#include <gtest/gtest.h>

#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "settings/group_locks.h"
#include "settings/group_table.h"

namespace camrcd {
namespace {

struct Walk {
  std::vector<GroupRow> rows;
  std::vector<size_t> order;  // row indexes, as the operations ran
  bool locks_held = true;     // every row's locks were held during its operation
};
Walk* walk = nullptr;

bool held_elsewhere(std::mutex* lock) {
  if (lock == nullptr)
    return true;
  bool taken = false;
  std::thread other([&] {
    taken = lock->try_lock();
    if (taken)
      lock->unlock();
  });
  other.join();
  return !taken;
}

template <size_t Index>
void record() {
  walk->order.push_back(Index);
  const GroupRow& row = walk->rows[Index];
  walk->locks_held =
      walk->locks_held && held_elsewhere(row.first_lock) && held_elsewhere(row.second_lock);
}

template <size_t... Index>
std::vector<GroupRow> recording_rows(GroupTable table, std::index_sequence<Index...>) {
  constexpr GroupOperation kRecorders[] = {record<Index>...};
  std::vector<GroupRow> rows;
  for (size_t i = 0; i < table.count && i < sizeof...(Index); ++i) {
    rows.push_back(table.rows[i]);
    rows.back().operation = kRecorders[i];
  }
  return rows;
}

std::vector<size_t> walk_rows(GroupTable table, uint32_t mask, bool* locks_held) {
  Walk state;
  state.rows = recording_rows(table, std::make_index_sequence<16>());
  walk = &state;
  run_group_rows(GroupTable{state.rows.data(), state.rows.size()}, mask);
  walk = nullptr;
  *locks_held = state.locks_held;
  return state.order;
}

TEST(GroupWalkConcurrency, RowOrderUnderTheRowLocks) {
  struct Case {
    const char* name;
    GroupTable table;
    uint32_t mask;
    std::vector<size_t> rows_run;
  } cases[] = {
      {"every load row", kLoadTable, 0x7FF, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10}},
      {"osd load holds osd and title locks", kLoadTable, 0x008, {1}},
      {"network under network_lock", kLoadTable, 0x200, {0}},
      {"video before title is still title first", kSaveTable, 0x002 | 0x001, {0, 12}},
      {"mpeg twice, 0x1000 first", kSaveTable, 0x004 | 0x1000, {8, 10}},
      {"camcontrol1 twice", kSaveTable, 0x400 | 0x040, {3, 4}},
      {"unnamed bits ignored", kSaveTable, 0x8000 | 0x010, {1}},
      {"extended load", kExtendedLoadTable, 0x400 | 0x080, {0, 2}},
  };
  for (const Case& c : cases) {
    bool locks_held = false;
    EXPECT_EQ(walk_rows(c.table, c.mask, &locks_held), c.rows_run) << c.name;
    EXPECT_TRUE(locks_held) << c.name;
  }
  EXPECT_EQ(kLoadTable.rows[1].first_lock, &osd_lock);
  EXPECT_EQ(kLoadTable.rows[1].second_lock, &title_lock);
  // Every lock is free again after the walks.
  for (std::mutex* lock : {&osd_lock, &title_lock, &mpeg_lock, &camcontrol1_lock}) {
    EXPECT_FALSE(held_elsewhere(lock));
  }
}

}  // namespace
}  // namespace camrcd
