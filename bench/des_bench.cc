// ECB and CBC throughput of des_crypt against libcrypto's DES_ecb_encrypt and
// DES_ncbc_encrypt on 256-byte buffers (the size the login exchange seals), in one run.
// Both use one key throughout, so neither recomputes its key schedule inside the timed
// loop. Prints MB/s and, per mode, the line "des MODE OURS_US LIBCRYPTO_US" (microseconds
// per buffer) that scripts/bench reads.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/des.h>
#include <stdint.h>

#include <algorithm>
#include <chrono>

#include "auth/des.h"
#include "platform/console.h"

namespace {

constexpr size_t kBufferSize = 256;
constexpr int kRounds = 8;
constexpr double kSecondsPerRound = 0.5;

volatile uint8_t sink;  // keeps the output alive

using Clock = std::chrono::steady_clock;

void ours(uint8_t* buffer) {
  static const uint8_t key[8] = {0x13, 0x34, 0x57, 0x79, 0x9b, 0xbc, 0xdf, 0xf1};
  camrcd::des_crypt(key, buffer, kBufferSize, camrcd::kDesEncrypt, camrcd::kDesEcb, nullptr);
}

DES_key_schedule openssl_schedule;

void ours_cbc(uint8_t* buffer) {
  static const uint8_t key[8] = {0x13, 0x34, 0x57, 0x79, 0x9b, 0xbc, 0xdf, 0xf1};
  uint8_t iv[8] = {};
  camrcd::des_crypt(key, buffer, kBufferSize, camrcd::kDesEncrypt, camrcd::kDesCbc, iv);
}

void theirs_cbc(uint8_t* buffer) {
  DES_cblock iv = {};
  DES_ncbc_encrypt(buffer, buffer, kBufferSize, &openssl_schedule, &iv, DES_ENCRYPT);
}

void theirs(uint8_t* buffer) {
  for (size_t i = 0; i < kBufferSize; i += 8) {
    DES_ecb_encrypt(reinterpret_cast<const_DES_cblock*>(buffer + i),
                    reinterpret_cast<DES_cblock*>(buffer + i), &openssl_schedule, DES_ENCRYPT);
  }
}

// MB/s of one timed round of about kSecondsPerRound.
double one_round(void (*encrypt)(uint8_t*), uint8_t* buffer) {
  size_t calls = 0;
  Clock::time_point start = Clock::now();
  double elapsed = 0;
  do {
    for (int i = 0; i < 1000; ++i)
      encrypt(buffer);
    calls += 1000;
    elapsed = std::chrono::duration<double>(Clock::now() - start).count();
  } while (elapsed < kSecondsPerRound);
  return static_cast<double>(calls * kBufferSize) / elapsed / 1e6;
}

}  // namespace

struct Mode {
  const char* name;
  void (*ours)(uint8_t*);
  void (*theirs)(uint8_t*);
};

int main() {
  static const_DES_cblock key = {0x13, 0x34, 0x57, 0x79, 0x9b, 0xbc, 0xdf, 0xf1};
  DES_set_key_unchecked(&key, &openssl_schedule);
  uint8_t buffer[kBufferSize];
  for (size_t i = 0; i < kBufferSize; ++i)
    buffer[i] = static_cast<uint8_t>(i * 7);
  const Mode modes[] = {{"ECB", ours, theirs}, {"CBC", ours_cbc, theirs_cbc}};
  for (const Mode& mode : modes) {
    // Rounds alternate between the two so that both see the same machine load; the best
    // round of each counts.
    double our_rate = 0;
    double their_rate = 0;
    for (int round = 0; round < kRounds; ++round) {
      our_rate = std::max(our_rate, one_round(mode.ours, buffer));
      their_rate = std::max(their_rate, one_round(mode.theirs, buffer));
    }
    camrcd::console_print("des_crypt %s, 256-byte buffers:       %8.1f MB/s\n", mode.name,
                          our_rate);
    camrcd::console_print("libcrypto %s, 256-byte buffers:       %8.1f MB/s\n", mode.name,
                          their_rate);
    camrcd::console_print("des %s %.4f %.4f\n", mode.name, kBufferSize / our_rate,
                          kBufferSize / their_rate);
  }
  sink = buffer[0];
  return 0;
}
