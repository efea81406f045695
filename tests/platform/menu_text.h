// What a menu holds, as one line that tests compare.
#pragma once

#include <string>

#include "platform/windows_api.h"

namespace platform_test {

// The items, parted by blanks: "Title=command", "-" for a separator, "Title{items of the submenu}";
// behind it "!" where an item is greyed or disabled, "*" where it is checked.
std::string MenuText(HMENU menu);

// A record whose mask says what it holds.
inline MENUITEMINFOW ItemInfo(UINT mask) {
  MENUITEMINFOW info = {};
  info.cbSize = sizeof info;
  info.fMask = mask;
  return info;
}

// An item of the menu; the position is that of the item it is put in front of, or -1 for the end.
bool Insert(HMENU menu, int position, const char* title, UINT command, HMENU submenu = nullptr);

}  // namespace platform_test
