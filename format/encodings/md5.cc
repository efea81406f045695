#include "format/encodings/md5.h"

namespace qv {
namespace {

// The whole part of 2^32 times |sin(t + 1)|.
constexpr uint32_t kStepConstants[] = {
    0xD76AA478, 0xE8C7B756, 0x242070DB, 0xC1BDCEEE, 0xF57C0FAF, 0x4787C62A, 0xA8304613, 0xFD469501,
    0x698098D8, 0x8B44F7AF, 0xFFFF5BB1, 0x895CD7BE, 0x6B901122, 0xFD987193, 0xA679438E, 0x49B40821,
    0xF61E2562, 0xC040B340, 0x265E5A51, 0xE9B6C7AA, 0xD62F105D, 0x02441453, 0xD8A1E681, 0xE7D3FBC8,
    0x21E1CDE6, 0xC33707D6, 0xF4D50D87, 0x455A14ED, 0xA9E3E905, 0xFCEFA3F8, 0x676F02D9, 0x8D2A4C8A,
    0xFFFA3942, 0x8771F681, 0x6D9D6122, 0xFDE5380C, 0xA4BEEA44, 0x4BDECFA9, 0xF6BB4B60, 0xBEBFBC70,
    0x289B7EC6, 0xEAA127FA, 0xD4EF3085, 0x04881D05, 0xD9D4D039, 0xE6DB99E5, 0x1FA27CF8, 0xC4AC5665,
    0xF4292244, 0x432AFF97, 0xAB9423A7, 0xFC93A039, 0x655B59C3, 0x8F0CCC92, 0xFFEFF47D, 0x85845DD1,
    0x6FA87E4F, 0xFE2CE6E0, 0xA3014314, 0x4E0811A1, 0xF7537E82, 0xBD3AF235, 0x2AD7D2BB, 0xEB86D391,
};
constexpr int kShifts[][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

// Which word of the block is taken: in round r every kWordStep[r]-th, from kFirstWord[r] on.
constexpr size_t kFirstWord[] = {0, 1, 5, 0}, kWordStep[] = {1, 5, 3, 7};

// `a` with the function of the round added. In the second round in two halves without common bits:
// the first does not wait for b, which comes last.
template <size_t round>
uint32_t Mixed(uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
  if constexpr (round == 0) return a + (((c ^ d) & b) ^ d);
  if constexpr (round == 1) return a + (c & ~d) + (b & d);
  if constexpr (round == 2) return a + (b ^ (c ^ d));
  return a + (c ^ (b | ~d));
}

void HashBlock(uint32_t* state, const uint8_t* bytes) {
  uint32_t v[4];  // a to d, each at a place that moves by one in every step
  std::copy_n(state, 4, v);
  Unrolled<64>([&]<size_t t>() {
    constexpr size_t kRound = t / 16;
    constexpr size_t kWord = (kFirstWord[kRound] + t % 16 * kWordStep[kRound]) % 16;
    uint32_t& a = v[(64 - t) % 4];
    const uint32_t b = v[(65 - t) % 4];
    a += LoadLittle<uint32_t>(bytes + kWord * 4) + kStepConstants[t];
    a = std::rotl(Mixed<kRound>(a, b, v[(66 - t) % 4], v[(67 - t) % 4]), kShifts[kRound][t % 4]) +
        b;
  });
  for (size_t i = 0; i < 4; ++i) state[i] += v[i];
}

}  // namespace

void Md5::HashBlocks(const uint8_t* bytes, size_t blocks) {
  for (; blocks > 0; --blocks, bytes += 64) HashBlock(state_, bytes);
}

}  // namespace qv
