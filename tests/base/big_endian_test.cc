#include "base/big_endian.h"

#include <gtest/gtest.h>

namespace qv {
namespace {

TEST(BigEndianTest, ReadsOnlyInsideTheBytes) {
  const uint8_t bytes[] = {0x81, 2, 3, 4, 5};
  const struct {
    const char* name;
    Field field;
    size_t base;
    uint32_t value;
  } kRows[] = {
      {"one byte", {1, 1}, 0, 2},
      {"two bytes, the top bit set", {0, 2}, 0, 0x8102},
      {"four bytes", {0, 4}, 1, 0x02030405},
      {"the last byte", {1, 1}, 3, 5},
      {"one byte too far", {0, 4}, 2, 0},
      {"base behind the end", {0, 1}, 6, 0},
      {"base at the end", {0, 1}, 5, 0},
      {"a sum that wraps", {0xFFFFFFFF, 4}, 4, 0},
      {"a base that wraps", {4, 4}, SIZE_MAX, 0},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(ReadBigEndian(bytes, row.field, row.base), row.value) << row.name;
  }
}

}  // namespace
}  // namespace qv
