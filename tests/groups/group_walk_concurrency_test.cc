// The group walker: rows run in table order whatever order the bits were set in,
// each operation under its row's locks (checked from another thread), rows naming
// the same group run again, and every lock is free afterwards. Groups whose files
// derive from each other's fields, walked from two threads (a race shows under
// ThreadSanitizer).
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "groups/group_masks.h"
#include "groups/group_table.h"
#include "platform/mutex.h"
#include "settings/group_locks.h"
#include "settings/settings_record.h"
#include "support/daemon_harness.h"

namespace camrcd {
namespace {

std::vector<GroupRow> rows;  // a real table's rows, their operations replaced
std::vector<size_t> order;   // row indexes, as the operations ran
bool locks_held = true;      // every row's locks were held during its operation

bool held_elsewhere(Mutex* lock) {
  bool taken = false;
  std::thread([&] {
    if ((taken = lock->try_lock()))
      lock->unlock();
  }).join();
  return !taken;
}

template <size_t Index>
void record() {
  order.push_back(Index);
  for (Mutex* lock : {rows[Index].first_lock, rows[Index].second_lock})
    locks_held = locks_held && (lock == nullptr || held_elsewhere(lock));
}

constexpr GroupOperation kRecorders[] = {record<0>,  record<1>,  record<2>, record<3>, record<4>,
                                         record<5>,  record<6>,  record<7>, record<8>, record<9>,
                                         record<10>, record<11>, record<12>};

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
      {"alarm2 action holds alarm_lock and ptz_lock", kExtendedApplyTable, 0x020, {1}},
  };
  for (const Case& c : cases) {
    ASSERT_LE(c.table.count, sizeof kRecorders / sizeof kRecorders[0]);
    rows.assign(c.table.rows, c.table.rows + c.table.count);
    for (size_t i = 0; i < rows.size(); ++i)
      rows[i].operation = kRecorders[i];
    order.clear();
    locks_held = true;
    run_group_rows(GroupTable{rows.data(), rows.size()}, c.mask);
    EXPECT_EQ(order, c.rows_run) << c.name;
    EXPECT_TRUE(locks_held) << c.name;
  }
  for (Mutex* lock : {&osd_lock, &title_lock, &mpeg_lock, &camcontrol1_lock})
    EXPECT_FALSE(held_elsewhere(lock));
}

// The jpeg file's src follows the video resolution that a video reload sets.
TEST(GroupWalkConcurrency, JpegSavesBesideVideoReloads) {
  const std::string kelda2 = kWebRoot + std::string("/kelda2");
  const std::string root = make_dev_root({kelda2, "/tmp"});
  ASSERT_FALSE(root.empty());
  ASSERT_TRUE(write_text_file(root + kelda2 + "/env_video.ls",
                              "VIDEO_TYPE = 1\nDD_RES = vga\nED_RES = qvga\nend\n"));
  std::thread reloads([] {
    for (int i = 0; i < 100; ++i)
      load_groups(kLoadVideo, 0);
  });
  for (int i = 0; i < 100; ++i)
    save_groups(kSaveJpeg, 0);
  reloads.join();
  save_groups(kSaveJpeg, 0);
  EXPECT_NE(std::string::npos, read_file(root + kelda2 + "/env_jpeg.ls").find("src = ed\n"));
  remove_dev_root(root);
}

}  // namespace
}  // namespace camrcd
