// The product file's model line rules, the MAC word and the port file.
#include <gtest/gtest.h>
#include <string.h>

#include <string>

#include "platform/dev_root.h"
#include "settings/group_table.h"
#include "settings/network_group.h"
#include "settings/product_identity.h"
#include "settings/settings_record.h"
#include "settings/settings_test_root.h"

namespace camrcd {
namespace {

using IdentityNetworkTest = SettingsRootTest;

TEST_F(IdentityNetworkTest, DeviceTypeFromTheModelLine) {
  const std::string long_piece(45, 'x');  // "Model" then straddles the 49-character cut
  struct Case {
    std::string text;
    int device_type;
  } cases[] = {
      {"Vendor: ZR\nModel: ZR-Q831\nZR-Q520\n", 1},
      {"Vendor: ZR\nModel: ZR-Q520\n", 2},
      {"Model: ZR-Q999\nZR-Q310\n", 0},
      {"Model: ZR-Q520 ZR-Q310\n", 1},  // table order, not line order
      {"a\nb\nname ZR-Q520\n", 2},      // no "Model": the last line read
      {"a\nb\nc\nd\ne\nModel: ZR-Q310\n", 0},
      {"a\nb\nc\nd\nModel: ZR-Q310\n", 1},
      {"", 0},
      // Lines are read in pieces of 49 characters, each piece counting as a line.
      {"1\n2\n3\n" + long_piece + "Model ZR-Q310\n", 0},  // "Mode" | "l ZR-Q310"
      {long_piece + "abcdModel: ZR-Q310\n", 1},
      {"Model: " + long_piece + "ZR-Q310\n", 0},  // the name is in the next piece
  };
  for (const Case& c : cases) {
    put_file("admin/product_info.ls", c.text.c_str());
    settings.device_type = 0;
    read_product_identity();
    EXPECT_EQ(settings.device_type, c.device_type) << c.text;
  }
  put_file("admin/product_info.ls", nullptr);
  std::string expected = "Conf. Open ERR. " + full_path("admin/product_info.ls") + "\n";
  EXPECT_EQ(printed_by(read_product_identity), expected);
}

TEST_F(IdentityNetworkTest, MacWord) {
  struct Case {
    const char* text;
    uint8_t mac[6];
  } cases[] = {
      {"0a1B2c3D4e5F\n", {0x0A, 0x1B, 0x2C, 0x3D, 0x4E, 0x5F}},
      {"  \n00A0B1C2D3E4 trailing", {0x00, 0xA0, 0xB1, 0xC2, 0xD3, 0xE4}},
      {"G0:1-zz", {0xF0, 0xF1, 0xEF, 0xF0, 0x00, 0x00}},  // odd characters count 255
      {"ABC", {0xAB, 0xC0, 0, 0, 0, 0}},                  // missing digits count 0
      {"", {0, 0, 0, 0, 0, 0}},
  };
  put_file("admin/stream_port_ch1.ls", "end\n");
  for (const Case& c : cases) {
    put_file("/tmp/macaddr.ls", c.text);
    memset(settings.network.mac_address, 0x77, 6);
    load_groups(0x200, 0);
    EXPECT_EQ(memcmp(settings.network.mac_address, c.mac, 6), 0) << c.text;
  }
  EXPECT_EQ(hex_digit_value('f'), 15);
  EXPECT_EQ(hex_digit_value('g'), 255);
}

TEST_F(IdentityNetworkTest, PortFile) {
  struct Case {
    const char* text;  // nullptr: missing
    int web, connect, control;
    const char* printed;
  } cases[] = {
      {"WEBSERVERPORT = 8080\nCONNECT_PORT = 554\nend\n", 8080, 554, 555, ""},
      {"WEBSERVERPORT = 81\nend\nCONNECT_PORT = 554\n", 81, 0, 0, ""},  // no CONNECT_PORT
      {nullptr, 80, 9000, 9001, "Conf. Open ERR. stream_port_ch1.ls\n"},
  };
  put_file("/tmp/macaddr.ls", "000000000000");
  for (const Case& c : cases) {
    memset(&settings, 0, sizeof settings);
    put_file("admin/stream_port_ch1.ls", c.text);
    EXPECT_EQ(printed_by([] { load_groups(0x200, 0); }), c.printed);
    EXPECT_EQ(settings.network.WEBSERVERPORT, c.web);
    EXPECT_EQ(settings.network.CONNECT_PORT, c.connect);
    EXPECT_EQ(settings.control_port, c.control);
  }
  put_file("/tmp/macaddr.ls", nullptr);
  put_file("admin/stream_port_ch1.ls", "end\n");
  EXPECT_EQ(printed_by([] { load_groups(0x200, 0); }), "Conf. Open ERR. tmp/macaddr.ls\n");
}

}  // namespace
}  // namespace camrcd
