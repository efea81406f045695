#include "app/ui/platform_menu.h"

#include "app/ui/menu_titles.h"
#include "text/length_prefixed.h"

namespace qv {
namespace {

MENUITEMINFOW EmptyInfo(UINT mask) {
  MENUITEMINFOW info = {};
  info.cbSize = sizeof info;
  info.fMask = mask;
  return info;
}

UINT Position(const MenuPlace& place) { return static_cast<UINT>(place.position); }

// What an item of this kind has beside its type and command.
UINT FurtherMembers(const PlatformItem& item) {
  if ((item.type & MFT_SEPARATOR) != 0) return 0;
  if ((item.type & MFT_OWNERDRAW) != 0) return MIIM_DATA;
  return item.submenu == nullptr ? MIIM_STRING : MIIM_STRING | MIIM_SUBMENU;
}

}  // namespace

bool InsertPlatformItem(const MenuPlace& place, const PlatformItem& item) {
  const WideText title(item.title);
  if (title.text() == nullptr) return false;
  MENUITEMINFOW info = EmptyInfo(MIIM_FTYPE | FurtherMembers(item));
  // No command leads to a submenu.
  if (item.submenu == nullptr) info.fMask |= MIIM_ID;
  info.fType = item.type;
  info.wID = item.command;
  info.hSubMenu = item.submenu;
  info.dwItemData = item.data;
  info.dwTypeData = const_cast<WCHAR*>(title.text());
  return InsertMenuItemW(place.menu, Position(place), TRUE, &info) != 0;
}

MenuPlace FindPlatformItem(HMENU menu, int32_t command) {
  if (menu == nullptr || command <= 0) return {};
  const int count = GetMenuItemCount(menu);
  for (int position = 0; position < count; ++position) {
    if (HMENU submenu = GetSubMenu(menu, position)) {
      const MenuPlace inside = FindPlatformItem(submenu, command);
      if (inside.found()) return inside;
    } else if (GetMenuItemID(menu, position) == static_cast<UINT>(command)) {
      return {menu, position};
    }
  }
  return {};
}

bool SetPlatformTitle(const MenuPlace& place, Bytes title) {
  const WideText wide(title);
  if (!place.found() || wide.text() == nullptr) return false;
  MENUITEMINFOW info = EmptyInfo(MIIM_STRING);
  info.dwTypeData = const_cast<WCHAR*>(wide.text());
  return SetMenuItemInfoW(place.menu, Position(place), TRUE, &info) != 0;
}

bool GetPlatformTitle(const MenuPlace& place, uint8_t* title, int32_t size) {
  // A unit is a byte of the title or more.
  WCHAR wide[kMostLStr + 1] = {};
  MENUITEMINFOW info = EmptyInfo(MIIM_STRING);
  info.dwTypeData = wide;
  info.cch = kMostLStr + 1;
  const bool found =
      place.found() && GetMenuItemInfoW(place.menu, Position(place), TRUE, &info) != 0;
  size_t units = 0;
  while (found && units < kMostLStr && wide[units] != 0) ++units;
  StoreWideText(title, size, wide, units);
  return found;
}

bool EnablePlatformItem(const MenuPlace& place, UINT state) {
  if (!place.found()) return false;
  return EnableMenuItem(place.menu, Position(place), MF_BYPOSITION | state) != -1;
}

bool DeletePlatformItem(const MenuPlace& place) {
  return place.found() && DeleteMenu(place.menu, Position(place), MF_BYPOSITION) != 0;
}

}  // namespace qv
