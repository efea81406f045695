#include "text/length_prefixed.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

using std::string;

// A length-prefixed string in a block of exactly a Str255, the bytes behind its text known.
class LStr {
 public:
  explicit LStr(const string& text) : bytes_(sizeof(Str255), kFill) { Set(text); }
  operator uint8_t*() { return reinterpret_cast<uint8_t*>(bytes_.data()); }
  string text() const { return bytes_.substr(1, static_cast<uint8_t>(bytes_[0])); }
  // True when no byte behind the first `count` ones of a text was touched.
  bool UntouchedBehind(size_t count) const {
    return bytes_.find_first_not_of(kFill, 1 + count) == string::npos;
  }

 private:
  static constexpr char kFill = '\x5A';
  void Set(const string& text) {
    bytes_[0] = static_cast<char>(text.size());
    bytes_.replace(1, text.size(), text);
  }
  string bytes_;
};

string Repeat(size_t length, char c) { return string(length, c); }

TEST(LengthPrefixed, BetweenTheForms) {
  for (const size_t length : {0, 1, 254, 255, 256, 300}) {
    SCOPED_TRACE(length);
    const string text = Repeat(length, 'a'), kept = text.substr(0, 255);
    string buffer = text + '\0';
    auto* bytes = reinterpret_cast<uint8_t*>(buffer.data());
    qv::CStrToLStrInPlace(bytes);
    EXPECT_EQ(buffer.substr(0, 1 + kept.size()), static_cast<char>(kept.size()) + kept);
    qv::LStrToCStrInPlace(bytes);
    EXPECT_EQ(string(buffer.c_str()), kept);
  }
}

TEST(LengthPrefixed, CopiesKeepToTheirLimits) {
  const struct {
    const char* name;
    string text;
    int32_t limit;
    string expected;
  } kRows[] = {
      {"fits", "name", 10, "name"},
      {"fits exactly", "name", 4, "name"},
      {"cut", "name", 3, "nam"},
      {"nothing", "name", 0, ""},
      {"below nothing", "name", -1, ""},
      {"a limit above a Str255", Repeat(255, 'x'), 9999, Repeat(255, 'x')},
      {"empty", "", 5, ""},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    LStr from_c(""), from_bytes(""), copy("");
    qv::CStrToLStr(from_c, row.limit, row.text.c_str());
    EXPECT_EQ(from_c.text(), row.expected);
    EXPECT_TRUE(from_c.UntouchedBehind(row.expected.size()));
    qv::SetLStr(from_bytes, row.limit, row.text.data(), static_cast<int32_t>(row.text.size()));
    EXPECT_EQ(from_bytes.text(), row.expected);
    qv::CopyLStr(copy, LStr(row.text), row.limit);
    EXPECT_EQ(copy.text(), row.expected);
    EXPECT_TRUE(copy.UntouchedBehind(row.expected.size()));
    string out(row.expected.size() + 1, '#');  // ASan: exactly the terminator behind the text
    qv::LStrToCStr(out.data(), LStr(row.text), row.limit);
    EXPECT_EQ(out, row.expected + '\0');
  }
  LStr text("before");
  qv::CStrToLStr(text, 9, Repeat(300, 'y').c_str());
  EXPECT_EQ(text.text(), Repeat(9, 'y'));
  qv::SetLStr(text, 9, "abc", -2);
  EXPECT_EQ(text.text(), "") << "a count below 0 is 0";
}

