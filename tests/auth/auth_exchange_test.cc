// The login exchange and its parts. Nonce values; the user list reader (search bounds,
// exact names, the rights rules and their message, records that stop early, overlong
// words); the exchange over a socket pair with the list below a temporary root: refusals
// echo the opening message, the challenge carries the clock's nonce and the name sealed
// with the client's nonce (sealing redone by hand here), then each verdict and result.
#include "auth/auth_exchange.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "auth/des.h"
#include "auth/nonce.h"
#include "auth/user_list.h"
#include "platform/dev_root.h"

namespace camrcd {
namespace {

using Bytes = std::vector<uint8_t>;

TEST(NonceTest, ValuesAtChosenSeconds) {
  const uint32_t cases[][2] = {
      {0, 0x7FFFFFFF},       // x = 0 becomes 0x7FFFFFFF
      {1, 16807},            // shift 167: none
      {17, 0x0B845C17},      // x = 0x00045C17 shifted by 23: bits past 31 are lost
      {127773, 0xFFFFF4EC},  // -2836 wraps; shift 0xEC: none
  };
  for (const auto& c : cases)
    EXPECT_EQ(make_nonce_at(c[0]), c[1]) << c[0];
}

const char kCounted[] = "COUNT = 2\na = ann = pa = 152\nb = bob = pb = 254\nc = cy = pc = 152\n";
const char kUncounted[] = "a = ann = pa = 152\nb = bob = pb = 152\nc = cy = pc = 152\n";
const char kLong[] =
    "COUNT = 2\nu = abcdefghijklmnopqrstuvwxyz = 0123456789012345678901234 = 152\n"
    "v = bob = pb = 152\n";

struct UserCase {
  const char *file, *sought, *password;  // password and rights: expected on a match
  int result, rights;
  bool mismatch_printed;
};

const UserCase kUserCases[] = {
    {kCounted, "ann", "pa", 0, 152, false},
    {kCounted, "bob", "pb", 0, 254, false},  // the last counted record
    {kCounted, "cy", "", -2, 0, false},      // beyond the count
    {kUncounted, "bob", "pb", 0, 152, false},
    {kUncounted, "cy", "", -2, 0, false},
    {"a = ann = pa = 152\nCOUNTER = 3\nb = bob = pb = 152\nc = cy = pc = 152\n", "cy", "pc", 0, 152,
     false},
    {"COUNT = -1\na = x = p = 1\nb = y = p = 1\nc = z = pz = 152\n", "z", "pz", 0, 152, false},
    {"COUNT = 5\na = ann = pa = 152\n", "dave", "", -2, 0, false},
    {kCounted, "Ann", "", -2, 0, false},
    {kCounted, "an", "", -2, 0, false},
    {kCounted, "ann2", "", -2, 0, false},
    {"COUNT = 1\nu = ann = pa = 408\n", "ann", "pa", 0, 152, false},  // low 8 bits
    {"COUNT = 1\nu = ann = pa = 153\n", "ann", "pa", -7, 153, false},
    {"COUNT = 1\nu = ann = pa = 24\n", "ann", "pa", -7, 24, true},
    {"COUNT = 2\nu = ann = p1 = 153\nu = ann = p2 = 152\n", "ann", "p1", -7, 153, false},
    {"COUNT = 2\nu = ann = pa = 152\n", "2", "", -7, 0, true},  // the count line too
    {"COUNT = 3\nx = ghost\nu = bob = pb = 152\n", "bob", "pb", 0, 152, false},
    {"COUNT = 1\nu\n=\nann =\n pa\n = 152\n", "ann", "pa", 0, 152, false},
    {kLong, "abcdefghijklmnopqrs", "0123456789012345678", 0, 152, false},
    {kLong, "bob", "pb", 0, 152, false},  // the cut word does not spill
};

TEST(UserListTest, FindsAndDecides) {
  for (const UserCase& c : kUserCases) {
    SCOPED_TRACE(std::string(c.sought) + " in " + c.file);
    FILE* stream = fmemopen(const_cast<char*>(c.file), strlen(c.file), "r");
    ASSERT_NE(stream, nullptr);
    char name[kUserFieldSize + 1], password[kUserFieldSize + 1];
    memset(name, 0x7f, sizeof name), memset(password, 0x7f, sizeof password);
    uint8_t rights = 0xEE;
    testing::internal::CaptureStdout();
    EXPECT_EQ(find_user_in_stream(stream, c.sought, name, password, &rights), c.result);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), c.mismatch_printed ? "Auth Mismatch\n" : "");
    fclose(stream);
    EXPECT_EQ(name[kUserFieldSize] + password[kUserFieldSize], 2 * 0x7f);  // nothing past them
    if (c.result != -2) {
      EXPECT_STREQ(name, c.sought);
      EXPECT_STREQ(password, c.password);
      EXPECT_EQ(rights, c.rights);
    }
  }
}

// The first `size` bytes of a message: type, length, status and nonce, little-endian.
Bytes head(uint8_t type, uint16_t length, uint8_t status, uint32_t nonce = 0, size_t size = 12) {
  Bytes bytes = {type, 0, static_cast<uint8_t>(length), static_cast<uint8_t>(length >> 8), status};
  bytes.resize(8);
  for (int i = 0; i < 4; ++i)
    bytes.push_back(static_cast<uint8_t>(nonce >> 8 * i));
  bytes.resize(size);
  return bytes;
}

