#include "text/unicode_table.h"

#include <gtest/gtest.h>

#include "tests/text/module_tables.h"
#include "tests/text/table_bodies.h"

namespace qv {
namespace {

using test::Body;
using test::Join;

// A row of a table from Unicode whose 16 bytes are all `value`.
Body Row(uint32_t number, uint8_t value = 0x80) {
  Body row(18, value);
  row[0] = static_cast<uint8_t>(number >> 8);
  row[1] = static_cast<uint8_t>(number);
  return row;
}

TEST(UnicodeTable, RefusesBodiesThatBreakTheRulesOfTheirKind) {
  const std::vector<test::LoadRow> kRows = {
      {"0: 128 entries", 0, Body(256), true},
      {"0: one byte short", 0, Body(255), false},
      {"0: a byte too many", 0, Body(257), false},
      {"0: the size of kind 2", 0, Body(512), false},
      {"0: empty", 0, {}, false},
      {"2: 256 entries", 2, Body(512), true},
      {"2: the size of kind 0", 2, Body(256), false},
      {"8000: empty", 0x8000, {}, false},
      {"8000: row 8", 0x8000, Row(8), true},
      {"8000: row 7", 0x8000, Row(7), false},
      {"8000: half a row behind", 0x8000, Join({Row(8), Body(9)}), false},
      {"8000: less than a row", 0x8000, Body(17), false},
      {"8000: ascending with a gap", 0x8000, Join({Row(8), Row(0x20)}), true},
      {"8000: a row twice", 0x8000, Join({Row(9), Row(9)}), false},
      {"8000: descending", 0x8000, Join({Row(10), Row(9)}), false},
      {"8000: the highest row number", 0x8000, Join({Row(8), Row(0xFFFF)}), true},
      {"8002: row 0", 0x8002, Row(0), true},
      {"8002: descending to 0", 0x8002, Join({Row(1), Row(0)}), false},
  };
  test::ExpectLoads(1234, kRows);
  for (int kind : {1, 3, 4, 0x8008, 0xF000}) {
    EXPECT_EQ(NewUnicodeTable(static_cast<uint16_t>(kind), 1), nullptr);
  }
}

TEST(UnicodeTable, MapsFromUnicodeByRows) {
  Body gap = Row(0x20);
  gap[2] = 0;
  gap[3] = 0x41;
  const auto table = NewUnicodeTable(0x8000, 1234);
  ASSERT_TRUE(table->Load(Join({gap, Row(0xFFFF, 0x99)})));
  const std::vector<test::MapRow> kRows = {
      {"NUL is itself", 0, 0},
      {"ASCII is itself", 0x7F, 0x7F},
      {"between the rows", 0x80, 26},
      {"entry of 0", 0x200, 26},
      {"an ASCII byte", 0x201, 0x41},
      {"last of a row", 0x20F, 0x80},
      {"behind the row", 0x210, 26},
      {"last row", 0xFFFF0, 0x99},
      {"last code", 0xFFFFF, 0x99},
      {"above all rows", 0x100000, 26},
      {"no code at all", 0xFFFFFFFF, 26},
  };
  test::ExpectMaps(*table, kRows);
}

TEST(UnicodeTable, OfAllCodesMapsAsciiOnlyByItsRows) {
  const auto table = NewUnicodeTable(0x8002, 1234);
  ASSERT_TRUE(table->Load(Row(0, 0xC1)));
  EXPECT_EQ(table->Map(0xF), 0xC1u);
  EXPECT_EQ(table->Map('A'), 26u);
  EXPECT_EQ(table->Map(0x10), 26u);
}

TEST(UnicodeTable, RegistryDropsWhatDoesNotLoad) {
  const Body good = Join({{0x80, 0x00, 0x04, 0xD2}, Row(8)}), bad = Join({{0, 0, 0x04, 0xD2}, {1}});
  const Body decomposition{0xF0, 0x00, 0x08, 0x00, 1, 2}, unknown{0x00, 0x05, 0x04, 0xD2},
      stub{0x80};
  ASSERT_TRUE(BuildUnicodeTables(std::vector<Bytes>{decomposition, bad, unknown, stub, good}));
  EXPECT_EQ(AllUnicodeTables().size(), 3u);  // one from here, two built in
  EXPECT_EQ(FindUnicodeTable(1234, false), nullptr);
  ASSERT_NE(FindUnicodeTable(1234, true), nullptr);
  EXPECT_EQ(FindUnicodeTable(1234, true)->Map(0x8F), 0x80u);
  ReleaseUnicodeTables();
  EXPECT_EQ(FindUnicodeTable(1234, true), nullptr);
}

TEST(UnicodeTable, SomePagesAreLookedUpAsOthers) {
  const Body body{0x80, 0x06, 0x4E, 0x22}, other{0x80, 0x06, 0x03, 0xA8};
  ASSERT_TRUE(BuildUnicodeTables(std::vector<Bytes>{body, other}));
  EXPECT_EQ(FindUnicodeTable(20001, true), FindUnicodeTable(20002, true));
  EXPECT_EQ(FindUnicodeTable(20014, true), FindUnicodeTable(936, true));
  EXPECT_NE(FindUnicodeTable(936, true), nullptr);
  ReleaseUnicodeTables();
}

class ModuleUnicodeTables : public test::ModuleTables {};

// All single bytes are judged by other libraries, where there are any.
TEST_F(ModuleUnicodeTables, HoldTellingCodes) {
  const struct {
    CodePage cp;
    uint32_t code, character;
  } kRows[] = {{37, 256, 26}, {1252, 256, 26}, {20005, 0x41, 'A'}, {20005, 0xE4, 0}};
  for (const auto& row : kRows) {
    EXPECT_EQ(FindUnicodeTable(row.cp, false)->Map(row.code), row.character)
        << row.cp << " " << row.code;
  }
}

// The plain letters of the built-in table are those that the map from 1252 gives.
TEST_F(ModuleUnicodeTables, PlainAsciiAgreesWithTheByteMap) {
  for (int byte = 0; byte < 256; ++byte) {
    const std::string text(1, static_cast<char>(byte));
    const uint32_t code = FindUnicodeTable(1252, false)->Map(static_cast<uint32_t>(byte));
    const std::string mapped = test::ConvertWithDispatcher(text, 1252, kPlainAscii, kKeep).text;
    const uint32_t plain = FindUnicodeTable(kPlainAscii, true)->Map(code);
    SCOPED_TRACE(byte);
    if (code == 0) continue;
    EXPECT_EQ(plain, mapped == "?" && byte != '?' ? 26u : static_cast<uint8_t>(mapped[0]));
  }
  EXPECT_EQ(FindUnicodeTable(kPlainAscii, true)->Map(0x10C), 'C');
}

}  // namespace
}  // namespace qv
