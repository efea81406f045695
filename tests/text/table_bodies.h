// Bodies of character set tables, put together from pieces.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <vector>

namespace test {

using Body = std::vector<uint8_t>;

inline Body Join(std::initializer_list<Body> parts) {
  Body all;
  for (const Body& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

// The bytes of a number, the most significant first.
inline void Append(Body& body, uint32_t value, int width) {
  for (int shift = 8 * (width - 1); shift >= 0; shift -= 8) {
    body.push_back(static_cast<uint8_t>(value >> shift));
  }
}

}  // namespace test
