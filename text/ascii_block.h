// Sixteen bytes at a time: which of them are not ASCII or are line ends, and how they are copied or
// widened.
//
// Two forms with one set of operations: AsciiBlock is the one that the engines use, with SSE2 where
// the compiler has it. Bit i of a mask stands for byte i.
#pragma once

#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace qv {

class PortableBlock {
 public:
  static constexpr uint32_t kBytes = 16;
  static PortableBlock Load(const uint8_t* from) {
    PortableBlock block;
    std::memcpy(block.bytes_, from, kBytes);
    return block;
  }
  uint32_t HighMask() const {
    return Mask([](uint8_t byte) { return byte >= 0x80; });
  }
  uint32_t EqualMask(uint8_t value) const {
    return Mask([value](uint8_t byte) { return byte == value; });
  }
  // Stores the bytes as units of 1, 2 or 4 bytes.
  void Store(uint8_t* to) const { std::memcpy(to, bytes_, kBytes); }
  template <int width, bool big_endian>
  void StoreWide(uint8_t* to) const {
    std::memset(to, 0, kBytes * width);
    for (uint32_t i = 0; i < kBytes; ++i) to[i * width + (big_endian ? width - 1 : 0)] = bytes_[i];
  }

 private:
  template <class Predicate>
  uint32_t Mask(Predicate predicate) const {
    uint32_t mask = 0;
    for (uint32_t i = 0; i < kBytes; ++i) mask |= uint32_t{predicate(bytes_[i])} << i;
    return mask;
  }

  uint8_t bytes_[kBytes];
};

#if defined(__SSE2__)

class Sse2Block {
 public:
  static constexpr uint32_t kBytes = 16;
  static Sse2Block Load(const uint8_t* from) {
    Sse2Block block;
    block.bytes_ = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    return block;
  }
  uint32_t HighMask() const { return static_cast<uint32_t>(_mm_movemask_epi8(bytes_)); }
  uint32_t EqualMask(uint8_t value) const {
    const __m128i wanted = _mm_set1_epi8(static_cast<char>(value));
    return static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes_, wanted)));
  }
  void Store(uint8_t* to) const { Put(to, 0, bytes_); }
  template <int width, bool big_endian>
  void StoreWide(uint8_t* to) const {
    static_assert(width == 2 || width == 4);
    const __m128i zero = _mm_setzero_si128();
    const __m128i halves[2] = {
        big_endian ? _mm_unpacklo_epi8(zero, bytes_) : _mm_unpacklo_epi8(bytes_, zero),
        big_endian ? _mm_unpackhi_epi8(zero, bytes_) : _mm_unpackhi_epi8(bytes_, zero)};
    for (int half = 0; half < 2; ++half) {
      if constexpr (width == 2) {
        Put(to, half, halves[half]);
      } else if constexpr (big_endian) {
        Put(to, 2 * half, _mm_unpacklo_epi16(zero, halves[half]));
        Put(to, 2 * half + 1, _mm_unpackhi_epi16(zero, halves[half]));
      } else {
        Put(to, 2 * half, _mm_unpacklo_epi16(halves[half], zero));
        Put(to, 2 * half + 1, _mm_unpackhi_epi16(halves[half], zero));
      }
    }
  }

 private:
  static void Put(uint8_t* to, int part, __m128i value) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to) + part, value);
  }

  __m128i bytes_;
};

using AsciiBlock = Sse2Block;

#else

using AsciiBlock = PortableBlock;

#endif

}  // namespace qv
