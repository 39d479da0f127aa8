// DES against libcrypto over random inputs from two threads: all four modes, both
// directions, random keys (parity bits included), trailing partial blocks left alone,
// and the chaining vector written back.
#define OPENSSL_SUPPRESS_DEPRECATED
#include "auth/des.h"

#include <gtest/gtest.h>
#include <openssl/des.h>

#include <algorithm>
#include <functional>
#include <random>
#include <thread>
#include <vector>

namespace camrcd {
namespace {

using Bytes = std::vector<uint8_t>;

// des_crypt on a copy of `input`; iv receives the write-back.
Bytes crypt(const Bytes& key, Bytes input, int direction, int mode, Bytes* iv) {
  des_crypt(key.data(), input.data(), input.size(), direction, mode, iv->data());
  return input;
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
