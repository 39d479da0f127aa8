// pause_microseconds: nanosleep, resumed with the time left after an interruption.
#include "platform/pause.h"

#include <errno.h>
#include <time.h>

namespace camrcd {

void pause_microseconds(uint32_t microseconds) {
  timespec left = {static_cast<time_t>(microseconds / 1000000),
                   static_cast<long>(microseconds % 1000000) * 1000};
  while (nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}

}  // namespace camrcd
