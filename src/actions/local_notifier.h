// Local notices: 32-byte UDP datagrams to 127.0.0.1 that tell the camera's motion
// service about area selections and saved area settings.
//
//   byte 0-1  0x31 0x30
//   byte 2-3  kind: 0xFF 0x01 area selection, 0x40 0x12 saved area settings
//   byte 4-5  0
//   byte 6-31 contents by kind; unnamed bytes 0
#ifndef CAMRCD_ACTIONS_LOCAL_NOTIFIER_H_
#define CAMRCD_ACTIONS_LOCAL_NOTIFIER_H_

#include <stddef.h>
#include <stdint.h>

namespace camrcd {

inline constexpr size_t kLocalNoticeSize = 32;
inline constexpr uint16_t kLocalNoticePort = 1630;

// Sends the notice in one datagram from a fresh socket; 1 when all 32 bytes were
// sent, else 0 (and a message is printed).
int local_notify(uint16_t port, const uint8_t notice[kLocalNoticeSize]);

// Fills notice with the area selection for area: 0x31 0x30 0xFF 0x01 0 0, then 0x81
// when area is 255 (else 0x82), area, 0xFF, and zeros.
void build_md_area_notice(uint8_t area, uint8_t notice[kLocalNoticeSize]);

// Fills notice with the saved area settings: 0x31 0x30 0x40 0x12 0 0, then
// motion_map_valid, motion_flags, the area, its md.enable, and zeros.
void build_md_saved_notice(uint8_t map_valid, uint8_t flags, uint8_t area, uint8_t enable,
                           uint8_t notice[kLocalNoticeSize]);

// Builds the area-selection notice for area (0x81 for 255, else 0x82) and sends it
// to kLocalNoticePort.
void notify_md_area(uint8_t area);

}  // namespace camrcd

#endif  // CAMRCD_ACTIONS_LOCAL_NOTIFIER_H_