TEST(LengthPrefixed, Appends) {
  const string a200 = Repeat(200, 'a'), b100 = Repeat(100, 'b'), b255 = Repeat(255, 'b');
  const struct {
    const char* name;
    string out, text;
    int32_t limit;
    string limited, to_end;  // of AppendLStr, AppendLStrToEnd
  } kRows[] = {
      {"fits", "ab", "cd", 4, "abcd", "abcd"},
      {"cut", "ab", "cdef", 3, "abc", "abcdef"},
      {"already longer than the limit", "abc", "d", 2, "abc", "abcd"},
      {"limit below 0", "abc", "d", -7, "abc", "abcd"},
      {"sum of exactly 255", a200, Repeat(55, 'b'), 255, a200 + Repeat(55, 'b'),
       a200 + Repeat(55, 'b')},
      {"sum of 256", a200, Repeat(56, 'b'), 255, a200 + Repeat(55, 'b'),
       Repeat(199, 'a') + Repeat(56, 'b')},
      {"ends at byte 255", a200, b100, 255, a200 + Repeat(55, 'b'), Repeat(155, 'a') + b100},
      {"takes the whole place", a200, b255, 255, a200 + Repeat(55, 'b'), b255},
      {"nothing to a full one", b255, "", 255, b255, b255},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    LStr limited(row.out), to_end(row.out);
    qv::AppendLStr(limited, LStr(row.text), row.limit);
    EXPECT_EQ(limited.text(), row.limited);
    EXPECT_TRUE(limited.UntouchedBehind(row.limited.size()));
    qv::AppendLStrToEnd(to_end, LStr(row.text));
    EXPECT_EQ(to_end.text(), row.to_end);
  }
  LStr twice("abc");
  qv::AppendLStr(twice, twice, 5);
  EXPECT_EQ(twice.text(), "abcab");
}

TEST(LengthPrefixed, AppendsZeroTerminatedTexts) {
  const struct {
    const char *out, *text;
    size_t limit;
    const char* expected;
  } kRows[] = {{"ab", "cd", 5, "abcd"}, {"ab", "cd", 4, "abc"}, {"ab", "cd", 3, "ab"},
               {"ab", "cd", 2, "ab"},   {"ab", "cd", 0, "ab"},  {"", "x", 1, ""}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(testing::Message() << row.out << "+" << row.text << " in " << row.limit);
    string out = string(row.out) + '\0';
    out.resize(std::max(out.size(), row.limit), '#');
    qv::AppendCStr(out.data(), row.text, row.limit);
    EXPECT_STREQ(out.c_str(), row.expected);
  }
}

TEST(LengthPrefixed, Inserts) {
  const struct {
    const char* name;
    string text, inserted;
    int32_t position, limit;
    bool cut, result;
    string expected;
  } kRows[] = {
      {"in the middle", "ad", "bc", 1, 255, false, true, "abcd"},
      {"at the end", "ab", "c", 2, 255, false, true, "abc"},
      {"before the front", "bc", "a", -3, 255, false, true, "abc"},
      {"past the end", "ab", "c", 3, 255, true, false, "ab"},
      {"fits exactly", "ad", "bc", 1, 4, false, true, "abcd"},
      {"too long, not cut", "ad", "bc", 1, 3, false, false, "ad"},
      {"too long, cut", "ad", "bc", 1, 3, true, false, "abd"},
      {"no room at all", "ad", "bc", 1, 1, true, false, "ad"},
      {"a full string", Repeat(255, 'x'), "y", 0, 999, true, false, Repeat(255, 'x')},
      {"into one of 254", Repeat(254, 'x'), "yz", 0, 999, true, false, "y" + Repeat(254, 'x')},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    LStr text(row.text);
    EXPECT_EQ(qv::InsertLStr(text, row.position, LStr(row.inserted), row.limit, row.cut),
              row.result);
    EXPECT_EQ(text.text(), row.expected);
    if (row.inserted.size() != 1) continue;
    LStr by_char(row.text);  // one character is the same by either way
    EXPECT_EQ(
        qv::InsertChar(by_char, row.position, static_cast<uint8_t>(row.inserted[0]), row.limit),
        row.result);
    EXPECT_EQ(by_char.text(), row.expected);
  }
  LStr itself("ab");
  EXPECT_TRUE(qv::InsertLStr(itself, 1, itself, 255, false));
  EXPECT_EQ(itself.text(), "aabb");
}

TEST(LengthPrefixed, DeletesRuns) {
  const struct {
    int32_t position, count;
    const char* expected;
  } kRows[] = {{1, 1, "bcd"}, {2, 2, "ad"},        {0, 1, "bcd"},  {INT32_MIN, 1, "bcd"},
               {4, 9, "abc"}, {2, INT32_MAX, "a"}, {5, 1, "abcd"}, {INT32_MAX, 1, "abcd"},
               {1, 4, ""},    {1, -1, "abcd"}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(testing::Message() << row.position << ", " << row.count);
    LStr text("abcd");
    qv::DeleteRun(text, row.position, row.count);
    EXPECT_EQ(text.text(), row.expected);
  }
}

