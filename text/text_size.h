// The size of NUL-terminated text.
#pragma once

#include <cstdint>
#include <cstring>

#include "text/code_pages.h"

namespace qv {

// Bytes before the terminator, which is one zero unit of the code page's width.
inline uint32_t TextSize(const char* text, CodePage cp) {
  static constexpr char kZero[4] = {};
  const auto width = static_cast<uint32_t>(CPTermSize(cp));
  if (width == 1) return static_cast<uint32_t>(std::strlen(text));
  uint32_t size = 0;
  while (std::memcmp(text + size, kZero, width) != 0) size += width;
  return size;
}

}  // namespace qv
