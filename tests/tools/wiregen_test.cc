// wiregen's two outputs are reproducible, and what is committed or built is what it
// prints: the reference docs/protocol.md (from the tables and the recorded exchange)
// and the dissector build/camrcd.lua.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "support/daemon_harness.h"

namespace camrcd {
namespace {

// wiregen's output for these arguments, or "" when it failed.
std::string wiregen(const std::vector<std::string>& arguments) {
  std::vector<std::string> argv = target_command(CAMRCD_BINARY_DIR "/wiregen");
  if (argv.empty())
    return "";
  std::string out = "/tmp/camrcd-wiregen-" + std::to_string(getpid());
  argv.insert(argv.end(), arguments.begin(), arguments.end());
  argv.push_back(out);
  int status = run_process(argv, "/dev/null", out + ".err");
  if (status != 0)
    ADD_FAILURE() << read_file(out + ".err");
  std::string text = status == 0 ? read_file(out) : "";
  unlink(out.c_str());
  unlink((out + ".err").c_str());
  return text;
}

TEST(Wiregen, OutputsAreReproducibleAndCommitted) {
  const struct {
    std::vector<std::string> arguments;
    std::string committed;
    const char* remedy;
  } cases[] = {
      {{"reference", CAMRCD_SOURCE_DIR "/docs/protocol-exchange.txt"},
       CAMRCD_SOURCE_DIR "/docs/protocol.md",
       "run: wiregen reference docs/protocol-exchange.txt docs/protocol.md"},
      {{"lua"}, CAMRCD_BINARY_DIR "/camrcd.lua", "build the camrcd_lua target"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments[0]);
    std::string first = wiregen(c.arguments);
    ASSERT_FALSE(first.empty());
    EXPECT_EQ(first, wiregen(c.arguments)) << "two runs differ";
    EXPECT_TRUE(first == read_file(c.committed)) << c.committed << " is stale: " << c.remedy;
  }
}

}  // namespace
}  // namespace camrcd
