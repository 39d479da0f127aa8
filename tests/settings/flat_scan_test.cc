// The setting scan against the C library's own "%s = %s" scan (an "=" that ends its
// line gives an empty value), the reader's loop rules (bound, terminator, prefix keys,
// kept values, cuts).
#include <gtest/gtest.h>
#include <stdio.h>
#include <string.h>

#include <fstream>
#include <random>
#include <string>

#include "settings/flat_file.h"

namespace camrcd {
namespace {

// The library's "%s = %s", except that an "=" followed by blanks and a line feed gives
// an empty value. Built from the library's own scans, so it shares no code with ours.
int library_scan_with_empty_values(FILE* file, char* key, char* value) {
  char equals[2];
  if (fscanf(file, "%s", key) != 1)
    return EOF;
  if (fscanf(file, " %1[=]", equals) != 1)
    return 1;
  fscanf(file, "%*[ \t\r\v\f]");
  int c = fgetc(file);
  if (c != EOF)
    ungetc(c, file);
  if (c == '\n')
    value[0] = '\0';
  return c == '\n' || fscanf(file, "%s", value) == 1 ? 2 : 1;
}

// Both scanners, step by step until the input ends, must agree on how far each scan
// got, its words and where the next scan starts. Where no "=" ends its line the
// reference is the library's "%s = %s" itself.
void expect_same_as_fscanf(std::string text) {
  SCOPED_TRACE("[" + text + "]");
  bool empty_values = false;
  for (size_t at = text.find('='); at != std::string::npos; at = text.find('=', at + 1)) {
    size_t next = text.find_first_not_of(" \t\r\v\f", at + 1);
    empty_values |= next != std::string::npos && text[next] == '\n';
  }
  FileReader ours;
  open_memory_reader(&ours, text.data(), text.size());
  FILE* oracle = fmemopen(&text[0], text.size(), "r");
  FlatScan scan = {};
  char key[1024] = "", value[1024] = "";
  for (int expected = 0; expected != EOF;) {
    expected = empty_values ? library_scan_with_empty_values(oracle, key, value)
                            : fscanf(oracle, "%s = %s", key, value);
    ScanStop stop = scan_setting(&ours, &scan);
    ASSERT_EQ(stop == ScanStop::kNoKey ? EOF : stop == ScanStop::kComplete ? 2 : 1, expected);
    EXPECT_EQ(std::string(scan.key), std::string(key).substr(0, kFlatKeySize - 1));
    EXPECT_EQ(std::string(scan.value), std::string(value).substr(0, kFlatValueSize - 1));
    EXPECT_EQ(reinterpret_cast<const char*>(ours.next) - text.data(), ftell(oracle));
  }
  fclose(oracle);
}

TEST(FlatScan, MatchesTheLibraryScan) {
  for (const char* text :
       {"THIS_KEY_IS_FAR_LONGER_THAN_NINETEEN = 1\n",
        "K = 0123456789012345678901234567890123456789012345678901234567890123456789\n"})
    expect_same_as_fscanf(text);
  const char alphabet[] = "ab=  =\n\t=xyz\r\v\f";
  std::mt19937 random(7);
  for (int round = 0; round < 3000; ++round) {
    std::string text(1 + random() % 40, ' ');
    for (char& c : text)
      c = alphabet[random() % (sizeof alphabet - 1)];
    expect_same_as_fscanf(text);
  }
}

// A group with a prefix pair, a number, a text and a long, for the loop rules.
struct Probe {
  uint8_t DNF_WIR, DNF;
  int32_t VAL;
  char TXT[8];
  int32_t RATE;
};
constexpr FlatKey kProbeKeys[] = {
    CAMRCD_FLAT_KEY(Probe, DNF_WIR, 7),
    CAMRCD_FLAT_KEY(Probe, DNF, 3),
    CAMRCD_FLAT_KEY(Probe, VAL, 3),
    CAMRCD_FLAT_KEY(Probe, TXT, 3),
    {"RATE", 4, FieldKind::kLong, offsetof(Probe, RATE), sizeof(int32_t)}};
constexpr FlatReader kProbeReader = {"probe.ls", 5, "end", kProbeKeys, 5, nullptr};

// The probe read from text, as "DNF_WIR/DNF/VAL/TXT/RATE".
std::string read_probe(std::string text) {
  Probe probe = {};
  FileReader file;
  open_memory_reader(&file, text.data(), text.size());
  read_flat_settings(&file, kProbeReader, &probe);
  return std::to_string(probe.DNF_WIR) + "/" + std::to_string(probe.DNF) + "/" +
         std::to_string(probe.VAL) + "/" + probe.TXT + "/" + std::to_string(probe.RATE);
}

TEST(FlatReaderLoop, FollowsTheScanRules) {
  std::ifstream rows(CAMRCD_SOURCE_DIR "/tests/settings/data/reader_loop.txt");
  int count = 0;
  for (std::string line; std::getline(rows, line);) {
    size_t bar = line.find(" | ");
    if (line[0] == '#' || bar == std::string::npos)
      continue;
    std::string text = line.substr(bar + 3);
    for (size_t at; (at = text.find("\\n")) != std::string::npos ||
                    (at = text.find("\\r")) != std::string::npos;)
      text.replace(at, 2, 1, text[at + 1] == 'n' ? '\n' : '\r');
    EXPECT_EQ(read_probe(text), line.substr(0, bar)) << line;
    ++count;
  }
  EXPECT_EQ(count, 17);
}

}  // namespace
}  // namespace camrcd
