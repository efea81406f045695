#include "text/text_scans.h"

#include <gtest/gtest.h>

#include <string>

#include "text/length_prefixed.h"

namespace {

TEST(TextScans, FindsACharacterOutsideQuotesAndComments) {
  const struct {
    const char* name;
    std::string text;
    char wanted;
    int first, last;  // -1: none
  } kRows[] = {
      {"plain", "a,b,c", ',', 1, 3},
      {"none", "abc", ',', -1, -1},
      {"empty", "", ',', -1, -1},
      {"quoted", "\"a,b\",c", ',', 5, 5},
      {"only quoted", "\"a,b\"", ',', -1, -1},
      {"quoted at the end", "a,\"b,c\"", ',', 1, 1},
      {"commented", "(a,b),c,(d,)", ',', 5, 7},
      {"nested comments", "(a(b,),),c", ',', 8, 8},
      {"a quote in a comment hides its end", "(a\"),\"),b", ',', 7, 7},
      {"a parenthesis in quotes", "\"(\",b\")\"", ',', 3, 3},
      {"a stray end", "),a", ',', 1, 1},
      {"a stray end does not pay for a later comment", ")(,),", ',', 4, 4},
      {"an escaped quote", "\"a\\\",b\",c", ',', 7, 7},
      {"an escaped parenthesis", "(a\\),b),c", ',', 7, 7},
      {"an escaped backslash", "\"a\\\\\",b", ',', 5, 5},
      {"a backslash outside escapes nothing", "\\\"a,\",", ',', 5, 5},
      {"the character behind a backslash outside", "\\,", ',', 1, 1},
      {"a backslash at the end", "a,\"\\", ',', 1, 1},
      {"an open quote", "a,\"b,c", ',', 1, 1},
      {"an open comment", "a,(b,c", ',', 1, 1},
      {"the beginnings of strings", "a\"b\"\"c\"", '"', 1, 4},
      {"the beginnings of comments", "a(b(c))(d)", '(', 1, 7},
      {"ends of comments lie inside", "a(b)c", ')', -1, -1},
      {"ends without a beginning", "a)(b))", ')', 1, 5},
      {"a backslash in an open string", "a\\\"\\\"\\", '\\', 1, 1},
      {"the terminator", "abc", '\0', -1, -1},
      {"a byte above ASCII", "\"\xE9\"\xE9", '\xE9', 3, 3},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    const char* const text = row.text.c_str();
    const auto at = [&](const char* found) { return found == nullptr ? -1 : int(found - text); };
    EXPECT_EQ(at(ZRFindUnquoted(text, row.wanted)), row.first);
    EXPECT_EQ(at(ZRFindLastUnquoted(text, row.wanted)), row.last);
  }
}

TEST(TextScans, TrimsTheEnds) {
  const struct {
    const char* name;
    std::string text, skipped, trimmed;
  } kRows[] = {
      {"nothing to do", "a b", "a b", "a b"},
      {"both ends", " a b ", "a b ", " a b"},
      {"every kind", "\t\n\v\f\r a\t\n\v\f\r ", "a\t\n\v\f\r ", "\t\n\v\f\r a"},
      {"neighbours of whitespace", "\x08\x0E", "\x08\x0E", "\x08\x0E"},
      {"a hard blank is none", "\xA0", "\xA0", "\xA0"},
      {"blanks only", "   ", "", " "},
      {"one blank", "\t", "", "\t"},
      {"empty", "", "", ""},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(ZRSkipSpaces(row.text.c_str()), row.skipped);
    std::string text = row.text;
    ZRTrimTrailing(text.data());
    EXPECT_EQ(text.c_str(), row.trimmed);
  }
}

TEST(TextScans, StripsWhatEncloses) {
  const struct {
    const char* name;
    std::string text;
    char first, last;
    bool stripped;
    std::string result;
  } kRows[] = {
      {"enclosed", "<a>", '<', '>', true, "a"},
      {"once only", "<<a>>", '<', '>', true, "<a>"},
      {"nothing between", "<>", '<', '>', true, ""},
      {"one character is not enough", "\"", '"', '"', false, "\""},
      {"no first", "a>", '<', '>', false, "a>"},
      {"no last", "<a", '<', '>', false, "<a"},
      {"empty", "", '<', '>', false, ""},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    std::string text = row.text;
    EXPECT_EQ(ZRStripEnclosing(text.data(), row.first, row.last), row.stripped);
    EXPECT_EQ(text.c_str(), row.result);
  }
}

TEST(TextScans, KnowsPhoneNumbers) {
  const struct {
    const char* name;
    std::string text;
    bool expected;
  } kRows[] = {
      {"all marks", "(012) 345-6789 x10", true},
      {"the rest of the marks", "+49.89#*,;", true},
      {"one digit", "7", true},
      {"no digit", "-- ()", false},
      {"letters", "012-ABCD", false},
      {"only a small x", "012X3", false},
      {"empty", "", false},
      {"a zero byte", std::string("1\0", 2), false},
      {"a byte above ASCII", "1\xB2", false},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    Str255 text;
    qv::SetLStr(text, 255, row.text.data(), static_cast<int32_t>(row.text.size()));
    EXPECT_EQ(ZRIsPhoneNumber(text), row.expected);
  }
}

TEST(TextScans, TakesNullForEmpty) {
  EXPECT_EQ(ZRFindUnquoted(nullptr, ','), nullptr);
  EXPECT_EQ(ZRFindLastUnquoted(nullptr, ','), nullptr);
  EXPECT_EQ(ZRSkipSpaces(nullptr), nullptr);
  ZRTrimTrailing(nullptr);
  EXPECT_FALSE(ZRStripEnclosing(nullptr, '<', '>'));
  EXPECT_FALSE(ZRIsPhoneNumber(nullptr));
}

}  // namespace
