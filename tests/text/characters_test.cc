#include "text/characters.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/text/guarded_text.h"
#include "text/process_code_pages.h"

namespace {

using std::string_literals::operator""s;
using test::GuardedText;

TEST(CharactersTest, SizeOfACharacter) {
  const struct {
    const char* name;
    CodePage cp;
    std::string bytes;
    uint32_t size;  // with the bytes given as available
  } kRows[] = {
      {"single byte", 1252, "A", 1},
      {"single byte, above ASCII", 1252, "\x82", 1},
      {"single-byte walk of 1361", 1361, "\x88\x61", 1},
      {"single-byte walk of 20002", 20002, "\x1B\x24", 1},
      {"65000 is not walked", 65000, "+AA-", 1},
      {"nothing available", 1252, "", 0},
      {"double byte", 932, "\x82\xA0", 2},
      {"double byte with a backslash as trail", 932, "\x95\x5C", 2},
      {"lead before a control byte", 932, "\x82\x1F", 0},
      {"lead before a blank", 932, "\x82\x20", 2},
      {"lead alone", 932, "\x82", 0},
      {"half-width kana is no lead byte", 932, "\xB1\xB2", 1},
      {"950 lead", 950, "\xA4\x40", 2},
      {"950 has no lead below A1", 950, "\xA0\x40", 1},
      {"20014 lead", 20014, "\x81\x40", 2},
      {"UTF-16", 1200, "A\0B\0"s, 2},
      {"UTF-16, a lone surrogate", 1201, "\xD8\x3D", 2},
      {"UTF-16 cut", 1200, "A", 0},
      {"UTF-32", 12001, "\0\0\0A"s, 4},
      {"UTF-32 cut", 12000, "A\0\0"s, 0},
      {"UTF-8 ASCII", 65001, "A", 1},
      {"UTF-8 of two", 65001, "\xC3\xA4", 2},
      {"UTF-8 of three", 65001, "\xE2\x82\xAC", 3},
      {"UTF-8 of four", 65001, "\xF0\x9F\x98\x80", 4},
      {"UTF-8 of four, cut", 65001, "\xF0\x9F\x98", 0},
      {"UTF-8 of five", 65001, "\xF8\x88\x80\x80\x80", 5},
      {"UTF-8 of six", 65001, "\xFC\x84\x80\x80\x80\x80", 6},
      {"FE begins nothing", 65001, "\xFE\x83\xBF\xBF\xBF\xBF\xBF", 0},
      {"FF begins nothing", 65001, "\xFF\x83", 0},
      {"stray continuation", 65001, "\x80\x80", 0},
      {"broken by ASCII", 65001, "\xE2\x82z", 0},
      {"broken by a lead", 65001, "\xE2\xC3\xA4", 0},
      {"overlong forms are not checked", 65001, "\xC0\x80", 2},
      {"surrogates are not checked", 65001, "\xED\xA0\x80", 3},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    GuardedText text(row.bytes);
    const auto available = static_cast<uint32_t>(row.bytes.size());
    EXPECT_EQ(CPCharSize(text.get(), row.cp, available), row.size);
    EXPECT_EQ(CPCharSizeOrOne(text.get(), row.cp, available), row.size == 0 ? 1 : row.size);
    if (row.cp != 65001) continue;
    EXPECT_EQ(UTF8SequenceLength(text.get(), available), row.size);
  }
  EXPECT_EQ(CPCharSize(nullptr, 65001), 0u);
  EXPECT_EQ(CPCharSizeOrOne(nullptr, 1252), 0u);
  EXPECT_EQ(UTF8SequenceLength(nullptr, 7), 0u);
}

// A text that ends inside a character: without a count, nothing behind the NUL is read.
TEST(CharactersTest, ANulIsNeverPartOfACharacter) {
  const struct {
    CodePage cp;
    std::string bytes;
  } kRows[] = {{65001, "\xF0\x9F\x98"}, {65001, "\xFC"}, {932, "\x82"}, {20014, "\xFE"}};
  for (const auto& row : kRows) {
    GuardedText text(row.bytes + '\0');
    EXPECT_EQ(CPCharSize(text.get(), row.cp), 0u) << row.cp;
    EXPECT_EQ(CPCharSizeOrOne(text.get(), row.cp), 1u) << row.cp;
    EXPECT_FALSE(CPIsTerminator(text.get(), row.cp)) << row.cp;
  }
}

TEST(CharactersTest, Terminators) {
  const struct {
    const char* name;
    CodePage cp;
    std::string bytes;
    bool is_terminator;
  } kRows[] = {
      {"one byte", 1252, "\0"s, true},
      {"one byte of UTF-8", 65001, "\0"s, true},
      {"a character", 65001, "\xC3\xA4", false},
      {"two bytes", 1200, "\0\0"s, true},
      {"low byte of UTF-16", 1201, "\0A"s, false},
      {"high byte of UTF-16", 1200, "\0\x01"s, false},
      {"four bytes", 12000, "\0\0\0\0"s, true},
      {"last byte of UTF-32", 12001, "\0\0\0\x01"s, false},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(CPIsTerminator(GuardedText(row.bytes).get(), row.cp), row.is_terminator) << row.name;
  }
  EXPECT_FALSE(CPIsTerminator(nullptr, 1252));
}

TEST(CharactersTest, PendingContinuationBytes) {
  const struct {
    const char* name;
    std::string bytes;
    uint32_t length;
    int pending, expected;
  } kRows[] = {
      {"half of a sequence of four", "\xF0\x9F", 2, 0, 2},
      {"its other half", "\x98\x80", 2, 2, 0},
      {"lead F3", "\xF3", 1, 0, 3},
      {"lead C3", "a\xC3", 2, 0, 1},
      {"lead E2", "\xE2", 1, 0, 2},
      {"up to the NUL", "ab\xE2\0\xFF"s, 0, 0, 2},
      {"a NUL inside a length is ASCII", "a\0\xC3"s, 3, 0, 1},
      {"empty text up to the NUL", "\0"s, 0, 2, 2},
      {"a NUL where continuation is due", "\0"s, 1, 1, -1},
      {"continuation without a lead", "\x80", 1, 0, -1},
      {"ASCII where continuation is due", "a", 1, 1, -1},
      {"one continuation byte too many", "\x80\x80", 2, 1, -1},
      {"five-byte leads are not of a stream", "\xF8", 1, 0, -1},
      {"six-byte leads are not of a stream", "\xFC", 1, 0, -1},
      {"FF", "\xFF", 1, 0, -1},
      {"negative pending", "a", 1, -1, -1},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(UTF8PendingCount(GuardedText(row.bytes).get(), row.length, row.pending), row.expected)
        << row.name;
  }
  EXPECT_EQ(UTF8PendingCount(nullptr, 1, 0), -1);
}

TEST(CharactersTest, TheDefaultCodePageIsUsedFor20000) {
  qv::ResetCodePagesForTest();
  EXPECT_EQ(CPCharSize("\x82\xA0", 20000), 1u);
  SetDefaultCodePage(932);
  EXPECT_EQ(CPCharSize("\x82\xA0", 20000), 2u);
  SetDefaultCodePage(1200);
  EXPECT_EQ(CPCharSize("\x82\xA0", 20000), 2u);
  EXPECT_FALSE(CPIsTerminator("\0A", 20000));
  qv::ResetCodePagesForTest();
}

}  // namespace
