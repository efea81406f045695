#include "net/url_escaping.h"

#include <gtest/gtest.h>

#include <string>

#include "base/hooks.h"
#include "tests/text/module_tables.h"
#include "text/length_prefixed.h"

namespace {

using namespace std::string_literals;

constexpr uint32_t kAmple = 4096;

class URLEscaping : public test::ModuleTables {};

// What was written into `size` bytes; fails when the rest of them is not zeros or one behind them
// was touched.
std::string Escape(const std::string& text, const qv::URLEscapeSet* set = nullptr,
                   CodePage cp = kUtf8, uint32_t size = kAmple, uint32_t length = kMeasure) {
  std::string output(size + 8, '\x5A');
  uint32_t used = size;
  ZRURLEscape(text.c_str(), length, output.data(), &used, set, cp);
  EXPECT_EQ(output.find_first_not_of('\x5A', size), std::string::npos) << "wrote behind";
  EXPECT_EQ(output.substr(used, size - used), std::string(size - used, '\0'));
  return output.substr(0, used);
}

std::string Unescape(const std::string& text, bool slashes, CodePage cp = kUtf8,
                     uint32_t size = kAmple, uint32_t limit = qv::kNoInputLimit) {
  std::string output(size + 8, '\x5A');
  const uint32_t length = ZRURLUnescape(text.c_str(), limit, output.data(), size, slashes, cp);
  EXPECT_EQ(output.find_first_not_of('\x5A', size), std::string::npos) << "wrote behind";
  EXPECT_EQ(output[length], '\0');
  std::string in_place = text + '\0';
  in_place.resize(std::max<size_t>(in_place.size(), size));
  EXPECT_EQ(ZRURLUnescape(in_place.data(), limit, in_place.data(), size, slashes, cp), length);
  EXPECT_EQ(in_place.substr(0, length), output.substr(0, length));
  return output.substr(0, length);
}

TEST_F(URLEscaping, EscapesWhatTheSetNames) {
  const std::string marks = "<>\"{}|\\^[]()'`",
                    escaped = "%3C%3E%22%7B%7D%7C%5C%5E%5B%5D%28%29%27%60";
  const std::string kept = "AZaz09-_.~!*$,;=@\x1F";
  const struct {
    const char* name;
    std::string text;
    std::string by_set[4];
  } kRows[] = {
      {"never", kept, {kept, kept, kept, kept}},
      {"in every set", marks, {escaped, escaped, escaped, escaped}},
      {"not in set 0", "#%+", {"#%+", "%23%25%2B", "%23%25%2B", "%23%25%2B"}},
      {"in sets 2 and 3", "?:&", {"?:&", "?:&", "%3F%3A%26", "%3F%3A%26"}},
      {"in set 2", "/", {"/", "/", "%2F", "/"}},
      {"always", " \x1E\x7F\xE9", {"%20%1E%7F%E9", "%20%1E%7F%E9", "%20%1E%7F%E9", "%20%1E%7F%E9"}},
      {"empty", "", {"", "", "", ""}},
  };
  for (const auto& row : kRows) {
    for (size_t set = 0; set < 4; ++set) {
      SCOPED_TRACE(row.name + " in set "s + std::to_string(set));
      EXPECT_EQ(Escape(row.text, &qv::kURLEscapeSets[set]), row.by_set[set]);
      EXPECT_EQ(ZRURLNeedsEscape(row.text.c_str(), &qv::kURLEscapeSets[set]),
                row.by_set[set] != row.text);
    }
    EXPECT_EQ(Escape(row.text), row.by_set[1]);
  }
  EXPECT_EQ(ZRURLNeedsEscape("#", nullptr), 1);
  EXPECT_EQ(ZRURLNeedsEscape(nullptr, nullptr), 0);
}

TEST_F(URLEscaping, CarriesUtf8) {
  const struct {
    const char* name;
    std::string text;
    CodePage cp;
    std::string escaped;
  } kRows[] = {
      {"Western", "Gr\xF6\xDF e", 1252, "Gr%C3%B6%C3%9F%20e"},
      {"Macintosh", "\x80", 10000, "%C3%84"},
      {"UTF-8 as it is", "\xC3\xA9", kUtf8, "%C3%A9"},
      {"no code page: bytes", "\xE9", kDefaultCodePage, "%E9"},
      {"no table: bytes", "\x82\xA0", 4711, "%82%A0"},
      {"line ends stay", "a\r\nb\n", 1252, "a%0D%0Ab%0A"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Escape(row.text, nullptr, row.cp), row.escaped);
    EXPECT_EQ(Unescape(row.escaped, true, row.cp), row.text);
  }
  EXPECT_EQ(Escape("a\0\xE9\0\0\0"s, nullptr, 1200), "a%C3%A9");
}

TEST_F(URLEscaping, FillsTheOutputAndDropsWhatDoesNotFit) {
  const struct {
    const char* name;
    std::string text;
    uint32_t size, length;
    std::string expected;
  } kRows[] = {
      {"safe bytes fill it", "abcd", 3, kMeasure, "abc"},
      {"an escape needs a byte more", "a b", 4, kMeasure, "ab"},
      {"and has it", "a b", 5, kMeasure, "a%20b"},
      {"dropped, a later one kept", "ab cd", 4, kMeasure, "abcd"},
      {"no room", "a", 0, kMeasure, ""},
      {"part of the text", "a bc", 9, 3, "a%20b"},
      {"the text ends before its length", "a\0b"s, 9, 3, "a"},
      {"1023 bytes count", std::string(1023, 'x') + "y", kAmple, kMeasure, std::string(1023, 'x')},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Escape(row.text, nullptr, kUtf8, row.size, row.length), row.expected);
  }
}

