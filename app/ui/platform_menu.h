// Items of the platform's menus, by menu and position: what the menu object and the menu builder
// share.
//
// Positions count from 0. Errors: false or none, and nothing was changed.
#pragma once

#include <cstdint>

#include "base/big_endian.h"
#include "platform/windows_api.h"

namespace qv {

// An item: the menu that it is in, and its position; -1 when there is none.
struct MenuPlace {
  HMENU menu = nullptr;
  int position = -1;
  bool found() const { return position >= 0; }
};

// What is inserted: a separator, an item whose picture the application draws, a submenu or a text.
struct PlatformItem {
  UINT type = MFT_STRING;  // or MFT_SEPARATOR, MFT_OWNERDRAW; with MFT_MENUBARBREAK
  UINT command = 0;
  HMENU submenu = nullptr;  // goes over to the menu when the item is inserted
  ULONG_PTR data = 0;
  Bytes title = {};  // UTF-8; of a text and a submenu
};
bool InsertPlatformItem(const MenuPlace& place, const PlatformItem& item);

// The place of a command above 0 in the menu and its submenus, depth first.
MenuPlace FindPlatformItem(HMENU menu, int32_t command);

// Gives an item another title; everything else about it stays.
bool SetPlatformTitle(const MenuPlace& place, Bytes title);
// Into a buffer of `size` bytes, as StoreWideText does; an empty text when there is none.
bool GetPlatformTitle(const MenuPlace& place, uint8_t* title, int32_t size);

// MF_ENABLED, MF_GRAYED or MF_DISABLED.
bool EnablePlatformItem(const MenuPlace& place, UINT state);

// Deletes an item with its submenu.
bool DeletePlatformItem(const MenuPlace& place);

}  // namespace qv
