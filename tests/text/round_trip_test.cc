// Every character of every code page with a table, there and back through each Unicode form.
#include <gtest/gtest.h>

#include <map>

#include "tests/text/module_tables.h"

namespace qv {
namespace {

constexpr CodePage kUnicodeForms[] = {kUtf7,     kUtf8,        kUtf16Little,
                                      kUtf16Big, kUtf32Little, kUtf32Big};
constexpr uint32_t kRoom = 1 << 20;

class RoundTrip : public test::ModuleTables {};

std::string Convert(const std::string& text, CodePage from, CodePage to) {
  const test::Converted converted = test::ConvertWithEngine(text, from, to, kKeep, kRoom);
  EXPECT_EQ(converted.consumed, text.size());
  return converted.text;
}

// The codes of a page that have a character, and the lowest code of each character.
struct Characters {
  std::map<uint32_t, uint32_t> of_code, lowest_code;
  explicit Characters(const UnicodeTable& table) {
    const bool wide = EastAsianFormOf(table.code_page()) != EastAsianForm::kNone;
    for (uint32_t code = 0; code < (wide ? 0x10000u : 0x100u); ++code) {
      const uint32_t character = table.Map(code);
      if (code != (wide ? kReplacement : 0u) && character == (wide ? kReplacement : 0u)) continue;
      of_code[code] = character;
      lowest_code.emplace(character, code);
    }
  }
};

std::string BytesOf(uint32_t code) {
  std::string bytes;
  if (code > 0xFF) bytes += static_cast<char>(code >> 8);
  return bytes + static_cast<char>(code);
}

TEST_F(RoundTrip, BytesComeBackAsTheLowestCodesOfTheirCharacters) {
  int pages = 0;
  std::map<CodePage, int> duplicates;
  for (const auto& table : AllUnicodeTables()) {
    const CodePage page = table->code_page();
    // Plain ASCII drops accents; the codes of ISO-2022 are not its bytes.
    if (table->from_unicode() || page == kPlainAscii || page == 20002) continue;
    SCOPED_TRACE(page);
    const Characters characters(*table);
    std::string text, expected;
    for (const auto& [code, character] : characters.of_code) {
      const uint32_t lowest = characters.lowest_code.at(character);
      text += BytesOf(code);
      expected += BytesOf(lowest);
      if (lowest != code) ++duplicates[page];
    }
    for (CodePage form : kUnicodeForms) {
      EXPECT_EQ(Convert(Convert(text, page, form), form, page), expected) << form;
    }
    ++pages;
  }
  EXPECT_EQ(pages, 57);
  const std::map<CodePage, int> expected_duplicates = {
      {932, 398},  // NEC selected and IBM characters, signs of row 13
      {1006, 1},   // B2 is B1
      {10004, 26},
      {10005, 36}  // ASCII again, for text from right to left
  };
  EXPECT_EQ(duplicates, expected_duplicates);
}

TEST_F(RoundTrip, CharactersComeBack) {
  for (CodePage page : {CodePage{932}, CodePage{10001}, CodePage{20001}, CodePage{20002}}) {
    SCOPED_TRACE(page);
    const Characters characters(*FindUnicodeTable(page, false));
    const bool mail = page == 20001 || page == 20002;
    EXPECT_GT(characters.of_code.size(), 7000u);
    std::string text, expected;  // UTF-16 big-endian
    for (const auto& [code, character] : characters.of_code) {
      if (code == 0x0E || code == 0x0F || code == 0x1B) continue;  // shift and escape in ISO-2022
      const auto append = [](std::string& to, uint32_t unit) {
        to += {static_cast<char>(unit >> 8), static_cast<char>(unit)};
      };
      append(text, character);
      // The not sign's full-width twin is written where every reader of mail has the sign.
      append(expected, mail && character == 0xFFE2 ? 0xAC : character);
    }
    EXPECT_TRUE(Convert(Convert(text, kUtf16Big, page), page, kUtf16Big) == expected);
  }
}

}  // namespace
}  // namespace qv