// Blocks are written without looking at the room: at every size the result is that of one byte
// after another.
TEST_F(URLEscaping, BlocksKeepTheRulesOfTheRoom) {
  const std::string text = "a b  cd\xE9 efghijk   lmno pqrstu v#w%xyz   end of it";
  const qv::URLEscapeSet& set = qv::kURLEscapeSets[1];
  for (uint32_t size = 0; size < 3 * text.size() + 3; ++size) {
    std::string expected;
    for (const char c : text) {
      const auto& form = set.FormOf(c);
      const bool fits = expected.size() + (form.length == 1 ? 0 : 3) < size;
      if (fits) expected.append(form.characters, form.length);
    }
    EXPECT_EQ(Escape(text, &set, kUtf8, size), expected) << size;
  }
}

TEST_F(URLEscaping, EscapesInPlaceAndTakesNull) {
  char text[16] = "a b";
  uint32_t size = sizeof text;
  ZRURLEscape(text, kMeasure, text, &size, nullptr, kUtf8);
  EXPECT_STREQ(text, "a%20b");
  EXPECT_EQ(size, 5u);
  size = sizeof text;
  ZRURLEscape(nullptr, 5, text, &size, nullptr, 1252);
  EXPECT_EQ(size, 0u);
  EXPECT_STREQ(text, "");
  ZRURLEscape("a", 1, nullptr, &size, nullptr, 1252);
  ZRURLEscape("a", 1, text, nullptr, nullptr, 1252);
  EXPECT_EQ(ZRURLUnescape("a", 1, nullptr, 5, false, kUtf8), 0u);
  EXPECT_EQ(ZRURLUnescape(nullptr, 1, text, 5, false, kUtf8), 0u);
}

