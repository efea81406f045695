// Menus in words: each string of a list describes one item, list 900 the menu bar. No item has its
// title here; that is the text of the message with the command's number.
//
//   description := [ "w" ] ( "-" | command ) { option }
//   option      := "C" 6 hexadecimal digits     the colour, as RGB
//                | "I" number                   an icon
//                | "S" list                     a submenu of the items that the list describes
//                | "D" list                     a submenu with copies of an existing menu's items:
//                                               of the one that has the command which the list's
//                                               first string names
//                | "b" | "i" | "u" | "o" | "s" | "c" | "e"
//                                               bold, italic, underline, outline, shadow,
//                                               condensed, extended
//
//   1200S1300       the submenu "File", when message 1200 says so, of the items of list 1300
//   1001b           a bold item for command 1001
//   -               a separator
//   451C00FF00      a green item that the application draws
//   mac only        begins with anything else: ignored
//
// "w" marks items of this platform. A command without a message text has a blank for its title. An
// option that comes twice counts as it stood last, of "S" and "D" likewise the last one. Copies
// keep their colours and have title and state from the application; submenus are not copied.
//
// Errors: a line of debug output, in general with the part that was not understood; the item is
// left out, or built without the rest of its options, and the next string follows. A submenu that
// cannot be had, or would be deeper than 10 levels, is reported like an item that cannot, and its
// contents are left out. Numbers above 2147483647 count as none. At most 4096 strings are read for
// one menu, copied items counting too; a line says when more were wanted. So lists that contain
// themselves or one another come to an end. Threads: that of the user interface.
#pragma once

#include <cstdint>

#include "app/ui/menu.h"

// Fills the accelerator table from list 960, makes the platform's table unless there is one already
// (accelerators.h), then builds list 900 into the application's menu object (menu_answers.h), in
// the place of what was there, and redraws the windows that show it. False when there is no menu
// object or no list; without accelerators the application merely has none.
bool LoadMenusAndAccelerators();

// Adds one described item to the level of the menu that is being built (menu_builder.h). A menu
// that is not being built is begun at its end.
void ParseMenuItem(qv::Menu& menu, const char* text);

// The same for every string of a list, up to the first one that is missing. -1 when the list has no
// string at all, else 0.
int32_t BuildMenu(qv::Menu& menu, int32_t list);

// Adds a submenu with the command's title and the items of a list.
void AppendSubmenu(qv::Menu& menu, int32_t command, int32_t list);

namespace qv {

constexpr int32_t kMenuBarList = 900;
// Commands from here on may be without a title.
constexpr int32_t kFirstUntitledCommand = 1001;

// Flags of a title's style.
enum MenuStyle : uint32_t {
  kBold = 0x01,
  kItalic = 0x02,
  kUnderline = 0x04,
  kOutline = 0x08,
  kShadow = 0x10,
  kCondensed = 0x20,
  kExtended = 0x40,
};

struct MenuItemDescription {
  bool separator = false;
  int32_t command = 0;
  uint32_t style_flags = 0;
  uint32_t colour = 0;  // 0xRRGGBB
  int32_t icon = 0;
  enum class Submenu { kNone, kFromList, kCopied } submenu = Submenu::kNone;
  int32_t submenu_list = 0;
};

// Reads a description and reports what is wrong with it. False when the string gives no item.
bool ReadMenuItem(const char* text, MenuItemDescription* item);

// LoadMenusAndAccelerators for another menu object.
bool LoadMenusAndAcceleratorsInto(Menu& menu);

}  // namespace qv
