#include "text/wide_tables.h"

#include <gtest/gtest.h>

#include "tests/text/module_tables.h"
#include "tests/text/table_bodies.h"

namespace qv {
namespace {

using test::Append;
using test::Body;
using test::Join;

// A record of either layout: `width` 4 for kinds 6 and 8006, 2 for 0A and 800A. Entry i is
// first + i.
Body Record(uint32_t block, uint32_t first, int width = 4) {
  Body record;
  Append(record, block, width);
  for (uint32_t i = 0; i < 128; ++i) Append(record, first == 0 ? 0 : first + i, width);
  return record;
}

// Base page and the single bytes, which map to themselves from 1 on.
Body BasedHead(CodePage base) {
  Body head;
  Append(head, base, 2);
  for (uint32_t i = 0; i < 256; ++i) Append(head, i < 128 ? i : 0, 2);
  return head;
}

Body Resource(uint16_t kind, CodePage cp, const Body& body) {
  Body resource;
  Append(resource, kind, 2);
  Append(resource, cp, 2);
  return Join({resource, body});
}

TEST(WideTable, RefusesBodiesThatBreakTheRulesOfTheirKind) {
  const Body head = BasedHead(20002), record = Record(0x42, 0x3000);
  const std::vector<test::LoadRow> kRows = {
      {"6: a record", 6, record, true},
      {"6: nothing", 6, {}, true},
      {"6: a byte short", 6, Body(record.begin(), record.end() - 1), false},
      {"6: a byte behind", 6, Join({record, {0}}), false},
      {"6: ascending with a gap", 6, Join({Record(0, 1), Record(0x21FF, 1)}), true},
      {"6: a block twice", 6, Join({record, record}), false},
      {"6: descending", 6, Join({Record(5, 1), Record(4, 1)}), false},
      {"6: behind all codes", 6, Record(0x2200, 1), false},
      {"6: the highest number", 6, Record(0xFFFFFFFF, 1), false},
      {"8006: a record", 0x8006, record, true},
      {"8006: a byte short", 0x8006, Body(515), false},
      {"0A: head alone", 0x0A, head, true},
      {"0A: nothing", 0x0A, {}, false},
      {"0A: half a head", 0x0A, Body(513), false},
      {"0A: a row", 0x0A, Join({head, Record(0x102, 0x3000, 2)}), true},
      {"0A: a byte short", 0x0A, Join({head, Body(257)}), false},
      {"0A: a row of single bytes", 0x0A, Join({head, Record(1, 0x3000, 2)}), false},
      {"0A: a row twice", 0x0A, Join({head, Record(9, 1, 2), Record(9, 1, 2)}), false},
      {"800A: a row", 0x800A, Join({head, Record(0x60, 0x2121, 2)}), true},
      {"800A: behind all codes", 0x800A, Join({head, Record(0xFFFF, 1, 2)}), false},
  };
  test::ExpectLoads(932, kRows);
}

TEST(WideTable, LooksUpByBlocks) {
  const auto table = NewUnicodeTable(6, 20002);
  Body low = Record(0, 0);
  low[4 + 4 * 0x41 + 3] = 0xC1;  // one entry below 128
  low[4 + 3] = 0x77;             // one for code 0
  ASSERT_TRUE(table->Load(Join({low, Record(0x42, 0x1F600), Record(0x44, 0)})));
  const std::vector<test::MapRow> kRows = {
      {"0 is 0, whatever the table says", 0, 0},
      {"an entry below 128", 0x41, 0xC1},
      {"none there: itself", 0x42, 0x42},
      {"127", 0x7F, 0x7F},
      {"no block", 0x80, 26},
      {"before the block", 0x20FF, 26},
      {"first of the block", 0x2100, 0x1F600},
      {"last of the block", 0x217F, 0x1F67F},
      {"between the blocks", 0x2180, 26},
      {"a zero entry", 0x2200, 26},
      {"behind all blocks", 0x2280, 26},
      {"no code at all", 0xFFFFFFFF, 26},
  };
  test::ExpectMaps(*table, kRows);
}

// Rows of its own, rows of the base by arithmetic, and what neither has.
TEST(WideTable, IsCompletedByItsBase) {
  const std::vector<Body> resources = {
      Resource(0x0A, 932, Join({BasedHead(20002), Record(0x8180 / 128, 0x5000, 2)})),
      Resource(0x800A, 932, Join({BasedHead(20002), Record(0x5000 / 128, 0x8180, 2)})),
      Resource(0x0A, 10001, BasedHead(4711)),
      Resource(6, 20002, Join({Record(0x2120 / 128, 0x3000), Record(0x7E00 / 128, 0x4000)})),
      Resource(0x8006, 20002, Record(0x3000 / 128, 0x2100)),
  };
  ASSERT_TRUE(BuildUnicodeTables(std::vector<Bytes>(resources.begin(), resources.end())));
  EXPECT_EQ(FindUnicodeTable(10001, false), nullptr);  // without its base
  const std::vector<test::MapRow> kTo = {
      {"first JIS code", 0x8140, 0x3021},
      {"before the gap of trail bytes", 0x817E, 0x305F},
      {"the gap", 0x817F, 26},
      {"a row of its own", 0x8180, 0x5000},
      {"the base's entry there does not show", 0x819E, 0x501E},
      {"no row of the base", 0x81FC, 0x507C},
      {"last JIS code", 0xEFFC, 0x407E},
      {"a lead byte without JIS rows", 0xA040, 26},
  };
  test::ExpectMaps(*FindUnicodeTable(932, false), kTo);
  const std::vector<test::MapRow> kFrom = {
      {"own row", 0x5001, 0x8181},
      {"by arithmetic", 0x3021, 0x8140},
      {"the cell after the gap", 0x3060, 0x8180},
      {"no JIS code in the base's entry", 0x307F, 26},
      {"ASCII", 'A', 'A'},
  };
  test::ExpectMaps(*FindUnicodeTable(932, true), kFrom);
  ReleaseUnicodeTables();
}

// A page of single bytes with a double-byte table, and the reverse, cannot be read.
TEST(WideTable, IsUsedOnlyByFormsOfDoubleBytes) {
  const std::vector<Body> resources = {
      Resource(6, 1252, Record(1, 0x80)), Resource(0, 932, Body(256, 1)),
      Resource(6, 936, Join({Record(0xA100 / 128, 0x4E00), Record(0xB0A1 / 128, 0x5500)}))};
  ASSERT_TRUE(BuildUnicodeTables(std::vector<Bytes>(resources.begin(), resources.end())));
  EXPECT_EQ(test::ConvertWithEngine("a", 1252, kUtf16Big, kKeep).text, "");
  EXPECT_EQ(test::ConvertWithEngine("a", 932, kUtf16Big, kKeep).text, "");
  EXPECT_EQ(test::ConvertWithEngine("\xB0\xA1", 936, kUtf16Big, kKeep).text, "\x55\x21");
  EXPECT_EQ(test::ConvertWithEngine("\xB0\xA1", 20014, kUtf16Big, kKeep).text, "\x55\x21");
  // A pair with a control byte is none, whatever the table says.
  const std::string run(20, 'x');
  EXPECT_EQ(test::ConvertWithEngine(run + "\xA1", 936, kUtf8, kKeep), (test::Converted{run, 20}));
  EXPECT_EQ(test::ConvertWithEngine(run + "\xA1\x05", 936, kUtf8, kKeep).text, run + "\x1A\x05");
  ReleaseUnicodeTables();
}

}  // namespace
}  // namespace qv
