// The challenge value at chosen seconds: the zero fallback, the unchanged small shift
// case, a shift that loses high bits, and the wrapped negative difference.
#include "auth/nonce.h"

#include <gtest/gtest.h>
#include <time.h>

namespace camrcd {
namespace {

TEST(NonceTest, ValuesAtChosenSeconds) {
  struct Case {
    uint32_t seconds;
    uint32_t expected;
  };
  const Case cases[] = {
      {0, 2147483647u},       // x = 0 becomes 0x7FFFFFFF
      {1, 16807u},            // s = 167: no shift
      {17, 0x0B845C17u},      // x = 0x00045C17, s = 23: bits shifted past 31 are lost
      {127773, 0xFFFFF4ECu},  // -2836 wraps; s = 0xEC: no shift
  };
  for (const Case& c : cases) {
    EXPECT_EQ(make_nonce_at(c.seconds), c.expected) << "t = " << c.seconds;
  }
}

TEST(NonceTest, FollowsTheClock) {
  for (int attempt = 0; attempt < 5; ++attempt) {
    time_t before = time(nullptr);
    uint32_t value = make_nonce();
    if (time(nullptr) != before)
      continue;  // crossed a second: try again
    EXPECT_EQ(value, make_nonce_at(static_cast<uint32_t>(before)));
    return;
  }
}

}  // namespace
}  // namespace camrcd
