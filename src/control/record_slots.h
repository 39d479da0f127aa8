// Where each wire field lives in the settings record and which lock guards it: the
// server's side of the field catalogue (protocol/wire_fields.h). Replies read the
// slots, write requests store into them. A field without a record field is either
// computed (the layout versions) or never stored (versions and operations a request
// carries, reserved bytes).
#ifndef CAMRCD_CONTROL_RECORD_SLOTS_H_
#define CAMRCD_CONTROL_RECORD_SLOTS_H_

#include <stddef.h>
#include <stdint.h>

#include "platform/mutex.h"
#include "protocol/wire_fields.h"

namespace camrcd {

enum class SlotType : uint8_t {
  kNone,
  kByte,      // uint8_t
  kWord,      // int32_t
  kText,      // char[size]
  kBytes,     // uint8_t[size]: the MAC address, the motion block map
  kComputed,  // compute()
};

// The lock of a slot: none, a group's lock, or the motion map's lock, which is the
// md2 group's (ptz_lock) on device type 2 and the motion group's elsewhere. Named,
// not pointed to, so the table holds no pointer where one of a few locks serves.
enum class SlotLock : uint8_t {
  kNone,
  kMotionMap,
  kNetwork,
  kVideo,
  kMpeg,
  kJpeg,
  kOsd,
  kTitle,
  kAlarm,
  kCamcontrol1,
  kCamcontrol2,
  kPrivacy,
  kPtz,
};

struct RecordSlot {
  SlotType type;
  SlotLock lock;
  uint16_t size;  // kText, kBytes: the record field's bytes
  void* address;
  uint32_t (*compute)();
};

const RecordSlot& record_slot(Field field);

// The mutex that guards the slot now (the motion map's by device type), or nullptr.
Mutex* slot_lock(const RecordSlot& slot);

// A byte, word or computed slot's value; 0 for the others.
uint32_t slot_number(const RecordSlot& slot);

// Stores value into a byte slot (its low byte) or a word slot; others are left.
void slot_store(const RecordSlot& slot, uint32_t value);

// Holds one slot lock at a time while a walk moves from group to group; never the
// lock the caller already holds (`held`, or nullptr).
struct SlotLockHold {
  const Mutex* held;
  Mutex* current = nullptr;
  MutexHold guard;

  void take(const RecordSlot& slot);
};

}  // namespace camrcd

#endif  // CAMRCD_CONTROL_RECORD_SLOTS_H_
