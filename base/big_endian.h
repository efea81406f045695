// The one reader of foreign bytes: big-endian numbers out of a span, every read checked.
#pragma once

#include <cstdint>
#include <span>

namespace qv {

using Bytes = std::span<const uint8_t>;

// A place in a layout: bytes from the layout's first byte, and how many of them (1, 2 or 4).
struct Field {
  uint32_t offset, width;
};

// The number in `field` of the layout that starts at `base`, or 0 when it does not lie wholly
// inside `bytes` (check the size first where 0 is a valid value).
constexpr uint32_t ReadBigEndian(Bytes bytes, Field field, size_t base = 0) {
  if (base > bytes.size() || bytes.size() - base < size_t{field.offset} + field.width) return 0;
  uint32_t value = 0;
  for (uint32_t i = 0; i < field.width; ++i) value = value << 8 | bytes[base + field.offset + i];
  return value;
}

}  // namespace qv