TEST_F(URLEscaping, AppendsToALengthPrefixedText) {
  const struct {
    const char* name;
    std::string out, text, expected;
  } kRows[] = {
      {"appended", "x", "a b", "xa%20b"},
      {"255 escaped bytes", "", std::string(252, 'a') + " b", std::string(252, 'a') + "b"},
      {"as far as there is room", std::string(250, 'x'), "a b c", std::string(250, 'x') + "a%20b"},
      {"nothing", "x", "", "x"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    Str255 out, text;
    qv::SetLStr(out, 255, row.out.data(), static_cast<int32_t>(row.out.size()));
    qv::SetLStr(text, 255, row.text.data(), static_cast<int32_t>(row.text.size()));
    ZRURLEscapeToString(out, text, nullptr, kUtf8);
    EXPECT_EQ(std::string(out + 1, out + 1 + out[0]), row.expected);
  }
}

TEST_F(URLEscaping, Unescapes) {
  const struct {
    const char* name;
    std::string text, kept, decoded;
  } kRows[] = {
      {"blank and slash", "a+b%2Fc", "a b%2Fc", "a b/c"},
      {"small slash", "%2f", "/", "/"},
      {"no digit", "%G1", "G1", "G1"},
      {"one digit", "%1G2", "G2", "G2"},
      {"digits of both cases", "%aF%Af", "\xAF\xAF", "\xAF\xAF"},
      {"cut", "a%", "a", "a"},
      {"cut behind a digit", "a%4", "a", "a"},
      {"a percent sign in place of a digit", "%%41", "A", "A"},
      {"one in place of the second", "%4%41", "A", "A"},
      {"read once", "%2541", "%41", "%41"},
      {"in blocks", "ab+cd%20ef+%2Fgh++ijklmnopqrstuvw%41xyz+0123456789",
       "ab cd ef %2Fgh  ijklmnopqrstuvwAxyz 0123456789",
       "ab cd ef /gh  ijklmnopqrstuvwAxyz 0123456789"},
      {"zero byte", "a%00b", "a\0b"s, "a\0b"s},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Unescape(row.text, false), row.kept);
    EXPECT_EQ(Unescape(row.text, true), row.decoded);
  }
  char out[8];
  EXPECT_EQ(qv::UnescapeURL("%2F", out, sizeof out, kUtf8), 3u);
  EXPECT_EQ(qv::UnescapeURLAndSlashes("%2F", out, sizeof out, kUtf8), 1u);
}

TEST_F(URLEscaping, UnescapesWithinLimits) {
  const struct {
    const char* name;
    std::string text;
    uint32_t size, limit;
    std::string expected;
  } kRows[] = {
      {"the terminator has room", "abcd", 4, 99, "abc"},
      {"only it", "abcd", 1, 99, ""},
      {"no room", "%41%42%43", 3, 99, "AB"},
      {"a kept slash is never cut", "a%2Fb", 4, 99, "a"},
      {"a kept slash fits", "a%2Fb", 5, 99, "a%2F"},
      {"input cut", "abc", 9, 2, "ab"},
      {"input cut in an escape", "a%41", 9, 3, "a"},
      {"nothing read", "abc", 9, 0, ""},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Unescape(row.text, false, kUtf8, row.size, row.limit), row.expected);
  }
}

TEST_F(URLEscaping, ConvertsOnlyWhatReadsAsUtf8) {
  EXPECT_EQ(Unescape("%C3%A9", false, 1252), "\xE9");
  EXPECT_EQ(Unescape("%E9", false, 1252), "\xE9");
  EXPECT_EQ(Unescape("%C3%A9%00x", false, 1252), "\xE9\0x"s);
  EXPECT_EQ(Unescape("%D0%96", false, 1252), "\x1A");
  EXPECT_EQ(Unescape("a%C3%A9", false, 1200), "a\0\xE9\0"s);
  EXPECT_EQ(Unescape("abcd", false, 1200, 7), "a\0b\0"s);
  EXPECT_EQ(Unescape("a", false, 1200, 2), "");
  EXPECT_EQ(Unescape("a", false, kUtf32Little, 3), "");
  EXPECT_EQ(Unescape("", false, 1200), "");
  const std::string large(3000, 'x');
  EXPECT_EQ(Unescape(large + "%C3%A9", false, 1252), large + "\xE9");
  qv::GlobalHooks().allocate = [](size_t) -> void* { return nullptr; };
  EXPECT_EQ(Unescape(large + "%C3%A9", false, 1252), large + "\xC3\xA9");
  qv::ResetHooksForTest();
}

}  // namespace
