// Numbers out of bytes and into bytes, in either order of bytes. The bytes may lie anywhere.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

// The four bytes in reverse order.
constexpr uint32_t ZRSwap32(uint32_t value) { return __builtin_bswap32(value); }

namespace qv {

static_assert(std::endian::native == std::endian::little);

template <typename Number>
Number LoadLittle(const uint8_t* bytes) {
  Number value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

template <typename Number>
void StoreLittle(uint8_t* bytes, Number value) {
  std::memcpy(bytes, &value, sizeof value);
}

constexpr uint32_t SwapBytes(uint32_t value) { return __builtin_bswap32(value); }
constexpr uint64_t SwapBytes(uint64_t value) { return __builtin_bswap64(value); }

template <typename Number>
Number LoadBig(const uint8_t* bytes) {
  return SwapBytes(LoadLittle<Number>(bytes));
}

template <typename Number>
void StoreBig(uint8_t* bytes, Number value) {
  StoreLittle(bytes, SwapBytes(value));
}

}  // namespace qv
