#include <smmintrin.h>
#include <wmmintrin.h>

#include "format/encodings/byte_order.h"
#include "format/encodings/crc32_steps.h"

namespace qv {
namespace {

constexpr uint32_t kReflectedPolynomial = 0xEDB88320;
constexpr size_t kSlices = 16;

// at[n][b]: what byte b becomes when n bytes of zeros come after it.
struct Crc32Tables {
  uint32_t at[kSlices][256];
};

constexpr Crc32Tables kTables = [] {
  Crc32Tables tables{};
  for (uint32_t byte = 0; byte < 256; ++byte) {
    uint32_t value = byte;
    for (int bit = 0; bit < 8; ++bit) value = value >> 1 ^ (value & 1) * kReflectedPolynomial;
    tables.at[0][byte] = value;
  }
  for (size_t zeros = 1; zeros < kSlices; ++zeros) {
    for (size_t byte = 0; byte < 256; ++byte) {
      const uint32_t value = tables.at[zeros - 1][byte];
      tables.at[zeros][byte] = value >> 8 ^ tables.at[0][value & 0xFF];
    }
  }
  return tables;
}();

// What four bytes become when `zeros` bytes of zeros come after them.
inline uint32_t Word(uint32_t word, size_t zeros) {
  const auto& at = kTables.at;
  return at[zeros + 3][word & 0xFF] ^ at[zeros + 2][word >> 8 & 0xFF] ^
         at[zeros + 1][word >> 16 & 0xFF] ^ at[zeros][word >> 24];
}

}  // namespace

uint32_t SliceCrc32(uint32_t crc, const uint8_t* bytes, size_t count) {
  for (; count >= kSlices; bytes += kSlices, count -= kSlices) {
    crc = Word(crc ^ LoadLittle<uint32_t>(bytes), 12) ^ Word(LoadLittle<uint32_t>(bytes + 4), 8) ^
          Word(LoadLittle<uint32_t>(bytes + 8), 4) ^ Word(LoadLittle<uint32_t>(bytes + 12), 0);
  }
  if (count >= 8) {
    crc = Word(crc ^ LoadLittle<uint32_t>(bytes), 4) ^ Word(LoadLittle<uint32_t>(bytes + 4), 0);
    bytes += 8, count -= 8;
  }
  for (; count > 0; ++bytes, --count) crc = kTables.at[0][(crc ^ *bytes) & 0xFF] ^ crc >> 8;
  return crc;
}

// --- folding ---
//
// A text is a polynomial, and its CRC the rest of a division. So a block of 16 bytes may be
// replaced by its product with x^n mod P, n bits further on, without a change of the rest: two
// products of 64 bits each, one per half. What remains of the text in the end is 16 bytes, taken by
// table. (Gopal and others, "Fast CRC Computation for Generic Polynomials Using PCLMULQDQ
// Instruction", 2009.)

#define QV_FOLDING __attribute__((target("pclmul,sse4.1")))

namespace {

// x^(n + 32) and x^(n - 32) mod P, bits reflected, for the low and the high half of a block that
// moves by n bits.
struct FoldConstants {
  uint64_t low, high;
};
constexpr FoldConstants kBy512Bits = {0x154442BD4, 0x1C6E41596};
constexpr FoldConstants kBy128Bits = {0x1751997D0, 0x0CCAA009E};

QV_FOLDING inline __m128i Load(const uint8_t* bytes) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

QV_FOLDING inline __m128i Constants(FoldConstants by) {
  return _mm_set_epi64x(static_cast<int64_t>(by.high), static_cast<int64_t>(by.low));
}

// The block moved on, onto the `next` that stands there.
QV_FOLDING inline __m128i Fold(__m128i block, __m128i by, __m128i next) {
  const __m128i low = _mm_clmulepi64_si128(block, by, 0x00);
  const __m128i high = _mm_clmulepi64_si128(block, by, 0x11);
  return _mm_xor_si128(_mm_xor_si128(low, next), high);
}

}  // namespace

QV_FOLDING uint32_t FoldCrc32(uint32_t crc, const uint8_t* bytes, size_t count) {
  const __m128i by_512 = Constants(kBy512Bits), by_128 = Constants(kBy128Bits);
  __m128i a = _mm_xor_si128(Load(bytes), _mm_cvtsi32_si128(static_cast<int32_t>(crc)));
  __m128i b = Load(bytes + 16), c = Load(bytes + 32), d = Load(bytes + 48);
  for (bytes += 64, count -= 64; count >= 64; bytes += 64, count -= 64) {
    a = Fold(a, by_512, Load(bytes));
    b = Fold(b, by_512, Load(bytes + 16));
    c = Fold(c, by_512, Load(bytes + 32));
    d = Fold(d, by_512, Load(bytes + 48));
  }
  a = Fold(Fold(Fold(a, by_128, b), by_128, c), by_128, d);
  for (; count >= 16; bytes += 16, count -= 16) a = Fold(a, by_128, Load(bytes));
  uint8_t rest[16];
  _mm_storeu_si128(reinterpret_cast<__m128i*>(rest), a);
  return SliceCrc32(SliceCrc32(0, rest, sizeof rest), bytes, count);
}

}  // namespace qv
