#include "format/encodings/sha1.h"

#include <immintrin.h>

#include "format/encodings/processor.h"

namespace qv {
namespace {

constexpr uint32_t kRoundConstants[] = {0x5A827999, 0x6ED9EBA1, 0x8F1BBCDC, 0xCA62C1D6};

// The functions of RFC 3174, in forms with fewer steps one after the other.
template <size_t round>
uint32_t Mix(uint32_t b, uint32_t c, uint32_t d) {
  if constexpr (round == 0) return ((c ^ d) & b) ^ d;
  if constexpr (round == 2) return (b & c) + ((b ^ c) & d);
  return b ^ c ^ d;
}

// Word t of the text; from 16 on made of those before it, of which the last sixteen are kept.
template <size_t t>
uint32_t Word(uint32_t* words, const uint8_t* bytes) {
  uint32_t& word = words[t % 16];
  if constexpr (t < 16) {
    word = LoadBig<uint32_t>(bytes + t * 4);
  } else {
    word = std::rotl(words[(t + 13) % 16] ^ words[(t + 8) % 16] ^ words[(t + 2) % 16] ^ word, 1);
  }
  return word;
}

void HashBlock(uint32_t* state, const uint8_t* bytes) {
  uint32_t words[16];
  uint32_t v[5];  // a to e, each at a place that moves by one in every step
  std::copy_n(state, 5, v);
  Unrolled<80>([&]<size_t t>() {
    uint32_t& a = v[(80 - t) % 5];
    uint32_t& b = v[(81 - t) % 5];
    uint32_t& c = v[(82 - t) % 5];
    uint32_t& d = v[(83 - t) % 5];
    uint32_t& e = v[(84 - t) % 5];
    e += Word<t>(words, bytes) + kRoundConstants[t / 20];
    e += Mix<t / 20>(b, c, d);
    e += std::rotl(a, 5);
    b = std::rotl(b, 30);
  });
  for (size_t i = 0; i < 5; ++i) state[i] += v[i];
}

}  // namespace

void HashSha1Blocks(uint32_t* state, const uint8_t* bytes, size_t blocks) {
  for (; blocks > 0; --blocks, bytes += 64) HashBlock(state, bytes);
}

#define QV_SHA __attribute__((target("sha,sse4.1")))

namespace {

// What four steps at a time work on: a to d, e together with the words to come, and sixteen words.
struct Registers {
  __m128i abcd, e;
  __m128i words[4];
};

// Steps 4 * group to 4 * group + 3.
template <int group>
QV_SHA inline void FourSteps(Registers& r) {
  __m128i& word = r.words[group % 4];
  if constexpr (group >= 4) {
    word = _mm_sha1msg1_epu32(word, r.words[(group + 1) % 4]);
    word = _mm_xor_si128(word, r.words[(group + 2) % 4]);
    word = _mm_sha1msg2_epu32(word, r.words[(group + 3) % 4]);
  }
  const __m128i e = group == 0 ? _mm_add_epi32(r.e, word) : _mm_sha1nexte_epu32(r.e, word);
  r.e = r.abcd;
  r.abcd = _mm_sha1rnds4_epu32(r.abcd, e, group / 5);
}

QV_SHA inline void LoadWords(Registers& r, const uint8_t* bytes) {
  const __m128i reversed = _mm_set_epi64x(0x0001020304050607, 0x08090A0B0C0D0E0F);
  for (int i = 0; i < 4; ++i) {
    const auto* at = reinterpret_cast<const __m128i*>(bytes + i * 16);
    r.words[i] = _mm_shuffle_epi8(_mm_loadu_si128(at), reversed);
  }
}

QV_SHA inline void HashBlockByInstructions(Registers& r, const uint8_t* bytes) {
  const __m128i abcd = r.abcd, e = r.e;
  LoadWords(r, bytes);
  FourSteps<0>(r), FourSteps<1>(r), FourSteps<2>(r), FourSteps<3>(r), FourSteps<4>(r);
  FourSteps<5>(r), FourSteps<6>(r), FourSteps<7>(r), FourSteps<8>(r), FourSteps<9>(r);
  FourSteps<10>(r), FourSteps<11>(r), FourSteps<12>(r), FourSteps<13>(r), FourSteps<14>(r);
  FourSteps<15>(r), FourSteps<16>(r), FourSteps<17>(r), FourSteps<18>(r), FourSteps<19>(r);
  r.e = _mm_sha1nexte_epu32(r.e, e);
  r.abcd = _mm_add_epi32(r.abcd, abcd);
}

}  // namespace

QV_SHA void HashSha1BlocksByInstructions(uint32_t* state, const uint8_t* bytes, size_t blocks) {
  constexpr int kReverse = 0x1B;  // the instructions want a in the highest word
  auto* const words = reinterpret_cast<__m128i*>(state);
  Registers r;
  r.abcd = _mm_shuffle_epi32(_mm_loadu_si128(words), kReverse);
  r.e = _mm_set_epi32(static_cast<int32_t>(state[4]), 0, 0, 0);
  for (; blocks > 0; --blocks, bytes += 64) HashBlockByInstructions(r, bytes);
  _mm_storeu_si128(words, _mm_shuffle_epi32(r.abcd, kReverse));
  state[4] = static_cast<uint32_t>(_mm_extract_epi32(r.e, 3));
}

void Sha1::HashBlocks(const uint8_t* bytes, size_t blocks) {
  if (HasSha1Instructions()) {
    HashSha1BlocksByInstructions(state_, bytes, blocks);
  } else {
    HashSha1Blocks(state_, bytes, blocks);
  }
}

}  // namespace qv
