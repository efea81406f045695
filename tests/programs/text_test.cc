#include "programs/common/text.h"

#include <gtest/gtest.h>

#include "programs/common/escapes.h"
#include "programs/common/file_names.h"
#include "programs/common/reporter.h"

namespace program {
namespace {

TEST(Text, RepairsWhatIsNotUtf8) {
  const std::string bad = "\xEF\xBF\xBD";
  const struct {
    const char* name;
    std::string text, repaired;
  } kRows[] = {{"good", "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", ""},
               {"lone continuation", "\x80", bad},
               {"cut off", "\xE2\x82", bad + bad},
               {"overlong", "\xC0\xAF", bad + bad},
               {"overlong, three bytes", "\xE0\x80\xAF", bad + bad + bad},
               {"surrogate", "\xED\xA0\x80", bad + bad + bad},
               {"above the last character", "\xF4\x90\x80\x80", bad + bad + bad + bad},
               {"broken in the middle",
                "\xE2"
                "a",
                bad + "a"}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    bool good = row.repaired.empty();
    EXPECT_EQ(IsUtf8(row.text), good);
    EXPECT_EQ(RepairUtf8(row.text), good ? row.text : row.repaired);
  }
}

TEST(Text, ConvertsEveryCharacterToUtf16AndBack) {
  for (char32_t c = 1; c <= 0x10FFFF; c += c < 0x3000 ? 1 : 251) {
    if (c >= 0xD800 && c <= 0xDFFF) continue;
    std::string text;
    AppendUtf8(text, c);
    size_t position = 0;
    ASSERT_EQ(DecodeUtf8(text, &position), c);
    ASSERT_EQ(position, text.size());
    ASSERT_EQ(ToWide(text).size(), c < 0x10000 ? 1u : 2u);
    ASSERT_EQ(ToUtf8(ToWide(text)), text);
  }
}

TEST(Text, SaysWhatACodePageLacks) {
  const struct {
    const char* name;
    std::string utf8;
    uint32_t code_page;
    std::string bytes, lost;
  } kRows[] = {{"all there",
                "Gr\xC3\xBC\xC3\x9F"
                "e",
                1252,
                "Gr\xFC\xDF"
                "e",
                ""},
               {"Polish in the west",
                "\xC5\x82\xC3\xB3"
                "d\xC5\xBA",
                1252,
                "?\xF3"
                "d?",
                "\xC5\x82"},
               {"no best fit", "\xE2\x88\x9E", 1252, "?", "\xE2\x88\x9E"},
               {"a real question mark", "?", 1252, "?", ""},
               {"Cyrillic", "\xD0\x96", 1251, "\xC6", ""},
               {"UTF-8", "\xE2\x82\xAC", 65001, "\xE2\x82\xAC", ""}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    auto text = ToCodePage(row.utf8, row.code_page);
    ASSERT_TRUE(text.has_value());
    EXPECT_EQ(text->bytes, row.bytes);
    EXPECT_EQ(text->lost, row.lost);
    if (row.lost.empty()) {
      EXPECT_EQ(FromCodePage(row.bytes, row.code_page), row.utf8);
    }
  }
  EXPECT_FALSE(ToCodePage("a", 12345).has_value());
}

TEST(Text, FoldsCase) {
  EXPECT_EQ(FoldCase("ABCz \xC3\x84\xC3\x97\xC5\x81\xC5\xBD\xC5\xB8"),
            "abcz \xC3\xA4\xC3\x97\xC5\x82\xC5\xBE\xC3\xBF");
  EXPECT_EQ(FoldCase("\xCE\x91\xCE\x86\xD0\x96\xD0\x81"), "\xCE\xB1\xCE\xAC\xD0\xB6\xD1\x91");
}

TEST(FileNames, TellsPlainNames) {
  const struct {
    const char* name;
    std::string file_name, plain;  // plain "" for a plain name
  } kRows[] = {{"letters", "Q3 report (1).pdf", ""},
               {"non-ASCII",
                "Gr\xC3\xBC\xC3\x9F"
                "e",
                ""},
               {"hidden", ".profile", ""},
               {"starts like a device", "console.txt", ""},
               {"separator", "a\\b", "a_b"},
               {"stream", "a:b", "a_b"},
               {"wildcards", "a*?", "a__"},
               {"control", "a\nb", "a_b"},
               {"dot", ".", "_."},
               {"dots", "..", "_.."},
               {"empty", "", "_"},
               {"device", "NUL", "_NUL"},
               {"device with suffix", "Com1.txt", "_Com1.txt"},
               {"device with blank and suffix", "aux .txt", "_aux .txt"},
               {"device with a raised digit", "LPT\xC2\xB9", "_LPT\xC2\xB9"},
               {"not UTF-8", "\xFF", "\xEF\xBF\xBD"}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(IsPlainName(row.file_name), row.plain.empty());
    std::string plain = row.plain.empty() ? row.file_name : row.plain;
    EXPECT_EQ(PlainName(row.file_name), plain);
    EXPECT_TRUE(IsPlainName(plain));
  }
  EXPECT_TRUE(IsPlainName(std::string(255, 'x')));
  EXPECT_FALSE(IsPlainName(std::string(256, 'x')));
  EXPECT_EQ(Numbered("report.tar.gz", 2), "report.tar (2).gz");
  EXPECT_EQ(Numbered(".profile", 2), ".profile (2)");
}

TEST(Escapes, ReadsWhatTheyWrite) {
  std::string all;
  for (int byte = 0; byte < 256; ++byte) all += static_cast<char>(byte);
  bool damaged = false;
  auto is_kept = [](unsigned char byte) { return byte >= '0' && byte <= 'z'; };
  EXPECT_EQ(Unescape(Escape(all, is_kept), &damaged), all);
  EXPECT_EQ(Unescape("%c3%A4", &damaged), "\xC3\xA4");
  EXPECT_FALSE(damaged);
  for (std::string text : {"%", "a%4", "%4g", "%%41"}) {
    damaged = false;
    Unescape(text, &damaged);
    EXPECT_TRUE(damaged) << text;
  }
}

TEST(Reporter, WritesOneLine) {
  EXPECT_EQ(OneLine("a\tb\r\nc\x01\xC3\xA4"), "a\\tb\\r\\nc\\x01\xC3\xA4");
  EXPECT_EQ(Count(1, "copy"), "1 copy");
  EXPECT_EQ(Count(0, "recipient"), "0 recipients");
}

}  // namespace
}  // namespace program
