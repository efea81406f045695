#include "format/integer_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <string>

namespace {

TEST(IntegerText, ReadsInEveryBase) {
  constexpr uint64_t kAll = std::numeric_limits<uint64_t>::max();
  const struct {
    const char* name;
    std::string text;
    int32_t base;
    uint64_t value;
    int end;
    uint32_t limit = 0;
  } kRows[] = {
      {"decimal", "123 ", 10, 123, 3},
      {"no digit", "abc", 10, 0, 0},
      {"empty", "", 10, 0, 0},
      {"blanks are not passed over", " 1", 10, 0, 0},
      {"base 0, hexadecimal", "0x1F", 0, 31, 4},
      {"base 0, large X", "0XfFz", 0, 255, 4},
      {"base 0, octal", "017", 0, 15, 3},
      {"base 0, octal ends at 8", "0178", 0, 15, 3},
      {"base 0, a zero and no digit", "09", 0, 0, 1},
      {"base 0, a zero alone", "0", 0, 0, 1},
      {"base 0, decimal", "99", 0, 99, 2},
      {"a prefix without digits", "0x", 0, 0, 2},
      {"base 16 passes over 0x", "0x1f", 16, 31, 4},
      {"base 16 without", "1f", 16, 31, 2},
      {"base 10 has no prefix", "0x1", 10, 0, 1},
      {"base 8 has no prefix", "017", 8, 15, 3},
      {"base 36, x is a digit", "0xZ", 36, 33 * 36 + 35, 3},
      {"base 2", "1012", 2, 5, 3},
      {"base 35 has no z", "yz", 35, 34, 1},
      {"base 37: letters first", "BA", 37, 37, 2},
      {"base 37 has l and no m", "lm", 37, 0, 0},
      {"base 64", "BA", 64, 64, 2},
      {"base 64, all kinds", "Az9+/=", 64, ((51 * 64 + 61) * 64 + 62) * 64 + 63, 5},
      {"base 63 has no /", "+/", 63, 62, 1},
      {"base 62 has no +", "9+", 62, 61, 1},
      {"base 1 has only 0", "01", 1, 0, 1},
      {"the largest", "18446744073709551615", 10, kAll, 20},
      {"beyond it", "18446744073709551617", 10, 1, 20},
      {"a limit", "12345", 10, 123, 3, 3},
      {"a limit beyond the text", "12", 10, 12, 2, 9},
      {"a limit counts the prefix", "0x12", 0, 1, 3, 3},
      {"a limit ends in the prefix", "0x12", 0, 0, 1, 1},
      {"a limit behind it", "0x12", 0, 0, 2, 2},
      {"base 16, the limit cuts the x off", "0x12", 16, 0, 1, 1},
      {"a byte above ASCII", "1\xB2", 10, 1, 1},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    // A text up to its limit needs no terminator: a block that ends there.
    const size_t length = std::min<size_t>(row.text.size(), row.limit != 0 ? row.limit : SIZE_MAX);
    const bool limited = length == row.limit && row.limit != 0;
    const std::unique_ptr<char[]> exact(new char[length + (limited ? 0 : 1)]);
    std::memcpy(exact.get(), row.text.c_str(), length + (limited ? 0 : 1));
    const char* end = nullptr;
    EXPECT_EQ(ZRParseUInt64(exact.get(), row.limit, &end, row.base), row.value);
    EXPECT_EQ(end - exact.get(), row.end);
    EXPECT_EQ(ZRParseInt64(exact.get(), row.limit, &end, row.base),
              static_cast<int64_t>(row.value));
    EXPECT_EQ(end - exact.get(), row.end);
    EXPECT_EQ(ZRParseUInt64(exact.get(), row.limit, nullptr, row.base), row.value);
  }
}

TEST(IntegerText, OnlySignedReadingHasASign) {
  const struct {
    const char* text;
    uint32_t limit;
    int32_t base;
    int64_t value;
    int end;
  } kRows[] = {{"-10", 0, 10, -10, 3},
               {"-0x1F", 0, 0, -31, 5},
               {"-017", 0, 0, -15, 4},
               {"--1", 0, 10, 0, 1},
               {"+1", 0, 10, 0, 0},
               {"-", 0, 10, 0, 1},
               {"-123", 3, 10, -12, 3},
               {"-0x5", 2, 0, 0, 2},
               {"-9223372036854775808", 0, 10, std::numeric_limits<int64_t>::min(), 20}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.text);
    const char* end = nullptr;
    EXPECT_EQ(ZRParseInt64(row.text, row.limit, &end, row.base), row.value);
    EXPECT_EQ(end - row.text, row.end);
    if (row.text[0] == '-') {
      EXPECT_EQ(ZRParseUInt64(row.text, row.limit, &end, row.base), 0u);
      EXPECT_EQ(end, row.text);
    }
  }
  EXPECT_EQ(ZRParseInt64("-12", nullptr, 10), -12);
  EXPECT_EQ(ZRParseUInt64("12", nullptr, 10), 12u);
}

TEST(IntegerText, RefusesBasesAndNull) {
  for (const int32_t base : {-1, 65, std::numeric_limits<int32_t>::min()}) {
    const char* const text = "-11";
    const char* end = nullptr;
    EXPECT_EQ(ZRParseInt64(text, 0, &end, base), 0);
    EXPECT_EQ(end, text);
  }
  const char* end = "x";
  EXPECT_EQ(ZRParseUInt64(nullptr, 5, &end, 10), 0u);
  EXPECT_EQ(end, nullptr);
}

}  // namespace
