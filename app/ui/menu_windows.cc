// The menu object and its windows: what shows a bar, and what a multiple-document window puts in
// it.
#include <algorithm>

#include "app/ui/menu.h"
#include "app/ui/menu_answers.h"
#include "app/ui/menu_titles.h"
#include "resources/module_source.h"
#include "text/length_prefixed.h"

namespace qv {
namespace {

constexpr UINT kFirstSystemCommand = 0xF000;
constexpr int kMostCaptionItems = 4;

bool IsSystemCommand(HMENU menu, int position) {
  const UINT command = GetMenuItemID(menu, position);
  return command >= kFirstSystemCommand && command != static_cast<UINT>(-1);
}

// A submenu that was taken out of a platform menu, with its title; no submenu when there is none.
struct LooseSubmenu {
  HMENU menu = nullptr;
  Str255 title = {};
};

LooseSubmenu TakeFirstSubmenu(int32_t resource) {
  LooseSubmenu taken;
  HMENU loaded =
      LoadMenuW(ModuleSource().GetModule(), MAKEINTRESOURCEW(static_cast<WORD>(resource)));
  if (loaded == nullptr) return taken;
  HMENU first = GetSubMenu(loaded, 0);
  // What is not taken out goes with the menu.
  if (first != nullptr && GetPlatformTitle({loaded, 0}, taken.title, sizeof taken.title) &&
      RemoveMenu(loaded, 0, MF_BYPOSITION)) {
    taken.menu = first;
  }
  DestroyMenu(loaded);
  return taken;
}

BOOL CALLBACK RedrawIfShown(HWND window, LPARAM menu) {
  if (GetMenu(window) == reinterpret_cast<HMENU>(menu)) DrawMenuBar(window);
  return TRUE;
}

}  // namespace

bool Menu::AttachTo(HWND window) {
  if (handle_ == nullptr) return false;
  if (GetMenu(window) == handle_) return true;
  // Not every system's SetMenu refuses what is no window.
  if (!SetMenu(window, handle_) || GetMenu(window) != handle_) return false;
  ++use_count_;
  return true;
}

bool Menu::DetachFrom(HWND window) {
  if (handle_ == nullptr || GetMenu(window) != handle_ || !SetMenu(window, nullptr)) return false;
  if (use_count_ > 0) --use_count_;
  return true;
}

bool Menu::IsMaximised() const {
  if (kind_ != Kind::kBar) return false;
  HWND client = ApplicationMenuAnswers().multiple_document_client(*this);
  if (client == nullptr) return false;
  BOOL maximised = FALSE;
  const LRESULT child =
      SendMessageW(client, WM_MDIGETACTIVE, 0, reinterpret_cast<LPARAM>(&maximised));
  return child != 0 && maximised != FALSE;
}

MenuRange Menu::MultipleDocumentRange() const {
  const int count = GetMenuItemCount(handle_);
  return IsMaximised() ? MenuRange{1, count - 5} : MenuRange{0, count - 2};
}

Menu::ChildItems Menu::MaximisedChildItems() const {
  if (handle_ == nullptr || !IsMaximised()) return {0, 0};
  const int count = GetMenuItemCount(handle_);
  int back = 0;
  while (back < std::min(count, kMostCaptionItems) && IsSystemCommand(handle_, count - back - 1)) {
    ++back;
  }
  return {back > 0 ? 1 : 0, back};
}

bool Menu::InsertWindowMenu(int32_t resource) {
  const ChildItems child = MaximisedChildItems();
  const int end = GetMenuItemCount(handle_) - child.back;
  if (end <= child.front) return false;
  const MenuRange range = MultipleDocumentRange();
  const LooseSubmenu taken = TakeFirstSubmenu(resource);
  if (taken.menu == nullptr) return false;
  const int position = std::min(std::max(range.last + 1, child.front + 1), end);
  const MenuTitle title(taken.title);
  if (!InsertPlatformItem({handle_, position}, {.submenu = taken.menu, .title = title.bytes()})) {
    DestroyMenu(taken.menu);
    return false;
  }
  if (const int old = WindowMenuPosition(); old > 0) DeletePlatformItem({handle_, old});
  window_menu_ = taken.menu;
  RedrawMenuBars(*this);
  return true;
}

int Menu::WindowMenuPosition() const {
  if (window_menu_ == nullptr) return 0;
  const int count = GetMenuItemCount(handle_);
  for (int position = 0; position < count; ++position) {
    if (GetSubMenu(handle_, position) == window_menu_) return position;
  }
  return 0;
}

bool Menu::RemoveItem(int position) {
  if (position == kWindowMenu) position = WindowMenuPosition() > 0 ? WindowMenuPosition() : -1;
  const ChildItems child = MaximisedChildItems();
  const int end = GetMenuItemCount(handle_) - child.back;
  if (position < child.front || position >= end) return false;
  const bool is_window_menu = window_menu_ != nullptr && position == WindowMenuPosition();
  if (!DeletePlatformItem({handle_, position})) return false;
  if (is_window_menu) window_menu_ = nullptr;
  RedrawMenuBars(*this);
  return true;
}

}  // namespace qv

void RedrawMenuBars(const qv::Menu& menu) {
  if (menu.handle() == nullptr) return;
  EnumWindows(qv::RedrawIfShown, reinterpret_cast<LPARAM>(menu.handle()));
}
