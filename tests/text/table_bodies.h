// Bodies of character set tables, put together from pieces, and what is expected of them.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <vector>

#include "text/unicode_table.h"

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

struct LoadRow {
  const char* name;
  uint16_t kind;
  Body body;
  bool loads;
};
inline void ExpectLoads(CodePage cp, const std::vector<LoadRow>& rows) {
  for (const LoadRow& row : rows) {
    EXPECT_EQ(qv::NewUnicodeTable(row.kind, cp)->Load(row.body), row.loads) << row.name;
  }
}

struct MapRow {
  const char* name;
  uint32_t code, value;
};
inline void ExpectMaps(const qv::UnicodeTable& table, const std::vector<MapRow>& rows) {
  for (const MapRow& row : rows) EXPECT_EQ(table.Map(row.code), row.value) << row.name;
}

}  // namespace test
