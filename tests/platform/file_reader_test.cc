// The buffered reader on a real file against stdio on the same file: words and line
// pieces that straddle the buffer's refills, NUL bytes, huge lines and no final line
// feed must come out as fscanf("%s") and fgets() give them.
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

// A token sequence: 'w' for a word, 'p' for a line piece, as the readers mix them.
std::vector<std::string> tokens_of_reader(FileReader* reader, const std::string& plan) {
  std::vector<std::string> tokens;
  for (char step : plan) {
    char out[kPieceSize];
    if (step == 'w') {
      tokens.push_back(scan_word(reader, out, kWordSize) ? out : "<end>");
    } else {
      size_t length = read_line_piece(reader, out, sizeof out);
      tokens.push_back(length > 0 ? std::string(out, length) : "<end>");
    }
  }
  return tokens;
}

std::vector<std::string> tokens_of_stdio(FILE* file, const std::string& plan) {
  std::vector<std::string> tokens;
  for (char step : plan) {
    if (step == 'w') {
      std::string word(1 << 16, '\0');
      tokens.push_back(fscanf(file, "%65535s", &word[0]) == 1
                           ? word.substr(0, std::min(word.find('\0'), kWordSize - 1))
                           : "<end>");
    } else {
      char out[kPieceSize];
      long before = ftell(file);
      tokens.push_back(fgets(out, sizeof out, file) != nullptr
                           ? std::string(out, static_cast<size_t>(ftell(file) - before))
                           : "<end>");
    }
  }
  return tokens;
}

TEST(FileReader, GivesWhatStdioGivesAcrossRefills) {
  std::string big_word(3 * kFileReaderBufferSize + 7, 'x');
  std::string huge_line(kFileReaderBufferSize - 3, 'a');
  std::mt19937 random(11);
  std::string noise;
  for (int i = 0; i < 3 * static_cast<int>(kFileReaderBufferSize); ++i)
    noise += " \n\tk=v\0ab"[random() % 9];
  struct Case {
    std::string text;
  } cases[] = {
      {""},
      {"KEY = value"},  // no final line feed
      {huge_line + " word\nnext = 1\n"},
      {big_word + " tail\n" + big_word},
      {std::string(kFileReaderBufferSize - 1, ' ') + "ab cd\n"},
      {std::string("a\0b c\n\0\0\n", 9) + huge_line},
      {noise},
  };
  char path[] = "/tmp/file_reader_test_XXXXXX";
  int descriptor = mkstemp(path);
  ASSERT_GE(descriptor, 0);
  close(descriptor);
  for (const Case& c : cases) {
    FILE* written = fopen(path, "w");
    fwrite(c.text.data(), 1, c.text.size(), written);
    fclose(written);
    for (int round = 0; round < 20; ++round) {
      std::string plan;
      for (size_t i = 0; i < 400; ++i)
        plan += "wp"[random() % 2];
      SCOPED_TRACE("text of " + std::to_string(c.text.size()) + " bytes, plan " + plan);
      FileReader reader;
      ASSERT_TRUE(open_file_reader(&reader, path));
      FILE* oracle = fopen(path, "r");
      EXPECT_EQ(tokens_of_reader(&reader, plan), tokens_of_stdio(oracle, plan));
      close_file_reader(&reader);
      fclose(oracle);
      FileReader memory;
      open_memory_reader(&memory, c.text.data(), c.text.size());
      oracle = fopen(path, "r");
      EXPECT_EQ(tokens_of_reader(&memory, plan), tokens_of_stdio(oracle, plan));
      fclose(oracle);
    }
  }
  unlink(path);
}

TEST(FileReader, ReadsAFileStartAndRefusesWhatIsMissing) {
  char path[] = "/tmp/file_reader_test_XXXXXX";
  int descriptor = mkstemp(path);
  ASSERT_GE(descriptor, 0);
  ASSERT_EQ(write(descriptor, "abc", 3), 3);
  close(descriptor);
  char out[6] = "-----";
  EXPECT_TRUE(read_file_start(path, out, sizeof out - 1));
  EXPECT_STREQ(out, "abc--");  // a short file leaves the rest as it was
  unlink(path);
  EXPECT_FALSE(read_file_start(path, out, sizeof out));
  FileReader reader;
  EXPECT_FALSE(open_file_reader(&reader, path));
}

}  // namespace
}  // namespace camrcd
