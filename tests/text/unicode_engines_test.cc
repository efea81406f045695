#include "text/unicode_engines.h"

#include <gtest/gtest.h>

#include "tests/text/module_tables.h"
#include "text/code_page_strings.h"

namespace qv {
namespace {

using namespace std::string_literals;
using test::Converted;
using test::ConvertWithEngine;
using test::kAmple;

// Forms without a state: text may be cut anywhere between characters.
constexpr CodePage kForms[] = {kUtf8, kUtf16Little, kUtf16Big, kUtf32Little, kUtf32Big,
                               1252,  37,           864,       932,          20001};

class UnicodeEngines : public test::ModuleTables {};

std::string FromUtf8(const std::string& text, CodePage to) {
  return ConvertWithEngine(text, kUtf8, to, kKeep).text;
}

struct Row {
  const char* name;
  std::string in, out;
  uint32_t cut = 0;  // bytes that stay unconsumed
};

// By itself, and inside a long run, where blocks are converted.
void ExpectRows(CodePage from, CodePage to, const std::vector<Row>& rows) {
  const std::string run(100, 'x');
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(ConvertWithEngine(row.in, from, to, kKeep),
              (Converted{row.out, static_cast<uint32_t>(row.in.size()) - row.cut}));
    const std::string behind = row.cut == 0 ? run : "";
    const std::string in = FromUtf8(run, from) + row.in + FromUtf8(behind, from);
    EXPECT_EQ(ConvertWithEngine(in, from, to, kKeep).text,
              FromUtf8(run, to) + row.out + FromUtf8(behind, to));
  }
}

TEST_F(UnicodeEngines, ReadAnyUtf8) {
  const std::vector<Row> kRows = {
      {"ASCII and NUL", "a\0b"s, "\0a\0\0\0b"s},
      {"two bytes", "\xC3\xA9", "\0\xE9"s},
      {"three bytes", "\xE2\x82\xAC", "\x20\xAC"},
      {"four bytes", "\xF0\x9F\x98\x80", "\xD8\x3D\xDE\x00"s},
      {"five bytes: too large for UTF-16", "\xF8\x88\x80\x80\x80", "\0\x1A"s},
      {"six bytes", "\xFD\xBF\xBF\xBF\xBF\xBF!", "\0\x1A\0!"s},
      {"seven bytes", "\xFE\xBF\xBF\xBF\xBF\xBF\xBF!", "\0\x1A\0!"s},
      {"overlong slash", "\xC0\xAF", "\0/"s},
      {"overlong in six bytes", "\xFC\x80\x80\x80\x80\xAF", "\0/"s},
      {"a surrogate as three bytes", "\xED\xA0\x80", "\xD8\x00"s},
      {"stray continuation bytes", "\x80\xBF!", "\0\x1A\0\x1A\0!"s},
      {"FF", "\xFF!", "\0\x1A\0!"s},
      {"broken by ASCII", "\xE2\x82!", "\0\x1A\0!"s},
      {"broken by a lead byte", "\xE2\xC3\xA9", "\0\x1A\0\xE9"s},
      {"broken after five of six", "\xFC\x80\x80\x80\x80!", "\0\x1A\0!"s},
      {"broken near the end of the input", "caf\xE9!", "\0c\0a\0f\0\x1A\0!"s},
      {"cut after one of two", "a\xC3", "\0a"s, 1},
      {"cut after three of four", "a\xF0\x9F\x98", "\0a"s, 3},
      {"cut after six of seven", "\xFE\x80\x80\x80\x80\x80", "", 6},
  };
  ExpectRows(kUtf8, kUtf16Big, kRows);
}

TEST_F(UnicodeEngines, WriteEveryForm) {
  const std::string text = "A\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
  const struct {
    CodePage to;
    std::string out;
  } kRows[] = {
      {kUtf8, text},
      {kUtf16Little, "A\0\xE9\0\xAC\x20\x3D\xD8\x00\xDE"s},
      {kUtf16Big, "\0A\0\xE9\x20\xAC\xD8\x3D\xDE\x00"s},
      {kUtf32Little, "A\0\0\0\xE9\0\0\0\xAC\x20\0\0\x00\xF6\x01\0"s},
      {kUtf32Big, "\0\0\0A\0\0\0\xE9\0\0\x20\xAC\0\x01\xF6\x00"s},
      {kUtf7, "A+AOkgrNg93gA-"},
      {1252, "A\xE9\x80\x1A"},
      {37, "\xC1\x51\x1A\x1A"},
      {932, "A\x1A\x1A\x1A"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.to);
    EXPECT_EQ(FromUtf8(text, row.to), row.out);
    if (!IsUnicodeCodePage(row.to)) continue;
    EXPECT_EQ(ConvertWithEngine(row.out, row.to, kUtf8, kKeep).text, text);
  }
}

TEST_F(UnicodeEngines, EastAsianForms) {
  // Latin, kanji, hiragana, half-width katakana, Latin.
  const std::string text = "a\xE6\xBC\xA2\xE3\x81\x82\xEF\xBD\xB1z";
  const struct {
    CodePage page;
    std::string out;
  } kRows[] = {
      {932, "a\x8A\xBF\x82\xA0\xB1z"},
      {10001, "a\x8A\xBF\x82\xA0\xB1z"},
      {20001, "a\xB4\xC1\xA4\xA2\x8E\xB1z"},
      {20002, "a\x1B$B4A$\"\x1B(I1\x1B(Bz"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.page);
    EXPECT_EQ(FromUtf8(text, row.page), row.out);
    ExpectRows(row.page, kUtf8, {{"back", row.out, text}});
  }
}

TEST_F(UnicodeEngines, EastAsianPairsThatAreNoCharacter) {
  ExpectRows(932, kUtf8,
             {{"cut behind a lead byte", "a\x82", "a", 1},
              {"a pair without a character", "\x81\xAD!", "\x1A!"},
              {"a trail byte that is an ASCII letter", "\x82\x41!", "\x1A!"},
              {"a control byte behind a lead byte", "\x82\x0A!", "\x1A\n!"},
              {"no lead byte, no character", "\xFD!", "\x1A!"},
              {"Windows' place of an everyday character", "\xFB\xFC!", "\xE9\xAB\x99!"},
              {"cut there", "a\xFB", "a", 1},
              {"no character there", "\xFC\x4C!", "\x1AL!"}});
  ExpectRows(10001, kUtf8, {{"yen and backslash", "\\\x80", "\xC2\xA5\\"}});
  ExpectRows(
      20001, kUtf8,
      {{"half of three bytes", "\x8F\xB0", "", 2}, {"JIS X 0212", "\x8F\xB0\xA1!", "\x1A!"}});
  ExpectRows(20002, kUtf8,
             {{"cut in a sequence", "a\x1B$", "a", 2},
              {"a sequence at the end", "a\x1B(B", "a"},
              {"half a pair", "\x1B$B4", "", 1}});
}

// Whatever the room, what is written is whole and closed: it reads back as what was consumed.
TEST_F(UnicodeEngines, FormsWithAStateAreClosedInAnyRoom) {
  const std::string text = "a\xE6\xBC\xA2\r\n\xE3\x81\x82\xEF\xBD\xB1+b\xE6\xBC\xA2\xE6\xBC\xA2";
  for (CodePage page : {CodePage{kUtf7}, CodePage{20002}}) {
    const std::string whole = FromUtf8(text, page);
    for (uint32_t room = 0; room <= whole.size(); ++room) {
      const Converted cut = ConvertWithEngine(text, kUtf8, page, kKeep, room);
      ASSERT_EQ(ConvertWithEngine(cut.text, page, kUtf8, kKeep),
                (Converted{text.substr(0, cut.consumed), static_cast<uint32_t>(cut.text.size())}))
          << page << " room " << room;
    }
    EXPECT_EQ(ConvertWithEngine(text, kUtf8, page, kKeep, static_cast<uint32_t>(whole.size())).text,
              whole);
  }
}

TEST_F(UnicodeEngines, CodesAtTheLimitsOfUtf8) {
  const std::vector<Row> kRows = {
      {"last of one byte", "\0\0\0\x7F"s, "\x7F"},
      {"first of two", "\0\0\0\x80"s, "\xC2\x80"},
      {"last of two", "\0\0\x07\xFF"s, "\xDF\xBF"},
      {"first of three", "\0\0\x08\0"s, "\xE0\xA0\x80"},
      {"last of three", "\0\0\xFF\xFF"s, "\xEF\xBF\xBF"},
      {"first of four", "\0\x01\0\0"s, "\xF0\x90\x80\x80"},
      {"last of four", "\0\x1F\xFF\xFF"s, "\xF7\xBF\xBF\xBF"},
      {"the next is skipped", "\0\x20\0\0\0\0\0!"s, "!"},
      {"the highest is skipped", "\xFF\xFF\xFF\xFF\0\0\0!"s, "!"},
  };
  ExpectRows(kUtf32Big, kUtf8, kRows);
}

TEST_F(UnicodeEngines, KeepLoneSurrogatesBetweenUnicodeForms) {
  const std::vector<Row> kRows = {
      {"low", "\xDC\0!!"s, "\xED\xB0\x80\xE2\x84\xA1"},
      {"high before ASCII", "\xD8\0\0!"s, "\xED\xA0\x80!"},
      {"high before a pair", "\xD8\0\xD8\x3D\xDE\x00"s, "\xED\xA0\x80\xF0\x9F\x98\x80"},
      {"high cut by the end", "\0!\xD8\0"s, "!", 2},
      {"half a pair's low", "\0!\xD8\0\xDC"s, "!", 3},
      {"half a unit", "\0!\0"s, "!", 1},
  };
  ExpectRows(kUtf16Big, kUtf8, kRows);
  ExpectRows(kUtf16Big, 1252, {{"in a code page", "\xDC\0"s, "\x1A"}});
}

TEST_F(UnicodeEngines, RewriteLineEnds) {
  const std::string text = "a\r\nb\rc\nd\n\re\r\r\n\n";
  const struct {
    const char* name;
    CodePage from, to;
    int mode;
    std::string out;  // in ASCII
  } kRows[] = {
      {"native: CR LF for Windows", kUtf8, 1252, 0, "a\r\nb\r\nc\r\nd\r\n\r\ne\r\n\r\n\r\n"},
      {"native: CR for Macintosh", kUtf8, 10000, 0, "a\rb\rc\rd\r\re\r\r\r"},
      {"native of the source", kUtf8, 10000, 1, "a\r\nb\r\nc\r\nd\r\n\r\ne\r\n\r\n\r\n"},
      {"native of a Macintosh source", 10000, kUtf8, 1, "a\rb\rc\rd\r\re\r\r\r"},
      {"CR", kUtf8, 1252, 2, "a\rb\rc\rd\r\re\r\r\r"},
      {"LF", 1252, kUtf8, 3, "a\nb\nc\nd\n\ne\n\n\n"},
      {"CR LF", 1252, kUtf8, 4, "a\r\nb\r\nc\r\nd\r\n\r\ne\r\n\r\n\r\n"},
      {"keep", 1252, kUtf8, 5, text},
      {"keep too", 1252, kUtf8, 6, text},
      {"any other number is LF", 1252, kUtf8, 7, "a\nb\nc\nd\n\ne\n\n\n"},
      {"a negative one too", 1252, kUtf8, -1, "a\nb\nc\nd\n\ne\n\n\n"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(ConvertWithEngine(text, row.from, row.to, row.mode).text, row.out);
    // At every place of a block, and in every form.
    for (uint32_t shift = 0; shift < 40; ++shift) {
      const std::string run(shift, 'x');
      EXPECT_EQ(ConvertWithEngine(run + text + run, row.from, row.to, row.mode).text,
                run + row.out + run);
    }
  }
  for (CodePage from : kForms) {
    for (CodePage to : kForms) {
      SCOPED_TRACE(testing::Message() << from << " to " << to);
      EXPECT_EQ(ConvertWithEngine(FromUtf8(text, from), from, to, kCrLf).text,
                FromUtf8("a\r\nb\r\nc\r\nd\r\n\r\ne\r\n\r\n\r\n", to));
    }
  }
}

TEST_F(UnicodeEngines, WriteMarkAndTerminator) {
  const struct {
    const char* name;
    CodePage to;
    std::string out;  // of "z" with both
  } kRows[] = {
      {"UTF-8", kUtf8, "\xEF\xBB\xBFz\0"s},
      {"UTF-16 little-endian", kUtf16Little, "\xFF\xFEz\0\0\0"s},
      {"UTF-16 big-endian", kUtf16Big, "\xFE\xFF\0z\0\0"s},
      {"UTF-32 little-endian", kUtf32Little, "\xFF\xFE\0\0z\0\0\0\0\0\0\0"s},
      {"UTF-32 big-endian", kUtf32Big, "\0\0\xFE\xFF\0\0\0z\0\0\0\0"s},
      {"UTF-7, its run closed", kUtf7, "+/v8-z\0"s},
      {"a code page has no mark", 1252, "z\0"s},
      {"nor has an East Asian one", 20002, "z\0"s},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    const auto convert = [&row](uint32_t room) {
      return test::ConvertGuarded(room, [&row](char* output, uint32_t* written) {
        const auto result = ConvertBetweenCodePages("z", kMeasure, kUtf8, output, *written, row.to,
                                                    {kKeep, kConvertByteOrderMark});
        *written = result.written;
        return result.consumed;
      });
    };
    EXPECT_EQ(convert(kAmple), (Converted{row.out, 1}));
    EXPECT_EQ(convert(static_cast<uint32_t>(row.out.size())), (Converted{row.out, 1}));
    // One byte less: the character goes, the terminator stays.
    const auto width = static_cast<size_t>(CPTermSize(row.to));
    std::string shorter = row.out.substr(0, row.out.size() - width);
    EXPECT_EQ(
        convert(static_cast<uint32_t>(row.out.size()) - 1),
        (Converted{row.out.substr(0, row.out.size() - 2 * width) + std::string(width, '\0'), 0}));
    EXPECT_EQ(convert(static_cast<uint32_t>(width) - 1), (Converted{"", 0}));
  }
}

TEST_F(UnicodeEngines, NeverSplitACharacter) {
  const std::string text =
      "\xE2\x82\xACy\r\nz\xC3\xA9\xF0\x9F\x98\x80\n" + std::string(40, 'x') + "\xC3\xA9\rend";
  for (CodePage from : kForms) {
    const std::string input = FromUtf8(text, from);
    for (CodePage to : kForms) {
      for (int mode : {kCr, kCrLf, kKeep}) {
        SCOPED_TRACE(testing::Message() << from << " to " << to << " mode " << mode);
        const Converted whole = ConvertWithEngine(input, from, to, mode);
        ASSERT_EQ(whole.consumed, input.size());
        for (uint32_t room = 0; room <= whole.text.size(); ++room) {
          // What did not fit follows when the rest is converted: nothing was lost or cut.
          const Converted first = ConvertWithEngine(input, from, to, mode, room);
          const Converted rest = ConvertWithEngine(input.substr(first.consumed), from, to, mode);
          ASSERT_EQ(first.text + rest.text, whole.text) << room;
          ASSERT_GT(first.text.size() + 8, room);
        }
      }
    }
  }
}

TEST_F(UnicodeEngines, GiveUpWithoutATable) {
  const struct {
    CodePage from, to;
  } kRows[] = {{936, kUtf8}, {kUtf8, 936},   {kUtf8, 20014}, {20003, kUtf8},
               {1252, 949},  {20009, kUtf8}, {1252, 0}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(testing::Message() << row.from << " to " << row.to);
    EXPECT_EQ(ConvertWithEngine("abc", row.from, row.to, kKeep), (Converted{"", 0}));
  }
  char out[8];
  CodePage to = 1252;
  EXPECT_FALSE(ConvertThroughUnicode("abc", 3, 1250, out, 8, &to, {}).possible);
}

TEST_F(UnicodeEngines, ChooseTheCodePageThatLosesLeast) {
  const struct {
    const char* name;
    std::string text;
    CodePage preferred, chosen;
  } kRows[] = {
      {"ASCII: the preferred", "plain", 1250, 1250},
      {"Western fits the preferred", "caf\xC3\xA9 \xE2\x82\xAC", 1252, 1252},
      {"Cyrillic does not", "\xD0\xB4\xD0\xB0", 1252, 1251},
      {"Mac Cyrillic is as good: kept when preferred", "\xD0\xB4\xD0\xB0", 10007, 10007},
      {"accents count in plain ASCII", "\xC4\x8C\xC5\x99", 1252, 1250},
      {"one letter more decides", "\xC3\xA9\xC3\xA9\xD0\xB4", 1251, 1250},
      {"the preferred is multi-byte", "plain", 932, 932},
      {"the preferred has no table: same kind, lower class", "plain", 949, 932},
      {"the preferred has no table: a single-byte one", "plain", 28591, 1250},
      {"Japanese: multi-byte tables lose nothing, lower class", "\xE3\x81\x82", 1252, 932},
      {"Japanese: kept when preferred", "\xE3\x81\x82", 20002, 20002},
      {"Japanese and an accent: as many lost", "\xE3\x81\x82\xC3\xA9", 1252, 1252},
      {"Cyrillic is in the Japanese pages too", "\xD0\xB4\xD0\xB0", 932, 932},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    SetApplicationCodePage(row.preferred);
    for (CodePage asked : {CodePage{0}, kDefaultCodePage}) {
      char out[32];
      CodePage to = asked;
      const ConversionResult result =
          ConvertThroughUnicode(row.text.data(), static_cast<uint32_t>(row.text.size()), kUtf8, out,
                                sizeof out, &to, {kKeep, 0});
      EXPECT_EQ(to, row.chosen);
      EXPECT_EQ(result.consumed, row.text.size());
    }
  }
  ReleaseUnicodeTables();
  CodePage to = 0;
  char out[4];
  EXPECT_TRUE(BuildUnicodeTables({}));
  ReleaseUnicodeTables();
  EXPECT_FALSE(ConvertThroughUnicode("a", 1, kUtf8, out, 4, &to, {}).possible);
  EXPECT_EQ(to, 932);  // the last preferred
  ResetCodePagesForTest();
}

}  // namespace
}  // namespace qv
