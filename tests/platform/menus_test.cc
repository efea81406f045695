#include <gtest/gtest.h>

#include "tests/platform/child_process.h"
#include "tests/platform/menu_text.h"

namespace {

using platform_test::Insert;
using platform_test::ItemInfo;
using platform_test::MenuText;

DWORD LastError() { return GetLastError(); }

// "File{Open=1 - Close=2} Help=3"; `file` is the submenu.
class MenusTest : public ::testing::Test {
 protected:
  MenusTest() {
    EXPECT_TRUE(Insert(file, -1, "Open", 1));
    MENUITEMINFOW separator = ItemInfo(MIIM_FTYPE);
    separator.fType = MFT_SEPARATOR;
    EXPECT_TRUE(InsertMenuItemW(file, 1, TRUE, &separator));
    EXPECT_TRUE(Insert(file, 99, "Close", 2)) << "behind the end is the end";
    EXPECT_TRUE(Insert(menu, -1, "Help", 3));
    EXPECT_TRUE(Insert(menu, 0, "File", 7, file));
  }
  ~MenusTest() override {
    if (IsMenu(menu)) DestroyMenu(menu);
  }

  HMENU menu = CreateMenu(), file = CreatePopupMenu();
};

TEST_F(MenusTest, ItemsAreFoundByPlaceOrCommand) {
  EXPECT_EQ(MenuText(menu), "File{Open=1 - Close=2} Help=3");
  EXPECT_EQ(GetSubMenu(menu, 0), file);
  EXPECT_EQ(GetSubMenu(menu, 1), nullptr);
  EXPECT_EQ(GetSubMenu(menu, 2), nullptr);
  EXPECT_EQ(GetMenuItemID(menu, 1), 3u);
  EXPECT_EQ(GetMenuItemID(menu, 0), UINT(-1)) << "a submenu";
  EXPECT_EQ(GetMenuItemID(menu, 2), UINT(-1));

  MENUITEMINFOW info = ItemInfo(MIIM_ID);
  info.wID = 4;
  EXPECT_TRUE(InsertMenuItemW(menu, 2, FALSE, &info)) << "in front of a command in a submenu";
  info.wID = 5;
  EXPECT_TRUE(InsertMenuItemW(menu, 1000, FALSE, &info)) << "of no command: at the end";
  EXPECT_EQ(MenuText(menu), "File{Open=1 - - Close=2} Help=3 -") << "without a text: separators";
  EXPECT_EQ(GetMenuItemID(file, 2), 4u);
  EXPECT_EQ(GetMenuItemID(menu, 2), 5u);
  EXPECT_FALSE(GetMenuItemInfoW(menu, 1000, FALSE, &info));
  EXPECT_EQ(LastError(), static_cast<DWORD>(ERROR_MENU_ITEM_NOT_FOUND));
}

TEST_F(MenusTest, TitlesAreCutToTheBuffer) {
  WCHAR title[9];
  MENUITEMINFOW info = ItemInfo(MIIM_STRING);
  const struct {
    UINT room, length;
    const char* text;
  } kRows[] = {{8, 5, "Close"}, {6, 5, "Close"}, {5, 4, "Clos"}, {1, 0, ""}};
  for (const auto& row : kRows) {
    std::fill(std::begin(title), std::end(title), WCHAR('#'));
    info.dwTypeData = title;
    info.cch = row.room;
    EXPECT_TRUE(GetMenuItemInfoW(menu, 2, FALSE, &info));
    EXPECT_EQ(info.cch, row.length);
    EXPECT_EQ(std::string(title, title + row.length), row.text);
    EXPECT_EQ(title[row.length], 0);
    EXPECT_EQ(title[row.room], WCHAR('#'));
  }
  info.dwTypeData = nullptr;
  EXPECT_TRUE(GetMenuItemInfoW(menu, 2, FALSE, &info));
  EXPECT_EQ(info.cch, 5u) << "without a buffer, what there is";
}

TEST_F(MenusTest, StatesChangeAlone) {
  EXPECT_EQ(EnableMenuItem(menu, 2, MF_BYCOMMAND | MF_GRAYED), MF_ENABLED);
  EXPECT_EQ(EnableMenuItem(menu, 1, MF_BYPOSITION | MF_DISABLED), MF_ENABLED);
  EXPECT_EQ(EnableMenuItem(menu, 2, MF_BYCOMMAND | MF_GRAYED), MF_GRAYED);
  EXPECT_EQ(CheckMenuItem(menu, 2, MF_BYCOMMAND | MF_CHECKED), DWORD{MF_UNCHECKED});
  EXPECT_EQ(GetMenuState(menu, 2, MF_BYCOMMAND), UINT{MF_GRAYED | MF_CHECKED});
  EXPECT_EQ(EnableMenuItem(menu, 2, MF_BYCOMMAND | MF_ENABLED), MF_GRAYED);
  EXPECT_EQ(MenuText(menu), "File{Open=1 - Close=2*} Help=3!");
  EXPECT_EQ(CheckMenuItem(menu, 2, MF_BYCOMMAND | MF_UNCHECKED), DWORD{MF_CHECKED});
  EXPECT_EQ(GetMenuState(menu, 0, MF_BYPOSITION), UINT{3 << 8 | MF_POPUP}) << "three items";
  EXPECT_EQ(GetMenuState(menu, 9, MF_BYCOMMAND), UINT(-1));
  EXPECT_EQ(EnableMenuItem(menu, 9, MF_BYCOMMAND), -1);
  EXPECT_EQ(CheckMenuItem(menu, 9, MF_BYCOMMAND), DWORD(-1));
}

TEST_F(MenusTest, ChangesKeepWhatTheyDoNotName) {
  WCHAR title[] = {'N', 'e', 'w', 0};
  MENUITEMINFOW info = ItemInfo(MIIM_STRING | MIIM_STATE);
  info.fState = MFS_CHECKED;
  info.dwTypeData = title;
  EXPECT_TRUE(SetMenuItemInfoW(menu, 1, FALSE, &info));
  info.fMask = MIIM_ID;
  info.wID = 8;
  EXPECT_TRUE(SetMenuItemInfoW(menu, 0, TRUE, &info));
  EXPECT_TRUE(SetMenuItemInfoW(menu, 2, FALSE, &info));
  EXPECT_EQ(MenuText(menu), "File{New=1* - Close=8} Help=3");
  EXPECT_FALSE(SetMenuItemInfoW(menu, 99, FALSE, &info));
  info.cbSize = 1;
  EXPECT_FALSE(SetMenuItemInfoW(menu, 1, FALSE, &info));
  EXPECT_EQ(LastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

TEST_F(MenusTest, ASubmenuGoesWithItsItemOrIsTakenOut) {
  HMENU other = CreatePopupMenu();
  EXPECT_TRUE(Insert(menu, -1, "Other", 0, other));
  EXPECT_TRUE(RemoveMenu(menu, 0, MF_BYPOSITION));
  EXPECT_TRUE(IsMenu(file));
  EXPECT_TRUE(DeleteMenu(menu, 1, MF_BYPOSITION));
  EXPECT_FALSE(IsMenu(other));
  EXPECT_TRUE(Insert(menu, -1, "File", 0, file));
  EXPECT_TRUE(DeleteMenu(menu, 1, MF_BYCOMMAND)) << "inside the submenu";
  EXPECT_EQ(MenuText(menu), "Help=3 File{- Close=2}");
  EXPECT_FALSE(DeleteMenu(menu, 2, MF_BYPOSITION));
  EXPECT_TRUE(DestroyMenu(menu));
  EXPECT_FALSE(IsMenu(file));
}

TEST_F(MenusTest, WhatIsNoMenu) {
  EXPECT_TRUE(DestroyMenu(menu));
  for (HMENU none : {menu, HMENU{}}) {
    EXPECT_FALSE(DestroyMenu(none));
    EXPECT_EQ(LastError(), static_cast<DWORD>(ERROR_INVALID_MENU_HANDLE));
    EXPECT_EQ(GetMenuItemCount(none), -1);
    EXPECT_EQ(GetSubMenu(none, 0), nullptr);
    EXPECT_EQ(GetMenuState(none, 0, MF_BYPOSITION), UINT(-1));
    EXPECT_FALSE(Insert(none, 0, "x", 1));
    EXPECT_FALSE(DeleteMenu(none, 0, MF_BYPOSITION));
  }
}

TEST(AcceleratorTablesTest, KeepTheirEntries) {
  ACCEL entries[] = {{FVIRTKEY | FCONTROL, 'C', 1}, {FVIRTKEY, 0x70, 2}}, read[3] = {};
  HACCEL table = CreateAcceleratorTableW(entries, 2);
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(CopyAcceleratorTableW(table, nullptr, 0), 2);
  EXPECT_EQ(CopyAcceleratorTableW(table, read, 1), 1);
  EXPECT_EQ(read[1].cmd, 0);
  EXPECT_EQ(CopyAcceleratorTableW(table, read, 3), 2);
  EXPECT_EQ(read[0].fVirt & 0x7F, FVIRTKEY | FCONTROL);
  EXPECT_EQ(read[1].key, 0x70);
  EXPECT_EQ(read[1].cmd, 2);
  EXPECT_TRUE(DestroyAcceleratorTable(table));
  EXPECT_FALSE(DestroyAcceleratorTable(table));
  EXPECT_EQ(CreateAcceleratorTableW(entries, 0), nullptr);
}

TEST(MenuResourcesTest, AreLoadedByName) {
  const std::string folder = platform_test::ChildPath();
  HMODULE library =
      LoadLibraryA((folder.substr(0, folder.rfind('\\') + 1) + QV_TEST_LIBRARY_FILE).c_str());
  ASSERT_NE(library, nullptr);
  const WCHAR kName[] = {'M', 'e', 'n', 'u', 'B', 'a', 'r', 0}, kNone[] = {'N', 'o', 0};
  HMENU menu = LoadMenuW(library, kName);
  EXPECT_EQ(MenuText(menu), "File{Open=1 - Export{Text=2!}} Help=3*");
  EXPECT_TRUE(DestroyMenu(menu));
  EXPECT_EQ(LoadMenuW(library, kNone), nullptr);
  EXPECT_EQ(LoadMenuW(GetModuleHandleA(nullptr), kName), nullptr);
  EXPECT_TRUE(FreeLibrary(library));
}

}  // namespace
