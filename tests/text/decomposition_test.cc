#include "text/decomposition.h"

#include <gtest/gtest.h>

#include "tests/text/module_tables.h"
#include "tests/text/table_bodies.h"

namespace qv {
namespace {

using namespace std::string_literals;
using test::Body;
using Parts = std::vector<uint32_t>;

Parts Decomposed(uint32_t code, Decomposition form) {
  uint32_t parts[Decomposer::kMostParts];
  const uint32_t count = Decomposer(form).Decompose(code, parts);
  return {parts, parts + count};
}

class ModuleDecomposition : public test::ModuleTables {};

TEST_F(ModuleDecomposition, TakesCharactersApart) {
  const struct {
    const char* name;
    uint32_t code;
    Parts canonical, compatibility;
  } kRows[] = {
      {"a letter", 'A', {'A'}, {'A'}},
      {"one accent", 0xC0, {0x41, 0x300}, {0x41, 0x300}},
      {"two accents, two steps", 0x1EA4, {0x41, 0x302, 0x301}, {0x41, 0x302, 0x301}},
      {"another character altogether", 0x212B, {0x41, 0x30A}, {0x41, 0x30A}},
      {"a no-break space", 0xA0, {0xA0}, {0x20}},
      {"compatibility, then canonical", 0x1C4, {0x1C4}, {0x44, 0x5A, 0x30C}},
      {"half-width katakana", 0xFF76, {0xFF76}, {0x30AB}},
      {"eighteen parts", 0xFDFA, {0xFDFA}, Decomposed(0xFDFA, Decomposition::kCompatibility)},
      {"beyond the first plane", 0x1D15E, {0x1D157, 0x1D165}, {0x1D157, 0x1D165}},
      {"Hangul of two", 0xAC00, {0x1100, 0x1161}, {0x1100, 0x1161}},
      {"Hangul of three", 0xD4DB, {0x1111, 0x1171, 0x11B6}, {0x1111, 0x1171, 0x11B6}},
      {"behind Hangul", 0xD7A4, {0xD7A4}, {0xD7A4}},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Decomposed(row.code, Decomposition::kNone), Parts{row.code});
    EXPECT_EQ(Decomposed(row.code, Decomposition::kCanonical), row.canonical);
    EXPECT_EQ(Decomposed(row.code, Decomposition::kCompatibility), row.compatibility);
  }
  EXPECT_EQ(Decomposed(0xFDFA, Decomposition::kCompatibility).size(), 18u);
}

TEST_F(ModuleDecomposition, IsAStepOfEveryEngine) {
  const struct {
    const char* name;
    CodePage from, to;
    std::string in, canonical;
  } kRows[] = {
      {"code page to Unicode", 1252, kUtf8, "caf\xE9", "cafe\xCC\x81"},
      {"code page to UTF-7", 1252, kUtf7, "\xE9", "e+AwE-"},
      {"double bytes", 932, kUtf8, "\x82\xAA", "\xE3\x81\x8B\xE3\x82\x99"},
      {"Unicode to Unicode", kUtf8, kUtf16Big, "\xC3\xA9", "\0e\x03\x01"s},
      {"Unicode to code page", kUtf8, 1252, "\xC3\xA9!", "e\x1A!"},
      {"line ends stay", 1252, kUtf8, "\xE9\r\n", "e\xCC\x81\r\n"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    const auto convert = [&row](const std::string& in, uint32_t room) {
      return test::ConvertGuarded(room, [&](char* output, uint32_t* written) {
        const ConversionResult result =
            ConvertBetweenCodePages(in.data(), static_cast<uint32_t>(in.size()), row.from, output,
                                    *written, row.to, {kCrLf, 0, Decomposition::kCanonical});
        *written = result.written;
        return result.consumed;
      });
    };
    EXPECT_EQ(convert(row.in, test::kAmple).text, row.canonical);
    // All parts of a character or none.
    for (uint32_t room = 0; room < row.canonical.size(); ++room) {
      const test::Converted cut = convert(row.in, room);
      EXPECT_EQ(cut.text, convert(row.in.substr(0, cut.consumed), test::kAmple).text) << room;
    }
  }
}

struct Entry {
  uint32_t code, first, count;
};

Body Index(const std::vector<Entry>& entries) {
  Body body;
  for (const Entry& entry : entries) {
    test::Append(body, entry.code, 4);
    test::Append(body, entry.first, 2);
    test::Append(body, entry.count, 2);
  }
  return body;
}

Body Companion(const Parts& parts) {
  Body body;
  for (uint32_t part : parts) test::Append(body, part, 4);
  return body;
}

TEST(DecompositionData, HostileDataLeaveCharactersWhole) {
  const struct {
    const char* name;
    Body index, companion;
    Parts a;  // what becomes of "a"
  } kRows[] = {
      {"good", Index({{'a', 0, 1}, {'b', 1, 2}}), Companion({'b', 'x', 'y'}), {'x', 'y'}},
      {"no companion", Index({{'a', 0, 1}}), {}, {'a'}},
      {"companion too short", Index({{'a', 0, 2}}), Companion({'x'}), {'a'}},
      {"place far outside", Index({{'a', 0xFFFF, 0xFFFF}}), Companion({'x'}), {'a'}},
      {"no parts", Index({{'a', 0, 0}}), Companion({'x'}), {'a'}},
      {"not ascending", Index({{'b', 0, 1}, {'a', 0, 1}}), Companion({'x'}), {'a'}},
      {"half a record", {0, 0, 0, 'a'}, Companion({'x'}), {'a'}},
      {"half a part", Index({{'a', 0, 1}}), {0, 0, 'x'}, {'a'}},
      {"itself", Index({{'a', 0, 1}}), Companion({'a'}), {'a'}},
      {"a circle", Index({{'a', 0, 1}, {'b', 1, 1}}), Companion({'b', 'a'}), {'a'}},
      {"endless growth", Index({{'a', 0, 2}}), Companion({'x', 'a'}), {'a'}},
      {"too many parts", Index({{'a', 0, 33}}), Companion(Parts(33, 'x')), {'a'}},
      {"as many as there may be", Index({{'a', 0, 32}}), Companion(Parts(32, 'x')), Parts(32, 'x')},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    SetDecompositionData(0xF000, row.index);
    SetDecompositionData(0xF001, row.companion);
    CheckDecompositionData();
    EXPECT_EQ(Decomposed('a', Decomposition::kCanonical), row.a);
    EXPECT_EQ(Decomposed('a', Decomposition::kCompatibility), row.a);
    ReleaseDecompositionData();
    // Without canonical data the compatibility ones serve alone.
    SetDecompositionData(0xF003, row.companion);
    SetDecompositionData(0xF002, row.index);
    CheckDecompositionData();
    EXPECT_EQ(Decomposed('a', Decomposition::kCanonical), Parts{'a'});
    EXPECT_EQ(Decomposed('a', Decomposition::kCompatibility), row.a);
    ReleaseDecompositionData();
  }
}

}  // namespace
}  // namespace qv
