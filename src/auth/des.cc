// Single DES with a process-wide key schedule cache. The cache (last key, subkey order,
// 16 subkeys) is only touched under cache_lock; each call copies the subkeys it needs
// onto its stack and transforms the buffer outside the lock, so callers never wait long.
#include "auth/des.h"

#include <string.h>

#include "platform/mutex.h"

namespace camrcd {
namespace {

// ---- Standard tables (bit numbers are 1-based, bit 1 is the most significant) ----

constexpr uint8_t kSBox[8][64] = {
    {14, 4,  13, 1, 2,  15, 11, 8, 3, 10, 6, 12, 5,  9,  0,  7,  0,  15, 7,  4,  14, 2,
     13, 1,  10, 6, 12, 11, 9,  5, 3, 8,  4, 1,  14, 8,  13, 6,  2,  11, 15, 12, 9,  7,
     3,  10, 5,  0, 15, 12, 8,  2, 4, 9,  1, 7,  5,  11, 3,  14, 10, 0,  6,  13},
    {15, 1,  8,  14, 6,  11, 3,  4, 9,  7,  2, 13, 12, 0,  5,  10, 3,  13, 4,  7, 15, 2,
     8,  14, 12, 0,  1,  10, 6,  9, 11, 5,  0, 14, 7,  11, 10, 4,  13, 1,  5,  8, 12, 6,
     9,  3,  2,  15, 13, 8,  10, 1, 3,  15, 4, 2,  11, 6,  7,  12, 0,  5,  14, 9},
    {10, 0,  9,  14, 6, 3,  15, 5,  1,  13, 12, 7, 11, 4,  2,  8,  13, 7, 0,  9, 3, 4,
     6,  10, 2,  8,  5, 14, 12, 11, 15, 1,  13, 6, 4,  9,  8,  15, 3,  0, 11, 1, 2, 12,
     5,  10, 14, 7,  1, 10, 13, 0,  6,  9,  8,  7, 4,  15, 14, 3,  11, 5, 2,  12},
    {7, 13, 14, 3, 0, 6,  9, 10, 1,  2, 8,  5, 11, 12, 4,  15, 13, 8,  11, 5, 6, 15,
     0, 3,  4,  7, 2, 12, 1, 10, 14, 9, 10, 6, 9,  0,  12, 11, 7,  13, 15, 1, 3, 14,
     5, 2,  8,  4, 3, 15, 0, 6,  10, 1, 13, 8, 9,  4,  5,  11, 12, 7,  2,  14},
    {2,  12, 4, 1,  7,  10, 11, 6, 8, 5,  3, 15, 13, 0,  14, 9,  14, 11, 2,  12, 4,  7,
     13, 1,  5, 0,  15, 10, 3,  9, 8, 6,  4, 2,  1,  11, 10, 13, 7,  8,  15, 9,  12, 5,
     6,  3,  0, 14, 11, 8,  12, 7, 1, 14, 2, 13, 6,  15, 0,  9,  10, 4,  5,  3},
    {12, 1,  10, 15, 9,  2,  6, 8,  0, 13, 3,  4,  14, 7,  5, 11, 10, 15, 4, 2, 7, 12,
     9,  5,  6,  1,  13, 14, 0, 11, 3, 8,  9,  14, 15, 5,  2, 8,  12, 3,  7, 0, 4, 10,
     1,  13, 11, 6,  4,  3,  2, 12, 9, 5,  15, 10, 11, 14, 1, 7,  6,  0,  8, 13},
    {4, 11, 2,  14, 15, 0,  8,  13, 3, 12, 9,  7, 5,  10, 6,  1,  13, 0,  11, 7,  4, 9,
     1, 10, 14, 3,  5,  12, 2,  15, 8, 6,  1,  4, 11, 13, 12, 3,  7,  14, 10, 15, 6, 8,
     0, 5,  9,  2,  6,  11, 13, 8,  1, 4,  10, 7, 9,  5,  0,  15, 14, 2,  3,  12},
    {13, 2, 8,  4, 6, 15, 11, 1,  10, 9,  3, 14, 5,  0,  12, 7,  1,  15, 13, 8, 10, 3,
     7,  4, 12, 5, 6, 11, 0,  14, 9,  2,  7, 11, 4,  1,  9,  12, 14, 2,  0,  6, 10, 13,
     15, 3, 5,  8, 2, 1,  14, 7,  4,  10, 8, 13, 15, 12, 9,  0,  3,  5,  6,  11},
};

// P: output bit i takes input bit kP[i - 1].
constexpr uint8_t kP[32] = {16, 7, 20, 21, 29, 12, 28, 17, 1,  15, 23, 26, 5,  18, 31, 10,
                            2,  8, 24, 14, 32, 27, 3,  9,  19, 13, 30, 6,  22, 11, 4,  25};

// PC-1 (56 of the key's 64 bits; the low bit of each byte is never taken).
constexpr uint8_t kPc1[56] = {57, 49, 41, 33, 25, 17, 9,  1,  58, 50, 42, 34, 26, 18,
                              10, 2,  59, 51, 43, 35, 27, 19, 11, 3,  60, 52, 44, 36,
                              63, 55, 47, 39, 31, 23, 15, 7,  62, 54, 46, 38, 30, 22,
                              14, 6,  61, 53, 45, 37, 29, 21, 13, 5,  28, 20, 12, 4};

// PC-2 (48 of the 56 bits of C and D).
constexpr uint8_t kPc2[48] = {14, 17, 11, 24, 1,  5,  3,  28, 15, 6,  21, 10, 23, 19, 12, 4,
                              26, 8,  16, 7,  27, 20, 13, 2,  41, 52, 31, 37, 47, 55, 30, 40,
                              51, 45, 33, 48, 44, 49, 39, 56, 34, 53, 46, 42, 50, 36, 29, 32};

constexpr uint8_t kShifts[16] = {1, 1, 2, 2, 2, 2, 2, 2, 1, 2, 2, 2, 2, 2, 2, 1};

// ---- S-box tables with the P permutation folded in ----
// kSp[b][x]: the four output bits of S-box b + 1 for the raw six input bits x (first
// input bit as bit 5), placed where P puts them in the 32-bit round output.
struct SpTables {
  uint32_t t[8][64];
};

constexpr SpTables make_sp_tables() {
  SpTables sp{};
  for (int box = 0; box < 8; ++box) {
    for (int x = 0; x < 64; ++x) {
      int row = ((x >> 4) & 2) | (x & 1);
      int column = (x >> 1) & 15;
      int value = kSBox[box][row * 16 + column];
      uint32_t out = 0;
      for (int k = 0; k < 4; ++k) {
        if (((value >> (3 - k)) & 1) == 0)
          continue;
        int input_bit = box * 4 + k + 1;
        for (int i = 0; i < 32; ++i) {
          if (kP[i] == input_bit)
            out |= 1u << (31 - i);
        }
      }
      sp.t[box][x] = out;
    }
  }
  return sp;
}

constexpr SpTables kSp = make_sp_tables();

// ---- Key schedule ----
// A round subkey is two words of 6-bit groups, one group in the low six bits of each
// byte: word a holds groups 1, 7, 5, 3 in bytes 0..3, word b groups 2, 8, 6, 4. The
// round function cuts the expanded right half into the same places (see des_f).
struct Subkey {
  uint32_t a;
  uint32_t b;
};

struct Schedule {
  Subkey k[16];
};

constexpr int kGroupByteA[8] = {0, -1, 3, -1, 2, -1, 1, -1};  // groups 1, 3, 5, 7
constexpr int kGroupByteB[8] = {-1, 0, -1, 3, -1, 2, -1, 1};  // groups 2, 4, 6, 8

inline int key_bit(const uint8_t key[8], int bit) {
  return (key[(bit - 1) >> 3] >> (7 - ((bit - 1) & 7))) & 1;
}

// Fills the subkeys in encryption order.
void build_schedule(const uint8_t key[8], Schedule* schedule) {
  uint8_t cd[56];  // C in cd[0..27], D in cd[28..55]
  for (int i = 0; i < 56; ++i)
    cd[i] = static_cast<uint8_t>(key_bit(key, kPc1[i]));
  for (int round = 0; round < 16; ++round) {
    for (int s = 0; s < kShifts[round]; ++s) {
      uint8_t c0 = cd[0];
      uint8_t d0 = cd[28];
      memmove(cd, cd + 1, 27);
      memmove(cd + 28, cd + 29, 27);
      cd[27] = c0;
      cd[55] = d0;
    }
    Subkey subkey = {0, 0};
    for (int group = 0; group < 8; ++group) {
      uint32_t bits = 0;
      for (int j = 0; j < 6; ++j)
        bits = (bits << 1) | cd[kPc2[group * 6 + j] - 1];
      if (kGroupByteA[group] >= 0)
        subkey.a |= bits << (8 * kGroupByteA[group]);
      if (kGroupByteB[group] >= 0)
        subkey.b |= bits << (8 * kGroupByteB[group]);
    }
    schedule->k[round] = subkey;
  }
}

void reverse_schedule(Schedule* schedule) {
  for (int i = 0; i < 8; ++i) {
    Subkey swap = schedule->k[i];
    schedule->k[i] = schedule->k[15 - i];
    schedule->k[15 - i] = swap;
  }
}

enum Order { kOrderNone, kOrderEncrypt, kOrderDecrypt };

struct ScheduleCache {
  uint8_t key[8];
  Order order;
  Schedule schedule;
};

Mutex cache_lock;
ScheduleCache cache = {{0}, kOrderNone, {}};

// Brings the cache to `key` in `order` and copies its subkeys to `out`.
void take_schedule(const uint8_t key[8], Order order, Schedule* out) {
  MutexHold hold(cache_lock);
  if (cache.order == kOrderNone || memcmp(cache.key, key, 8) != 0) {
    memcpy(cache.key, key, 8);
    build_schedule(key, &cache.schedule);
    cache.order = kOrderEncrypt;
  }
  if (cache.order != order) {
    reverse_schedule(&cache.schedule);
    cache.order = order;
  }
  *out = cache.schedule;
}

// ---- Block function ----

inline uint32_t rotr(uint32_t x, int n) {
  return (x >> n) | (x << (32 - n));
}

inline uint32_t load_be(const uint8_t* p) {
  return (uint32_t{p[0]} << 24) | (uint32_t{p[1]} << 16) | (uint32_t{p[2]} << 8) | p[3];
}

inline void store_be(uint8_t* p, uint32_t v) {
  p[0] = static_cast<uint8_t>(v >> 24);
  p[1] = static_cast<uint8_t>(v >> 16);
  p[2] = static_cast<uint8_t>(v >> 8);
  p[3] = static_cast<uint8_t>(v);
}

// Swaps the bits of b selected by mask with the bits of a that lie n places higher.
inline void swap_bits(uint32_t& a, uint32_t& b, int n, uint32_t mask) {
  uint32_t t = ((a >> n) ^ b) & mask;
  b ^= t;
  a ^= t << n;
}

// Expanded group j of R is rotr(R, 31 - 4j) & 63, so rotr(R, 27) holds groups 1, 7, 5,
// 3 in its bytes and rotr(R, 23) groups 2, 8, 6, 4: the subkey layout above.
inline uint32_t des_f(uint32_t r, Subkey k) {
  uint32_t a = rotr(r, 27) ^ k.a;
  uint32_t b = rotr(r, 23) ^ k.b;
  return kSp.t[0][a & 63] | kSp.t[6][(a >> 8) & 63] | kSp.t[4][(a >> 16) & 63] |
         kSp.t[2][(a >> 24) & 63] | kSp.t[1][b & 63] | kSp.t[7][(b >> 8) & 63] |
         kSp.t[5][(b >> 16) & 63] | kSp.t[3][(b >> 24) & 63];
}

inline void initial_permutation(uint32_t& l, uint32_t& r) {
  swap_bits(l, r, 4, 0x0f0f0f0f);
  swap_bits(l, r, 16, 0x0000ffff);
  swap_bits(r, l, 2, 0x33333333);
  swap_bits(r, l, 8, 0x00ff00ff);
  swap_bits(l, r, 1, 0x55555555);
}

// The inverse of initial_permutation, applied to the pre-output R16 L16; swaps the
// halves back so that `left` ends as the output's first word.
inline void final_permutation(uint32_t& l, uint32_t& r) {
  swap_bits(r, l, 1, 0x55555555);
  swap_bits(l, r, 8, 0x00ff00ff);
  swap_bits(l, r, 2, 0x33333333);
  swap_bits(r, l, 16, 0x0000ffff);
  swap_bits(r, l, 4, 0x0f0f0f0f);
  uint32_t t = l;
  l = r;
  r = t;
}

// One block, in place as two big-endian halves; the subkey order picks the direction.
inline void des_block(uint32_t& l, uint32_t& r, const Schedule& s) {
  initial_permutation(l, r);
  for (int round = 0; round < 16; round += 2) {
    l ^= des_f(r, s.k[round]);
    r ^= des_f(l, s.k[round + 1]);
  }
  final_permutation(l, r);
}

// Two independent blocks with their rounds interleaved: a round is one long chain of
// dependent lookups, so two chains side by side keep the processor busy.
inline void des_block_pair(uint32_t& l0, uint32_t& r0, uint32_t& l1, uint32_t& r1,
                           const Schedule& s) {
  initial_permutation(l0, r0);
  initial_permutation(l1, r1);
  for (int round = 0; round < 16; round += 2) {
    l0 ^= des_f(r0, s.k[round]);
    l1 ^= des_f(r1, s.k[round]);
    r0 ^= des_f(l0, s.k[round + 1]);
    r1 ^= des_f(l1, s.k[round + 1]);
  }
  final_permutation(l0, r0);
  final_permutation(l1, r1);
}

// ---- Modes ----

void run_ecb(uint8_t* p, size_t blocks, const Schedule& s) {
  for (; blocks >= 2; blocks -= 2, p += 16) {
    uint32_t l0 = load_be(p);
    uint32_t r0 = load_be(p + 4);
    uint32_t l1 = load_be(p + 8);
    uint32_t r1 = load_be(p + 12);
    des_block_pair(l0, r0, l1, r1, s);
    store_be(p, l0);
    store_be(p + 4, r0);
    store_be(p + 8, l1);
    store_be(p + 12, r1);
  }
  if (blocks == 1) {
    uint32_t l = load_be(p);
    uint32_t r = load_be(p + 4);
    des_block(l, r, s);
    store_be(p, l);
    store_be(p + 4, r);
  }
}

// v: the chaining value in and out, as two halves.
void run_cbc(uint8_t* p, size_t blocks, bool decrypt, const Schedule& s, uint32_t v[2]) {
  for (size_t i = 0; i < blocks; ++i, p += 8) {
    uint32_t l = load_be(p);
    uint32_t r = load_be(p + 4);
    if (decrypt) {
      uint32_t cl = l;
      uint32_t cr = r;
      des_block(l, r, s);
      l ^= v[0];
      r ^= v[1];
      v[0] = cl;
      v[1] = cr;
    } else {
      l ^= v[0];
      r ^= v[1];
      des_block(l, r, s);
      v[0] = l;
      v[1] = r;
    }
    store_be(p, l);
    store_be(p + 4, r);
  }
}

void run_cfb(uint8_t* p, size_t blocks, bool decrypt, const Schedule& s, uint32_t v[2]) {
  for (size_t i = 0; i < blocks; ++i, p += 8) {
    uint32_t in_l = load_be(p);
    uint32_t in_r = load_be(p + 4);
    des_block(v[0], v[1], s);
    uint32_t out_l = in_l ^ v[0];
    uint32_t out_r = in_r ^ v[1];
    store_be(p, out_l);
    store_be(p + 4, out_r);
    v[0] = decrypt ? in_l : out_l;  // the ciphertext feeds back
    v[1] = decrypt ? in_r : out_r;
  }
}

void run_ofb(uint8_t* p, size_t blocks, const Schedule& s, uint32_t v[2]) {
  for (size_t i = 0; i < blocks; ++i, p += 8) {
    des_block(v[0], v[1], s);
    store_be(p, load_be(p) ^ v[0]);
    store_be(p + 4, load_be(p + 4) ^ v[1]);
  }
}

}  // namespace

int des_crypt(const uint8_t key[8], uint8_t* buffer, size_t length, int direction, int mode,
              uint8_t* initial_vector) {
  if (mode < kDesEcb || mode > kDesOfb)
    return 0;  // no caller passes other modes
  bool decrypt = direction != kDesEncrypt;
  bool reversed = decrypt && (mode == kDesEcb || mode == kDesCbc);
  Schedule schedule;
  take_schedule(key, reversed ? kOrderDecrypt : kOrderEncrypt, &schedule);
  size_t blocks = length / 8;
  if (mode == kDesEcb) {
    run_ecb(buffer, blocks, schedule);
    return 0;
  }
  uint32_t v[2] = {0, 0};
  if (initial_vector != nullptr) {
    v[0] = load_be(initial_vector);
    v[1] = load_be(initial_vector + 4);
  }
  if (mode == kDesCbc)
    run_cbc(buffer, blocks, decrypt, schedule, v);
  if (mode == kDesCfb)
    run_cfb(buffer, blocks, decrypt, schedule, v);
  if (mode == kDesOfb)
    run_ofb(buffer, blocks, schedule, v);
  if (initial_vector != nullptr) {
    store_be(initial_vector, v[0]);
    store_be(initial_vector + 4, v[1]);
  }
  return 0;
}

}  // namespace camrcd
