// Hex text to bytes for the test tables of the login suite.
#ifndef CAMRCD_TESTS_AUTH_HEX_H_
#define CAMRCD_TESTS_AUTH_HEX_H_

#include <stdint.h>

#include <string>
#include <vector>

namespace camrcd {

inline std::vector<uint8_t> hex_bytes(const std::string& hex) {
  std::vector<uint8_t> bytes;
  for (size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes.push_back(static_cast<uint8_t>(std::stoi(hex.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

}  // namespace camrcd

#endif  // CAMRCD_TESTS_AUTH_HEX_H_
