#include "tests/platform/menu_text.h"

namespace platform_test {
namespace {

std::string ItemText(HMENU menu, UINT position) {
  WCHAR title[64] = {};
  MENUITEMINFOW info = ItemInfo(MIIM_FTYPE | MIIM_STATE | MIIM_ID | MIIM_SUBMENU | MIIM_STRING);
  info.dwTypeData = title;
  info.cch = 64;
  if (!GetMenuItemInfoW(menu, position, TRUE, &info)) return "?";
  if ((info.fType & MFT_SEPARATOR) != 0) return "-";
  std::string text(title, title + info.cch);
  text += info.hSubMenu != nullptr ? "{" + MenuText(info.hSubMenu) + "}"
                                   : "=" + std::to_string(info.wID);
  if ((info.fState & MFS_DISABLED) != 0) text += '!';
  if ((info.fState & MFS_CHECKED) != 0) text += '*';
  return text;
}

}  // namespace

std::string MenuText(HMENU menu) {
  std::string text;
  for (int position = 0; position < GetMenuItemCount(menu); ++position) {
    text += (position > 0 ? " " : "") + ItemText(menu, static_cast<UINT>(position));
  }
  return text;
}

bool Insert(HMENU menu, int position, const char* title, UINT command, HMENU submenu) {
  std::basic_string<WCHAR> wide(title, title + std::char_traits<char>::length(title));
  MENUITEMINFOW info = ItemInfo(MIIM_ID | MIIM_STRING | (submenu != nullptr ? MIIM_SUBMENU : 0));
  info.wID = command;
  info.hSubMenu = submenu;
  info.dwTypeData = wide.data();
  return InsertMenuItemW(menu, static_cast<UINT>(position), TRUE, &info) != FALSE;
}

}  // namespace platform_test
