// Storage of the mutexes; std::mutex is constant-initialised, so they are
// ready before any code runs.
#include "settings/group_locks.h"

namespace camrcd {

std::mutex title_lock;
std::mutex video_lock;
std::mutex mpeg_lock;
std::mutex jpeg_lock;
std::mutex osd_lock;
std::mutex alarm_lock;
std::mutex camcontrol1_lock;
std::mutex camcontrol2_lock;
std::mutex privacy_lock;
std::mutex motion_lock;
std::mutex ptz_lock;
std::mutex user_count_lock;
std::mutex stream_lock;
std::mutex network_lock;

}  // namespace camrcd
