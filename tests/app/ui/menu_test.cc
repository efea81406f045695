#include "app/ui/menu.h"

#include "app/ui/accelerator_descriptions.h"
#include "app/ui/menu_builder.h"
#include "app/ui/menu_descriptions.h"
#include "resources/module_source.h"
#include "tests/app/ui/menu_fixture.h"
#include "tests/resources/memory_source.h"

namespace {

using qv::Menu;
using test::DumpMenu;
using test::LText;
using Range = Menu::Range;

// A bar with the items "1" to "6" and submenus inside one another.
class MenuItemsTest : public test::MenuTest {
 protected:
  MenuItemsTest() {
    BeginMenu(bar_, 0);
    Append(1);
    BeginSubmenu(LText("a"));
    for (int32_t command : {2, 3}) Append(command);
    BeginSubmenu(LText("b"));
    Append(4);
    AppendMenuItem(LText("-"), 0, 0, 0, 0);
    Append(5);
    EndSubmenu();
    Append(6);
    EndSubmenu();
  }
  std::string Dump() { return DumpMenu(bar_.handle()); }
  static void Append(int32_t command) {
    AppendMenuItem(LText(std::to_string(command)), 0, 0, 0, command);
  }

  Menu bar_;
};

TEST_F(MenuItemsTest, AreFoundDepthFirst) {
  HMENU a = GetSubMenu(bar_.handle(), 1), b = GetSubMenu(a, 2);
  const struct {
    int32_t command;
    HMENU menu;
    int position;
  } kRows[] = {{1, bar_.handle(), 0}, {3, a, 1},        {5, b, 2},        {6, a, 3},
               {7, nullptr, -1},      {0, nullptr, -1}, {-1, nullptr, -1}};
  for (const auto& row : kRows) {
    HMENU menu = bar_.handle();
    EXPECT_EQ(bar_.FindItem(row.command, &menu), row.position) << row.command;
    EXPECT_EQ(menu, row.menu) << row.command;
  }
  // The same command twice: the one inside, which comes first.
  Append(5);
  EXPECT_EQ(bar_.FindItem(5), 2);
  EXPECT_EQ(Menu::InstanceCount(), 1u);
}

TEST_F(MenuItemsTest, HaveStates) {
  EXPECT_TRUE(bar_.IsItemEnabled(5));
  EXPECT_TRUE(bar_.DisableItem(5) && bar_.CheckItem(5) && bar_.CheckItem(1));
  EXPECT_FALSE(bar_.IsItemEnabled(5));
  EXPECT_EQ(Dump(), "1=1* a{2=2 3=3 b{4=4 - 5=5*!} 6=6}");
  EXPECT_TRUE(bar_.EnableItem(5) && bar_.UncheckItem(1));
  EXPECT_EQ(Dump(), "1=1 a{2=2 3=3 b{4=4 - 5=5*} 6=6}");
  HMENU inner = nullptr;
  const auto position = static_cast<UINT>(bar_.FindItem(4, &inner));
  EnableMenuItem(inner, position, MF_BYPOSITION | MF_DISABLED);  // not greyed
  EXPECT_FALSE(bar_.IsItemEnabled(4));

  EXPECT_TRUE(bar_.IsItemEnabled(99));
  EXPECT_FALSE(bar_.EnableItem(99) || bar_.DisableItem(99) || bar_.CheckItem(99) ||
               bar_.UncheckItem(99));
}

TEST_F(MenuItemsTest, HaveTitles) {
  bar_.CheckItem(5);
  bar_.DisableItem(5);
  const std::string kTitle =
      "Gr\xC3\xB6\xC3\x9F"
      "e &\xE2\x82\xAC";
  EXPECT_TRUE(bar_.SetItemTitle(5, LText(kTitle)));
  EXPECT_EQ(Dump(), "1=1 a{2=2 3=3 b{4=4 - " + kTitle + "=5*!} 6=6}");
  const struct {
    int32_t size;
    std::string title;
  } kRows[] = {{1000, kTitle}, {256, kTitle}, {6, kTitle.substr(0, 4)}, {3, "Gr"}, {1, ""}};
  for (const auto& row : kRows) {
    Str255 title;
    EXPECT_TRUE(bar_.GetItemTitle(5, title, row.size));
    EXPECT_EQ(test::Text(title), row.title) << row.size;
  }
  Str255 title = {7};
  EXPECT_FALSE(bar_.GetItemTitle(99, title, sizeof title));
  EXPECT_EQ(title[0], 0);
  EXPECT_FALSE(bar_.SetItemTitle(99, LText("x")));
  // More than a length-prefixed string holds, cut at a whole character.
  std::string euros;
  for (int i = 0; i < 85; ++i) euros += "\xE2\x82\xAC";
  ParseAccelerator("1w0170\"F1\"");
  SetList(130, {"Ger\xC3\xB6sch", euros});
  EXPECT_TRUE(bar_.SetItemTitleFromList(1, 130, 1));
  EXPECT_EQ(Dump().substr(0, 15), "Ger\xC3\xB6sch^F1=1 a");
  EXPECT_FALSE(bar_.SetItemTitleFromList(1, 130, 3) || bar_.SetItemTitleFromList(99, 130, 1));
  EXPECT_TRUE(bar_.SetItemTitleFromList(1, 130, 2));
  EXPECT_TRUE(bar_.GetItemTitle(1, title, sizeof title));
  EXPECT_EQ(test::Text(title), euros);
}

TEST_F(MenuItemsTest, AreInserted) {
  qv::SetColumnBreakInterval(2);
  EXPECT_TRUE(bar_.InsertItem(LText("x"), 10, 4));
  EXPECT_TRUE(bar_.InsertItem(LText("y"), 11, 5));  // into a menu of four
  EXPECT_TRUE(bar_.AppendItemAfter(LText("z"), 12, 1));
  EXPECT_TRUE(bar_.InsertItem(LText("-"), 13, 2));
  EXPECT_EQ(Dump(), "1=1 z=12 a{|- 2=2 3=3 b{x=10 4=4 - |y=11 5=5} 6=6}");
  bar_.DisableItem(11);
  EXPECT_TRUE(bar_.InsertItem(LText("Y"), 11, 11));
  EXPECT_TRUE(bar_.AppendItemAfter(LText("-"), 5, 5));
  EXPECT_EQ(Dump(), "1=1 z=12 a{|- 2=2 3=3 b{x=10 4=4 - |Y=11! -=5} 6=6}");
  qv::SetColumnBreakInterval(0);  // no columns
  EXPECT_TRUE(bar_.InsertItem(LText("v"), 14, 12));
  EXPECT_FALSE(bar_.InsertItem(LText("w"), 15, 99) || bar_.AppendItemAfter(LText("w"), 99, 98));
  EXPECT_EQ(Dump(), "1=1 v=14 z=12 a{|- 2=2 3=3 b{x=10 4=4 - |Y=11! -=5} 6=6}");
  qv::ResetColumnBreakIntervalForTest();
  EXPECT_EQ(qv::ColumnBreakInterval(), GetSystemMetrics(SM_CYSCREEN) / GetSystemMetrics(SM_CYMENU));
  EXPECT_GT(qv::ColumnBreakInterval(), 1);
}

TEST_F(MenuItemsTest, AreEnabledInRanges) {
  const struct {
    Range range;
    const char* menu;
  } kRows[] = {{Range::kFromCommand, "1=1! a{2=2! 3=3 b{4=4! - 5=5!} 6=6}"},
               {Range::kUpToCommand, "1=1! a{2=2 3=3 b{4=4! - 5=5!} 6=6!}"},
               {Range::kAll, "1=1! a{2=2 3=3 b{4=4! - 5=5!} 6=6}"}};
  for (const auto& row : kRows) {
    for (int32_t command = 1; command <= 6; ++command) bar_.DisableItem(command);
    EXPECT_TRUE(bar_.EnableRange(3, row.range));
    EXPECT_EQ(Dump(), row.menu);
  }
  EXPECT_FALSE(bar_.EnableRange(99, Range::kAll));
}

TEST_F(MenuItemsTest, AreClearedFromOneOn) {
  bar_.CheckItem(3);
  EXPECT_TRUE(bar_.ClearFrom(3));
  EXPECT_EQ(Dump(), "1=1 a{2=2 -=3*}");
  EXPECT_FALSE(bar_.ClearFrom(4));
  EXPECT_TRUE(bar_.ClearFrom(1));
  EXPECT_EQ(Dump(), "-=1");
  EXPECT_TRUE(bar_.InsertItem(LText("again"), 1, 1));
  EXPECT_EQ(Dump(), "again=1");
}

class MenuBarTest : public test::MenuTest {
 protected:
  ~MenuBarTest() override { ZRInitModuleResources(nullptr); }
};

TEST_F(MenuBarTest, ComesFromTheModule) {
  ZRInitModuleResources(GetModuleHandleA(nullptr));
  SetList(900, {"-"});
  Menu bar;
  EXPECT_TRUE(bar.LoadMenuBar());
  EXPECT_EQ(DumpMenu(bar.handle()), "Old{A=1} B=2");
  EXPECT_TRUE(bar.LoadMenuBar());
  EXPECT_TRUE(bar.DisableItem(1));
  EXPECT_EQ(DumpMenu(bar.handle()), "Old{A=1!} B=2");
}

TEST_F(MenuBarTest, TakesAWindowMenuInFrontOfItsLastItem) {
  ZRInitModuleResources(GetModuleHandleA(nullptr));
  Menu bar;
  EXPECT_FALSE(bar.InsertWindowMenu(77)) << "into an empty bar";
  EXPECT_TRUE(bar.LoadMenuBar());
  for (int32_t none : {78, 79}) EXPECT_FALSE(bar.InsertWindowMenu(none)) << none;
  EXPECT_EQ(bar.WindowMenuPosition(), 0);
  for (int i = 0; i < 2; ++i) {
    EXPECT_TRUE(bar.InsertWindowMenu(77));
    EXPECT_EQ(DumpMenu(bar.handle()), "Old{A=1} Window{Tile=70 Cascade=71} B=2");
    EXPECT_EQ(bar.WindowMenuPosition(), 1);
  }
  EXPECT_TRUE(bar.RemoveItem(Menu::kWindowMenu));
  EXPECT_EQ(DumpMenu(bar.handle()), "Old{A=1} B=2");
  EXPECT_FALSE(bar.RemoveItem(Menu::kWindowMenu));
  EXPECT_TRUE(bar.InsertWindowMenu(77));
  EXPECT_TRUE(bar.RemoveItem(1));
  EXPECT_EQ(bar.WindowMenuPosition(), 0);
}

TEST_F(MenuBarTest, ComesFromDescriptionsWhereTheModuleHasNone) {
  ZRInitModuleResources(GetModuleHandleA("kernel32.dll"));
  SetMessages({{1, "File"}});
  SetList(900, {"1S901"});
  Menu bar, popup(Menu::Kind::kPopup);
  EXPECT_TRUE(bar.LoadMenuBar());
  EXPECT_EQ(DumpMenu(bar.handle()), "File{}");
  SetList(900, {});
  EXPECT_FALSE(popup.LoadMenuBar());
  EXPECT_EQ(Menu::InstanceCount(), 2u);
}

}  // namespace
