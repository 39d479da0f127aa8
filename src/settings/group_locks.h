// The process-wide mutexes: eleven group locks, user_count_lock, stream_lock and
// network_lock. A group lock is held for the whole of its group's file read, file
// write or device action. The only nestings: osd_lock then title_lock (osd load and
// osd save), jpeg_lock then video_lock (the jpeg save, which reads the video
// resolution), alarm_lock then ptz_lock (the alarm2 action), and stream_lock inside the
// video, mpeg and jpeg actions.
#ifndef CAMRCD_SETTINGS_GROUP_LOCKS_H_
#define CAMRCD_SETTINGS_GROUP_LOCKS_H_

#include "platform/mutex.h"

namespace camrcd {

extern Mutex title_lock;
extern Mutex video_lock;
extern Mutex mpeg_lock;
extern Mutex jpeg_lock;
extern Mutex osd_lock;
extern Mutex alarm_lock;
extern Mutex camcontrol1_lock;
extern Mutex camcontrol2_lock;
extern Mutex privacy_lock;
extern Mutex motion_lock;
extern Mutex ptz_lock;
extern Mutex user_count_lock;
extern Mutex stream_lock;
// Guards the network group's fields and control_port. Two requests may reload the
// network group at once, and the replies and the accept loop read it meanwhile.
extern Mutex network_lock;

// The locks a caller already holds (none, one or two), which a walk must not take again.
struct HeldLocks {
  const Mutex* first = nullptr;
  const Mutex* second = nullptr;

  HeldLocks() = default;
  constexpr HeldLocks(const Mutex* lock) : first(lock) {}  // one held lock, or nullptr for none
  constexpr HeldLocks(const Mutex* lock, const Mutex* next) : first(lock), second(next) {}

  bool contains(const Mutex* lock) const { return lock == first || lock == second; }
};

// Holds lock, unless the caller already holds it.
inline MutexHold lock_unless_held(Mutex& lock, HeldLocks held) {
  return held.contains(&lock) ? MutexHold() : MutexHold(lock);
}

}  // namespace camrcd

#endif  // CAMRCD_SETTINGS_GROUP_LOCKS_H_
