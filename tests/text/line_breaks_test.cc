#include "text/line_breaks.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qv {
namespace {

using namespace std::string_literals;

LineBreakLoad Add(CodePage cp, const std::string& body) {
  const std::vector<uint8_t> bytes(body.begin(), body.end());  // of its exact size
  return AddLineBreakLists(cp, bytes);
}

// The codes that may not end a line, then those that may not begin one.
std::string Lists(CodePage cp) {
  std::string text;
  for (uint32_t code = 0; code <= 0x10000; ++code) {
    if (!MayEndLine(cp, code)) text += std::to_string(code) + " ";
  }
  text += "/";
  for (uint32_t code = 0; code <= 0x10000; ++code) {
    if (!MayBeginLine(cp, code)) text += " " + std::to_string(code);
  }
  return text;
}

TEST(LineBreaks, TakeWholeListsAndRefuseAllOthers) {
  const struct {
    const char* name;
    std::string body;
    LineBreakLoad load;
    std::string lists;  // afterwards
  } kRows[] = {
      {"nothing", "", LineBreakLoad::kRefused, "1 / 2"},
      {"half a count", "\0"s, LineBreakLoad::kRefused, "1 / 2"},
      {"no second list", "\0\0"s, LineBreakLoad::kRefused, "1 / 2"},
      {"a first list behind the end", "\0\2\0(\0"s, LineBreakLoad::kRefused, "1 / 2"},
      {"that swallows the second count", "\0\2\0(\0\0"s, LineBreakLoad::kRefused, "1 / 2"},
      {"a second list behind the end", "\0\1\0(\0\1\0"s, LineBreakLoad::kRefused, "1 / 2"},
      {"the largest count", "\xFF\xFF\0(\0\0"s, LineBreakLoad::kRefused, "1 / 2"},
      {"a byte too many", "\0\1\0(\0\1\0)\0"s, LineBreakLoad::kRefused, "1 / 2"},
      {"both empty", "\0\0\0\0"s, LineBreakLoad::kDone, "/"},
      {"one code each", "\0\1\0(\0\1\x81\x42"s, LineBreakLoad::kDone, "40 / 33090"},
      {"in any order", "\0\3\0[\0(\0{\0\2\0)\0!"s, LineBreakLoad::kDone, "40 91 123 / 33 41"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    ASSERT_EQ(Add(932, "\0\1\0\1\0\1\0\2"s), LineBreakLoad::kDone);
    EXPECT_EQ(Add(932, row.body), row.load);
    EXPECT_EQ(Lists(932), row.lists);
    EXPECT_EQ(Lists(936), "/") << "a page without lists";
  }
  ReleaseLineBreakLists();
  EXPECT_EQ(Lists(932), "/");
}

}  // namespace
}  // namespace qv
