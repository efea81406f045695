// Builds a menu item by item, with submenus inside one another.
//
//   BeginMenu(bar, 0);
//   BeginSubmenu(file_title);                            // a length-prefixed string
//   AppendMenuItem(open_title, 0, 0, 0, 1001);           // "Open...\tCtrl+O"
//   EndSubmenu();
//
// One menu is built at a time: level 0 is that menu, level 10 the deepest submenu. A destroyed menu
// is forgotten, and nothing can be appended until the next BeginMenu. In a bar with a maximised
// child of multiple documents what is appended stands in front of the child's items (menu.h).
//
// Errors: false, and nothing was added. Threads: that of the user interface.
#pragma once

#include <cstdint>

#include "app/ui/menu.h"

// Begins at level 0 of the menu, whose items stay when `keep` is above 0 and are deleted otherwise.
// A menu without a handle gets one.
bool BeginMenu(qv::Menu& menu, int32_t keep);

// Appends a submenu to the current level and makes it the current one; false at level 10.
bool BeginSubmenu(const uint8_t* title);

// Back to the level above; level 0 stays.
void EndSubmenu();

// Appends an item to the current level. A title of exactly "-" makes a separator. Commands 451 to
// 459 are drawn by the application: their item data are the colour (24 bits of RGB), shifted left
// by 8. Other commands above 0 get the text of their accelerator. The platform's menus show neither
// icons nor the styles of text.
bool AppendMenuItem(const uint8_t* title, int32_t icon, uint32_t colour, uint32_t style_flags,
                    int32_t command);

namespace qv {

constexpr int kMostMenuDepth = 10;
constexpr int32_t kFirstColourCommand = 451, kLastColourCommand = 459;

int MenuDepth();
// False too when the platform has destroyed it since.
bool IsMenuBeingBuilt(const Menu& menu);
void ForgetMenuBeingBuilt(const Menu& menu);

// Greys the item that was appended last.
bool DisableAppendedItem();

// What a command from 451 to 459 got last: the item data, and the colour in them. 0 for one that
// was never built, and for every other command.
uint32_t ColourItemData(int32_t command);
uint32_t ItemColour(int32_t command);

}  // namespace qv
