// Storage of the mutexes; Mutex is constant-initialised, so they are
// ready before any code runs.
#include "settings/group_locks.h"

namespace camrcd {

Mutex title_lock;
Mutex video_lock;
Mutex mpeg_lock;
Mutex jpeg_lock;
Mutex osd_lock;
Mutex alarm_lock;
Mutex camcontrol1_lock;
Mutex camcontrol2_lock;
Mutex privacy_lock;
Mutex motion_lock;
Mutex ptz_lock;
Mutex user_count_lock;
Mutex stream_lock;
Mutex network_lock;

}  // namespace camrcd
