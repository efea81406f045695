#include "format/hex_dump.h"

#include <gtest/gtest.h>

#include <string>

#include "app/debug_output.h"
#include "base/hooks.h"

namespace {

std::string& Shown() {
  static std::string shown;
  return shown;
}

std::string Dump(const std::string& bytes, uint32_t per_line, bool with_characters) {
  Shown().clear();
  ZRHexDump(bytes.data(), static_cast<uint32_t>(bytes.size()), per_line, with_characters);
  return Shown();
}

class HexDump : public testing::Test {
 protected:
  HexDump() {
    qv::SetDebugFlag(1);
    qv::GlobalHooks().show_in_console = [](const char* text) {
      Shown() += text;
      return true;
    };
  }
  ~HexDump() override {
    qv::SetDebugFlag(0);
    qv::ResetHooksForTest();
  }
};

TEST_F(HexDump, WritesLines) {
  const struct {
    const char* name;
    std::string bytes;
    uint32_t per_line;
    bool with_characters;
    const char* lines;
  } kRows[] = {
      {"one line", "\x01\xAB", 2, false, "01 ab \n"},
      {"the last line is filled", "Hello\n", 4, true, "48 65 6c 6c Hell\n6f 0a       o.\n"},
      {"without characters too", "abc", 2, false, "61 62 \n63    \n"},
      {"what is a character", std::string("\0\x1F\x20\x7F\xE9", 5), 5, true,
       "00 1f 20 7f e9 .. \x7F\xE9\n"},
      {"formats are bytes", "%s%n", 4, true, "25 73 25 6e %s%n\n"},
      {"0 counts as 16", "0123456789abcdefg", 0, false,
       "30 31 32 33 34 35 36 37 38 39 61 62 63 64 65 66 \n"
       "67                                              \n"},
      {"no bytes", "", 4, true, ""},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Dump(row.bytes, row.per_line, row.with_characters), row.lines);
  }
  ZRHexDump(nullptr, 5, 4, true);
  EXPECT_EQ(Shown(), "");
}

TEST_F(HexDump, LongLinesLoseNothing) {
  std::string expected;
  for (int i = 0; i < 4000; ++i) expected += "61 ";
  EXPECT_EQ(Dump(std::string(4000, 'a'), 4000, true), expected + std::string(4000, 'a') + "\n");
}

}  // namespace
