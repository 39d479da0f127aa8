// A temporary development root for the settings tests: the camera's web root with
// its admin/ and kelda2/ folders and a tmp/ folder, a zeroed settings record, and
// helpers to write and read files below the web root. Removed after each test.
#ifndef CAMRCD_TESTS_SETTINGS_SETTINGS_TEST_ROOT_H_
#define CAMRCD_TESTS_SETTINGS_SETTINGS_TEST_ROOT_H_

#include <gtest/gtest.h>

#include <string>

namespace camrcd {

class SettingsRootTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Writes (or with text == nullptr removes) a file; path relative to the web root,
  // or absolute ("/tmp/macaddr.ls") below the development root.
  void put_file(const std::string& path, const char* text, size_t size = std::string::npos);
  // The file's bytes, or "<missing>".
  std::string file_text(const std::string& path) const;
  std::string full_path(const std::string& path) const;

  std::string root_;
};

// Runs operation with standard output captured; returns what it printed.
std::string printed_by(void (*operation)());

}  // namespace camrcd

#endif  // CAMRCD_TESTS_SETTINGS_SETTINGS_TEST_ROOT_H_
