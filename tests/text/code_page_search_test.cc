#include "text/code_page_search.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/text/guarded_text.h"

namespace {

using std::string_literals::operator""s;
using test::GuardedText;
using test::Widened;

constexpr int kNone = -1;

int Offset(const char* found, const char* s) {
  return found == nullptr ? kNone : static_cast<int>(found - s);
}

TEST(CodePageSearchTest, FindsACharacter) {
  const struct {
    const char* name;
    CodePage cp;
    std::string s, c;  // terminators included
    int first, last;
  } kRows[] = {
      {"single bytes", 1252, "a\\b\\c\0"s, "\\\0"s, 1, 3},
      {"only the first byte of c counts", 1252, "abc\0"s, "bx\0"s, 1, 1},
      {"the terminator, as strchr", 1252, "ab\0"s, "\0"s, 2, 2},
      {"the walk does not find the terminator", 65001, "ab\0"s, "\0"s, kNone, kNone},
      {"a trail byte is no backslash", 932, "a\\\x95\x5C\0"s, "\\\0"s, 1, 1},
      {"single bytes see a backslash there", 1252, "a\\\x95\x5C\0"s, "\\\0"s, 1, 3},
      {"a double-byte character", 932, "\x82\xA0\x82\xA2\x82\xA0\0"s, "\x82\xA0\0"s, 0, 4},
      {"not across two characters", 932, "\x82\xA0\x82\xA2\0"s, "\xA0\x82\0"s, kNone, kNone},
      {"UTF-8", 65001, "\xC3\xA4\xC3\xB6\xC3\xA4\0"s, "\xC3\xA4\0"s, 0, 4},
      {"a longer character with the same start", 65001, "\xC3\xA4\0"s, "\xC3\0"s, kNone, kNone},
      {"a cut character", 65001, "a\xC3\0"s, "\xC3\0"s, 1, 1},
      {"UTF-16 at unit borders", 1200, "\0a\x61\0\0\0"s, "\x61\0\0\0"s, 2, 2},
      {"UTF-32", 12001, Widened("abca", 4, true), Widened("a", 4, true), 0, 12},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    GuardedText s(row.s), c(row.c);
    EXPECT_EQ(Offset(CPStrChr(s.get(), c.get(), row.cp), s.get()), row.first);
    EXPECT_EQ(Offset(CPStrRChr(s.get(), c.get(), row.cp), s.get()), row.last);
  }
  EXPECT_EQ(CPStrChr(nullptr, "a", 65001), nullptr);
  EXPECT_EQ(CPStrChr("a", nullptr, 1252), nullptr);
  EXPECT_EQ(CPStrRChr(nullptr, "a", 1252), nullptr);
  EXPECT_EQ(CPStrRChr("a", nullptr, 65001), nullptr);
}

TEST(CodePageSearchTest, FindsAnyCharacterOfASet) {
  const struct {
    const char* name;
    CodePage cp;
    std::string s, set;
    int found;
  } kRows[] = {
      {"earliest in s, not in set", 1252, "xaby\0"s, "yb\0"s, 2},
      {"none", 1252, "abc\0"s, "xyz\0"s, kNone},
      {"empty set", 65001, "abc\0"s, "\0"s, kNone},
      {"trail bytes are not looked at", 932, "\x95\x5C\\\0"s, "\\\0"s, 2},
      {"a double-byte member", 932, "a\x82\xA2\x82\xA0\0"s, "x\x82\xA0\0"s, 3},
      {"members are not split", 932, "\xA0z\0"s, "\x82\xA0\0"s, kNone},
      {"UTF-8", 65001, "a\xC3\xA4z\0"s, "z\xC3\xA4\0"s, 1},
      {"UTF-16", 1201, Widened("abc", 2, true), Widened("xc", 2, true), 4},
  };
  for (const auto& row : kRows) {
    GuardedText s(row.s), set(row.set);
    EXPECT_EQ(Offset(CPStrPBrk(s.get(), set.get(), row.cp), s.get()), row.found) << row.name;
  }
  EXPECT_EQ(CPStrPBrk(nullptr, "a", 1252), nullptr);
  EXPECT_EQ(CPStrPBrk("a", nullptr, 65001), nullptr);
}

TEST(CodePageSearchTest, ComparesTexts) {
  enum Equality { kEqual, kEqualButCase, kUnequal };
  const struct {
    const char* name;
    CodePage cp;
    std::string a, b;
    uint32_t n;
    Equality expected;
  } kRows[] = {
      {"equal", 1252, "abc\0"s, "abc\0"s, 0, kEqual},
      {"case", 1252, "aBc\0"s, "AbC\0"s, 0, kEqualButCase},
      {"only ASCII letters have case", 1252, "\xE4\0"s, "\xC4\0"s, 0, kUnequal},
      {"neighbours of letters have none", 1252, "@[\0"s, "`{\0"s, 0, kUnequal},
      {"a prefix is unequal", 1252, "ab\0"s, "abc\0"s, 0, kUnequal},
      {"a prefix is unequal, walked", 65001, "ab\0"s, "abc\0"s, 0, kUnequal},
      {"first bytes", 1252, "abX\0"s, "abY\0"s, 2, kEqual},
      {"first bytes, walked", 65001, "abX\0"s, "aBY\0"s, 2, kEqualButCase},
      {"equal, but shorter than n", 1252, "ab\0"s, "ab\0"s, 3, kUnequal},
      {"equal, but shorter than n, walked", 65001, "ab\0"s, "ab\0"s, 3, kUnequal},
      {"one shorter than n", 932, "ab\0"s, "abc\0"s, 3, kUnequal},
      {"both empty", 65001, "\0"s, "\0"s, 0, kEqual},
      {"UTF-8 case", 65001, "\xC3\xA4Z\0"s, "\xC3\xA4z\0"s, 0, kEqualButCase},
      {"UTF-8 letters beyond ASCII", 65001, "\xC3\xA4\0"s, "\xC3\x84\0"s, 0, kUnequal},
      {"a trail byte is no letter", 932, "\x83\x41\0"s, "\x83\x61\0"s, 0, kUnequal},
      {"single bytes see a letter there", 1252, "\x83\x41\0"s, "\x83\x61\0"s, 0, kEqualButCase},
      {"a single byte meets a longer character", 65001, "\xC3z\0"s, "\xC3\xA4\0"s, 1, kUnequal},
      {"n inside a character", 65001, "\xC3\xA4\0"s, "\xC3\xB6\0"s, 1, kEqual},
      {"UTF-16", 1200, Widened("ab", 2, false), Widened("ab", 2, false), 0, kEqual},
      {"UTF-16 has no single bytes to fold", 1200, Widened("a", 2, false), Widened("A", 2, false),
       0, kUnequal},
      {"UTF-32, first bytes", 12001, Widened("ab", 4, true), Widened("ac", 4, true), 4, kEqual},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    GuardedText a(row.a), b(row.b);
    EXPECT_EQ(CPStrNCmp(a.get(), b.get(), row.n, row.cp) == 0, row.expected == kEqual);
    EXPECT_EQ(CPStrNICmp(a.get(), b.get(), row.n, row.cp) == 0, row.expected != kUnequal);
    EXPECT_EQ(CPStrNCmp(b.get(), a.get(), row.n, row.cp) == 0, row.expected == kEqual);
    if (row.n != 0) continue;
    EXPECT_EQ(CPStrCmp(a.get(), b.get(), row.cp) == 0, row.expected == kEqual);
    EXPECT_EQ(CPStrICmp(a.get(), b.get(), row.cp) == 0, row.expected != kUnequal);
  }
}

TEST(CodePageSearchTest, PassesOnTheSignOfTheByteRoutines) {
  EXPECT_LT(CPStrCmp("abc", "abd", 1252), 0);
  EXPECT_GT(CPStrCmp("b", "abc", 1252), 0);
  EXPECT_LT(CPStrCmp("ab", "abc", 1252), 0);
  EXPECT_GT(CPStrCmp("\xE4", "z", 1252), 0) << "bytes are unsigned";
  EXPECT_LT(CPStrNICmp("ABC", "abd", 3, 1252), 0);
  EXPECT_GT(CPStrICmp("b", "A", 1252), 0);
}

TEST(CodePageSearchTest, NullTexts) {
  for (CodePage cp : std::initializer_list<CodePage>{1252, 65001, 1200}) {
    for (auto compare : {CPStrCmp, CPStrICmp}) {
      EXPECT_EQ(compare(nullptr, nullptr, cp), 0);
      EXPECT_NE(compare(nullptr, "a\0\0", cp), 0);
      EXPECT_NE(compare("\0\0", nullptr, cp), 0) << "an empty text is not a missing one";
    }
    EXPECT_EQ(CPStrStr(nullptr, "a\0\0", cp), nullptr);
    EXPECT_EQ(CPStrIStr("a\0\0", nullptr, cp), nullptr);
  }
}

TEST(CodePageSearchTest, FindsTexts) {
  const struct {
    const char* name;
    CodePage cp;
    std::string haystack, needle;
    int found, found_ignoring_case;
  } kRows[] = {
      {"single bytes", 1252, "xabab\0"s, "ab\0"s, 1, 1},
      {"case", 1252, "xAbab\0"s, "aB\0"s, kNone, 1},
      {"at the end", 1252, "xxab\0"s, "ab\0"s, 2, 2},
      {"longer than the haystack", 1252, "ab\0"s, "abc\0"s, kNone, kNone},
      {"empty needle", 1252, "ab\0"s, "\0"s, 0, 0},
      {"empty needle, walked", 65001, "ab\0"s, "\0"s, 0, 0},
      {"empty haystack", 65001, "\0"s, "a\0"s, kNone, kNone},
      {"walked", 65001, "\xC3\xA4xA\0"s, "xa\0"s, kNone, 2},
      {"at the end, walked", 65001, "ab\xC3\xA4\0"s, "\xC3\xA4\0"s, 2, 2},
      {"not inside a character", 932, "\x95\\z\0"s, "\\z\0"s, kNone, kNone},
      {"single bytes find it there", 1252, "\x95\\z\0"s, "\\z\0"s, 1, 1},
      {"UTF-16 at unit borders", 1200, "\0a\x62\0\0\0"s, "\x61\x62\0\0"s, kNone, kNone},
      {"UTF-16", 1200, Widened("xab", 2, false), Widened("ab", 2, false), 2, 2},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    GuardedText haystack(row.haystack), needle(row.needle);
    EXPECT_EQ(Offset(CPStrStr(haystack.get(), needle.get(), row.cp), haystack.get()), row.found);
    EXPECT_EQ(Offset(CPStrIStr(haystack.get(), needle.get(), row.cp), haystack.get()),
              row.found_ignoring_case);
  }
}

TEST(CodePageSearchTest, Tokens) {
  const struct {
    const char* name;
    CodePage cp;
    std::string text, delimiters;
    std::string tokens;  // each followed by "|"
  } kRows[] = {
      {"runs of delimiters", 1252, ";;a,;b;\0"s, ",;\0"s, "a|b|"},
      {"only delimiters", 1252, ";;;\0"s, ";\0"s, ""},
      {"empty", 65001, "\0"s, ";\0"s, ""},
      {"no delimiters", 65001, "a;b\0"s, "\0"s, "a;b|"},
      {"trail bytes do not split", 932, "\x95\x5C\\b\0"s, "\\\0"s, "\x95\x5C|b|"},
      {"a double-byte delimiter", 932, "a\x81\x41z\0"s, "\x81\x41\0"s, "a|z|"},
      {"UTF-8 delimiter", 65001, "a\xE2\x82\xAC\xE2\x82\xACz\xE2\0"s, "\xE2\x82\xAC\0"s,
       "a|z\xE2|"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    for (bool with_context : {true, false}) {
      GuardedText text(row.text), delimiters(row.delimiters);
      char* position = nullptr;
      char** context = with_context ? &position : nullptr;
      std::string tokens;
      for (char* token = CPStrTok(text.get(), delimiters.get(), row.cp, context); token != nullptr;
           token = CPStrTok(nullptr, delimiters.get(), row.cp, context)) {
        tokens += token + "|"s;
      }
      EXPECT_EQ(tokens, row.tokens);
      EXPECT_EQ(CPStrTok(nullptr, delimiters.get(), row.cp, context), nullptr)
          << "it stays at the end";
    }
  }
}

TEST(CodePageSearchTest, TokensOfWideTextAndTwoAtOnce) {
  GuardedText wide(Widened(",a,b", 2, true)), comma(Widened(",", 2, true));
  char* at = nullptr;
  char* token = CPStrTok(wide.get(), comma.get(), 1201, &at);
  ASSERT_EQ(token, wide.get() + 2);
  EXPECT_EQ(std::string(token, 4), "\0a\0\0"s);

  GuardedText outer("a b;c\0"s);
  char* at_outer = nullptr;
  ASSERT_STREQ(CPStrTok(outer.get(), ";", 1252, &at_outer), "a b");
  char* at_inner = nullptr;
  EXPECT_STREQ(CPStrTok(outer.get(), " ", 1252, &at_inner), "a");
  EXPECT_STREQ(CPStrTok(nullptr, ";", 1252, &at_outer), "c");
  EXPECT_STREQ(CPStrTok(nullptr, " ", 1252, &at_inner), "b");
  EXPECT_EQ(CPStrTok(nullptr, nullptr, 1252, &at_inner), nullptr);
}

}  // namespace
