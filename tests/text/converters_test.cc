#include "text/converters.h"

#include <gtest/gtest.h>

#include <thread>

#include "tests/text/module_tables.h"
#include "text/code_page_strings.h"
#include "text/pair_converters.h"

namespace qv {
namespace {

using namespace std::string_literals;
using test::Converted;
using test::ConvertWithDispatcher;

class Converters : public test::ModuleTables {};

TEST_F(Converters, DispatchByCodePages) {
  const struct {
    const char* name;
    std::string in;
    CodePage from, to;
    int mode;
    std::string out;
    uint32_t consumed, room = test::kAmple;
  } kRows[] = {
      {"table: Mac Roman A with diaeresis", "\x80", 10000, 1252, kKeep, "\xC4", 1},
      {"table: without its accent", "\x80", 10000, 20005, kKeep, "A", 1},
      {"table: CR", "a\r\nb", 10000, 1252, kCr, "a\rb", 4},
      {"table: LF", "a\rb\n", 10000, 1252, kLf, "a\nb\n", 4},
      {"table: CR LF", "a\rb\n", 10000, 1252, kCrLf, "a\r\nb\r\n", 4},
      {"table: native of the target", "a\rb", 10000, 1252, kNativeTo, "a\r\nb", 3},
      {"table: native of the source", "a\r\nb", 10000, 1252, kNativeFrom, "a\rb", 4},
      {"table: keep", "a\r\nb", 10000, 1252, kKeep, "a\r\nb", 4},
      {"equal code pages", "\xE9\r", 1250, 1250, kCrLf, "\xE9\r\n", 2},
      {"equal, without tables", "\xE9\r", 4711, 4711, kCrLf, "\xE9\r\n", 2},
      {"through Unicode", "\xE9 \xA4", 850, 437, kKeep, "\x1A \xA4", 3},
      {"to Unicode", "\xE9", 1252, kUtf8, kKeep, "\xC3\xA9", 1},
      {"from Unicode", "\xC3\xA9", kUtf8, 1252, kKeep, "\xE9", 2},
      {"between Unicode forms", "\xC3\xA9", kUtf8, kUtf16Big, kKeep, "\0\xE9"s, 2},
      {"one side multi-byte", "abc", 1252, 932, kCrLf, "", 0},
      {"the same, kept: copied as it is", "abc", 1252, 932, kKeep, "abc", 3},
      {"no code page", "abc", 0, 1252, kCrLf, "", 0},
      {"no conversion", "abc", 1252, 20000, kCrLf, "", 0},
      {"no conversion, kept", "abc", 1252, 20000, kKeep, "abc", 3},
      {"no table to Unicode, kept", "\xA4\xA2", 936, kUtf8, kKeep, "\xA4\xA2", 2},
      {"mode 6 is no copy", "abc", 1252, 932, kKeepToo, "", 0},
      // Before what does not fit all of them stop.
      {"table: half a line end", "a\r\nb", 10000, 1252, kCrLf, "a", 1, 2},
      {"table: a whole one", "a\r\nb", 10000, 1252, kCrLf, "a\r\n", 3, 3},
      {"equal: half a line end", "a\nb", 1252, 1252, kCrLf, "a", 1, 2},
      {"equal and double-byte: half a character", "a\x82\xA0", 932, 932, kKeep, "a", 1, 2},
      {"no room at all", "abc", 10000, 1252, kKeep, "", 0, 0},
      {"Unicode without room is no reason to copy", "abc", kUtf8, kUtf16Big, kKeep, "", 0, 1},
      {"copied as far as it fits", "abc", 1252, 932, kKeep, "ab", 2, 2},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(ConvertWithDispatcher(row.in, row.from, row.to, row.mode, row.room),
              (Converted{row.out, row.consumed}));
  }
}

TEST_F(Converters, MeasuredTextGetsATerminator) {
  const struct {
    const char* name;
    CodePage from, to;
    int mode;
    std::string out;
  } kRows[] = {
      {"table", 10000, 1252, kCrLf, "ab\0"s},         {"equal", 1252, 1252, kCrLf, "ab\0"s},
      {"through Unicode", 1252, 850, kCrLf, "ab\0"s}, {"wide", 1252, 1200, kCrLf, "a\0b\0\0\0"s},
      {"copied", 1252, 932, kKeep, "ab\0"s},          {"impossible", 1252, 932, kCrLf, ""},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    const Converted converted = test::ConvertGuarded(10, [&row](char* output, uint32_t* written) {
      return ConvertText("ab\0z", kMeasure, row.from, output, written, row.to, row.mode, 0);
    });
    EXPECT_EQ(converted, (Converted{row.out, row.out.empty() ? 0u : 2u}));
  }
}

TEST_F(Converters, NullArgumentsConvertNothing) {
  uint32_t room = 5;
  char out[5];
  EXPECT_EQ(ConvertText(nullptr, 1, 10000, out, &room, 1252, kKeep, 0), 0u);
  EXPECT_EQ(room, 0u);
  room = 5;
  EXPECT_EQ(ConvertText("a", 1, 10000, nullptr, &room, 1252, kKeep, 0), 0u);
  EXPECT_EQ(room, 0u);
  EXPECT_EQ(ConvertText("a", 1, 10000, out, nullptr, 1252, kKeep, 0), 0u);
}

TEST_F(Converters, AnEmptyRegistryOnlyCopies) {
  ReleaseConverters();
  EXPECT_EQ(ConvertWithDispatcher("\xE9", 1252, kUtf8, kCrLf), (Converted{"", 0}));
  EXPECT_EQ(ConvertWithDispatcher("\xE9", 1252, kUtf8, kKeep), (Converted{"\xE9", 1}));
  EXPECT_EQ(MapCodePage(10000), 10000);
}

TEST_F(Converters, MapCodePageTakesTheFirstInOrder) {
  const auto add = [](std::unique_ptr<Converter> converter) {
    ASSERT_TRUE(AddConverter(std::move(converter)));
  };
  add(NewPairConverter(949, 20003));
  add(NewPairConverter(949, 10003));
  add(NewIdentityConverter(1252, 1252));
  add(NewIdentityConverter(437, 437));
  ASSERT_TRUE(SortConverters());
  const struct {
    const char* name;
    CodePage cp, mapped;
  } kRows[] = {
      {"a Windows target before plain ASCII", 10000, 1252},
      {"itself before another of its class", 1252, 1252},
      {"Macintosh target before a class of none", 949, 10003},
      {"only itself", 437, 437},
      {"none", 28591, 28591},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(MapCodePage(row.cp), row.mapped);
    // Use changes the order of the search, not this one.
    ConvertWithDispatcher("a", 10000, 20005, kKeep);
    EXPECT_EQ(MapCodePage(row.cp), row.mapped);
  }
}

TEST_F(Converters, AMapOfAnotherSizeConvertsNothing) {
  for (size_t size : {0u, 3u, 259u, 261u}) {
    const std::vector<uint8_t> resource(size, 1);
    const auto converter = NewTableConverter(resource);
    uint32_t room = 4;
    char out[4];
    EXPECT_EQ(converter->Convert("abc", 3, out, &room, kKeep), 0u);
    EXPECT_EQ(room, 0u);
  }
}

// The list is reordered by each of these while the others search it.
TEST_F(Converters, ServeSeveralThreads) {
  const auto work = [](CodePage from, CodePage to, const char* in, const char* expected) {
    for (int i = 0; i < 2000; ++i)
      ASSERT_EQ(ConvertWithDispatcher(in, from, to, kKeep, 8).text, expected);
  };
  std::thread first(work, CodePage{10000}, CodePage{1252}, "\x80", "\xC4");
  std::thread second(work, CodePage{28595}, CodePage{1251}, "\xB0", "\xC0");
  work(1252, 20005, "\xE9", "e");
  first.join();
  second.join();
}

}  // namespace
}  // namespace qv
