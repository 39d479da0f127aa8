// DES: known answers (tests/auth/data/des_vectors.txt) in all four modes and both
// directions, whole and split over two calls, with a trailing partial block and flipped
// parity bits; agreement with libcrypto over random inputs from two threads.
#define OPENSSL_SUPPRESS_DEPRECATED
#include "auth/des.h"

#include <gtest/gtest.h>
#include <openssl/des.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace camrcd {
namespace {

using Bytes = std::vector<uint8_t>;

Bytes hex(const std::string& text) {
  Bytes bytes;
  for (size_t i = 0; i + 1 < text.size(); i += 2)
    bytes.push_back(static_cast<uint8_t>(std::stoi(text.substr(i, 2), nullptr, 16)));
  return bytes;
}

// des_crypt on a copy of `input`; an empty iv passes null, else receives the write-back.
Bytes crypt(const Bytes& key, Bytes input, int direction, int mode, Bytes* iv) {
  des_crypt(key.data(), input.data(), input.size(), direction, mode,
            iv != nullptr && !iv->empty() ? iv->data() : nullptr);
  return input;
}

TEST(DesTest, KnownAnswers) {
  const std::string modes = "ecb cbc cfb ofb";
  std::ifstream file(CAMRCD_SOURCE_DIR "/tests/auth/data/des_vectors.txt");
  std::string line, mode, key, iv, plain, cipher;
  int count = 0;
  while (std::getline(file, line)) {
    if (!(std::istringstream(line) >> mode >> key >> iv >> plain >> cipher) || mode[0] == '#')
      continue;
    SCOPED_TRACE(std::to_string(++count));  // the line number among the vectors
    int m = static_cast<int>(modes.find(mode) / 4);
    Bytes k = hex(key), flipped = k, vector = iv == "-" ? Bytes() : hex(iv);
    for (uint8_t& byte : flipped)
      byte ^= 1;  // parity bits play no part
    for (int direction : {kDesEncrypt, kDesDecrypt}) {
      const std::string tail = "0102030405";  // a partial block is left alone
      Bytes in = hex((direction == kDesEncrypt ? plain : cipher) + tail);
      Bytes out = hex((direction == kDesEncrypt ? cipher : plain) + tail);
      Bytes chain = vector;
      EXPECT_EQ(crypt(flipped, in, direction, m, &chain), out);
      // The chain continues through the written-back vector; another key's call between.
      chain = vector;
      Bytes both = crypt(k, Bytes(in.begin(), in.begin() + 8), direction, m, &chain);
      crypt(hex("133457799bbcdff1"), in, !direction, kDesCbc, nullptr);
      Bytes rest = crypt(k, Bytes(in.begin() + 8, in.end()), direction, m, &chain);
      both.insert(both.end(), rest.begin(), rest.end());
      EXPECT_EQ(both, out);
    }
  }
  EXPECT_EQ(count, 48);
}

struct RandomCase {
  Bytes key, iv, input;
  int direction, mode;
};

RandomCase random_case(std::mt19937& random) {
  RandomCase c{Bytes(8), Bytes(8), Bytes(random() % 81), static_cast<int>(random() & 1),
               static_cast<int>(random() & 3)};
  for (Bytes* bytes : {&c.key, &c.iv, &c.input})
    std::generate(bytes->begin(), bytes->end(), std::ref(random));
  return c;
}

// libcrypto as the oracle; returns the output, leaves the chaining value in `iv`.
Bytes oracle(RandomCase c, Bytes* iv) {
  DES_key_schedule schedule;
  DES_set_key_unchecked(reinterpret_cast<DES_cblock*>(c.key.data()), &schedule);
  uint8_t* data = c.input.data();
  size_t whole = c.input.size() / 8 * 8;
  int enc = c.direction == kDesEncrypt ? DES_ENCRYPT : DES_DECRYPT, num = 0;
  auto* vector = reinterpret_cast<DES_cblock*>(iv->data());
  if (c.mode == kDesEcb) {
    for (size_t i = 0; i < whole; i += 8) {
      auto* block = reinterpret_cast<DES_cblock*>(data + i);
      DES_ecb_encrypt(block, block, &schedule, enc);
    }
  } else if (whole > 0 && c.mode == kDesCbc) {
    DES_ncbc_encrypt(data, data, whole, &schedule, vector, enc);
  } else if (whole > 0 && c.mode == kDesCfb) {
    DES_cfb64_encrypt(data, data, whole, &schedule, vector, &num, enc);
  } else if (whole > 0) {
    DES_ofb64_encrypt(data, data, whole, &schedule, vector, &num);
  }
  return c.input;
}

// Random cases from two threads at once: each mostly keeps its own key (cache hits) and
// sometimes takes a new one, while the other thread's calls race for the cache.
TEST(DesTest, AgreesWithLibcryptoFromTwoConcurrentThreads) {
  int failures[2] = {0, 0};
  auto run = [&failures](int t) {
    std::mt19937 random(20240607 + t);
    Bytes key;
    for (int round = 0; round < 3000; ++round) {
      RandomCase c = random_case(random);
      c.key = key = round % 4 == 0 ? c.key : key;
      Bytes our_iv = c.iv, their_iv = c.iv;
      Bytes ours = crypt(c.key, c.input, c.direction, c.mode, &our_iv);
      failures[t] += ours != oracle(c, &their_iv) || our_iv != their_iv;
    }
  };
  std::thread first(run, 0), second(run, 1);
  first.join();
  second.join();
  EXPECT_EQ(failures[0] + failures[1], 0);
}

}  // namespace
}  // namespace camrcd
