// The process-wide mutexes: eleven group locks, user_count_lock, stream_lock and
// network_lock. A group lock is held for the whole of its group's file read, file
// write or device action. The only nestings: osd_lock then title_lock (osd load and
// osd save), alarm_lock then ptz_lock (the alarm2 action), and stream_lock inside the
// video, mpeg and jpeg actions.
#ifndef CAMRCD_SETTINGS_GROUP_LOCKS_H_
#define CAMRCD_SETTINGS_GROUP_LOCKS_H_

#include <mutex>

namespace camrcd {

extern std::mutex title_lock;
extern std::mutex video_lock;
extern std::mutex mpeg_lock;
extern std::mutex jpeg_lock;
extern std::mutex osd_lock;
extern std::mutex alarm_lock;
extern std::mutex camcontrol1_lock;
extern std::mutex camcontrol2_lock;
extern std::mutex privacy_lock;
extern std::mutex motion_lock;
extern std::mutex ptz_lock;
extern std::mutex user_count_lock;
extern std::mutex stream_lock;
// Guards the network group's fields and control_port. Two requests may reload the
// network group at once, and the replies and the accept loop read it meanwhile.
extern std::mutex network_lock;

// Holds lock, unless it is the one the caller already holds (held; may be null).
inline std::unique_lock<std::mutex> lock_unless_held(std::mutex& lock, const std::mutex* held) {
  return &lock == held ? std::unique_lock<std::mutex>() : std::unique_lock<std::mutex>(lock);
}

}  // namespace camrcd

#endif  // CAMRCD_SETTINGS_GROUP_LOCKS_H_
