// Network group reader: the MAC word, then the port file (a flat file, bound 5,
// terminator "end"). A MAC word shorter than twelve characters counts 0 for each
// missing digit.
#include "settings/network_group.h"

#include <string.h>

#include <iterator>

#include "platform/console.h"
#include "platform/dev_root.h"
#include "settings/flat_file.h"
#include "settings/settings_record.h"

namespace camrcd {
namespace {

constexpr size_t kMacWordSize = 64;

constexpr FlatKey kPortKeys[] = {
    CAMRCD_FLAT_KEY(NetworkGroup, WEBSERVERPORT, 13),
    CAMRCD_FLAT_KEY(NetworkGroup, CONNECT_PORT, 12),
};
constexpr uint32_t kMatchedConnectPort = 1u << 1;

constexpr FlatReader kPortReader = {
    "admin/stream_port_ch1.ls",
    5,
    "end",
    kPortKeys,
    std::size(kPortKeys),
    "Conf. Open ERR. stream_port_ch1.ls\n",
};

void read_mac_address() {
  char path[kPathCapacity];
  FileReader file;
  if (!open_file_reader(&file, rooted_path(path, sizeof path, "/tmp/macaddr.ls"))) {
    memset(settings.network.mac_address, 0, sizeof settings.network.mac_address);
    console_print("Conf. Open ERR. tmp/macaddr.ls\n");
    return;
  }
  read_mac_word(&file, settings.network.mac_address);
  close_file_reader(&file);
}

void read_ports() {
  uint32_t matched = 0;
  if (!read_flat_file(kPortReader, &settings.network, &matched)) {
    settings.network.WEBSERVERPORT = 80;
    settings.network.CONNECT_PORT = 9000;
    settings.control_port = 9001;
    return;
  }
  if (matched & kMatchedConnectPort) {
    settings.control_port =
        static_cast<int32_t>(static_cast<uint32_t>(settings.network.CONNECT_PORT) + 1u);
  }
}

}  // namespace

uint8_t hex_digit_value(char c) {
  if (c >= '0' && c <= '9')
    return static_cast<uint8_t>(c - '0');
  if (c >= 'A' && c <= 'F')
    return static_cast<uint8_t>(c - 'A' + 10);
  if (c >= 'a' && c <= 'f')
    return static_cast<uint8_t>(c - 'a' + 10);
  return 255;
}

void read_mac_word(FileReader* file, uint8_t mac_address[kMacBytes]) {
  char word[kMacWordSize] = "";
  scan_word(file, word, sizeof word);
  size_t length = strlen(word);
  for (size_t i = 0; i < kMacBytes; ++i) {
    unsigned high = 2 * i < length ? hex_digit_value(word[2 * i]) : 0;
    unsigned low = 2 * i + 1 < length ? hex_digit_value(word[2 * i + 1]) : 0;
    mac_address[i] = static_cast<uint8_t>(16 * high + low);
  }
}

void load_network_group() {
  read_mac_address();
  read_ports();
}

}  // namespace camrcd
