// Temporary development root for the settings tests.
#include "settings/settings_test_root.h"

#include <stdlib.h>
#include <string.h>

#include <fstream>
#include <sstream>

#include "platform/dev_root.h"
#include "settings/settings_record.h"

namespace camrcd {

void SettingsRootTest::SetUp() {
  char pattern[] = "/tmp/camrcd_settings_XXXXXX";
  ASSERT_NE(mkdtemp(pattern), nullptr);
  root_ = pattern;
  std::string web = root_ + kWebRoot;
  std::string command = "mkdir -p '" + web + "/admin' '" + web + "/kelda2' '" + root_ + "/tmp'";
  ASSERT_EQ(system(command.c_str()), 0);
  ASSERT_TRUE(dev_root_init(root_.c_str()));
  memset(&settings, 0, sizeof settings);
}

void SettingsRootTest::TearDown() {
  dev_root_init("");
  if (!root_.empty()) {
    std::string command = "rm -rf '" + root_ + "'";
    EXPECT_EQ(system(command.c_str()), 0);
  }
}

std::string SettingsRootTest::full_path(const std::string& path) const {
  return path[0] == '/' ? root_ + path : root_ + kWebRoot + "/" + path;
}

void SettingsRootTest::put_file(const std::string& path, const char* text, size_t size) {
  std::string full = full_path(path);
  if (text == nullptr) {
    remove(full.c_str());
    return;
  }
  std::ofstream out(full, std::ios::binary | std::ios::trunc);
  out.write(text, size == std::string::npos ? strlen(text) : size);
}

std::string SettingsRootTest::file_text(const std::string& path) const {
  std::ifstream in(full_path(path), std::ios::binary);
  if (!in)
    return "<missing>";
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

std::string printed_by(void (*operation)()) {
  ::testing::internal::CaptureStdout();
  operation();
  return ::testing::internal::GetCapturedStdout();
}

}  // namespace camrcd
