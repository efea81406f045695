#include "app/ui/menu.h"

#include "app/ui/menu_builder.h"
#include "app/ui/menu_descriptions.h"
#include "app/ui/menu_titles.h"
#include "resources/module_source.h"
#include "resources/resource_chain.h"
#include "text/length_prefixed.h"

namespace qv {
namespace {

constexpr WCHAR kMenuBarName[] = {'M', 'e', 'n', 'u', 'B', 'a', 'r', 0};
constexpr int kNotRead = -1;

struct MenuState {
  uint32_t instances = 0;
  int column_break_interval = kNotRead;
};
MenuState& State() {
  static constinit MenuState state;
  return state;
}

HMENU NewMenu(Menu::Kind kind) {
  return kind == Menu::Kind::kBar ? CreateMenu() : CreatePopupMenu();
}

bool CheckPlace(const MenuPlace& place, UINT state) {
  if (!place.found()) return false;
  const auto position = static_cast<UINT>(place.position);
  return CheckMenuItem(place.menu, position, MF_BYPOSITION | state) != static_cast<DWORD>(-1);
}

// A column begins with every N-th item.
UINT ColumnBreak(HMENU menu) {
  const int interval = ColumnBreakInterval();
  return interval > 0 && GetMenuItemCount(menu) % interval == 0 ? MFT_MENUBARBREAK : 0;
}

}  // namespace

Menu::Menu(Kind kind) : kind_(kind), handle_(NewMenu(kind)) { ++State().instances; }

Menu::~Menu() {
  ForgetMenuBeingBuilt(*this);
  Destroy();
  --State().instances;
}

uint32_t Menu::InstanceCount() { return State().instances; }

// What belongs to a child is taken out first: the platform destroys a menu with all that is in it.
void Menu::Destroy() {
  if (handle_ == nullptr) return;
  const ChildItems child = MaximisedChildItems();
  bool alone = true;
  for (int i = 0; i < child.back; ++i) {
    const auto last = static_cast<UINT>(GetMenuItemCount(handle_) - 1);
    alone = RemoveMenu(handle_, last, MF_BYPOSITION) != 0 && alone;
  }
  if (child.front > 0) alone = RemoveMenu(handle_, 0, MF_BYPOSITION) != 0 && alone;
  if (alone) DestroyMenu(handle_);
  handle_ = window_menu_ = nullptr;
}

bool Menu::LoadMenuBar() {
  HMENU loaded = LoadMenuW(ModuleSource().GetModule(), kMenuBarName);
  if (loaded == nullptr) return LoadMenusAndAcceleratorsInto(*this);
  if (use_count_ > 0) {
    DestroyMenu(loaded);
    return false;
  }
  ForgetMenuBeingBuilt(*this);
  Destroy();
  handle_ = loaded;
  return true;
}

bool Menu::Prepare(bool keep) {
  if (!IsMenu(handle_)) {
    handle_ = NewMenu(kind_);
    window_menu_ = nullptr;
    use_count_ = 0;
    return handle_ != nullptr;
  }
  return keep || DeleteOwnItems();
}

bool Menu::DeleteOwnItems() {
  const int count = GetMenuItemCount(handle_);
  if (count < 0) return false;
  const ChildItems child = MaximisedChildItems();
  for (int last = count - child.back - 1; last >= child.front; --last) {
    if (!DeletePlatformItem({handle_, last})) return false;
  }
  window_menu_ = nullptr;
  return true;
}

int Menu::FindItem(int32_t command, HMENU* submenu) const {
  const MenuPlace place = FindPlatformItem(handle_, command);
  if (submenu != nullptr) *submenu = place.menu;
  return place.position;
}

bool Menu::EnableItem(int32_t command) {
  return EnablePlatformItem(FindPlatformItem(handle_, command), MF_ENABLED);
}

bool Menu::DisableItem(int32_t command) {
  return EnablePlatformItem(FindPlatformItem(handle_, command), MF_GRAYED);
}

bool Menu::IsItemEnabled(int32_t command) const {
  const MenuPlace place = FindPlatformItem(handle_, command);
  if (!place.found()) return true;
  const UINT state = GetMenuState(place.menu, static_cast<UINT>(place.position), MF_BYPOSITION);
  return state == static_cast<UINT>(-1) || (state & (MF_GRAYED | MF_DISABLED)) == 0;
}

bool Menu::CheckItem(int32_t command) {
  return CheckPlace(FindPlatformItem(handle_, command), MF_CHECKED);
}

bool Menu::UncheckItem(int32_t command) {
  return CheckPlace(FindPlatformItem(handle_, command), MF_UNCHECKED);
}

bool Menu::GetItemTitle(int32_t command, uint8_t* title, int32_t size) const {
  return GetPlatformTitle(FindPlatformItem(handle_, command), title, size);
}

bool Menu::SetItemTitle(int32_t command, const uint8_t* title) {
  return SetPlatformTitle(FindPlatformItem(handle_, command), LStrBytes(title));
}

bool Menu::SetItemTitleFromList(int32_t command, int32_t list, int32_t index) {
  Str255 text;
  if (!ZRGetIndString(text, list, index, kMostLStr)) return false;
  MenuTitle title(text);
  title.AppendAccelerator(command);
  return SetPlatformTitle(FindPlatformItem(handle_, command), title.bytes());
}

bool Menu::InsertItem(const uint8_t* title, int32_t command, int32_t before) {
  return InsertOrReplace(title, command, before, false);
}

bool Menu::AppendItemAfter(const uint8_t* title, int32_t command, int32_t after) {
  return InsertOrReplace(title, command, after, true);
}

bool Menu::InsertOrReplace(const uint8_t* text, int32_t command, int32_t other, bool behind) {
  MenuPlace place = FindPlatformItem(handle_, other);
  if (!place.found()) return false;
  const MenuTitle title(text);
  if (command == other) return SetPlatformTitle(place, title.bytes());
  const UINT type = behind ? 0 : ColumnBreak(place.menu);
  if (behind) ++place.position;
  if (title.is_separator()) return InsertPlatformItem(place, {.type = type | MFT_SEPARATOR});
  return InsertPlatformItem(
      place,
      {.type = type | MFT_STRING, .command = static_cast<UINT>(command), .title = title.bytes()});
}

bool Menu::EnableRange(int32_t command, Range range) {
  const MenuPlace place = FindPlatformItem(handle_, command);
  const int count = place.found() ? GetMenuItemCount(place.menu) : -1;
  if (count < 0) return false;
  const int first = range == Range::kFromCommand ? place.position : 0;
  const int last = range == Range::kUpToCommand ? place.position : count - 1;
  bool all = true;
  for (int position = first; position <= last; ++position) {
    all = EnablePlatformItem({place.menu, position}, MF_ENABLED) && all;
  }
  return all;
}

bool Menu::ClearFrom(int32_t command) {
  constexpr uint8_t kDash[] = {'-'};
  const MenuPlace place = FindPlatformItem(handle_, command);
  const int count = place.found() ? GetMenuItemCount(place.menu) : -1;
  if (count < 0 || !SetPlatformTitle(place, kDash)) return false;
  int last = count - 1;
  if (place.menu == handle_) last -= MaximisedChildItems().back;
  for (; last > place.position; --last) {
    if (GetSubMenu(place.menu, last) == window_menu_) window_menu_ = nullptr;
    if (!DeletePlatformItem({place.menu, last})) return false;
  }
  return true;
}

int ColumnBreakInterval() {
  int& interval = State().column_break_interval;
  if (interval == kNotRead) {
    const int bar = GetSystemMetrics(SM_CYMENU);
    interval = bar > 0 ? GetSystemMetrics(SM_CYSCREEN) / bar : 0;
  }
  return interval;
}

void SetColumnBreakInterval(int items) { State().column_break_interval = items < 0 ? 0 : items; }

void ResetColumnBreakIntervalForTest() { State().column_break_interval = kNotRead; }

}  // namespace qv
