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

}  // namespace test
