#include "platform/host/menus.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

#include "platform/host/calls.h"
#include "platform/host/handles.h"

namespace host {
namespace {

constexpr UINT kOldStates = MF_GRAYED | MF_DISABLED;
constexpr UINT kStates = kOldStates | MF_CHECKED | MF_HILITE;
constexpr UINT kTypes = MF_BITMAP | MF_MENUBARBREAK | MF_MENUBREAK | MF_OWNERDRAW | MF_SEPARATOR;
constexpr UINT kNoItem = UINT32_MAX;
constexpr int kDeepest = 25;  // levels that a search goes down; more than a user could follow

struct MenuItem {
  UINT type = 0, state = 0, command = 0;
  HMENU submenu = nullptr;
  ULONG_PTR data = 0;
  std::u16string text;
  bool has_text = false;
};

struct MenuObject : Object {
  std::vector<MenuItem> items;
};

// One lock for all menus: an item is sought through several.
std::mutex& Lock() {
  static auto& mutex = *new std::mutex;
  return mutex;
}

std::shared_ptr<MenuObject> MenuOf(HMENU menu) { return FindHandle<MenuObject>(menu); }

// Where an item is; `menu` keeps it alive.
struct Place {
  std::shared_ptr<MenuObject> menu;
  size_t index = 0;
  MenuItem& item() const { return menu->items[index]; }
};

// A command is sought in the submenus of an item before the items behind it.
bool FindCommand(const std::shared_ptr<MenuObject>& menu, UINT command, int depth, Place* place) {
  for (size_t i = 0; i < menu->items.size(); ++i) {
    const MenuItem& item = menu->items[i];
    if (item.submenu == nullptr) {
      if (item.command != command) continue;
      *place = {menu, i};
      return true;
    }
    const std::shared_ptr<MenuObject> submenu = MenuOf(item.submenu);
    if (submenu && depth < kDeepest && FindCommand(submenu, command, depth + 1, place)) return true;
    if (item.command != command) continue;
    *place = {menu, i};
    return true;
  }
  return false;
}

// False with the last error set.
bool Find(HMENU handle, UINT item, bool by_position, Place* place) {
  const std::shared_ptr<MenuObject> menu = MenuOf(handle);
  if (!menu) return Fail(ERROR_INVALID_MENU_HANDLE, false);
  if (by_position) {
    if (item >= menu->items.size()) return Fail(ERROR_MENU_ITEM_NOT_FOUND, false);
    *place = {menu, item};
    return true;
  }
  return FindCommand(menu, item, 0, place) || Fail(ERROR_MENU_ITEM_NOT_FOUND, false);
}

bool Find(HMENU handle, UINT item, UINT flags, Place* place) {
  return Find(handle, item, (flags & MF_BYPOSITION) != 0, place);
}

// With all submenus; a menu that is in itself ends with its handle.
void Destroy(HMENU handle) {
  const std::shared_ptr<MenuObject> menu = MenuOf(handle);
  if (!menu) return;
  RemoveObject(reinterpret_cast<uintptr_t>(handle));
  for (const MenuItem& item : menu->items) Destroy(item.submenu);
}

void SetText(const MENUITEMINFOW& info, MenuItem* item) {
  item->has_text = info.dwTypeData != nullptr;
  item->text = info.dwTypeData != nullptr ? std::u16string(info.dwTypeData) : std::u16string();
}

// False, and nothing is changed, for what no item can be.
bool Apply(const MENUITEMINFOW& info, MenuItem* item) {
  const bool has_submenu = (info.fMask & MIIM_SUBMENU) != 0 && info.hSubMenu != nullptr;
  if (info.cbSize != sizeof info || (has_submenu && !MenuOf(info.hSubMenu))) {
    return Fail(ERROR_INVALID_PARAMETER, false);
  }
  if ((info.fMask & MIIM_TYPE) != 0 && (info.fMask & (MIIM_STRING | MIIM_FTYPE)) != 0) {
    return Fail(ERROR_INVALID_PARAMETER, false);
  }
  if ((info.fMask & (MIIM_TYPE | MIIM_FTYPE)) != 0) item->type = info.fType & kTypes;
  if ((info.fMask & MIIM_STATE) != 0) item->state = info.fState & kStates;
  if ((info.fMask & MIIM_ID) != 0) item->command = info.wID;
  if ((info.fMask & MIIM_SUBMENU) != 0) item->submenu = info.hSubMenu;
  if ((info.fMask & MIIM_DATA) != 0) item->data = info.dwItemData;
  const bool is_text = (item->type & (MF_BITMAP | MF_OWNERDRAW | MF_SEPARATOR)) == 0;
  if ((info.fMask & MIIM_STRING) != 0 || ((info.fMask & MIIM_TYPE) != 0 && is_text)) {
    SetText(info, item);
  }
  // An item with nothing to show is a separator.
  const bool shows = item->has_text || item->submenu != nullptr || !is_text;
  if (!shows) item->type |= MF_SEPARATOR;
  return true;
}

// The text into the caller's buffer, cut to it; cch becomes the length that was copied, or without
// a buffer the length that there is.
void GiveText(const MenuItem& item, MENUITEMINFOW* info) {
  const auto length = static_cast<UINT>(item.text.size());
  if (info->dwTypeData == nullptr || info->cch == 0) {
    info->cch = length;
    return;
  }
  const UINT copied = std::min(length, info->cch - 1);
  std::copy_n(item.text.data(), copied, info->dwTypeData);
  info->dwTypeData[copied] = 0;
  info->cch = copied;
}

void Give(const MenuItem& item, MENUITEMINFOW* info) {
  if ((info->fMask & (MIIM_TYPE | MIIM_FTYPE)) != 0) info->fType = item.type;
  if ((info->fMask & MIIM_STATE) != 0) info->fState = item.state;
  if ((info->fMask & MIIM_ID) != 0) info->wID = item.command;
  if ((info->fMask & MIIM_SUBMENU) != 0) info->hSubMenu = item.submenu;
  if ((info->fMask & MIIM_DATA) != 0) info->dwItemData = item.data;
  if ((info->fMask & (MIIM_TYPE | MIIM_STRING)) != 0) GiveText(item, info);
}

HMENU NewMenu() { return AddHandle<HMENU>(std::make_shared<MenuObject>()); }

// Sets some of an item's states; the old ones of these, or `failed`.
template <typename Result>
Result ChangeState(HMENU menu, UINT item, UINT flags, UINT mask, Result failed) {
  std::lock_guard hold(Lock());
  Place place;
  if (!Find(menu, item, flags, &place)) return failed;
  const UINT old = place.item().state & mask;
  place.item().state = (place.item().state & ~mask) | (flags & mask);
  return static_cast<Result>(old);
}

BOOL TakeOut(HMENU menu, UINT item, UINT flags, bool destroys) {
  std::lock_guard hold(Lock());
  Place place;
  if (!Find(menu, item, flags, &place)) return FALSE;
  if (destroys) Destroy(place.item().submenu);
  place.menu->items.erase(place.menu->items.begin() + static_cast<ptrdiff_t>(place.index));
  return TRUE;
}

struct AcceleratorObject : Object {
  std::vector<ACCEL> entries;
};

}  // namespace
}  // namespace host

