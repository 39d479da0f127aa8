// Request execution: finds a request by command class and sub-command in one table
// walked in order, and runs it. Read requests load their groups, wait 5 ms and send
// a reply; write requests copy their fields, then save and apply their groups and
// send nothing. A class byte that is no class is a reload request.
#ifndef CAMRCD_CONTROL_DISPATCH_H_
#define CAMRCD_CONTROL_DISPATCH_H_

#include <stdint.h>

namespace camrcd {

// The six group masks of one request; zeroed by the request loop before each one.
struct RequestMasks {
  uint32_t load;
  uint32_t extended_load;
  uint32_t save;
  uint32_t extended_save;
  uint32_t apply;
  uint32_t extended_apply;
};

// What the request loop does after a request.
enum class RequestOutcome {
  kKeepServing,
  kStopAfterRequest,  // the close request: finish this round, then close
  kCloseNow,          // close at once (equal video resolution, motion version 0)
};

// Executes one request whose header has the good prefix. `buffer` is the
// connection buffer (kConnectionBufferSize bytes); replies go out on `socket`.
RequestOutcome execute_request(const uint8_t* header, int socket, uint8_t* buffer,
                               RequestMasks* masks);

// Whether a requested video resolution replaces the current one: 1, 2 and 3 each
// replace either of the other two, and nothing else is accepted.
bool video_resolution_accepted(uint8_t requested, uint8_t current);

// For a reload request with bit set v (byte 2 high, byte 3 low): false when v has a
// bit outside 0-9 and 12; else true with the load mask of its bits 0x001-0x100.
bool reload_load_mask(uint16_t v, uint32_t* load_mask);

}  // namespace camrcd

#endif  // CAMRCD_CONTROL_DISPATCH_H_
