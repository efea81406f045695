// Building blocks of binary output: numbers in either byte order, and alignment.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qvresource {

using ByteVector = std::vector<uint8_t>;

inline void AppendBig(ByteVector& out, uint32_t value, int width) {
  for (int shift = 8 * (width - 1); shift >= 0; shift -= 8) {
    out.push_back(static_cast<uint8_t>(value >> shift));
  }
}

inline void AppendLittle(ByteVector& out, uint32_t value, int width) {
  for (int i = 0; i < width; ++i) out.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

// ASCII text in UTF-16, without a terminator.
inline void AppendWide(ByteVector& out, std::string_view text) {
  for (char c : text) AppendLittle(out, static_cast<uint8_t>(c), 2);
}

inline void AlignTo4(ByteVector& out) { out.resize((out.size() + 3) & ~size_t{3}); }

}  // namespace qvresource
