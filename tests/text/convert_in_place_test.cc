#include "text/convert_in_place.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <span>

#include "base/hooks.h"
#include "tests/text/module_tables.h"
#include "text/code_page_strings.h"
#include "text/length_prefixed.h"

namespace qv {
namespace {

using namespace std::string_literals;

class ConvertInPlace : public test::ModuleTables {
 protected:
  ~ConvertInPlace() override {
    ResetHooksForTest();
    ResetCodePagesForTest();
  }
};

// Converts inside a buffer of the larger of `limit` and the text with its terminator; what stands
// behind it must stay.
struct InPlace {
  uint32_t count;
  std::string buffer;  // what the result and the untouched rest leave in it
};
using Function = uint32_t(char*, CodePage, CodePage, uint32_t);

uint32_t KeepingLineEnds(char* text, CodePage from, CodePage to, uint32_t limit) {
  return ConvertTextInPlace(text, limit, from, to);
}

InPlace ConvertBuffer(const std::string& text, CodePage from, CodePage to, uint32_t limit,
                      Function* function = CPConvert) {
  constexpr char kGuard = '\x5A';
  std::string buffer = text + std::string(static_cast<size_t>(CPTermSize(from)), '\0');
  const size_t owned = std::max<size_t>(buffer.size(), limit);
  buffer.resize(owned + 32, kGuard);
  const uint32_t count = function(buffer.data(), from, to, limit);
  EXPECT_EQ(buffer.find_first_not_of(kGuard, owned), std::string::npos) << "wrote behind";
  return {count, buffer.substr(0, owned)};
}

struct Row {
  const char* name;
  std::string text;
  CodePage from, to;
  uint32_t limit;
  std::string result;  // with its terminator
};

void ExpectResults(std::span<const Row> rows, Function* function) {
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const InPlace converted = ConvertBuffer(row.text, row.from, row.to, row.limit, function);
    EXPECT_EQ(converted.count, row.result.size());
    EXPECT_EQ(converted.buffer.substr(0, row.result.size()), row.result);
  }
}

TEST_F(ConvertInPlace, ConvertsAndReportsTheBytes) {
  const Row kRows[] = {
      {"Western", "caf\xE9", 1252, kUtf8, 64, "caf\xC3\xA9\0"s},
      {"and back", "caf\xC3\xA9", kUtf8, 1252, 64, "caf\xE9\0"s},
      {"empty", "", 1252, kUtf8, 64, "\0"s},
      {"every line end becomes CR LF", "a\rb\nc\r\nd", 1252, kUtf8, 64, "a\r\nb\r\nc\r\nd\0"s},
      {"for a Macintosh page too", "a\nb", kUtf8, 10000, 64, "a\r\nb\0"s},
      {"wide", "ab", kUtf8, kUtf16Little, 64, "a\0b\0\0\0"s},
      {"between wide forms", "a\0b\0"s, kUtf16Little, kUtf32Big, 64, "\0\0\0a\0\0\0b\0\0\0\0"s},
      {"20000 stands for the default", "\xE9", 20000, kUtf8, 64, "\xC3\xA9\0"s},
      {"a byte without a character ends the text", "a\x81z", 1252, kUtf8, 64, "a\0z\0"s},
      {"fits to the byte", "caf\xE9", 1252, kUtf8, 6, "caf\xC3\xA9\0"s},
      {"one byte less: a whole character goes", "caf\xE9", 1252, kUtf8, 5, "caf\0"s},
      {"wide: the terminator stays whole", "abc", kUtf8, kUtf16Little, 7, "a\0b\0\0\0"s},
      {"single bytes: the NUL may lie at the limit, in the text's own bytes", "abcdef", kUtf8, 1252,
       4, "abcd\0"s},
      {"longer line ends do not reach behind the buffer", "a\nb", kUtf8, 1252, 4, "a\r\n\0"s},
      {"Japanese of a Windows system", "\x93\xFA\x96\x7B\n\xB1", 932, kUtf8, 20,
       "\xE6\x97\xA5\xE6\x9C\xAC\r\n\xEF\xBD\xB1\0"s},
      {"no room for a terminator", "abc", kUtf8, kUtf16Little, 1, ""},
  };
  ExpectResults(kRows, CPConvert);
}

TEST_F(ConvertInPlace, LeavesTheBufferWhereNothingCanBeDone) {
  const struct {
    const char* name;
    CodePage from, to;
  } kRows[] = {
      {"neither is Unicode", 1252, 1250},
      {"no table", 936, kUtf8},
      {"no table for the target", kUtf8, 949},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    const InPlace converted = ConvertBuffer("abc\x82\xA0", row.from, row.to, 6);
    EXPECT_EQ(converted.count, 0u);
    EXPECT_EQ(converted.buffer, "abc\x82\xA0\0"s);
  }
  EXPECT_EQ(CPConvert(nullptr, 1252, kUtf8, 10), 0u);
}

void* NoMemory(size_t) { return nullptr; }

TEST_F(ConvertInPlace, KeepsLineEnds) {
  const Row kRows[] = {
      {"through Unicode's engines", "a\r\xE9\n", 1252, kUtf8, 64, "a\r\xC3\xA9\n\0"s},
      {"through a byte map", "caf\x8E\r", 10000, 1252, 64, "caf\xE9\r\0"s},
      {"through two tables", "caf\xE9", 1252, 850, 64, "caf\x82\0"s},
      {"wide", "a\n", 1252, kUtf16Little, 64, "a\0\n\0\0\0"s},
      {"equal pages", "a\rb", 1252, 1252, 64, "a\rb\0"s},
      {"nothing converts: as it was", "a\r\xE9", 1252, 949, 64, "a\r\xE9\0"s},
      {"fits to the byte", "caf\xE9", 1252, kUtf8, 6, "caf\xC3\xA9\0"s},
      {"one byte less: a whole character goes", "caf\xE9", 1252, kUtf8, 5, "caf\0"s},
      {"single bytes keep the NUL inside", "abcdef", kUtf8, 1252, 4, "abc\0"s},
      {"no room for a terminator", "abc", 1252, kUtf8, 0, ""},
  };
  ExpectResults(kRows, KeepingLineEnds);
  EXPECT_EQ(ConvertTextInPlace(nullptr, 64, 1252, kUtf8), 0u);
}

TEST_F(ConvertInPlace, LengthPrefixed) {
  const std::string accents(200, '\xE9');
  std::string doubled;
  for (int i = 0; i < 127; ++i) doubled += "\xC3\xA9";
  const struct {
    const char* name;
    std::string text;
    CodePage from, to;
    uint32_t size;
    std::string result;
  } kRows[] = {
      {"Western", "caf\xE9\r\n", 1252, kUtf8, 256, "caf\xC3\xA9\r\n"},
      {"zero bytes are bytes", "a\0b"s, 1252, kUtf16Big, 256, "\0a\0\0\0b"s},
      {"empty", "", 1252, kUtf8, 256, ""},
      {"at most 255 bytes, whole characters", accents, 1252, kUtf8, 1000, doubled},
      {"the buffer's size", "caf\xE9", 1252, kUtf8, 6, "caf\xC3\xA9"},
      {"a character does not fit", "caf\xE9", 1252, kUtf8, 5, "caf"},
      {"only the length byte", "abc", 1252, kUtf8, 1, ""},
      {"no buffer", "abc", 1252, kUtf8, 0, "abc"},
      {"nothing converts", "\xE9", 1252, 949, 256, "\xE9"},
      {"nothing converts, and it is cut", "abcd", 1252, 949, 4, "abc"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    uint8_t buffer[300];
    std::fill_n(buffer, sizeof buffer, uint8_t{0x5A});
    SetLStr(buffer, kMostLStr, row.text.data(), static_cast<int32_t>(row.text.size()));
    const uint32_t length = ConvertLStrInPlace(buffer, row.size, row.from, row.to);
    EXPECT_EQ(length, row.size == 0 ? 0 : row.result.size());
    EXPECT_EQ(std::string(LStrBytes(buffer).begin(), LStrBytes(buffer).end()), row.result);
    EXPECT_EQ(buffer[std::max<size_t>(row.result.size(), row.text.size()) + 1], 0x5A);
  }
  EXPECT_EQ(ConvertLStrInPlace(nullptr, 256, 1252, kUtf8), 0u);
}

// A limit above the stack's work area needs memory; up to it none is asked for.
TEST_F(ConvertInPlace, LargeLimitsNeedMemory) {
  const std::string text(4200, '\xE9');
  const InPlace large = ConvertBuffer(text, 1252, kUtf8, 9000);
  EXPECT_EQ(large.count, 8401u);
  EXPECT_EQ(large.buffer.substr(8398, 3), "\xC3\xA9\0"s);
  GlobalHooks().allocate = NoMemory;
  GlobalHooks().release = [](void*) {};
  EXPECT_EQ(ConvertBuffer(text, 1252, kUtf8, 4097).count, 0u);
  EXPECT_EQ(ConvertBuffer(text, 1252, kUtf8, 4097).buffer.substr(0, 4201), text + "\0"s);
  EXPECT_EQ(ConvertBuffer(text, 1252, kUtf8, 4096).count, 4095u);
  std::string buffer = "abc\0 and room"s;
  EXPECT_EQ(CPConvert(buffer.data(), 1252, kUtf8, std::numeric_limits<uint32_t>::max()), 0u);
}

}  // namespace
}  // namespace qv
