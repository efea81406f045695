// The menu object: one menu bar or popup of the platform, with what the library knows about it.
//
//   qv::Menu bar(qv::Menu::Kind::kBar);
//   LoadMenusAndAccelerators();                     // or what menu_builder.h offers
//   bar.AttachTo(window);
//   bar.CheckItem(1001);
//   bar.InsertItem(title, 1101, 1100);              // before 1100
//   bar.DetachFrom(window);                         // before the window is destroyed
//
// Commands: an item is named by its command number, above 0, and sought with FindItem, so that of
// two items with one command the first is meant. A submenu has no command, nor has a separator.
// Titles: length-prefixed UTF-8; a title of exactly "-" that is inserted makes a separator.
// What is changed in the bar itself, not in a submenu, shows after RedrawMenuBars.
//
// Multiple documents: while a child of a multiple-document window is maximised, the platform keeps
// the child's system menu at the front of the frame's bar, and items for the buttons of its caption
// at the end. They are told by their system commands (0xF000 and above) at the end of a bar whose
// client window (menu_answers.h) says that its child is maximised. They are never deleted here, and
// what is built goes between them.
//
// Ownership: the object owns the platform's menu and all its submenus. The platform destroys the
// menu of a window with the window, so a menu is detached first.
// Errors: false, and nothing is changed, except where stated. An object whose menu could not be
// made has no handle and finds no item. Threads: that of the user interface.
#pragma once

#include <cstdint>

#include "app/ui/platform_menu.h"

namespace qv {

// Positions in a menu, both ends included; empty when last is less than first.
struct MenuRange {
  int first, last;
};

class Menu {
 public:
  enum class Kind { kBar, kPopup };

  // An empty menu.
  explicit Menu(Kind kind = Kind::kBar);
  // Destroys it with its submenus, but for what a maximised child has in it. When that cannot be
  // taken out of the bar, the bar is left to the platform rather than destroyed with it.
  ~Menu();
  Menu(const Menu&) = delete;
  Menu& operator=(const Menu&) = delete;

  HMENU handle() const { return handle_; }
  Kind kind() const { return kind_; }
  // Windows that AttachTo has given it.
  uint32_t use_count() const { return use_count_; }

  // Whether descriptions that are built into it ask the application for the state of each command.
  bool asks_application() const { return asks_application_; }
  void SetAsksApplication(bool asks) { asks_application_ = asks; }

  // Menu objects of the process.
  static uint32_t InstanceCount();

  // --- where it comes from ---

  // Takes the platform menu "MenuBar" of the module in the place of what it was, which no window
  // may show then; without one, fills it from the descriptions as LoadMenusAndAccelerators does.
  // False for a menu in use, and when there are no descriptions.
  bool LoadMenuBar();

  // Makes sure that there is a menu, a new one when the platform has destroyed it, and deletes its
  // items unless it keeps them. False when not all of them could be deleted.
  bool Prepare(bool keep);

  // --- items ---

  // Looks through the menu and its submenus, depth first. The position in *submenu, or -1.
  int FindItem(int32_t command, HMENU* submenu = nullptr) const;

  bool EnableItem(int32_t command);
  bool DisableItem(int32_t command);  // greyed
  // True unless the item is greyed or disabled; true also for one that is not there.
  bool IsItemEnabled(int32_t command) const;
  bool CheckItem(int32_t command);
  bool UncheckItem(int32_t command);

  // The title in a buffer of `size` bytes: at most min(255, size - 1) behind the length byte. Empty
  // when the item is not found.
  bool GetItemTitle(int32_t command, uint8_t* title, int32_t size) const;
  // Puts another title in the place of the old one; the state of the item stays.
  bool SetItemTitle(int32_t command, const uint8_t* title);
  // The same with string `index` of a list, and the item's accelerator behind it.
  bool SetItemTitleFromList(int32_t command, int32_t list, int32_t index);

  // Inserts an item at the place of `before`, in whatever submenu that is, or behind `after`. When
  // both commands are the same, that item gets the title instead. An item that InsertItem puts into
  // a menu whose count is a multiple of ColumnBreakInterval begins a new column.
  bool InsertItem(const uint8_t* title, int32_t command, int32_t before);
  bool AppendItemAfter(const uint8_t* title, int32_t command, int32_t after);

  // Enables items of the submenu that the command is in. False when one could not be; the others
  // are enabled all the same.
  enum class Range { kFromCommand = 0, kUpToCommand = 1, kAll = 2 };
  bool EnableRange(int32_t command, Range range);

  // Makes the command's item the last one of its submenu, with the title "-" (a text like any
  // other: the item stays what it is) and its old state. Items that the platform keeps stay. False
  // when something could not be deleted; what stands behind that is gone all the same.
  bool ClearFrom(int32_t command);

  // --- windows (menu_windows.cc) ---

  // Shows the menu in the window, which counts once however often it is attached. The caller
  // detaches a window from another object's menu first, so that the other counts right.
  bool AttachTo(HWND window);
  // Takes the menu from a window that shows it.
  bool DetachFrom(HWND window);

  // The positions of the bar's own items but for the last, which is "Help" by custom: 1 to count -
  // 5 while a child is maximised, else 0 to count - 2.
  MenuRange MultipleDocumentRange() const;
  // What a maximised child has at the front and at the end of the bar.
  struct ChildItems {
    int front, back;
  };
  ChildItems MaximisedChildItems() const;

  // Takes the first submenu out of a platform menu of the module and puts it, with its title,
  // behind the multiple-document range (in front of the bar's last item, but behind its only one).
  // In the place of one that was inserted before. False for an empty bar, and when the menu cannot
  // be had.
  bool InsertWindowMenu(int32_t resource);
  // Where it is now; 0 when there is none.
  int WindowMenuPosition() const;

  // Deletes the item at a position of the bar, with its submenu, or the inserted window menu, and
  // redraws the bar.
  static constexpr int kWindowMenu = -1;
  bool RemoveItem(int position);

 private:
  bool InsertOrReplace(const uint8_t* title, int32_t command, int32_t other, bool behind);
  bool DeleteOwnItems();
  void Destroy();
  bool IsMaximised() const;

  Kind kind_;
  HMENU handle_ = nullptr;
  HMENU window_menu_ = nullptr;  // the inserted submenu, part of the bar
  uint32_t use_count_ = 0;
  bool asks_application_ = false;
};

// Items in a column of a menu: the screen's height in menu bars, worked out when it is first asked
// for; 0 when the platform does not say, and there are no columns then.
int ColumnBreakInterval();
void SetColumnBreakInterval(int items);

void ResetColumnBreakIntervalForTest();

}  // namespace qv

// Redraws the menu bar of every top-level window whose menu is this one.
void RedrawMenuBars(const qv::Menu& menu);
