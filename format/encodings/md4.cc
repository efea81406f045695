#include "format/encodings/md4.h"

namespace qv {
namespace {

constexpr uint32_t kRoundConstants[] = {0, 0x5A827999, 0x6ED9EBA1};
constexpr int kShifts[][4] = {{3, 7, 11, 19}, {3, 5, 9, 13}, {3, 9, 11, 15}};
constexpr uint8_t kWordOrder[][16] = {{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15},
                                      {0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15},
                                      {0, 8, 4, 12, 2, 10, 6, 14, 1, 9, 5, 13, 3, 11, 7, 15}};

// `a` with the function of the round added, in an order in which b, which comes last, is waited for
// last; the two halves of the second round have no common bits.
template <size_t round>
uint32_t Mixed(uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
  if constexpr (round == 0) return a + (((c ^ d) & b) ^ d);
  if constexpr (round == 1) return a + (c & d) + ((c ^ d) & b);
  return a + (b ^ (c ^ d));
}

void HashBlock(uint32_t* state, const uint8_t* bytes) {
  uint32_t v[4];  // a to d, each at a place that moves by one in every step
  std::copy_n(state, 4, v);
  Unrolled<48>([&]<size_t t>() {
    constexpr size_t kRound = t / 16, kWord = kWordOrder[kRound][t % 16];
    uint32_t& a = v[(48 - t) % 4];
    a += LoadLittle<uint32_t>(bytes + kWord * 4) + kRoundConstants[kRound];
    a = std::rotl(Mixed<kRound>(a, v[(49 - t) % 4], v[(50 - t) % 4], v[(51 - t) % 4]),
                  kShifts[kRound][t % 4]);
  });
  for (size_t i = 0; i < 4; ++i) state[i] += v[i];
}

}  // namespace

void Md4::HashBlocks(const uint8_t* bytes, size_t blocks) {
  for (; blocks > 0; --blocks, bytes += 64) HashBlock(state_, bytes);
}

}  // namespace qv
