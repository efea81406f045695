// What the tests of menus share: a resource file in memory whose lists and message texts they set,
// the lines of debug output, and menus as one line of text.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "platform/windows_api.h"
#include "text/length_prefixed.h"

namespace test {

// The items of a menu, read back from the platform, with blanks between them:
//
//   Title=1001       a text and its command; a TAB shows as "^"
//   Title{...}       a submenu and its items
//   -                a separator
//   [FF00=451]       an item that the application draws: its data and command
//
// Before it "|" when it begins a column; behind it "*" when it is checked, "!" when it is greyed.
std::string DumpMenu(HMENU menu);

// A length-prefixed string.
class LText {
 public:
  explicit LText(const std::string& text) {
    qv::SetLStr(text_, kMostLStr, text.data(), static_cast<int32_t>(text.size()));
  }
  operator const uint8_t*() const { return text_; }

 private:
  Str255 text_;
};

class MemorySource;

class MenuTest : public testing::Test {
 protected:
  MenuTest();
  ~MenuTest() override;

  // Lists of the resource file.
  void SetList(int32_t list, const std::vector<std::string>& strings);
  // Texts of messages, which are the titles of these commands.
  void SetMessages(const std::map<int32_t, std::string>& texts);

  // The debug output since the last call.
  std::string TakeLines();

 private:
  MemorySource* file_ = nullptr;  // the chain's
};

}  // namespace test
