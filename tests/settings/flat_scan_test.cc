// The setting scan against the C library's own "%s = %s" scan, the reader's loop
// rules (bound, terminator, prefix keys, kept values, cuts).
#include <gtest/gtest.h>
#include <stdio.h>
#include <string.h>

#include <random>
#include <string>

#include "settings/flat_file.h"

namespace camrcd {
namespace {

// Scans text with both scanners, step by step, until the input ends; every step must
// agree on how far it got, the words and the position where the next scan starts.
void expect_same_as_fscanf(const std::string& text) {
  std::string copy = text;
  FILE* ours = fmemopen(&copy[0], copy.size(), "r");
  FILE* oracle = fmemopen(&copy[0], copy.size(), "r");
  ASSERT_TRUE(ours && oracle);
  FlatScan scan;
  scan.value[0] = '\0';
  char key[1024] = "", value[1024] = "";
  for (int step = 0; step < 64; ++step) {
    int expected = fscanf(oracle, "%s = %s", key, value);
    ScanStop stop = scan_setting(ours, &scan);
    int got = stop == ScanStop::kNoKey ? EOF : stop == ScanStop::kComplete ? 2 : 1;
    ASSERT_EQ(got, expected) << "text [" << text << "] step " << step;
    if (expected == EOF)
      break;
    EXPECT_EQ(std::string(scan.key), std::string(key).substr(0, kFlatKeySize - 1)) << text;
    EXPECT_EQ(std::string(scan.value), std::string(value).substr(0, kFlatValueSize - 1)) << text;
    EXPECT_EQ(ftell(ours), ftell(oracle)) << "text [" << text << "] step " << step;
  }
  fclose(ours);
  fclose(oracle);
}

TEST(FlatScan, MatchesTheLibraryScan) {
  const char* texts[] = {
      "KEY = value\nNEXT = 2\n",
      "KEY=value\nNEXT = 2\n",
      "KEY =value\n",
      "KEY= value\nNEXT = 2\n",
      "KEY = \n",
      "KEY",
      "KEY =",
      "\n\n  \t\n",
      "= = =\n",
      "A = B = C\n",
      "a\r\nb = c\r\n",
      "K\v=\fV",
      "KEY = two words\nX = 1\n",
      "ONLYKEY\nX = 1",
      "THIS_KEY_IS_FAR_LONGER_THAN_NINETEEN = 1\n",
      "K = 0123456789012345678901234567890123456789012345678901234567890123456789\n",
  };
  for (const char* text : texts)
    expect_same_as_fscanf(text);
}

TEST(FlatScan, MatchesTheLibraryScanOnRandomText) {
  const char alphabet[] = "ab=  =\n\t=xyz";
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
  uint8_t DNF_WIR;
  uint8_t DNF;
  int32_t VAL;
  char TXT[8];
  int32_t RATE;
};
constexpr FlatKey kProbeKeys[] = {
    CAMRCD_FLAT_KEY(Probe, DNF_WIR, 7),
    CAMRCD_FLAT_KEY(Probe, DNF, 3),
    CAMRCD_FLAT_KEY(Probe, VAL, 3),
    CAMRCD_FLAT_KEY(Probe, TXT, 3),
    {"RATE", 4, FieldKind::kLong, offsetof(Probe, RATE), sizeof(int32_t)},
};
constexpr FlatReader kProbeReader = {"probe.ls", 5, "end", kProbeKeys, 5, nullptr};

std::string read_probe(const std::string& text) {
  Probe probe = {};
  std::string copy = text;
  FILE* file = fmemopen(&copy[0], copy.size(), "r");
  read_flat_settings(file, kProbeReader, &probe);
  fclose(file);
  return "DNF_WIR=" + std::to_string(probe.DNF_WIR) + " DNF=" + std::to_string(probe.DNF) +
         " VAL=" + std::to_string(probe.VAL) + " TXT=" + probe.TXT +
         " RATE=" + std::to_string(probe.RATE);
}

TEST(FlatReaderLoop, FollowsTheScanRules) {
  struct Case {
    const char* text;
    const char* fields;
  } cases[] = {
      {"DNF = 300\n", "DNF_WIR=0 DNF=44 VAL=0 TXT= RATE=0"},
      {"DNF_WIR = 5\nDNF = 6\n", "DNF_WIR=5 DNF=6 VAL=0 TXT= RATE=0"},
      {"DNFX = 7\n", "DNF_WIR=0 DNF=7 VAL=0 TXT= RATE=0"},
      // A key against the '=' keeps the previous value; the first scan has none.
      {"DNF = 4\nVAL=9\n", "DNF_WIR=0 DNF=4 VAL=4 TXT= RATE=0"},
      {"VAL=9\nDNF = 4\n", "DNF_WIR=0 DNF=4 VAL=0 TXT= RATE=0"},
      {"VAL =12 DNF= 3\n", "DNF_WIR=0 DNF=12 VAL=12 TXT= RATE=0"},
      {"DNF = 4\nVAL =", "DNF_WIR=0 DNF=4 VAL=4 TXT= RATE=0"},
      {"DNF = 4\nVAL", "DNF_WIR=0 DNF=4 VAL=4 TXT= RATE=0"},
      // Terminator: compared over three characters, case as given.
      {"DNF = 1\nendless = 2\nVAL = 3\n", "DNF_WIR=0 DNF=1 VAL=0 TXT= RATE=0"},
      {"DNF = 1\nEND\nVAL = 3\n", "DNF_WIR=0 DNF=1 VAL=3 TXT= RATE=0"},
      // Bound 5: blank lines are free, extra words and unknown keys are not.
      {"DNF = 1\nDNF = 2\nDNF = 3\nDNF = 4\nDNF = 5\nDNF = 6\n",
       "DNF_WIR=0 DNF=5 VAL=0 TXT= RATE=0"},
      {"\n\nDNF = 1\n\n\n\nX = 2\n\n\nY = 3\n\nZ = 4\n\n\nVAL = 5\n",
       "DNF_WIR=0 DNF=1 VAL=5 TXT= RATE=0"},
      {"TXT = two words\nDNF = 1\nDNF = 2\nDNF = 3\nVAL = 9\n",
       "DNF_WIR=0 DNF=3 VAL=0 TXT=two RATE=0"},
      {"TXT = abcdefghijkl\nVAL = -5x\nRATE = 768kbps\n",
       "DNF_WIR=0 DNF=0 VAL=-5 TXT=abcdefg RATE=768"},
      {"DNF_ABCDEFGHIJKLMNOPQRSTUVWXYZ = 8 VAL = none", "DNF_WIR=0 DNF=8 VAL=0 TXT= RATE=0"},
      {"", "DNF_WIR=0 DNF=0 VAL=0 TXT= RATE=0"},
  };
  for (const Case& c : cases)
    EXPECT_EQ(read_probe(c.text), c.fields) << c.text;
}

}  // namespace
}  // namespace camrcd
