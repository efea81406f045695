#include "format/numbers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "text/length_prefixed.h"

namespace {

std::string Text(const uint8_t* text) {
  const qv::Bytes bytes = qv::LStrBytes(text);
  return {bytes.begin(), bytes.end()};
}

constexpr uint64_t kThousand = 1000, kMillion = 1000000, kBillion = 1000000000,
                   kTrillion = 1000000000000;

TEST(Numbers, CountsHaveAUnitLetter) {
  const struct {
    uint64_t value;
    const char *plain, *in_thousands;
  } kRows[] = {
      {0, "0", "0K"},
      {1000, "1000", "1000K"},
      {1001, "1K", "1M"},
      {1099, "1K", "1M"},
      {1100, "1.1K", "1.1M"},
      {9999, "9.9K", "9.9M"},
      {10000, "10K", "10M"},
      {999999, "999K", "999M"},
      {kMillion, "1000K", "1000M"},
      {kMillion + 1, "1M", "1G"},
      {kBillion, "1000M", "1000G"},
      {kBillion + 1, "1G", "1T"},
      {kTrillion, "1000G", "1000T"},
      {kTrillion + 1, "1T", "1P"},
      {kTrillion * kThousand, "1000T", "1000P"},
      {std::numeric_limits<uint64_t>::max(), "18446744T", "18446744P"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.value);
    uint8_t text[qv::kCountSize];
    ZRFormatCount(row.value, false, text);
    EXPECT_EQ(Text(text), row.plain);
    ZRFormatCount(row.value, true, text);
    EXPECT_EQ(Text(text), row.in_thousands);
  }
}

std::string Scaled(double value, int32_t style, uint32_t base, const std::string& before = "") {
  Str255 text;
  qv::SetLStr(text, 255, before.data(), static_cast<int32_t>(before.size()));
  ZRFormatScaled(value, text, style, base);
  return Text(text);
}

TEST(Numbers, ScaledValuesKeepNumberAndLetterTogether) {
  const struct {
    double value;
    uint32_t base;
    const char *three_digits, *plain, *smaller_unit;  // styles 3, 0 and 4
  } kRows[] = {
      {0, 1000, "0", "0", "0"},
      {999.4, 1000, "999", "999", "999"},
      {-12345, 1000, "-12345", "-12345", "-12345"},
      {1000, 1000, "1.00K", "1.000K", "1000 "},
      {9999, 1000, "10.00K", "9.999K", "9999 "},
      {10000, 1000, "10.0K", "10.00K", "10.00K"},
      {100000, 1000, "100K", "100.0K", "100.0K"},
      {1e6, 1000, "1.00M", "1.000M", "1000K"},
      {5e9, 1000, "5.00G", "5.000G", "5000M"},
      {5e12, 1000, "5.00T", "5.000T", "5000G"},
      {5e15, 1000, "5.00P", "5.000P", "5000T"},
      {1e19, 1000, "10.0E", "10.00E", "10.00E"},
      {1.1e19, 1000, "", "", ""},
      {1023, 1024, "1023", "1023", "1023"},
      {1536, 1024, "1.50K", "1.500K", "1536 "},
      {10240, 1024, "10.0K", "10.00K", "10.00K"},
      {1048576 * 2.0, 1024, "2.00M", "2.000M", "2048K"},
      {1020 * 1024.0, 1024, "1020K", "1020K", "1020K"},
      {5, 2, "1.25M", "1.250M", "2.500K"},
      {1 << 20, 2, "16384E", "16384E", "16384E"},
      {5000, 70000, "5000", "5000", "5000"},
      {70000 * 2.0, 70000, "2.00K", "2.000K", "140000 "},
      {5000, 1, "", "", ""},
      {0.75, 1, "1", "1", "1"},
      {5000, 0, "", "", ""},
      {std::nan(""), 1000, "", "", ""},
      {HUGE_VAL, 1000, "", "", ""},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(testing::Message() << row.value << " by " << row.base);
    EXPECT_EQ(Scaled(row.value, 3, row.base), row.three_digits);
    EXPECT_EQ(Scaled(row.value, 0, row.base), row.plain);
    EXPECT_EQ(Scaled(row.value, 4, row.base), row.smaller_unit);
  }
}

TEST(Numbers, ScaledValuesAreAppendedAsFarAsTheyFit) {
  EXPECT_EQ(Scaled(2500000, 3, 1000, "size "), "size 2.50M");
  const std::string nearly_full(253, 'a');
  EXPECT_EQ(Scaled(2500000, 3, 1000, nearly_full), nearly_full + "2.");
}

TEST(Numbers, GroupedInThrees) {
  const struct {
    uint64_t value;
    const char* text;
  } kRows[] = {{0, "0"},
               {999, "999"},
               {1000, "1,000"},
               {12034, "12,034"},
               {1000000, "1,000,000"},
               {1000000007, "1,000,000,007"},
               {18446744073709551615u, "18,446,744,073,709,551,615"}};
  for (const auto& row : kRows) {
    std::string output(qv::kGroupedSize, '\x5A');
    ZRFormatGrouped(row.value, output.data());
    EXPECT_STREQ(output.c_str(), row.text);
  }
}

TEST(Numbers, HexadecimalInEightDigits) {
  std::string output(qv::kHex32Size, '\x5A');
  ZRFormatHex32(0x0012ABCD, output.data());
  EXPECT_STREQ(output.c_str(), "0012ABCD");
  ZRFormatHex32(0xFEDC9876, output.data());
  EXPECT_STREQ(output.c_str(), "FEDC9876");
}

TEST(Numbers, LeavesNullOutputsOut) {
  ZRFormatCount(1, false, nullptr);
  ZRFormatScaled(1, nullptr, 3, 1000);
  ZRFormatGrouped(1, nullptr);
  ZRFormatHex32(1, nullptr);
}

}  // namespace
