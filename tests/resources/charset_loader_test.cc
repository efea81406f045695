#include "resources/charset_loader.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

#include "resources/module_source.h"
#include "text/code_page_strings.h"
#include "text/converters.h"
#include "text/line_breaks.h"
#include "text/unicode_table.h"

namespace {

class CharsetLoader : public testing::Test {
 protected:
  CharsetLoader() { ZRInitModuleResources(GetModuleHandleA(nullptr)); }
  ~CharsetLoader() override {
    ReleaseCharsetTables();
    qv::ResetCodePagesForTest();
  }
};

TEST_F(CharsetLoader, BuildsBothRegistries) {
  constexpr uint32_t kByteMaps = 13, kPairs = 27;
  SetApplicationCodePage(1250);
  ASSERT_EQ(LoadCharsetTables(), ZRErrNone);
  EXPECT_EQ(GetApplicationCodePage(), 1252);
  EXPECT_EQ(qv::AllUnicodeTables().size(), 118u);
  const uint32_t count = qv::ConverterCount();
  EXPECT_GT(count, kByteMaps + kPairs);
  const struct {
    const char* name;
    CodePage cp, mapped;
  } kRows[] = {
      {"Macintosh to Windows", 10000, 1252},
      {"of its own, by its font", 1252, 1252},
      {"another font", 1250, 1250},
      {"the map's target", 28605, 1252},
      {"the first pair in order", 949, 10003},
      {"plain ASCII has none", 20005, 20005},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(MapCodePage(row.cp), row.mapped);
  }
  char text[16] = "caf\xE9";
  EXPECT_EQ(CPConvert(text, 1252, kUtf8, sizeof text), 6u);
  EXPECT_STREQ(text, "caf\xC3\xA9");

  ASSERT_EQ(LoadCharsetTables(), ZRErrNone);
  EXPECT_EQ(qv::ConverterCount(), count) << "the second load begins with an empty registry";
  ReleaseCharsetTables();
  EXPECT_EQ(qv::ConverterCount(), 0u);
  EXPECT_TRUE(qv::AllUnicodeTables().empty());
}

TEST_F(CharsetLoader, AddsThePairsOfEachFamily) {
  ASSERT_EQ(LoadCharsetTables(), ZRErrNone);
  const std::map<CodePage, std::set<CodePage>> kPairs = {
      {932, {10001, 20001, 20002}},
      {10001, {932, 20001, 20002}},
      {20001, {932, 10001, 20002}},
      {20002, {932, 10001, 20001}},
      {936, {10025, 20004, 20014}},
      {10025, {936, 20004, 20014}},
      {20004, {936, 10025, 20014}},
      {949, {10003, 20003}},
      {10003, {949, 20003}},
      {20003, {949, 10003}},
      {20014, {}},
  };
  for (const auto& [source, destinations] : kPairs) {
    std::set<CodePage> found;
    for (const auto& [destination, unused] : kPairs) {
      char out[8];
      uint32_t room = sizeof out;
      const uint32_t used = ConvertText("a", 1, source, out, &room, destination, qv::kCrLf, 0);
      if (used == 1 && source != destination) found.insert(destination);
    }
    EXPECT_EQ(found, destinations) << source;
  }
}

TEST_F(CharsetLoader, TakesOverTheLineBreakLists) {
  ASSERT_EQ(LoadCharsetTables(), ZRErrNone);
  const struct {
    CodePage cp;
    uint32_t not_last, not_first;  // how many there are
    uint32_t opening, closing;     // a corner bracket of each kind
  } kRows[] = {{932, 20, 81, 0x8175, 0x8176},
               {936, 26, 44, 0xA1B8, 0xA1B9},
               {949, 17, 35, 0xA1B8, 0xA1B9},
               {950, 26, 60, 0xA175, 0xA176},
               {1252, 0, 0, 0, 0}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.cp);
    uint32_t not_last = 0, not_first = 0;
    for (uint32_t code = 0; code <= 0xFFFF; ++code) {
      not_last += !qv::MayEndLine(row.cp, code);
      not_first += !qv::MayBeginLine(row.cp, code);
    }
    EXPECT_EQ(not_last, row.not_last);
    EXPECT_EQ(not_first, row.not_first);
    EXPECT_EQ(qv::MayEndLine(row.cp, row.opening), row.cp == 1252);
    EXPECT_EQ(qv::MayBeginLine(row.cp, row.closing), row.cp == 1252);
    EXPECT_TRUE(qv::MayBeginLine(row.cp, row.opening) && qv::MayEndLine(row.cp, row.closing));
  }
  ReleaseCharsetTables();
  EXPECT_TRUE(qv::MayEndLine(932, 0x8175));
}

}  // namespace