TEST(LengthPrefixed, Compares) {
  const struct {
    string a, b;
    int exact, folded;
  } kRows[] = {{"abc", "abc", 0, 0}, {"abc", "ABC", 1, 0}, {"ab", "abc", -1, -1},
               {"", "", 0, 0},       {"", "a", -1, -1},    {"a\xE9", "a\xC9", 1, 1},
               {"\x80", "z", 1, 1},  {"[", "a", -1, 1},    {string("a\0b", 3), "a", 1, 1}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.a + " " + row.b);
    LStr a(row.a), b(row.b);
    EXPECT_EQ(qv::CompareLStr(a, b), row.exact);
    EXPECT_EQ(qv::CompareLStr(b, a), -row.exact);
    EXPECT_EQ(qv::CompareLStrIgnoringCase(a, b), row.folded);
    EXPECT_EQ(qv::EqualLStr(a, b), row.exact == 0);
    EXPECT_EQ(qv::EqualLStrIgnoringCase(a, b), row.folded == 0);
  }
  EXPECT_EQ(qv::CompareLStr(nullptr, LStr("")), -1);
  EXPECT_TRUE(qv::HasPrefix("Subject", "Sub", false));
  EXPECT_FALSE(qv::HasPrefix("Subject", "sub", false));
  EXPECT_TRUE(qv::HasPrefix("Subject", "sUB", true));
  EXPECT_TRUE(qv::HasPrefix("", "", false));
  EXPECT_FALSE(qv::HasPrefix("Sub", "Subject", true));
}

TEST(LengthPrefixed, FindsInBytes) {
  const struct {
    string bytes, wanted;
    int32_t offset;
  } kRows[] = {{"abcABC", "BC", 1}, {"aab", "AB", 1}, {"abc", "abcd", -1},
               {"abc", "x", -1},    {"abc", "", 0},   {"", "", 0},
               {"", "a", -1},       {"abc", "C", 2},  {string("\0a", 2), "A", 1}};
  for (const auto& row : kRows) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(row.bytes.data());
    EXPECT_EQ(qv::FindLStr({bytes, row.bytes.size()}, LStr(row.wanted)), row.offset)
        << row.bytes << " " << row.wanted;
  }
}

TEST(LengthPrefixed, ChangesCharacters) {
  LStr upper("azAZ[`{\xE4"), blanks(" a  b\t "), translated("abcab");
  qv::UpperCaseLStr(upper);
  EXPECT_EQ(upper.text(), "AZAZ[`{\xE4");
  qv::RemoveBlanks(blanks);
  EXPECT_EQ(blanks.text(), "ab\t");
  qv::TranslateLStr(translated, LStr("aab"), LStr("xy"));
  EXPECT_EQ(translated.text(), "xbcxb") << "the first place counts; a place without partner stays";
  char text[] = "r\xE9sum\xE9";
  qv::UpperCaseCStr(text);
  EXPECT_STREQ(text, "R\xE9SUM\xE9");
}

TEST(LengthPrefixed, NthWordCountsFromZero) {
  const struct {
    const char* text;
    int32_t n;
    const char* word;
  } kRows[] = {{"one two", 0, "one"}, {"one two", 1, "two"}, {"  one   two ", 1, "two"},
               {"one two", 2, ""},    {"one two ", 2, ""},   {"", 0, ""},
               {"one", -1, ""},       {"one", INT32_MAX, ""}};
  for (const auto& row : kRows) EXPECT_STREQ(qv::NthWord(row.text, row.n), row.word) << row.n;
  const string longest = Repeat(300, 'w');
  EXPECT_EQ(qv::NthWord(longest.c_str(), 0), Repeat(255, 'w'));
  EXPECT_STREQ(qv::NthWord(qv::NthWord("a b", 1), 0), "b") << "out of its own buffer";
}

}  // namespace
