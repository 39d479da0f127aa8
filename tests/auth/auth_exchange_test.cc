// The login exchange over a socket pair: refusals with the opening message echoed,
// the challenge's sealing, each verdict and the result codes, including a client that
// leaves after the challenge. The user list lives below a temporary development root.
#include "auth/auth_exchange.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <thread>
#include <vector>

#include "auth/des.h"
#include "platform/dev_root.h"

namespace camrcd {
namespace {

using Bytes = std::vector<uint8_t>;

const char kUserList[] =
    "COUNT = 3\n"
    "user1 = admin = secret = 254\n"
    "user2 = viewer = look = 24\n"
    "user3 = op = Op3rator = 152\n";

class AuthExchangeTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(mkdtemp(root_), nullptr);
    ASSERT_TRUE(dev_root_init(root_));
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets_), 0);
    server_ = std::thread([this] { result_ = authenticate_client(sockets_[1]); });
  }

  void TearDown() override {
    if (server_.joinable()) {
      shutdown(sockets_[0], SHUT_RDWR);
      server_.join();
    }
    close(sockets_[0]);
    close(sockets_[1]);
    system(("rm -rf '" + std::string(root_) + "'").c_str());
    dev_root_init("");
  }

  void write_user_list() {
    std::string admin = std::string(root_) + kWebRoot + "/admin";
    ASSERT_EQ(system(("mkdir -p '" + admin + "'").c_str()), 0);
    char path[kPathCapacity];
    FILE* file = fopen(web_path(path, sizeof path, "admin/user_list.lst"), "w");
    ASSERT_NE(file, nullptr);
    fputs(kUserList, file);
    fclose(file);
  }

  // An opening message whose head holds garbage the server must not examine.
  static Bytes opening(const char* name, const uint8_t nonce[4]) {
    Bytes message(kAuthMessageSize, 0);
    memset(message.data(), 0xA5, 8);
    memcpy(&message[kAuthNonceOffset], nonce, 4);
    strcpy(reinterpret_cast<char*>(&message[kAuthDataOffset]), name);
    for (size_t i = kAuthDataOffset + strlen(name) + 1; i < kAuthMessageSize; ++i) {
      message[i] = static_cast<uint8_t>(i);  // bytes after the name, echoed in a refusal
    }
    return message;
  }

  void send_bytes(const Bytes& bytes) {
    ASSERT_EQ(send(sockets_[0], bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
  }

  Bytes receive(size_t count) {
    Bytes bytes(count);
    size_t got = 0;
    while (got < count) {
      ssize_t n = recv(sockets_[0], &bytes[got], count - got, 0);
      if (n <= 0)
        break;
      got += static_cast<size_t>(n);
    }
    bytes.resize(got);
    return bytes;
  }

  // Waits for the server and checks that it sent nothing more.
  int finish() {
    server_.join();
    shutdown(sockets_[1], SHUT_WR);
    EXPECT_EQ(receive(1).size(), 0u);
    return result_;
  }

  char root_[40] = "/tmp/camrcd-exchange-XXXXXX";
  int sockets_[2] = {-1, -1};
  std::thread server_;
  int result_ = 1;
};

void expect_head(const Bytes& message, uint16_t type, uint16_t length, uint32_t status) {
  ASSERT_GE(message.size(), kAuthVerdictSize);
  EXPECT_EQ(auth_read_type(message.data()), type);
  EXPECT_EQ(auth_read_length(message.data()), length);
  EXPECT_EQ(auth_read_status(message.data()), status);
}

const uint8_t kZeroNonce[4] = {0, 0, 0, 0};
const uint8_t kClientNonce[4] = {0x11, 0x82, 0x33, 0xF4};

struct RefusalCase {
  const char* name;
  bool list_present;
  uint32_t status;
};

const RefusalCase kRefusals[] = {
    {"nobody", true, kAuthStatusNoSuchUser},
    {"Admin", true, kAuthStatusNoSuchUser},
    {"admin", false, kAuthStatusUserListUnreadable},
    {"viewer", true, kAuthStatusRightsRefused},
};

void PrintTo(const RefusalCase& c, std::ostream* out) {
  *out << c.name << " " << c.status;
}

class RefusalTest : public AuthExchangeTest, public testing::WithParamInterface<RefusalCase> {};

TEST_P(RefusalTest, EchoesTheOpeningMessage) {
  const RefusalCase& c = GetParam();
  if (c.list_present)
    write_user_list();
  Bytes sent = opening(c.name, kClientNonce);
  send_bytes(sent);
  Bytes refusal = receive(kAuthMessageSize);
  ASSERT_EQ(refusal.size(), kAuthMessageSize);
  expect_head(refusal, kAuthTypeAnswer, 0, c.status);
  EXPECT_TRUE(std::equal(refusal.begin() + 8, refusal.end(), sent.begin() + 8));
  EXPECT_EQ(finish(), -1);
}

INSTANTIATE_TEST_SUITE_P(Refusals, RefusalTest, testing::ValuesIn(kRefusals));

TEST_F(AuthExchangeTest, ChallengeWithZeroNonceSealsThePaddedName) {
  write_user_list();
  send_bytes(opening("admin", kZeroNonce));
  Bytes challenge = receive(kAuthMessageSize);
  ASSERT_EQ(challenge.size(), kAuthMessageSize);
  expect_head(challenge, kAuthTypeAnswer, kAuthBodyLength, kAuthStatusChallenge);
  uint8_t padded[kAuthDataSize] = {'a', 'd', 'm', 'i', 'n'};
  des_crypt(kBuiltInKey, padded, sizeof padded, kDesEncrypt, kDesEcb, nullptr);
  EXPECT_EQ(Bytes(challenge.begin() + kAuthDataOffset, challenge.end()),
            Bytes(padded, padded + kAuthDataSize));
  shutdown(sockets_[0], SHUT_WR);  // leave without a response
  EXPECT_EQ(finish(), -8);
}

TEST_F(AuthExchangeTest, ClosedBeforeTheOpeningMessage) {
  shutdown(sockets_[0], SHUT_WR);
  EXPECT_EQ(finish(), -8);
}

struct ResponseCase {
  const char* what;
  const char* name;
  const char* password;
  uint16_t length;
  uint32_t verdict;
  int result;
};

const ResponseCase kResponses[] = {
    {"right", "admin", "secret", 260, kAuthStatusAuthenticated, 0},
    {"right, other user", "op", "Op3rator", 260, kAuthStatusAuthenticated, 0},
    {"wrong case", "op", "op3rator", 260, kAuthStatusWrongResponse, -1},
    {"prefix", "admin", "secre", 260, kAuthStatusWrongResponse, -1},
    {"length 259", "admin", "secret", 259, kAuthStatusMalformedResponse, -1},
    {"length 261", "admin", "secret", 261, kAuthStatusMalformedResponse, -1},
};

void PrintTo(const ResponseCase& c, std::ostream* out) {
  *out << c.what;
}

class ResponseTest : public AuthExchangeTest, public testing::WithParamInterface<ResponseCase> {};

TEST_P(ResponseTest, GetsItsVerdict) {
  const ResponseCase& c = GetParam();
  write_user_list();
  send_bytes(opening(c.name, kClientNonce));
  Bytes challenge = receive(kAuthMessageSize);
  ASSERT_EQ(challenge.size(), kAuthMessageSize);
  expect_head(challenge, kAuthTypeAnswer, kAuthBodyLength, kAuthStatusChallenge);

  // The client can unseal its own name: decrypt, then unmix with its nonce.
  Bytes data(challenge.begin() + kAuthDataOffset, challenge.end());
  des_crypt(kBuiltInKey, data.data(), data.size(), kDesDecrypt, kDesEcb, nullptr);
  size_t name_length = strlen(c.name);
  for (size_t i = 0; i <= name_length; ++i)
    data[i] ^= kClientNonce[i % 4];
  EXPECT_EQ(std::string(reinterpret_cast<char*>(data.data())), c.name);
  EXPECT_EQ(std::count(data.begin() + name_length, data.end(), 0), 256 - (long)name_length);

  Bytes response(kAuthMessageSize, 0);
  auth_write_head(response.data(), 2, c.length, 0);
  seal_mixed_text(c.password, &challenge[kAuthNonceOffset], &response[kAuthDataOffset]);
  send_bytes(response);
  Bytes verdict = receive(kAuthVerdictSize);
  ASSERT_EQ(verdict.size(), kAuthVerdictSize);
  expect_head(verdict, kAuthTypeVerdict, 0, c.verdict);
  EXPECT_EQ(finish(), c.result);
}

INSTANTIATE_TEST_SUITE_P(Responses, ResponseTest, testing::ValuesIn(kResponses));

}  // namespace
}  // namespace camrcd
