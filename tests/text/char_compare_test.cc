#include <gtest/gtest.h>

#include <string>

#include "tests/text/guarded_text.h"
#include "tests/text/module_tables.h"
#include "text/code_page_strings.h"

namespace {

using std::string_literals::operator""s;
using test::GuardedText;

class CharCompareTest : public test::ModuleTables {};

TEST_F(CharCompareTest, ByCodePoint) {
  const struct {
    const char* name;
    CodePage cp;
    std::string a, b;
    int expected;
  } kRows[] = {
      {"equal", 1252, "a\0"s, "ab\0"s, 0},
      {"greater", 1252, "b\0"s, "a\0"s, 1},
      {"smaller", 1252, "a\0"s, "b\0"s, 2},
      {"by code point, not by byte", 1252, "\x80\0"s, "\xFF\0"s, 1},  // U+20AC, U+00FF
      {"UTF-8 of two lengths", 65001, "\xC3\xA4\0"s, "\xE2\x82\xAC\0"s, 2},
      {"the terminator is U+0000", 65001, "\0"s, "a\0"s, 2},
      {"a line end is a character", 65001, "\r\n\0"s, "\r\0"s, 0},
      {"UTF-16 big-endian", 1201, "\x20\xAC\0\0"s, "\0\xFF\0\0"s, 1},
      {"UTF-16 surrogate pairs", 1200, "\x3D\xD8\x00\xDE\0\0"s, "\xFF\xFF\0\0"s, 1},
      {"UTF-16 surrogate pair against another", 1201, "\xD8\x3D\xDE\x00\0\0"s,
       "\xD8\x3D\xDE\x01\0\0"s, 2},
      {"UTF-32", 12000, "\x01\0\0\0\0\0\0\0"s, "\0\x01\0\0\0\0\0\0"s, 2},
      {"no table", 949, "a\0"s, "a\0"s, -1},
  };
  for (const auto& row : kRows) {
    GuardedText a(row.a), b(row.b);
    EXPECT_EQ(CPCharCompare(a.get(), b.get(), row.cp), row.expected) << row.name;
  }
  EXPECT_EQ(CPCharCompare(nullptr, "a", 1252), -1);
  EXPECT_EQ(CPCharCompare("a", nullptr, 1252), -1);
}

}  // namespace
