// The product identity and MAC address parsers on any text: byte 0 of an input picks
// the parser (even: product file, odd: MAC file), the rest is the file. The product
// file names device type 0, 1 or 2; the MAC word gives six bytes and nothing more.
#include <stdio.h>
#include <string.h>

#include <string>

#include "settings/network_group.h"
#include "settings/product_identity.h"
#include "support/fuzz_support.h"

namespace camrcd {

void fuzz_setup() {}

void fuzz_seeds() {
  write_seed("product", '\0' + camera_file("admin/product_info.ls"));
  write_seed("product-model-late", std::string("\0a\nb\nc\nd\nModel = ZR-Q831\n", 27));
  write_seed("mac", '\1' + camera_file("/tmp/macaddr.ls"));
  write_seed("mac-short", "\1  0a1B2c\n");
}

}  // namespace camrcd

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace camrcd;
  if (size < 2)
    return 0;
  std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  FileReader file;
  open_memory_reader(&file, text.data(), text.size());
  if (data[0] % 2 == 0) {
    fuzz_check(device_type_of_product_file(&file) <= 2, "an unknown device type");
  } else {
    uint8_t mac[kMacBytes + 1];
    memset(mac, 0x5A, sizeof mac);
    read_mac_word(&file, mac);
    fuzz_check(mac[kMacBytes] == 0x5A, "the MAC parser wrote past six bytes");
  }
  return 0;
}
