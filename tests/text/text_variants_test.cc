#include "text/text_variants.h"

#include <gtest/gtest.h>

#include <string>

#include "text/length_prefixed.h"

namespace {

TEST(TextVariants, SelectsOneTextOfAField) {
  const struct {
    const char* name;
    const char* text;
    int32_t field;
    bool strip, selected;
    const char* result;
    int32_t maximum = 255;
    char letter = 'w';
  } kRows[] = {
      {"plain", "Quit", 0, false, true, "Quit"},
      {"the variant alone", "$wExit$mQuit", 0, false, true, "Exit"},
      {"the second variant", "$mQuit$wExit", 0, false, true, "Exit"},
      {"another letter", "$mQuit$wExit", 0, false, true, "Quit", 255, 'm'},
      {"no letter is w", "$mQuit$wExit", 0, false, true, "Exit", 255, '\0'},
      {"none for the letter", "$mQuit$uBye", 0, false, false, ""},
      {"the first of two", "$wOne$wTwo", 0, false, true, "One"},
      {"a mark ends plain text", "Quit$wExit", 0, false, true, "Quit"},
      {"plain for every letter", "Quit$wExit", 0, false, true, "Quit", 255, 'm'},
      {"an empty variant is a text", "$w$mQuit", 0, false, true, ""},
      {"a mark without letter", "$$wExit", 0, false, true, "Exit"},
      {"a mark at the end", "$mQuit$", 0, false, false, ""},
      {"the second field", "Open;Close", 1, false, true, "Close"},
      {"the second of three", "a;b;c", 1, false, true, "b"},
      {"a variant does not pass the field", "$mQuit;$wExit", 0, false, false, ""},
      {"a variant of the second field", "a;$mb$wc", 1, false, true, "c"},
      {"no such field", "Open;Close", 2, false, false, "Open;Close"},
      {"an empty field", "a;;c", 1, false, false, ""},
      {"an empty last field", "a;", 1, false, false, ""},
      {"a field below 0", "a;b", -1, false, true, "a"},
      {"stripped", "$wE&x&&it", 0, true, true, "Exit"},
      {"not stripped", "$wE&xit", 0, false, true, "E&xit"},
      {"stripped to nothing", "&", 0, true, true, ""},
      {"only the first bytes", "Open;Close", 1, false, true, "Cl", 7},
      {"cut before the field", "Open;Close", 1, false, false, "Open;Close", 4},
      {"cut inside the mark", "$wExit", 0, false, false, "", 1},
      {"no maximum", "Quit", 0, false, false, "Quit", 0},
      {"empty", "", 0, false, false, ""},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    Str255 text;
    qv::CStrToLStr(text, 255, row.text);
    EXPECT_EQ(ZRSelectVariant(text, row.maximum, row.field, row.strip, row.letter), row.selected);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(text + 1), text[0]), row.result);
  }
  EXPECT_FALSE(ZRSelectVariant(nullptr, 255, 0, false));
}

}  // namespace
