#include "format/encodings/base64_lines.h"

#include <tmmintrin.h>

#include <array>

#include "format/encodings/base64_digits.h"

namespace qv {
namespace {

constexpr size_t kGroupBytes = 3, kGroupDigits = 4;
constexpr char kPadding = '=';

// The two digits of each value of twelve bits, the first one in the low byte.
using DigitPairs = std::array<uint16_t, 4096>;
constexpr DigitPairs MakeDigitPairs() {
  DigitPairs pairs{};
  for (size_t i = 0; i < pairs.size(); ++i) {
    pairs[i] = static_cast<uint16_t>(kBase64Digits[i >> 6] | kBase64Digits[i & 63] << 8);
  }
  return pairs;
}
constexpr DigitPairs kDigitPairs = MakeDigitPairs();

uint32_t DigitsOfGroup(uint32_t group) {
  return kDigitPairs[group >> 12] | uint32_t{kDigitPairs[group & 0xFFF]} << 16;
}

void WriteGroup(uint32_t group, char* out) {
  const uint32_t digits = DigitsOfGroup(group);
  std::memcpy(out, &digits, sizeof digits);
}

// The eight digits of the low 48 bits.
void WriteTwoGroups(uint64_t groups, char* out) {
  const uint32_t digits[2] = {DigitsOfGroup(groups >> 24 & 0xFFFFFF),
                              DigitsOfGroup(groups & 0xFFFFFF)};
  std::memcpy(out, digits, sizeof digits);
}

uint64_t LoadBigEndian(const uint8_t* in) {
  uint64_t value;
  std::memcpy(&value, in, sizeof value);
  return __builtin_bswap64(value);
}

// Two groups at a time. All loads but the first begin two bytes before their groups, so that
// nothing behind the line is read.
void WriteLinePortable(const uint8_t* in, char* out) {
  constexpr size_t kBytes = 2 * kGroupBytes, kDigits = 2 * kGroupDigits;
  WriteTwoGroups(LoadBigEndian(in) >> 16, out);
  for (size_t i = 1; i < kBase64LineBytes / kBytes; ++i) {
    WriteTwoGroups(LoadBigEndian(in + i * kBytes - 2), out + i * kDigits);
  }
}

// --- SSSE3: twelve bytes to sixteen digits at a time ---

// Four groups, as 32-bit lanes that hold their bytes as 1 0 2 1: each 16-bit half then has the bits
// of two digits, which a multiplication moves to where each fills a byte.
[[gnu::target("ssse3")]] __m128i DigitValues(__m128i lanes) {
  const __m128i first_third = _mm_and_si128(lanes, _mm_set1_epi32(0x0FC0FC00));
  const __m128i second_fourth = _mm_and_si128(lanes, _mm_set1_epi32(0x003F03F0));
  return _mm_or_si128(_mm_mulhi_epu16(first_third, _mm_set1_epi32(0x04000040)),
                      _mm_mullo_epi16(second_fourth, _mm_set1_epi32(0x01000010)));
}

// A digit is its value and an offset, which depends on the range that the value lies in: 0 for
// 26 to 51, 1 to 10 for the figures, 11 and 12 for the two signs, 13 below 26.
[[gnu::target("ssse3")]] __m128i DigitsOf(__m128i values) {
  constexpr char kFigure = '0' - 52;
  const __m128i offsets =
      _mm_setr_epi8('a' - 26, kFigure, kFigure, kFigure, kFigure, kFigure, kFigure, kFigure,
                    kFigure, kFigure, kFigure, '+' - 62, '/' - 63, 'A', 0, 0);
  const __m128i above = _mm_subs_epu8(values, _mm_set1_epi8(51));
  const __m128i is_upper = _mm_cmpgt_epi8(_mm_set1_epi8(26), values);
  const __m128i range = _mm_or_si128(above, _mm_and_si128(is_upper, _mm_set1_epi8(13)));
  return _mm_add_epi8(values, _mm_shuffle_epi8(offsets, range));
}

// Sixteen digits of the twelve bytes that lie `skipped` bytes into the block at `in`.
template <int skipped>
[[gnu::target("ssse3")]] void WriteBlock(const uint8_t* in, char* out) {
  const __m128i order = _mm_add_epi8(
      _mm_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10), _mm_set1_epi8(skipped));
  const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(out),
                   DigitsOf(DigitValues(_mm_shuffle_epi8(block, order))));
}

// The last block is loaded from four bytes earlier, so that nothing behind the line is read.
[[gnu::target("ssse3")]] void WriteLineSsse3(const uint8_t* in, char* out) {
  WriteBlock<0>(in, out);
  WriteBlock<0>(in + 12, out + 16);
  WriteBlock<0>(in + 24, out + 32);
  WriteBlock<4>(in + 32, out + 48);
}

}  // namespace

char* WriteBase64LinesPortable(const uint8_t* in, size_t lines, char* out,
                               const Base64Separator& separator) {
  for (size_t line = 0; line < lines; ++line, in += kBase64LineBytes) {
    if (line > 0) out = separator.Write(out);
    WriteLinePortable(in, out);
    out += kBase64LineDigits;
  }
  return out;
}

[[gnu::target("ssse3")]] char* WriteBase64LinesSsse3(const uint8_t* in, size_t lines, char* out,
                                                     const Base64Separator& separator) {
  for (size_t line = 0; line < lines; ++line, in += kBase64LineBytes) {
    if (line > 0) out = separator.Write(out);
    WriteLineSsse3(in, out);
    out += kBase64LineDigits;
  }
  return out;
}

bool Base64LinesHaveSsse3() { return __builtin_cpu_supports("ssse3"); }

char* WriteBase64Rest(const uint8_t* in, size_t bytes, char* out) {
  for (; bytes >= kGroupBytes; bytes -= kGroupBytes, in += kGroupBytes, out += kGroupDigits) {
    WriteGroup(uint32_t{in[0]} << 16 | uint32_t{in[1]} << 8 | in[2], out);
  }
  if (bytes == 0) return out;
  WriteGroup(uint32_t{in[0]} << 16 | (bytes == 2 ? uint32_t{in[1]} << 8 : 0), out);
  out[3] = kPadding;
  if (bytes == 1) out[2] = kPadding;
  return out + kGroupDigits;
}

}  // namespace qv
