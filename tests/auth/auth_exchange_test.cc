// The login exchange and its parts. Nonce values; the user list reader (search bounds,
// exact names, the rights rules and their message, records that stop early, overlong
// words); the exchange over a socket pair with the list below a temporary root: refusals
// echo the opening message, the challenge carries the clock's nonce and the name sealed
// with the client's nonce (sealing redone by hand here), then each verdict and result.
#include "auth/auth_exchange.h"

#include <gtest/gtest.h>
#include <string.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "auth/des.h"
#include "auth/nonce.h"
#include "auth/user_list.h"
#include "client/client_socket.h"
#include "platform/dev_root.h"
#include "support/daemon_harness.h"

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

// Runs data/user_lists.txt (its header describes a case), each list read from memory.
TEST(UserListTest, FindsAndDecides) {
  std::ifstream cases(CAMRCD_SOURCE_DIR "/tests/auth/data/user_lists.txt");
  int count = 0;
  for (std::string line; std::getline(cases, line);) {
    std::istringstream words(line);
    std::string sought, wanted, list;
    int result, rights, mismatch;
    if (line[0] == '#' || !(words >> sought >> wanted >> result >> rights >> mismatch))
      continue;
    std::getline(words >> std::ws, list);
    for (size_t at = list.find("\\n"); at != std::string::npos; at = list.find("\\n", at))
      list.replace(at, 2, "\n");
    SCOPED_TRACE(sought + " in " + list);
    ++count;
    FileReader stream;
    open_memory_reader(&stream, list.data(), list.size());
    char name[kUserFieldSize + 1], password[kUserFieldSize + 1];
    memset(name, 0x7f, sizeof name), memset(password, 0x7f, sizeof password);
    uint8_t found_rights = 0xEE;
    testing::internal::CaptureStdout();
    EXPECT_EQ(find_user_in_stream(&stream, sought.c_str(), name, password, &found_rights), result);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), mismatch ? "Auth Mismatch\n" : "");
    EXPECT_EQ(name[kUserFieldSize] + password[kUserFieldSize], 2 * 0x7f);  // nothing past them
    if (result != -2) {
      EXPECT_EQ(name, sought);
      EXPECT_EQ(password, wanted == "-" ? "" : wanted);
      EXPECT_EQ(found_rights, rights);
    }
  }
  EXPECT_EQ(count, 22);
}

// The first `size` bytes of a message: type, length, status and nonce, little-endian.
Bytes head(uint8_t type, uint16_t length, uint8_t status, uint32_t nonce = 0, size_t size = 12) {
  Bytes bytes = {
      type, 0, static_cast<uint8_t>(length), static_cast<uint8_t>(length >> 8), status, 0, 0, 0};
  for (int shift = 0; shift < 32; shift += 8)
    bytes.push_back(static_cast<uint8_t>(nonce >> shift));
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

// name nullptr: the client leaves before the opening message; password nullptr: after
// the answer. length: of the response.
struct Case {
  bool list;
  const char *name, *password;
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

// Each case on a socket pair, the server in a thread, the list (when asked) below a
// temporary root; the first case runs before the list is made, and prints so.
TEST(AuthExchangeTest, ServerThreadAnswersEachClient) {
  const std::string root = make_dev_root({}), admin = root + kWebRoot + "/admin";
  ASSERT_FALSE(root.empty());
  for (const Case& c : kCases) {
    SCOPED_TRACE(&c - kCases);
    if (c.list && std::filesystem::create_directories(admin))
      std::ofstream(admin + "/user_list.lst") << "COUNT = 3\nu1 = admin = secret = 254\nu2 = "
                                                 "viewer = look = 24\nu3 = op = Op3rator = 152\n";
    int pair[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair), 0);
    client_set_timeout(pair[0], 2000);
    int result = 1;
    testing::internal::CaptureStdout();
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
    std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(printed.find("fopen() failed - /admin/user_list.lst\n") == 0, !c.list) << printed;
    shutdown(pair[1], SHUT_WR);
    char extra;
    EXPECT_EQ(recv(pair[0], &extra, 1, 0), 0);  // nothing more was sent
    EXPECT_EQ(result, c.result);
    close(pair[0]);
    close(pair[1]);
  }
  remove_dev_root(root);
}

}  // namespace
}  // namespace camrcd
