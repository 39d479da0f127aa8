// The network group: the MAC address from /tmp/macaddr.ls (an absolute path) and
// the web and stream ports from admin/stream_port_ch1.ls. The listener's port is
// CONNECT_PORT + 1. Neither file is ever written; the load runs under network_lock.
#ifndef CAMRCD_SETTINGS_NETWORK_GROUP_H_
#define CAMRCD_SETTINGS_NETWORK_GROUP_H_

#include <stddef.h>
#include <stdint.h>

#include "platform/file_reader.h"

namespace camrcd {

// 0-9, A-F and a-f give 0 to 15; every other character gives 255.
uint8_t hex_digit_value(char c);

inline constexpr size_t kMacBytes = 6;

// Reads the first word of `file` as a MAC address of twelve hexadecimal digits, in
// the order they stand; a digit missing from a shorter word counts 0.
void read_mac_word(FileReader* file, uint8_t mac_address[kMacBytes]);

// Reads the MAC file and then the port file into settings.network and
// settings.control_port (defaults 80, 9000 and 9001 when the port file is missing).
void load_network_group();

}  // namespace camrcd

#endif  // CAMRCD_SETTINGS_NETWORK_GROUP_H_