using host::Enter;
using host::Fail;

// --- menus ---

HMENU CreateMenu(void) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, HMENU{});
  return host::NewMenu();
}

HMENU CreatePopupMenu(void) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, HMENU{});
  return host::NewMenu();
}

BOOL DestroyMenu(HMENU menu) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  std::lock_guard hold(host::Lock());
  if (!host::MenuOf(menu)) return Fail(ERROR_INVALID_MENU_HANDLE, FALSE);
  host::Destroy(menu);
  return TRUE;
}

BOOL IsMenu(HMENU menu) { return host::MenuOf(menu) ? TRUE : FALSE; }

int GetMenuItemCount(HMENU menu) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, -1);
  std::lock_guard hold(host::Lock());
  const auto object = host::MenuOf(menu);
  if (!object) return Fail(ERROR_INVALID_MENU_HANDLE, -1);
  return static_cast<int>(object->items.size());
}

UINT GetMenuItemID(HMENU menu, int position) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, host::kNoItem);
  std::lock_guard hold(host::Lock());
  host::Place place;
  if (!host::Find(menu, static_cast<UINT>(position), true, &place)) return host::kNoItem;
  return place.item().submenu != nullptr ? host::kNoItem : place.item().command;
}

HMENU GetSubMenu(HMENU menu, int position) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, HMENU{});
  std::lock_guard hold(host::Lock());
  host::Place place;
  if (!host::Find(menu, static_cast<UINT>(position), true, &place)) return nullptr;
  return place.item().submenu;
}

