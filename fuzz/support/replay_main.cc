// The entry of a fuzz target built without libFuzzer: runs every input named on the
// command line (files, or directories of them, in name order) once. The test suite
// replays each target's corpus this way under every preset, so an input that once
// crashed a target keeps being tried.
#include <stdio.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support/fuzz_support.h"

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);

int main(int argc, char** argv) {
  LLVMFuzzerInitialize(&argc, &argv);
  std::vector<std::string> inputs;
  for (int i = 1; i < argc; i++) {
    if (!std::filesystem::is_directory(argv[i])) {
      inputs.push_back(argv[i]);
      continue;
    }
    for (const auto& entry : std::filesystem::directory_iterator(argv[i]))
      inputs.push_back(entry.path());
  }
  std::sort(inputs.begin(), inputs.end());
  for (const std::string& input : inputs) {
    std::ostringstream bytes;
    bytes << std::ifstream(input, std::ios::binary).rdbuf();
    std::string data = bytes.str();
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(data.data()), data.size());
  }
  fprintf(stderr, "%zu inputs replayed\n", inputs.size());
  return inputs.empty() ? 1 : 0;
}
