// ECB throughput of des_crypt against libcrypto's DES_ecb_encrypt on 256-byte buffers
// (the size the login exchange seals), in one run, and their ratio. Both use one key
// throughout, so neither recomputes its key schedule inside the timed loop.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/des.h>
#include <stdint.h>

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

int main() {
  static const_DES_cblock key = {0x13, 0x34, 0x57, 0x79, 0x9b, 0xbc, 0xdf, 0xf1};
  DES_set_key_unchecked(&key, &openssl_schedule);
  // Rounds alternate between the two so that both see the same machine load; the best
  // round of each counts.
  uint8_t buffer[kBufferSize];
  for (size_t i = 0; i < kBufferSize; ++i)
    buffer[i] = static_cast<uint8_t>(i * 7);
  double our_rate = 0;
  double their_rate = 0;
  for (int round = 0; round < kRounds; ++round) {
    double rate = one_round(ours, buffer);
    if (rate > our_rate)
      our_rate = rate;
    rate = one_round(theirs, buffer);
    if (rate > their_rate)
      their_rate = rate;
  }
  sink = buffer[0];
  camrcd::console_print("des_crypt ECB, 256-byte buffers:       %8.1f MB/s\n", our_rate);
  camrcd::console_print("DES_ecb_encrypt, 256-byte buffers:     %8.1f MB/s\n", their_rate);
  camrcd::console_print("ratio des_crypt / DES_ecb_encrypt:     %8.3f\n", our_rate / their_rate);
  return 0;
}
