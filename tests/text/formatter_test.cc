#include "text/formatter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "base/hooks.h"
#include "base/scratch_pool.h"

namespace {

using std::string_literals::operator""s;

constexpr int64_t kLeast64 = std::numeric_limits<int64_t>::min();
constexpr const char* kNullText = nullptr;

template <typename... Arguments>
std::string Formatted(const char* format, Arguments... arguments) {
  char text[kFormatLimit + 1];
  std::memset(text, '#', sizeof text);
  const uint32_t length = FormatText(text, format, arguments...);
  EXPECT_EQ(text[length], '\0');
  return std::string(text, length);
}

struct Row {
  const char* name;
  std::string text, expected;
};

template <size_t N>
void ExpectRows(const Row (&rows)[N]) {
  for (const Row& row : rows) EXPECT_EQ(row.text, row.expected) << row.name;
}

// Beside what the C runtime is asked about below.
TEST(FormatterTest, Integers) {
  ExpectRows({
      {"least 32-bit", Formatted("%d", INT32_MIN), "-2147483648"},
      {"greatest 64-bit", Formatted("%llu", UINT64_MAX), "18446744073709551615"},
      {"octal with precision", Formatted("%#.4o", 8), "0010"},
      {"signs", Formatted("<%+ d|%+u>", 1, 1u), "<+1|1>"},
      {"nothing of 0 with precision 0", Formatted("<%.0d|%.d|%3.0x|%#.0o>", 0, 0, 0, 0),
       "<||   |0>"},
  });
}

TEST(FormatterTest, SizeLetters) {
  const int wide = 0x12345;
  ExpectRows({
      {"h", Formatted("%hd|%hu|%hx", 0x18000, -1, wide), "-32768|65535|2345"},
      {"hh is 16-bit too", Formatted("%hhx", wide), "2345"},
      {"w", Formatted("%wd", 0x1FFFF), "-1"},
      {"I8, I16", Formatted("%I8x|%I16x", wide, wide), "2345|2345"},
      {"l is 32-bit", Formatted("%ld|%lX", -5, 0xDEADBEEFu), "-5|DEADBEEF"},
      {"I32", Formatted("%I32u", 0xFFFFFFFFu), "4294967295"},
      {"ll", Formatted("%lld|%llx", kLeast64, 0x123456789ABCDEFLL),
       "-9223372036854775808|123456789abcdef"},
      {"I64", Formatted("%I64d|%I64X|%d", int64_t{-1}, int64_t{-1}, 7), "-1|FFFFFFFFFFFFFFFF|7"},
      {"the size of a pointer",
       Formatted("%Id %Iu %Ii %zd %tu %zx", intptr_t{-3}, uintptr_t{4}, intptr_t{5}, intptr_t{-6},
                 uintptr_t{7}, uintptr_t{255}),
       "-3 4 5 -6 7 ff"},
      {"size letters before the width", Formatted("%l08X|%h-6d|%I648x", 0xABCDEFu, -1, int64_t{10}),
       "00ABCDEF|-1    |       a"},
      {"text and characters take any", Formatted("%hs %ls %lc %hc", "a", "b", 'c', 'd'), "a b c d"},
  });
}

TEST(FormatterTest, TextCharactersAndPointers) {
  const char prefixed[] = "\3abcdef";
  const std::string longest = '\xFF' + std::string(255, 'L');
  void* address = reinterpret_cast<void*>(uintptr_t{0xABC123});
  const std::string zeros(2 * sizeof(void*) - 6, '0');  // before the six digits of the address
  ExpectRows({
      {"text", Formatted("<%s|%S>", "one", "two"), "<one|two>"},
      {"width", Formatted("<%5s|%-5s|%2s>", "abc", "abc", "abc"), "<  abc|abc  |abc>"},
      {"precision", Formatted("<%.2s|%5.2s|%.0s|%.9s>", "abc", "abc", "abc", "abc"),
       "<ab|   ab||abc>"},
      {"no zeros before text", Formatted("<%05s>", "ab"), "<   ab>"},
      {"null", Formatted("<%s|%8s|%S>", kNullText, kNullText, kNullText),
       "<(null)|  (null)|(null)>"},
      {"length-prefixed", Formatted("<%#s|%#S>", prefixed, prefixed), "<abc|abc>"},
      {"length-prefixed, cut and padded", Formatted("<%#.2s|%-#5s>", prefixed, prefixed),
       "<ab|abc  >"},
      {"length-prefixed, empty", Formatted("<%#s>", "\0x"), "<>"},
      {"length-prefixed, 255 bytes", Formatted("%#s", longest.c_str()), std::string(255, 'L')},
      {"length-prefixed, a NUL ends the text", Formatted("<%#s>", "\3a\0b"), "<a>"},
      {"length-prefixed, null", Formatted("<%#s>", kNullText), "<(null)>"},
      {"characters", Formatted("<%c|%C|%3c|%-3c>", 'a', 'b', 'c', 'd'), "<a|b|  c|d  >"},
      {"a NUL character", Formatted("<%c>", 0), "<\0>"s},
      {"percent signs", Formatted("100%% %5% %d", 1), "100% % 1"},
      {"pointer", Formatted("<%p>", address), "<" + zeros + "ABC123>"},
      {"null pointer", Formatted("<%p>", kNullText), "<" + zeros + "000000>"},
      {"pointer in a width", Formatted("<%-18p>", address),
       "<" + zeros + "ABC123" + std::string(18 - 2 * sizeof(void*), ' ') + ">"},
  });
}

TEST(FormatterTest, WidthsFromArguments) {
  ExpectRows({
      {"width", Formatted("<%*d>", 4, 7), "<   7>"},
      {"negative width", Formatted("<%*d>", -4, 7), "<7   >"},
      {"precision", Formatted("<%.*s>", 2, "abc"), "<ab>"},
      {"negative precision is none", Formatted("<%.*s>", -1, "abc"), "<abc>"},
      {"both", Formatted("<%*.*d>", 6, 3, 7), "<   007>"},
      {"least int", Formatted("%*d", INT32_MIN, 7), "7" + std::string(7998, ' ')},
  });
}

TEST(FormatterTest, WhatItDoesNotKnowIsPrintedAsItStands) {
  ExpectRows({
      {"unknown", Formatted("<%y|%5.2q|%d>", 3), "<%y|%5.2q|3>"},
      {"not in the language", Formatted("<%F|%a|%Lf>"), "<%F|%a|%Lf>"},
      {"its width is taken", Formatted("<%*y|%d>", 5, 3), "<%*y|3>"},
      {"cut at the end", Formatted("abc%"), "abc%"},
      {"cut after a size", Formatted("abc%-08I6"), "abc%-08I6"},
      {"cut after a width from an argument", Formatted("abc%*", 5), "abc%*"},
      {"no specification", Formatted("plain"), "plain"},
      {"empty", Formatted(""), ""},
  });
}

TEST(FormatterTest, StoresTheLengthSoFar) {
  int32_t first = -1, second = -1;
  EXPECT_EQ(Formatted("abc%n%5d%ln!", &first, 1, &second), "abc    1!");
  EXPECT_EQ(first, 3);
  EXPECT_EQ(second, 8);
  struct {
    int16_t value = -1;
    int16_t guard = -1;
  } small;
  int64_t large = -1;
  EXPECT_EQ(Formatted("ab%hn%lln", &small.value, &large), "ab");
  EXPECT_EQ(small.value, 2);
  EXPECT_EQ(small.guard, -1);
  EXPECT_EQ(large, 2);
  EXPECT_EQ(Formatted("%n", kNullText), "");
  EXPECT_EQ(Formatted("%9000d%n", 1, &first).size(), 7999u);
  EXPECT_EQ(first, 7999);
}

TEST(FormatterTest, Doubles) {
  const double infinity = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  ExpectRows({
      {"width and zeros", Formatted("<%8.2f|% .1f>", -1.5, 1.5), "<   -1.50| 1.5>"},
      {"not finite",
       Formatted("<%f|%E|%+g|%05g|%5.1f>", infinity, -infinity, infinity, infinity, nan),
       "<inf|-INF|+inf|  inf|  nan>"},
      {"negative zero", Formatted("%.1f", -0.0), "-0.0"},
      {"more places than digits", Formatted("%.1200f", 0.5), "0.5" + std::string(1199, '0')},
      {"the same with an exponent", Formatted("%.1200e", 0.5),
       "5." + std::string(1200, '0') + "e-01"},
      {"places without end", Formatted("%.*f", 1000000000, 1.0), "1." + std::string(7997, '0')},
  });
}

// The C runtime as an independent witness: its forms are ours here.
TEST(FormatterTest, AgreesWithTheRuntimeOnRandomNumbers) {
  std::mt19937_64 random(20240229);
  const char* const formats[] = {"%f",    "%.0f",  "%#.0f", "%+.3f", "%20.10f", "%-20.2f|",
                                 "%e",    "%.0e",  "%#.0e", "%E",    "%.15e",   "%012.4e",
                                 "%g",    "%G",    "%.17g", "%#g",   "%#.1g",   "%.0g",
                                 "%015g", "%.40f", "%.60g"};
  for (int i = 0; i < 20000; ++i) {
    uint64_t bits = random();
    double value;
    std::memcpy(&value, &bits, sizeof value);
    if (i % 2 == 0) value = static_cast<double>(static_cast<int64_t>(bits) >> (i % 64)) / 1000;
    if (!std::isfinite(value)) continue;
    const char* format = formats[i % std::size(formats)];
    char expected[1000];
    std::snprintf(expected, sizeof expected, format, value);
    ASSERT_EQ(Formatted(format, value), expected) << format << " of " << std::hexfloat << value;
  }
  const char* const integer_formats[] = {
      "%d",     "%i",      "%u",    "%x",      "%X",     "%o",     "%#x",   "%#X",
      "%#o",    "%+d",     "% d",   "%15d",    "%-15d|", "%015d",  "%.12d", "%15.12x",
      "%#015X", "%-#15o|", "%7.4d", "%-7.4d|", "%07.3d", "%-07d|", "%#.6x"};
  for (int i = 0; i < 20000; ++i) {
    const int32_t value = static_cast<int32_t>(random()) >> (i % 32);
    const char* format = integer_formats[i % std::size(integer_formats)];
    char expected[100];
    std::snprintf(expected, sizeof expected, format, value);
    ASSERT_EQ(Formatted(format, value), expected) << format << " of " << value;
  }
}

TEST(FormatterTest, TheWholeIsCutAt7999Bytes) {
  const std::string long_text(9000, 'x');
  const std::string almost(7998, 'x');
  ExpectRows({
      {"ordinary characters", Formatted(long_text.c_str()), long_text.substr(0, 7999)},
      {"a piece is cut", Formatted("ab%s", long_text.c_str()), "ab" + long_text.substr(0, 7997)},
      {"later text is dropped", Formatted("%s%d%s", almost.c_str(), 12, "z"), almost + "1"},
      {"a width of millions", Formatted("a%10000000d", 1), "a" + std::string(7998, ' ')},
      {"on the left", Formatted("%-99999999999999999999s|", "a"), "a" + std::string(7998, ' ')},
      {"a width beyond 32 bits", Formatted("%4294967301d", 1), std::string(7999, ' ')},
      {"a precision beyond 32 bits", Formatted("%.4294967298s", "abc"), "abc"},
      {"a precision of millions", Formatted("%.10000000d", 1), std::string(7999, '0')},
  });
}

TEST(FormatterTest, LimitsOfTheDestination) {
  const struct {
    const char* name;
    uint32_t limit;
    std::string expected;
  } kRows[] = {{"none", 0, ""},       {"one", 1, "1"},       {"below", 3, "12 "},
               {"exact", 5, "12 ab"}, {"above", 6, "12 ab"}, {"all", 0xFFFFFFFF, "12 ab"}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    char text[16];
    std::memset(text, '#', sizeof text);
    EXPECT_EQ(FormatTextN(text, row.limit, "%d %s", 12, "ab"), row.expected.size());
    EXPECT_EQ(std::string(text, row.expected.size() + 2), row.expected + "\0#"s);
  }
  char itself[kFormatLimit + 1] = "abc";
  EXPECT_EQ(FormatText(itself, "<%s|%s>", itself, itself), 9u);
  EXPECT_STREQ(itself, "<abc|abc>");
  EXPECT_EQ(FormatText(nullptr, "abc"), 0u);
  EXPECT_EQ(FormatText(itself, nullptr), 0u);
  EXPECT_STREQ(itself, "");
}

TEST(FormatterTest, WithoutMemoryTheTextIsEmpty) {
  qv::ResetScratchPoolForTest();
  qv::GlobalHooks().allocate = [](size_t) -> void* { return nullptr; };
  char text[kFormatLimit + 1] = "before";
  EXPECT_EQ(FormatText(text, "%d", 1), 0u);
  EXPECT_STREQ(text, "");
  qv::ResetHooksForTest();
  EXPECT_EQ(FormatText(text, "%d", 1), 1u);
}

}  // namespace