// Appends to `out` the text and its zero byte mixed with the nonce, zero-padded to 256
// bytes, DES-ECB under the built-in key.
Bytes sealed(const char* text, const uint8_t* nonce, Bytes out) {
  Bytes block(kAuthDataSize, 0);
  for (size_t i = 0; i <= strlen(text); ++i)
    block[i] = static_cast<uint8_t>(text[i] ^ nonce[i % 4]);
  des_crypt(kBuiltInKey, block.data(), block.size(), kDesEncrypt, kDesEcb, nullptr);
  out.insert(out.end(), block.begin(), block.end());
  return out;
}

Bytes receive(int socket, size_t count) {
  Bytes bytes(count, 0);
  EXPECT_EQ(recv(socket, bytes.data(), count, MSG_WAITALL), static_cast<ssize_t>(count));
  return bytes;
}

struct Case {
  bool list;
  const char* name;      // nullptr: the client leaves before the opening message
  const char* password;  // nullptr: the client leaves after the answer
  uint16_t length;
  uint8_t answer, verdict;
  int result;
};

const Case kCases[] = {
    {false, "admin", nullptr, 0, kAuthStatusUserListUnreadable, 0, -1},
    {true, nullptr, nullptr, 0, 0, 0, -8},
    {true, "nobody", nullptr, 0, kAuthStatusNoSuchUser, 0, -1},
    {true, "viewer", nullptr, 0, kAuthStatusRightsRefused, 0, -1},
    {true, "admin", nullptr, 0, kAuthStatusChallenge, 0, -8},
    {true, "admin", "secret", 260, kAuthStatusChallenge, kAuthStatusAuthenticated, 0},
    {true, "op", "Op3rator", 260, kAuthStatusChallenge, kAuthStatusAuthenticated, 0},
    {true, "admin", "secre", 260, kAuthStatusChallenge, kAuthStatusWrongResponse, -1},
    {true, "admin", "secret", 259, kAuthStatusChallenge, kAuthStatusMalformedResponse, -1},
    {true, "admin", "secret", 261, kAuthStatusChallenge, kAuthStatusMalformedResponse, -1},
};

void exchange(const Case& c) {
  int pair[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair), 0);
  timeval limit = {2, 0};
  setsockopt(pair[0], SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  int result = 1;
  std::thread server([&] { result = authenticate_client(pair[1]); });
  if (c.name != nullptr) {
    Bytes opening = head(0xA5, 0xA5A5, 0xA5, 0xF4338211);  // a head not to be examined
    for (size_t i = kAuthDataOffset; i < kAuthMessageSize; ++i)
      opening.push_back(static_cast<uint8_t>(i));  // after the name: echoed in a refusal
    memcpy(&opening[kAuthDataOffset], c.name, strlen(c.name) + 1);
    uint32_t before = static_cast<uint32_t>(time(nullptr));
    send(pair[0], opening.data(), opening.size(), 0);
    Bytes answer = receive(pair[0], kAuthMessageSize);
    uint32_t nonce = answer[8] | answer[9] << 8 | answer[10] << 16 | uint32_t{answer[11]} << 24;
    Bytes expected = head(kAuthTypeAnswer, 0, c.answer, 0xF4338211);
    expected.insert(expected.end(), opening.begin() + kAuthDataOffset, opening.end());
    if (c.answer == kAuthStatusChallenge) {
      EXPECT_TRUE(nonce == make_nonce_at(before) || nonce == make_nonce_at(time(nullptr)));
      expected = sealed(c.name, &opening[kAuthNonceOffset], head(kAuthTypeAnswer, 260, 0, nonce));
    }
    EXPECT_EQ(answer, expected);
    if (c.password != nullptr) {
      Bytes response = sealed(c.password, &answer[kAuthNonceOffset], head(2, c.length, 0));
      send(pair[0], response.data(), response.size(), 0);
      EXPECT_EQ(receive(pair[0], kAuthVerdictSize), head(kAuthTypeVerdict, 0, c.verdict, 0, 8));
    }
  }
  shutdown(pair[0], SHUT_WR);
  server.join();
  shutdown(pair[1], SHUT_WR);
  char extra;
  EXPECT_EQ(recv(pair[0], &extra, 1, 0), 0);  // nothing more was sent
  EXPECT_EQ(result, c.result);
  close(pair[0]);
  close(pair[1]);
}

TEST(AuthExchangeTest, ServerThreadAnswersEachClient) {
  char root[] = "/tmp/camrcd-exchange-XXXXXX";
  ASSERT_NE(mkdtemp(root), nullptr);
  ASSERT_TRUE(dev_root_init(root));
  const std::string admin = std::string(root) + kWebRoot + "/admin";
  for (const Case& c : kCases) {
    SCOPED_TRACE(&c - kCases);
    if (c.list && system(("mkdir -p " + admin).c_str()) == 0) {
      std::ofstream(admin + "/user_list.lst") << "COUNT = 3\nu1 = admin = secret = 254\nu2 = "
                                                 "viewer = look = 24\nu3 = op = Op3rator = 152\n";
    }
    exchange(c);
  }
  EXPECT_EQ(system(("rm -rf " + std::string(root)).c_str()), 0);
  dev_root_init("");
}

}  // namespace
}  // namespace camrcd
