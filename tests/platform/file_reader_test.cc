// The buffered reader, from a file and from memory, against stdio on the same file:
// words and line pieces that straddle the buffer's refills, NUL bytes, huge lines and
// no final line feed must come out as fscanf("%s") and fgets() give them.
#include "platform/file_reader.h"

#include <gtest/gtest.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <random>
#include <string>
#include <vector>

namespace camrcd {
namespace {

constexpr size_t kWordSize = 20;
constexpr size_t kPieceSize = 50;

// The tokens of a plan: 'w' reads a word, 'p' a line piece, as the readers mix them.
std::vector<std::string> tokens_of(FileReader* reader, FILE* oracle, const std::string& plan) {
  std::vector<std::string> tokens;
  for (char step : plan) {
    char out[kPieceSize];
    std::string word(1 << 16, '\0');
    long before = oracle != nullptr ? ftell(oracle) : 0;
    if (step == 'w' && reader != nullptr)
      tokens.push_back(scan_word(reader, out, kWordSize) ? out : "<end>");
    else if (step == 'w')
      tokens.push_back(fscanf(oracle, "%65535s", &word[0]) == 1
                           ? word.substr(0, std::min(word.find('\0'), kWordSize - 1))
                           : "<end>");
    else if (reader != nullptr)
      tokens.push_back(std::string(out, read_line_piece(reader, out, sizeof out)));
    else
      tokens.push_back(fgets(out, sizeof out, oracle) ? std::string(out, ftell(oracle) - before)
                                                      : "");
  }
  return tokens;
}

TEST(FileReader, GivesWhatStdioGivesAcrossRefills) {
  std::string huge_line(kFileReaderBufferSize - 3, 'a');
  std::string big_word(3 * kFileReaderBufferSize + 7, 'x');
  std::mt19937 random(11);
  std::string noise;
  for (size_t i = 0; i < 3 * kFileReaderBufferSize; ++i)
    noise += " \n\tk=v\0ab"[random() % 9];
  const std::string texts[] = {
      "",
      "KEY = value",  // no final line feed
      huge_line + " word\nnext = 1\n",
      big_word + " tail\n" + big_word,
      std::string(kFileReaderBufferSize - 1, ' ') + "ab cd\n",
      std::string("a\0b c\n\0\0\n", 9) + huge_line,
      noise,
  };
  char path[] = "/tmp/file_reader_test_XXXXXX";
  int descriptor = mkstemp(path);
  ASSERT_GE(descriptor, 0);
  close(descriptor);
  for (const std::string& text : texts) {
    FILE* written = fopen(path, "w");
    fwrite(text.data(), 1, text.size(), written);
    fclose(written);
    for (int round = 0; round < 20; ++round) {
      std::string plan;
      for (int i = 0; i < 400; ++i)
        plan += "wp"[random() % 2];
      SCOPED_TRACE(std::to_string(text.size()) + " bytes, plan " + plan);
      FILE* oracle = fopen(path, "r");
      std::vector<std::string> expected = tokens_of(nullptr, oracle, plan);
      fclose(oracle);
      FileReader from_file, from_memory;
      ASSERT_TRUE(open_file_reader(&from_file, path));
      open_memory_reader(&from_memory, text.data(), text.size());
      EXPECT_EQ(tokens_of(&from_file, nullptr, plan), expected);
      EXPECT_EQ(tokens_of(&from_memory, nullptr, plan), expected);
      close_file_reader(&from_file);
    }
  }
  unlink(path);
}

}  // namespace
}  // namespace camrcd