UINT GetMenuState(HMENU menu, UINT item, UINT flags) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, host::kNoItem);
  std::lock_guard hold(host::Lock());
  host::Place place;
  if (!host::Find(menu, item, flags, &place)) return host::kNoItem;
  const host::MenuItem& found = place.item();
  const UINT state = found.type | found.state;
  if (found.submenu == nullptr) return state;
  const auto submenu = host::MenuOf(found.submenu);
  if (!submenu) return host::kNoItem;
  const auto count = static_cast<UINT>(submenu->items.size());
  return (count << 8) | ((state | MF_POPUP) & 0xFF);
}

BOOL GetMenuItemInfoW(HMENU menu, UINT item, BOOL by_position, MENUITEMINFOW* info) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  if (info == nullptr || info->cbSize != sizeof *info) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  std::lock_guard hold(host::Lock());
  host::Place place;
  if (!host::Find(menu, item, by_position != FALSE, &place)) return FALSE;
  host::Give(place.item(), info);
  return TRUE;
}

BOOL SetMenuItemInfoW(HMENU menu, UINT item, BOOL by_position, const MENUITEMINFOW* info) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  if (info == nullptr) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  std::lock_guard hold(host::Lock());
  host::Place place;
  if (!host::Find(menu, item, by_position != FALSE, &place)) return FALSE;
  const HMENU old = place.item().submenu;
  if (!host::Apply(*info, &place.item())) return FALSE;
  if (old != place.item().submenu) host::Destroy(old);
  return TRUE;
}

BOOL InsertMenuItemW(HMENU menu, UINT item, BOOL by_position, const MENUITEMINFOW* info) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  if (info == nullptr) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  std::lock_guard hold(host::Lock());
  host::Place place{host::MenuOf(menu)};
  if (!place.menu) return Fail(ERROR_INVALID_MENU_HANDLE, FALSE);
  place.index = place.menu->items.size();
  if (by_position) {
    place.index = std::min<size_t>(item, place.index);
  } else {
    host::FindCommand(place.menu, item, 0, &place);
  }
  host::MenuItem made;
  if (!host::Apply(*info, &made)) return FALSE;
  place.menu->items.insert(place.menu->items.begin() + static_cast<ptrdiff_t>(place.index),
                           std::move(made));
  return TRUE;
}

BOOL EnableMenuItem(HMENU menu, UINT item, UINT flags) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, -1);
  return host::ChangeState<BOOL>(menu, item, flags, host::kOldStates, -1);
}

DWORD CheckMenuItem(HMENU menu, UINT item, UINT flags) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, UINT32_MAX);
  return host::ChangeState<DWORD>(menu, item, flags, MF_CHECKED, UINT32_MAX);
}

BOOL DeleteMenu(HMENU menu, UINT item, UINT flags) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  return host::TakeOut(menu, item, flags, true);
}

BOOL RemoveMenu(HMENU menu, UINT item, UINT flags) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  return host::TakeOut(menu, item, flags, false);
}

// --- accelerators ---

HACCEL CreateAcceleratorTableW(ACCEL* entries, int count) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, HACCEL{});
  if (entries == nullptr || count < 1) return Fail(ERROR_INVALID_PARAMETER, HACCEL{});
  auto table = std::make_shared<host::AcceleratorObject>();
  table->entries.assign(entries, entries + count);
  return host::AddHandle<HACCEL>(std::move(table));
}

int CopyAcceleratorTableW(HACCEL handle, ACCEL* entries, int count) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, 0);
  const auto table = host::FindHandle<host::AcceleratorObject>(handle);
  if (!table) return Fail(ERROR_INVALID_ACCEL_HANDLE, 0);
  const auto all = static_cast<int>(table->entries.size());
  if (entries == nullptr) return all;
  const int copied = std::clamp(count, 0, all);
  std::copy_n(table->entries.begin(), copied, entries);
  return copied;
}

BOOL DestroyAcceleratorTable(HACCEL handle) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  if (!host::CloseHandleOf<host::AcceleratorObject>(handle)) {
    return Fail(ERROR_INVALID_ACCEL_HANDLE, FALSE);
  }
  return TRUE;
}
