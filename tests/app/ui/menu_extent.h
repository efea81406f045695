// How large a menu has become, for tests of what may not grow without bound.
#pragma once

#include <algorithm>

#include "platform/windows_api.h"

namespace test {

// The deepest chain of submenus, and all items.
struct MenuExtent {
  int depth = 0, items = 0;
};

inline MenuExtent Measure(HMENU menu) {
  MenuExtent all = {0, GetMenuItemCount(menu)};
  for (int i = 0; i < GetMenuItemCount(menu); ++i) {
    HMENU submenu = GetSubMenu(menu, i);
    if (submenu == nullptr) continue;
    const MenuExtent inner = Measure(submenu);
    all = {std::max(all.depth, inner.depth + 1), all.items + inner.items};
  }
  return all;
}

}  // namespace test
