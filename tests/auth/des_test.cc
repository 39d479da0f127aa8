// DES: known answers (tests/auth/data/des_vectors.txt, among them a login response) in
// all four modes and both directions, whole and split over two calls with another key
// between, a trailing partial block and flipped parity bits; and against libcrypto over
// random inputs from two threads, the chaining vector written back.
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

#include "support/daemon_harness.h"

namespace camrcd {
namespace {

using Bytes = std::vector<uint8_t>;

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
    Bytes k = from_hex(key), flipped = k, vector = iv == "-" ? Bytes() : from_hex(iv);
    for (uint8_t& byte : flipped)
      byte ^= 1;  // parity bits play no part
    for (int direction : {kDesEncrypt, kDesDecrypt}) {
      const std::string tail = "0102030405";  // a partial block is left alone
      Bytes in = from_hex((direction == kDesEncrypt ? plain : cipher) + tail);
      Bytes out = from_hex((direction == kDesEncrypt ? cipher : plain) + tail);
      Bytes chain = vector;
      EXPECT_EQ(crypt(flipped, in, direction, m, &chain), out);
      // The chain continues through the written-back vector; another key's call between.
      chain = vector;
      Bytes both = crypt(k, Bytes(in.begin(), in.begin() + 8), direction, m, &chain);
      crypt(from_hex("133457799bbcdff1"), in, !direction, kDesCbc, nullptr);
      Bytes rest = crypt(k, Bytes(in.begin() + 8, in.end()), direction, m, &chain);
      both.insert(both.end(), rest.begin(), rest.end());
      EXPECT_EQ(both, out);
    }
  }
  EXPECT_EQ(count, 48);
}

// libcrypto as the oracle on the whole blocks of data, chaining through iv.
void oracle(Bytes key, Bytes* data, int direction, int mode, Bytes* iv) {
  DES_key_schedule schedule;
  DES_set_key_unchecked(reinterpret_cast<DES_cblock*>(key.data()), &schedule);
  size_t whole = data->size() / 8 * 8;
  int enc = direction == kDesEncrypt ? DES_ENCRYPT : DES_DECRYPT, num = 0;
  uint8_t* bytes = data->data();
  auto* vector = reinterpret_cast<DES_cblock*>(iv->data());
  for (size_t i = 0; mode == kDesEcb && i < whole; i += 8)
    DES_ecb_encrypt(reinterpret_cast<DES_cblock*>(bytes + i),
                    reinterpret_cast<DES_cblock*>(bytes + i), &schedule, enc);
  if (whole == 0 || mode == kDesEcb)
    return;
  if (mode == kDesCbc)
    DES_ncbc_encrypt(bytes, bytes, whole, &schedule, vector, enc);
  else if (mode == kDesCfb)
    DES_cfb64_encrypt(bytes, bytes, whole, &schedule, vector, &num, enc);
  else
    DES_ofb64_encrypt(bytes, bytes, whole, &schedule, vector, &num);
}

// Random cases from two threads at once: each mostly keeps its own key (cache hits) and
// sometimes takes a new one, while the other thread's calls race for the cache.
TEST(DesTest, AgreesWithLibcryptoFromTwoConcurrentThreads) {
  int failures[2] = {0, 0};
  auto run = [&failures](int t) {
    std::mt19937 random(20240607 + t);
    Bytes key(8);
    for (int round = 0; round < 3000; ++round) {
      Bytes iv(8), input(random() % 81);
      std::generate(key.begin(), key.begin() + (round % 4 == 0 ? 8 : 0), std::ref(random));
      std::generate(iv.begin(), iv.end(), std::ref(random));
      std::generate(input.begin(), input.end(), std::ref(random));
      int direction = random() & 1, mode = random() & 3;
      Bytes our_iv = iv, ours = crypt(key, input, direction, mode, &our_iv);
      oracle(key, &input, direction, mode, &iv);
      failures[t] += ours != input || our_iv != iv;
    }
  };
  std::thread first(run, 0), second(run, 1);
  first.join();
  second.join();
  EXPECT_EQ(failures[0] + failures[1], 0);
}

}  // namespace
}  // namespace camrcd
