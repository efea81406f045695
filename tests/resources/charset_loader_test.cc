#include "resources/charset_loader.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

#include "resources/module_source.h"
#include "text/code_page_strings.h"
#include "text/converters.h"
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

}  // namespace
