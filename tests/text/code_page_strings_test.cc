#include "text/code_page_strings.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/text/guarded_text.h"

namespace {

using std::string_literals::operator""s;
using test::GuardedText;
using test::Widened;

TEST(CodePageStringsTest, Length) {
  const struct {
    const char* name;
    CodePage cp;
    std::string bytes;  // terminator included
    size_t length;
  } kRows[] = {
      {"empty", 1252, "\0"s, 0},
      {"single bytes", 1252, "a\xE4\0"s, 2},
      {"UTF-8, cut character", 65001, "\xC3\xA4\xE2\x82\0"s, 4},
      {"932, lead before the end", 932, "\x82\xA0\x82\0"s, 3},
      {"UTF-16 A, B", 1200, Widened("AB", 2, false), 4},
      {"UTF-16, zero bytes that are no unit", 1201, "\x01\0\0\x01\0\0"s, 4},
      {"UTF-32", 12001, Widened("ABC", 4, true), 12},
      {"UTF-32, a zero half", 12000, "\0\0\x01\0\0\0\0\0"s, 4},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(CPStrLen(GuardedText(row.bytes).get(), row.cp), row.length) << row.name;
  }
  EXPECT_EQ(CPStrLen(nullptr, 1252), 0u);
  EXPECT_EQ(CPStrLen(nullptr, 1200), 0u);
}

// Appends to "xy" and copies over it, in a buffer whose other bytes must stay as they were.
TEST(CodePageStringsTest, AppendAndCopyWithALimit) {
  const struct {
    const char* name;
    CodePage cp;
    std::string src;  // terminator included
    uint32_t limit;
    std::string copied;  // without its terminator
  } kRows[] = {
      {"1252 does not count the terminator", 1252, "abcdef\0"s, 4, "abcd"},
      {"65001 counts it", 65001, "abcdef\0"s, 4, "abc"},
      {"no limit", 65001, "abcdef\0"s, 0, "abcdef"},
      {"no limit, single bytes", 1252, "abcdef\0"s, 0, "abcdef"},
      {"a limit above the length", 1252, "abc\0"s, 400, "abc"},
      {"exactly the length and terminator", 65001, "abcdef\0"s, 7, "abcdef"},
      {"limit 1 has room for the terminator only", 65001, "abc\0"s, 1, ""},
      {"limit 1, single bytes", 1252, "abc\0"s, 1, "a"},
      {"UTF-8 character that does not fit", 65001, "a\xE2\x82\xACz\0"s, 4, "a"},
      {"UTF-8 character that just fits", 65001, "a\xE2\x82\xACz\0"s, 5, "a\xE2\x82\xAC"},
      {"UTF-8 cut bytes are characters", 65001, "\xE2\x82\0"s, 2, "\xE2"},
      {"932 character that does not fit", 932, "\x82\xA0\x82\xA2\0"s, 4, "\x82\xA0"},
      {"932 character that just fits", 932, "\x82\xA0\x82\xA2\0"s, 5, "\x82\xA0\x82\xA2"},
      {"932 lead before a control byte", 932, "\x82\x01z\0"s, 2, "\x82"},
      {"1361 walks bytes and counts the terminator", 1361, "\x88\x61z\0"s, 3, "\x88\x61"},
      {"UTF-16, half a unit to spare", 1200, Widened("abc", 2, false), 7, "a\0b\0"s},
      {"UTF-16 whole", 1200, Widened("abc", 2, false), 8, "a\0b\0c\0"s},
      {"UTF-32", 12001, Widened("abc", 4, true), 11, "\0\0\0a"s},
      {"UTF-32, less than a terminator", 12001, Widened("abc", 4, true), 2, ""},
      {"empty source", 65001, "\0"s, 9, ""},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    const auto unit = static_cast<size_t>(CPTermSize(row.cp));
    const std::string terminator(unit, '\0');
    const std::string before = Widened("xy", CPTermSize(row.cp), row.cp == 12001, 0);
    GuardedText src(row.src);

    const std::string copied = row.copied + terminator;
    GuardedText dst(before + terminator + std::string(copied.size() + 64, '#'));
    EXPECT_EQ(CPStrNCopy(dst.get(), src.get(), row.limit, row.cp), dst.get());
    EXPECT_EQ(std::string(dst.get(), copied.size()), copied);
    const size_t untouched = std::max(copied.size(), before.size() + unit);
    EXPECT_EQ(std::string(dst.get() + untouched, 8), "########");

    GuardedText end(before + terminator + std::string(copied.size() + 64, '#'));
    EXPECT_EQ(CPStrNCat(end.get(), src.get(), row.limit, row.cp), end.get());
    EXPECT_EQ(std::string(end.get(), before.size() + copied.size()), before + copied);
    EXPECT_EQ(std::string(end.get() + before.size() + copied.size() + unit, 8), "########");
    if (row.limit == 0) {
      CPStrCopy(dst.get(), src.get(), row.cp);
      CPStrCat(dst.get(), src.get(), row.cp);
      EXPECT_EQ(std::string(dst.get(), row.copied.size() + copied.size()), row.copied + copied);
    }
  }
}

TEST(CodePageStringsTest, NullAndOverlappingTexts) {
  char text[32] = "abc";
  EXPECT_EQ(CPStrCat(text, nullptr, 1252), nullptr);
  EXPECT_EQ(CPStrCopy(text, nullptr, 65001), nullptr);
  EXPECT_EQ(CPStrNCat(text, nullptr, 3, 65001), nullptr);
  EXPECT_EQ(CPStrNCopy(nullptr, text, 3, 1252), nullptr);
  EXPECT_STREQ(text, "abc");
  CPStrCat(text, text, 65001);
  EXPECT_STREQ(text, "abcabc");
  CPStrNCopy(text, text + 4, 0, 1252);
  EXPECT_STREQ(text, "bc");
  CPStrNCopy(text, text, 2, 65001);
  EXPECT_STREQ(text, "b");
}

TEST(CodePageStringsTest, CopyWholeCharacters) {
  const struct {
    const char* name;
    CodePage cp;
    std::string src;
    uint32_t dst_bytes, src_bytes, copied;
  } kRows[] = {
      {"both fit", 1252, "abc", 3, 3, 3},
      {"the destination is smaller", 1252, "abc", 2, 3, 2},
      {"the source is smaller", 1252, "abc", 9, 2, 2},
      {"no room", 65001, "abc", 0, 3, 0},
      {"nothing to copy", 65001, "abc", 3, 0, 0},
      {"UTF-8 character cut by the destination", 65001, "a\xE2\x82\xAC", 3, 4, 1},
      {"UTF-8 character cut by the source", 65001, "a\xE2\x82\xAC", 9, 3, 1},
      {"UTF-8 bytes that begin nothing", 65001, "a\xE2z\x80", 9, 4, 4},
      {"932 cut by the source", 932, "a\x82\xA0", 9, 2, 1},
      {"932 cut by the destination", 932, "a\x82\xA0", 2, 3, 1},
      {"UTF-16 cut by either", 1200, "a\0b\0"s, 3, 4, 2},
      {"UTF-16, an odd source", 1200, "a\0b\0"s, 9, 3, 2},
      {"a NUL is a character", 65001, "a\0b"s, 9, 3, 3},
      {"measured", 1252, "abc\0"s, 9, 0xFFFFFFFF, 3},
      {"measured, the other mark", 1200, "a\0b\0\0\0"s, 9, 0xFFFFFFFE, 4},
      {"measured, a cut character at the end", 65001, "a\xE2\x82\0"s, 9, 0xFFFFFFFF, 3},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    GuardedText src(row.src);
    char dst[16];
    std::memset(dst, '#', sizeof dst);
    uint32_t dst_bytes = row.dst_bytes, src_bytes = row.src_bytes;
    EXPECT_EQ(CPCopyChars(dst, &dst_bytes, src.get(), &src_bytes, row.cp), row.copied);
    EXPECT_EQ(dst_bytes, row.copied);
    EXPECT_EQ(src_bytes, row.copied);
    EXPECT_EQ(std::string(dst, row.copied + 1), row.src.substr(0, row.copied) + '#');
  }
  uint32_t room = 4, bytes = 4;
  EXPECT_EQ(CPCopyChars(nullptr, &room, "abcd", &bytes, 1252), 0u);
  EXPECT_EQ(room + bytes, 0u);
  char dst[4];
  EXPECT_EQ(CPCopyChars(dst, &room, "abcd", nullptr, 1252), 0u);
}

std::vector<uint8_t> Prefixed(const std::string& text) {
  std::vector<uint8_t> bytes(text.begin(), text.end());
  bytes.insert(bytes.begin(), static_cast<uint8_t>(text.size()));
  return bytes;
}

TEST(CodePageStringsTest, LengthPrefixedStrings) {
  const std::string longest = std::string(254, 'a') + "\xE4";
  const struct {
    const char* name;
    CodePage cp;
    std::string src;
    uint32_t max;
    std::string kept;
  } kRows[] = {
      {"fits", 1252, "abc", 3, "abc"},
      {"cut", 1252, "abc", 2, "ab"},
      {"to nothing", 65001, "abc", 0, ""},
      {"empty", 65001, "", 255, ""},
      {"a NUL is a character", 65001, "a\0b"s, 3, "a\0b"s},
      {"255 bytes, a larger limit", 1252, longest, 100000, longest},
      {"UTF-8 not split", 65001, "a\xE2\x82\xACz", 3, "a"},
      {"932 not split", 932, "\x82\xA0\x82\xA0", 3, "\x82\xA0"},
      {"a lead at the very end is a byte", 932, "a\x82", 9, "a\x82"},
      {"UTF-16 not split", 1201, "\0a\0b"s, 3, "\0a"s},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    const std::vector<uint8_t> src = Prefixed(row.src);
    std::vector<uint8_t> dst(row.kept.size() + 1, 0xEE);
    EXPECT_EQ(CPLStrCopy(dst.data(), src.data(), row.max, row.cp), row.kept.size());
    EXPECT_EQ(dst, Prefixed(row.kept));
    std::vector<uint8_t> in_place = src;
    EXPECT_EQ(CPLStrTruncate(in_place.data(), row.max, row.cp), row.kept.size());
    in_place.resize(row.kept.size() + 1);
    EXPECT_EQ(in_place, Prefixed(row.kept));
  }
  uint8_t dst[4];
  EXPECT_EQ(CPLStrCopy(dst, nullptr, 3, 1252), 0u);
  EXPECT_EQ(CPLStrTruncate(nullptr, 3, 1252), 0u);
}

}  // namespace
