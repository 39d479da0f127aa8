// The group table: for each mask bit, in priority order, the lock (or two locks)
// held and the operation run (a group's reader, writer or device action).
// load_groups, save_groups and apply_groups walk it: first mask fully, then the
// extended mask; within a mask, rows in table order, whatever order the caller set
// the bits in. A bit that no row names is ignored.
#ifndef CAMRCD_GROUPS_GROUP_TABLE_H_
#define CAMRCD_GROUPS_GROUP_TABLE_H_

#include <stddef.h>
#include <stdint.h>

#include "platform/mutex.h"
#include "settings/group_locks.h"

namespace camrcd {

using GroupOperation = void (*)();

struct GroupRow {
  uint32_t bit;
  Mutex* first_lock;   // may be null (the network group takes none)
  Mutex* second_lock;  // taken after first_lock, released before it; may be null
  GroupOperation operation;
};

struct GroupTable {
  const GroupRow* rows;
  size_t count;
};

// Runs, in row order, the operation of every row whose bit is in mask, each under
// its locks; consecutive rows with the same locks share one hold. Rows with a null
// operation are skipped. `held` are the locks the caller already holds: a row takes
// its other lock, if any, but not those.
void run_group_rows(GroupTable table, uint32_t mask, HeldLocks held = {});

void load_groups(uint32_t load_mask, uint32_t extended_load_mask, HeldLocks held = {});
void save_groups(uint32_t save_mask, uint32_t extended_save_mask, HeldLocks held = {});
void apply_groups(uint32_t apply_mask, uint32_t extended_apply_mask, HeldLocks held = {});

// The six tables, for inspection by tests.
extern const GroupTable kLoadTable;
extern const GroupTable kExtendedLoadTable;
extern const GroupTable kSaveTable;
extern const GroupTable kExtendedSaveTable;
extern const GroupTable kApplyTable;
extern const GroupTable kExtendedApplyTable;

}  // namespace camrcd

#endif  // CAMRCD_GROUPS_GROUP_TABLE_H_
