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
  const uint8_t* at = bytes.data() + base + field.offset;
  // Each width spelled out, so that it compiles to one load and one turn of its bytes.
  if (field.width == 1) return at[0];
  if (field.width == 2) return uint32_t{at[0]} << 8 | at[1];
  return uint32_t{at[0]} << 24 | uint32_t{at[1]} << 16 | uint32_t{at[2]} << 8 | at[3];
}

}  // namespace qv
