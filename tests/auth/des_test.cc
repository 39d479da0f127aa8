// DES: known answers in all four modes and both directions, chaining across calls,
// partial blocks, parity bits, and agreement with libcrypto over random inputs, also
// from two threads with different keys at once.
#define OPENSSL_SUPPRESS_DEPRECATED
#include "auth/des.h"

#include <gtest/gtest.h>
#include <openssl/des.h>
#include <string.h>

#include <random>
#include <string>
#include <thread>
#include <vector>

namespace camrcd {
namespace {

struct Vector {
  int mode;
  const char* key;
  const char* iv;  // "" in ECB
  const char* plain;
  const char* cipher;
};

// The first four are the FIPS 81 examples ("Now is the time for all ").
// clang-format off
const Vector kVectors[] = {
    {kDesEcb, "0123456789abcdef", "", "4e6f77206973207468652074696d6520666f7220616c6c20", "3fa40e8a984d48156a271787ab8883f9893d51ec4b563b53"},
    {kDesCbc, "0123456789abcdef", "1234567890abcdef", "4e6f77206973207468652074696d6520666f7220616c6c20", "e5c7cdde872bf27c43e934008c389c0f683788499a7c05f6"},
    {kDesCfb, "0123456789abcdef", "1234567890abcdef", "4e6f77206973207468652074696d6520666f7220616c6c20", "f3096249c7f46e51a69e839b1a92f78403467133898ea622"},
    {kDesOfb, "0123456789abcdef", "1234567890abcdef", "4e6f77206973207468652074696d6520666f7220616c6c20", "f3096249c7f46e5135f24a242eeb3d3f3d6d5be3255af8c3"},
    {kDesEcb, "133457799bbcdff1", "", "0123456789abcdef", "85e813540f0ab405"},
    {kDesEcb, "7461736f70656b00", "", "61646d696e0000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000",
     "bcc8c0641e6971a1866259a55a26de5f866259a55a26de5f866259a55a26de5f866259a55a26de5f866259a55a26de5f866259a55a26de5f866259a55a26de5f866259a55a26de5f866259a55a26de5f866259a55a26de5f866259a55a26de5f866259a55a26de5f866259a55a26de5f866259a55a26de5f866259a55a26de5f866259a55a26de5f866259a55a26de5f866259a55a26de5f866259a55a26de5f866259a55a26de5f866259a55a26de5f866259a55a26de5f866259a55a26de5f866259a55a26de5f866259a55a26de5f866259a55a26de5f866259a55a26de5f866259a55a26de5f866259a55a26de5f866259a55a26de5f866259a55a26de5f"},
    {kDesEcb, "f991813ca062ab9d", "", "0fa063cd042b6f7f", "946796e0775b4e10"},
    {kDesEcb, "b77e3aa15c4c6687", "", "f0b1b4ce8478e8485623dde364c184f05e9ab1f66f9939c5", "9b2be59b50f8018a8edb14e2c6ec73bb0b2b32cd7a3886b5"},
    {kDesEcb, "a28d479538f37fda", "", "c49b6743ab0f1973c158752f2e8d4cc2", "1bbdc5927be63be4d4c86f5d6e74aa9f"},
    {kDesEcb, "acea64432f899120", "", "fb93fe37731592da56526822b3759890da5cb6cbdb5e6aea0466366fae292347", "3f95f77e50b7b40ed16571b0c3da6c86171712e5530468233165bb0afdbc36b1"},
    {kDesEcb, "6b1848c4a31f612e", "", "e94835d9df77b33cf02bbf67272efe23907ad6a952141da89e6df74713394916", "ef5948176a6f8f55467519563041a47562cd47e4ae8b0a82940ca0df3813ffe2"},
    {kDesEcb, "1e633e37c5967637", "", "a79cf8c32aa496aedce1ed68edb5a50e3a7bd850e8f9a811", "cc9f285b1f7a846b8792d61f5dc7de4355c2f98778290fa6"},
    {kDesEcb, "d69e6ca66db64604", "", "3e54fa3e740435898b6a3cd3d067fb90979a096291859023ec99d1eea80706b2", "0eed160e8921ff151ca2ede533d1edf0d5c4b108db4c39c6425a279343bb81f1"},
    {kDesEcb, "4c0dfbf80df36a18", "", "33c7d84b0152e145", "fcf1fcdc16a3a8d1"},
    {kDesEcb, "787bec3501c1f131", "", "9259dea201c17662638b0ec85ec2754abbeef37af4290b7add3a798f8ff3c7d4", "63d296934a4354888de7a3caf4e1ee74b957bdff0dcb3870795536193e709baa"},
    {kDesEcb, "3bf6e6f0e4639b00", "", "56e1341b0abf36b3a21948acf351aaca51cbf273494da9b7509f66529d8144b5", "cb30d0f40f35313ff0631477c3642b0d53c6f61fa0ecb11417dff0c872ddd879"},
    {kDesEcb, "7c1c5f1e02566db6", "", "b03bd888138f9317972683ed6bd2378b", "c62a051d8ffcec1e522adeb0b6670443"},
    {kDesEcb, "aa3972c1bf82a441", "", "a9b71df9e277a50a", "048b80e7de46d25c"},
    {kDesEcb, "b6f1e7d2041d1f1c", "", "590f313451e3977a43728af4244a2dea", "c56aecf01b01ef9c54c02dddaeb11e8f"},
    {kDesEcb, "a3ba3305c467c9dd", "", "c658fbca74f50681", "87ecdc3418ab9efa"},
    {kDesEcb, "e5e9b63b026bda21", "", "8be3a9ab85828c8a61b8e8e7cb914d64", "30d0f5de0b49450ee34d032eaf1e2f47"},
    {kDesEcb, "46b1a404f87f0b2d", "", "1f74d77050e7954684f62f98357c75a3", "4e54d9c357242d143aed953b2f6667df"},
    {kDesEcb, "3d0d8d550044598a", "", "49242ae42236b324bde43bdc6f76fdfa41814a70e58a8447", "f878a0507ccb99373f72cd1b861ac446dd59bd9534c4ac4a"},
    {kDesEcb, "00f03180c55ae767", "", "f8e71547a723f7fa9f127e4b7cc0e66d", "11260dc3b2ef1514860cd242e94b1560"},
    {kDesEcb, "bc88d7f26a3ae311", "", "22e8ee9071ff2d77", "3602fe511dfc3953"},
    {kDesEcb, "bf5aa96df710eb29", "", "33b05929f3d76481e07a5d106d4ef2ede88a4538b9b0418c", "d36468449c465aabbc7f5de6265f752ea38e543c57de3545"},
    {kDesEcb, "3b18f5e603e31b76", "", "027b1ac75bce17ab", "64ad9aa62e23e881"},
    {kDesEcb, "d608b177e8e4d8a1", "", "8627867d7d073ee2f3c079c58c72eccf09adcd701cf7ea1d", "5946790268ab657d1566565c9a89cec3458a3580a5a2f5cf"},
    {kDesEcb, "785e65893f8bab16", "", "0b01e34954ff32f465c25c9dbfdcd710b32779f21f2e0215", "0cb4f34edd1b1bf5cd02e38d26159617b8714110657cf72b"},
    {kDesEcb, "05d24d72c930f1f4", "", "cec385f9b9c39d3b", "b4e0a1402d39e9bd"},
    {kDesCbc, "e1d6252c9b211c11", "34c62abe652ecf41", "7bd8370cd81170a3d8c7d3c0bbba308b04fd50fa8f3482e5", "143a7fd26ea7b8fd0400c4afef7586ce5ef6d59bf97d5587"},
    {kDesCbc, "862d966ee2dd24bb", "dff2457721bad889", "8f11c312ce4b90c864c6ee4b9924400e14050aee585ecf501bfa0e8c7e4a41c4db2970de78dd21a2", "84e8fc0430f7cae3f10c03f193acfe817c500dbde98a994ae94a1c7f18d03c5b97ee273c655b6bb6"},
    {kDesCbc, "e904164ea2ced52e", "8a8c987cefae545b", "db437b9105abc269b3d2b7d41ff820d103feccb55cdce442", "165119f14b4e4feb6d9790c06e47c241b93c4b2d28e5037a"},
    {kDesCbc, "a4dd28823e48803d", "97dbc8175cd5755f", "2ff67032a0452b754dab219339607255", "a046d8d07584b6ea06e11aeb3d3bdf05"},
    {kDesCbc, "fa78baf6dbe5f5c7", "5efd1107c575710b", "51bcd37650fa9d2b", "92183f0120ea7be4"},
    {kDesCbc, "215caf64f5d44f64", "97c522ca45382829", "3e005687a3c7a6aa35078023f51a90bd86222779b91458f2d39a110ba8123f4f", "89863f0e8d8735d879aa85d98c2f2bcedff2331e1b120ec5ccdf5877d2979400"},
    {kDesCfb, "e60116b1ec04569a", "3edc24170b75f8f2", "671d9d9fde9234ab7c08524432890e261de54fc8b5c599ad", "d84beea56ce4916999b5c3f56e1dabc35d2978b957fcd4f2"},
    {kDesCfb, "49b3abb5789be255", "ff045ea77979b82e", "87f283e7ac33982bb34aad870df69baf87a39f14d8d6e940", "f96ffc0b01b30a923c5c65e0eea4300ea663a0b1ce64cb4e"},
    {kDesCfb, "1dcb3175a889a17f", "4ac8bc98184d2337", "d4b1283cb9c624ec3889846f26df1551", "11789145c2364400d8f992030e204476"},
    {kDesCfb, "d937b52b8028bc82", "f8516c4bc48ee90f", "bc5aefe65ce57a2f", "e4c09e4b9cfd42db"},
    {kDesCfb, "66fd942388c35349", "31d1abc22c7686dc", "254663f68b5882e68eefdd35c92574d7", "892472597eccc25e0d749f8acd9ba450"},
    {kDesCfb, "aee2737219a5b3d0", "401282f5a2714f7f", "38c01adb173d3d1ec9df63e40e215c9ec82540019638e5ee", "d43d6f8c204bc002ee8c047ece7ba0236ef2ff0bb4a83c3f"},
    {kDesOfb, "17b5ac3c49a34ae5", "8ce96fa357a69ae6", "1df5dabbe63fd2f04a020bd2bccc5af9", "dca8db5151c811d10a368654fa65af6d"},
    {kDesOfb, "da3e941dbc8d4bd8", "a0ad11ca8b4d5439", "2f28ae149e5960866878beb0f5a8427484a7f63f37ce73d8e83bfcc8b8eb866c92b74cc354b85b7b", "5a23a4ab976b3bd0058ef16d2d86f2e8867b12716b49e33dfc83e6770a48a2a79f1e54ab7144e458"},
    {kDesOfb, "f2e46333fc61e7ca", "7f5ae67cf4f11d46", "f75219d7b29682c553c55954c91e58d43d4416d904991a1c3c192ebdd77e800c", "2326bf12b8ac4d310f6a9dae655f5688d2ff67abcefdfa276c9128f9ef15d9b1"},
    {kDesOfb, "2cb5251823a07f19", "64d7c7825f47e87f", "74b69a61591f89ca387bd54064c2a762d03ad1050ccb9f7136c6c9b03595e463169bf7d17fd9ba4b", "f9f0bfd97100eb52d91b2c820524cc66b10138cf3e8683b3481fe0f6151344a42574827059221a3e"},
    {kDesOfb, "68aabf021462abfa", "1898cdce38f039d9", "852294242a9c41856bb9f59528ccd326", "724e9fde1d4f2b89d00cd3304883d19a"},
    {kDesOfb, "8eb6d80761276c15", "cafe4a148880e2b1", "c779318318aaaf0b10c2ba6f71afb13affb5051a27159cf39ce9765091ec1935", "cefc48bd23fb0091b9d687b951851d5d879d10c5b48ff939b5be8c7b68cd1c07"},
};
// clang-format on

using Bytes = std::vector<uint8_t>;

Bytes hex_bytes(const std::string& hex) {
  Bytes bytes;
  for (size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes.push_back(static_cast<uint8_t>(std::stoi(hex.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

// Runs des_crypt on a copy of `input`; returns the output and, in `iv`, the write-back.
Bytes crypt(const Bytes& key, const Bytes& input, int direction, int mode, Bytes* iv) {
  Bytes buffer = input;
  des_crypt(key.data(), buffer.data(), buffer.size(), direction, mode,
            iv != nullptr && !iv->empty() ? iv->data() : nullptr);
  return buffer;
}

// The chaining value each mode leaves behind after a whole chain.
Bytes expected_chain(int mode, const Bytes& plain, const Bytes& cipher) {
  if (mode == kDesOfb) {  // last cipher output = last keystream block
    Bytes out(cipher.end() - 8, cipher.end());
    for (int i = 0; i < 8; ++i)
      out[i] ^= plain[plain.size() - 8 + i];
    return out;
  }
  return Bytes(cipher.end() - 8, cipher.end());
}

TEST(DesTest, KnownAnswersBothDirections) {
  for (const Vector& v : kVectors) {
    SCOPED_TRACE(std::string(v.key) + " " + v.plain);
    Bytes key = hex_bytes(v.key);
    Bytes plain = hex_bytes(v.plain);
    Bytes cipher = hex_bytes(v.cipher);
    Bytes iv = hex_bytes(v.iv);
    EXPECT_EQ(crypt(key, plain, kDesEncrypt, v.mode, &iv), cipher);
    if (v.mode != kDesEcb) {
      EXPECT_EQ(iv, expected_chain(v.mode, plain, cipher));
    }
    iv = hex_bytes(v.iv);
    EXPECT_EQ(crypt(key, cipher, kDesDecrypt, v.mode, &iv), plain);
    if (v.mode != kDesEcb) {
      EXPECT_EQ(iv, expected_chain(v.mode, plain, cipher));
    }
  }
}

// A chain split over two calls continues through the written-back vector; a call with
// another key in between must not disturb the cached schedule's result.
TEST(DesTest, ChainContinuesAcrossCalls) {
  const Bytes other_key = hex_bytes("133457799bbcdff1");
  for (int i = 0; i < 4; ++i) {
    const Vector& v = kVectors[i];
    SCOPED_TRACE(v.mode);
    Bytes key = hex_bytes(v.key);
    for (int direction : {kDesEncrypt, kDesDecrypt}) {
      Bytes input = hex_bytes(direction == kDesEncrypt ? v.plain : v.cipher);
      Bytes expected = hex_bytes(direction == kDesEncrypt ? v.cipher : v.plain);
      Bytes iv = hex_bytes(v.iv);
      Bytes first(input.begin(), input.begin() + 16);
      Bytes second(input.begin() + 16, input.end());
      Bytes out = crypt(key, first, direction, v.mode, &iv);
      Bytes scratch(16, 0x5a);
      crypt(other_key, scratch, !direction, kDesCbc, nullptr);
      Bytes tail = crypt(key, second, direction, v.mode, &iv);
      out.insert(out.end(), tail.begin(), tail.end());
      EXPECT_EQ(out, expected);
    }
  }
}

TEST(DesTest, PartialBlocksAreLeftAlone) {
  const Bytes key = hex_bytes("0123456789abcdef");
  const Bytes data = hex_bytes("4e6f77206973207468652074");  // 12 bytes
  for (int mode : {kDesEcb, kDesCbc, kDesCfb, kDesOfb}) {
    SCOPED_TRACE(mode);
    Bytes five(data.begin(), data.begin() + 5);
    Bytes iv = hex_bytes("1234567890abcdef");
    EXPECT_EQ(crypt(key, five, kDesEncrypt, mode, &iv), five);
    EXPECT_EQ(iv, hex_bytes("1234567890abcdef"));  // nothing chained: vector unchanged
    Bytes out = crypt(key, data, kDesEncrypt, mode, &iv);
    EXPECT_NE(Bytes(out.begin(), out.begin() + 8), Bytes(data.begin(), data.begin() + 8));
    EXPECT_EQ(Bytes(out.begin() + 8, out.end()), Bytes(data.begin() + 8, data.end()));
  }
}

TEST(DesTest, ParityBitsPlayNoPart) {
  const Bytes data = hex_bytes("4e6f77206973207468652074696d6520");
  const Bytes key = hex_bytes("0123456789abcdef");
  Bytes flipped = key;
  for (size_t i = 0; i < flipped.size(); i += 3)
    flipped[i] ^= 1;
  for (int mode : {kDesEcb, kDesCbc, kDesCfb, kDesOfb}) {
    Bytes iv_a = hex_bytes("1234567890abcdef");
    Bytes iv_b = iv_a;
    EXPECT_EQ(crypt(key, data, kDesEncrypt, mode, &iv_a),
              crypt(flipped, data, kDesEncrypt, mode, &iv_b));
  }
}

// ---- libcrypto as the oracle ----

Bytes openssl_crypt(const Bytes& key, const Bytes& input, int direction, int mode, Bytes* iv) {
  DES_key_schedule schedule;
  DES_cblock cblock;
  memcpy(cblock, key.data(), 8);
  DES_set_key_unchecked(&cblock, &schedule);
  Bytes out = input;
  size_t whole = input.size() / 8 * 8;
  int enc = direction == kDesEncrypt ? DES_ENCRYPT : DES_DECRYPT;
  int num = 0;
  DES_cblock vector = {0};
  if (!iv->empty())
    memcpy(vector, iv->data(), 8);
  if (whole == 0)
    return out;
  switch (mode) {
    case kDesEcb:
      for (size_t i = 0; i < whole; i += 8) {
        DES_ecb_encrypt(reinterpret_cast<const_DES_cblock*>(out.data() + i),
                        reinterpret_cast<DES_cblock*>(out.data() + i), &schedule, enc);
      }
      return out;
    case kDesCbc:
      DES_ncbc_encrypt(input.data(), out.data(), whole, &schedule, &vector, enc);
      break;
    case kDesCfb:
      DES_cfb64_encrypt(input.data(), out.data(), whole, &schedule, &vector, &num, enc);
      break;
    case kDesOfb:
      DES_ofb64_encrypt(input.data(), out.data(), whole, &schedule, &vector, &num);
      break;
  }
  iv->assign(vector, vector + 8);
  return out;
}

struct RandomCase {
  Bytes key;
  Bytes input;
  Bytes iv;
  int direction;
  int mode;
};

RandomCase random_case(std::mt19937& random) {
  RandomCase c;
  std::uniform_int_distribution<int> byte(0, 255);
  for (int i = 0; i < 8; ++i)
    c.key.push_back(static_cast<uint8_t>(byte(random)));
  for (int i = 0; i < 8; ++i)
    c.iv.push_back(static_cast<uint8_t>(byte(random)));
  size_t length = std::uniform_int_distribution<size_t>(0, 80)(random);
  for (size_t i = 0; i < length; ++i)
    c.input.push_back(static_cast<uint8_t>(byte(random)));
  c.direction = byte(random) & 1;
  c.mode = byte(random) & 3;
  return c;
}

TEST(DesTest, AgreesWithLibcrypto) {
  std::mt19937 random(20240607);
  for (int round = 0; round < 3000; ++round) {
    RandomCase c = random_case(random);
    Bytes our_iv = c.iv;
    Bytes their_iv = c.iv;
    Bytes ours = crypt(c.key, c.input, c.direction, c.mode, &our_iv);
    Bytes theirs = openssl_crypt(c.key, c.input, c.direction, c.mode, &their_iv);
    ASSERT_EQ(ours, theirs) << "round " << round << " mode " << c.mode;
    ASSERT_EQ(our_iv, their_iv) << "round " << round << " mode " << c.mode;
  }
}

// Two threads with different keys and mixed directions share the schedule cache.
TEST(DesTest, ConcurrentCallersEachGetTheirOwnKey) {
  std::mt19937 random(7);
  std::vector<RandomCase> cases[2];
  std::vector<Bytes> expected[2];
  for (int t = 0; t < 2; ++t) {
    RandomCase base = random_case(random);
    for (int i = 0; i < 400; ++i) {
      RandomCase c = random_case(random);
      c.key = base.key;  // one key per thread, so every call races the other thread's
      Bytes iv = c.iv;
      expected[t].push_back(openssl_crypt(c.key, c.input, c.direction, c.mode, &iv));
      cases[t].push_back(c);
    }
  }
  int failures[2] = {0, 0};
  auto run = [&](int t) {
    for (int repeat = 0; repeat < 25; ++repeat) {
      for (size_t i = 0; i < cases[t].size(); ++i) {
        Bytes iv = cases[t][i].iv;
        const RandomCase& c = cases[t][i];
        if (crypt(c.key, c.input, c.direction, c.mode, &iv) != expected[t][i])
          ++failures[t];
      }
    }
  };
  std::thread first(run, 0);
  std::thread second(run, 1);
  first.join();
  second.join();
  EXPECT_EQ(failures[0], 0);
  EXPECT_EQ(failures[1], 0);
}

}  // namespace
}  // namespace camrcd
