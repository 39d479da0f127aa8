// The user list reader: search bounds (count line, none, a later one, a negative one),
// exact name matching, the rights rules and their message, records that stop early,
// overlong words, and the file lookup below the development root.
#include "auth/user_list.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>

#include <string>

#include "auth/auth_message.h"
#include "platform/dev_root.h"

namespace camrcd {
namespace {

struct Case {
  const char* what;
  const char* file;
  const char* sought;
  int result;
  const char* password;  // expected on a match
  int rights;            // expected on a match
  bool mismatch_printed;
};

const char kThreeUsers[] =
    "COUNT = 2\n"
    "user1 = alice = pa = 152\n"
    "user2 = bob = pb = 254\n"
    "user3 = carol = pc = 152\n";

const Case kCases[] = {
    {"count bound, first", kThreeUsers, "alice", 0, "pa", 152, false},
    {"count bound, last", kThreeUsers, "bob", 0, "pb", 254, false},
    {"beyond the count", kThreeUsers, "carol", -2, "", 0, false},
    {"no count line, second", "a = alice = pa = 152\nb = bob = pb = 152\nc = carol = pc = 152\n",
     "bob", 0, "pb", 152, false},
    {"no count line, third", "a = alice = pa = 152\nb = bob = pb = 152\nc = carol = pc = 152\n",
     "carol", -2, "", 0, false},
    {"later count line",
     "a = alice = pa = 152\nCOUNTER = 3\nb = bob = pb = 152\nc = carol = pc = 152\n", "carol", 0,
     "pc", 152, false},
    {"negative count is unbounded", "COUNT = -1\na = x = p = 1\nb = y = p = 1\nc = z = pz = 152\n",
     "z", 0, "pz", 152, false},
    {"fewer records than counted", "COUNT = 5\na = alice = pa = 152\n", "dave", -2, "", 0, false},
    {"empty file", "", "alice", -2, "", 0, false},
    {"case counts", kThreeUsers, "Alice", -2, "", 0, false},
    {"prefix is no match", kThreeUsers, "ali", -2, "", 0, false},
    {"longer is no match", kThreeUsers, "alice2", -2, "", 0, false},
    {"empty name", kThreeUsers, "", -2, "", 0, false},
    {"rights 408 keep 152", "COUNT = 1\nu = alice = pa = 408\n", "alice", 0, "pa", 152, false},
    {"rights 153 bit 0", "COUNT = 1\nu = alice = pa = 153\n", "alice", -7, "pa", 153, false},
    {"rights 255 bit 0", "COUNT = 1\nu = alice = pa = 255\n", "alice", -7, "pa", 255, false},
    {"rights 24", "COUNT = 1\nu = alice = pa = 24\n", "alice", -7, "pa", 24, true},
    {"rights without digits", "COUNT = 1\nu = alice = pa = x9\n", "alice", -7, "pa", 0, true},
    {"first of two equal names", "COUNT = 2\nu = alice = p1 = 153\nu = alice = p2 = 152\n", "alice",
     -7, "p1", 153, false},
    {"count line is compared too", "COUNT = 2\nu = alice = pa = 152\n", "2", -7, "", 0, true},
    {"two-word record", "COUNT = 3\nx = ghost\nu = bob = pb = 152\n", "bob", 0, "pb", 152, false},
    {"line ends around =", "COUNT = 1\nu\n=\nalice =\n pa\n = 152\n", "alice", 0, "pa", 152, false},
    {"overlong words are cut",
     "COUNT = 2\nu = abcdefghijklmnopqrstuvwxyz = 0123456789012345678901234 = 152\n"
     "v = bob = pb = 152\n",
     "abcdefghijklmnopqrs", 0, "0123456789012345678", 152, false},
    {"overlong record does not spill",
     "COUNT = 2\nu = abcdefghijklmnopqrstuvwxyz = p = 152\nv = bob = pb = 152\n", "bob", 0, "pb",
     152, false},
};

TEST(UserListTest, FindsAndDecides) {
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.what);
    std::string text = c.file;
    FILE* stream = fmemopen(text.empty() ? nullptr : &text[0], text.size(), "r");
    ASSERT_NE(stream, nullptr);
    char name[kUserFieldSize + 4];
    char password[kUserFieldSize + 4];
    memset(name, 0x7f, sizeof name);
    memset(password, 0x7f, sizeof password);
    uint8_t rights = 0xEE;
    testing::internal::CaptureStdout();
    int result = find_user_in_stream(stream, c.sought, name, password, &rights);
    std::string printed = testing::internal::GetCapturedStdout();
    fclose(stream);
    EXPECT_EQ(result, c.result);
    EXPECT_EQ(printed, c.mismatch_printed ? "Auth Mismatch\n" : "");
    // Nothing is ever written past the 20-byte fields.
    EXPECT_EQ(name[kUserFieldSize], 0x7f);
    EXPECT_EQ(password[kUserFieldSize], 0x7f);
    if (result == -2)
      continue;
    EXPECT_STREQ(name, c.sought);
    EXPECT_STREQ(password, c.password);
    EXPECT_EQ(rights, c.rights);
  }
}

// The file itself, below a development root; the sought name is the opening message's.
TEST(UserListTest, ReadsTheListBelowTheRoot) {
  char root[] = "/tmp/camrcd-userlist-XXXXXX";
  ASSERT_NE(mkdtemp(root), nullptr);
  ASSERT_TRUE(dev_root_init(root));
  uint8_t message[kAuthMessageSize] = {};
  strcpy(reinterpret_cast<char*>(message + kAuthDataOffset), "bob");
  char name[kUserFieldSize];
  char password[kUserFieldSize];
  uint8_t rights = 0;

  testing::internal::CaptureStdout();
  EXPECT_EQ(find_user(message, name, password, &rights), -1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "fopen() failed - /admin/user_list.lst\n");

  std::string admin = std::string(root) + kWebRoot + "/admin";
  ASSERT_EQ(system(("mkdir -p '" + admin + "'").c_str()), 0);
  char path[kPathCapacity];
  FILE* file = fopen(web_path(path, sizeof path, "admin/user_list.lst"), "w");
  ASSERT_NE(file, nullptr);
  fputs(kThreeUsers, file);
  fclose(file);
  EXPECT_EQ(find_user(message, name, password, &rights), 0);
  EXPECT_STREQ(password, "pb");

  ASSERT_EQ(system(("rm -rf '" + std::string(root) + "'").c_str()), 0);
  dev_root_init("");
}

}  // namespace
}  // namespace camrcd
