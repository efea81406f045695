#include "app/ui/menu_descriptions.h"

#include "app/ui/accelerator_descriptions.h"
#include "app/ui/accelerators.h"
#include "app/ui/menu_answers.h"
#include "app/ui/menu_builder.h"
#include "tests/app/ui/menu_extent.h"
#include "tests/app/ui/menu_fixture.h"

namespace {

using qv::Menu;
using test::DumpMenu;
using MenuDescriptionsTest = test::MenuTest;

// "separator" or the command, then what differs from nothing.
std::string DumpDescription(const char* text) {
  qv::MenuItemDescription item;
  if (!qv::ReadMenuItem(text, &item)) return "none";
  char dump[128];
  std::snprintf(dump, sizeof dump, "%s%d style %02X colour %06X icon %d", item.separator ? "-" : "",
                item.command, item.style_flags, item.colour, item.icon);
  const char* const kKinds[] = {"", " list ", " copy "};
  std::string all = dump;
  if (item.submenu != qv::MenuItemDescription::Submenu::kNone) {
    all += kKinds[static_cast<int>(item.submenu)] + std::to_string(item.submenu_list);
  }
  return all;
}

TEST_F(MenuDescriptionsTest, AreRead) {
  const struct {
    const char *text, *item, *lines;
  } kRows[] = {
      {"w1001b", "1001 style 01 colour 000000 icon 0", ""},
      {"12C00FF00", "12 style 00 colour 00FF00 icon 0", ""},
      {"12Cabcdef", "12 style 00 colour ABCDEF icon 0", ""},
      {"5biuosceI7", "5 style 7F colour 000000 icon 7", ""},
      {"-", "-0 style 00 colour 000000 icon 0", ""},
      {"w-I3", "-0 style 00 colour 000000 icon 3", ""},
      {"1200S1300", "1200 style 00 colour 000000 icon 0 list 1300", ""},
      {"1D2S3D4", "1 style 00 colour 000000 icon 0 copy 4", ""},
      {"2147483647", "2147483647 style 00 colour 000000 icon 0", ""},
      // Nothing for this platform.
      {"", "none", ""},
      {" 12", "none", ""},
      {"ww12", "none", "Could not parse command w12\n"},
      {"w", "none", "Could not parse command \n"},
      {"2147483648b", "none", "Could not parse command 2147483648b\n"},
      // What is wrong ends the options.
      {"12Cxyz", "12 style 00 colour 000000 icon 0", "Could not parse 6 hex digits xyz\n"},
      {"12bC12345", "12 style 01 colour 000000 icon 0", "Could not parse 6 hex digits 12345\n"},
      {"12Ib", "12 style 00 colour 000000 icon 0", "Could not parse command b\n"},
      {"12S", "12 style 00 colour 000000 icon 0", "Could not parse command \n"},
      {"12D18446744073709551617", "12 style 00 colour 000000 icon 0",
       "Could not parse command 18446744073709551617\n"},
      {"12bx i", "12 style 01 colour 000000 icon 0",
       "unrecognized Option in menu parser remainder skipped x i char:x\n"},
      {"-5", "-0 style 00 colour 000000 icon 0",
       "unrecognized Option in menu parser remainder skipped 5 char:5\n"},
      {"12\xC3\xA4", "12 style 00 colour 000000 icon 0",
       "unrecognized Option in menu parser remainder skipped \xC3\xA4 char:\xC3\n"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(DumpDescription(row.text), row.item);
    EXPECT_EQ(TakeLines(), row.lines);
  }
}

TEST_F(MenuDescriptionsTest, ItemsHaveTheirTitlesFromMessages) {
  SetMessages({{16, "last of a list"},
               {17, "&New;other field"},
               {18, "$wText w/\xFF"},
               {451, "never shown"},
               {459, "neither"},
               {460, "-"},
               {1003, "$mCopy$wKopie &ren\xC3\xBC\xE2\x82\xAC"}});
  ParseAccelerator("17w0C4E");
  ParseAccelerator("1003w1D70\"F1\"");
  Menu menu(Menu::Kind::kPopup);
  for (const char* text : {"16", "17", "1003", "-", "451C00FF00", "459CFFFFFF", "460C123456",
                           "1001", "mac", "18", "1000", "0"}) {
    ParseMenuItem(menu, text);
  }
  EXPECT_EQ(
      DumpMenu(menu.handle()),
      "last of a list=16 &New^Ctrl+Shift+N=17 Kopie &ren\xC3\xBC\xE2\x82\xAC^Ctrl+Alt+Shift+F1"
      "=1003 - [FF0000=451] [FFFFFF00=459] -  =1001 Text w/\x1A=18  =1000  =0");
  EXPECT_EQ(TakeLines(), "Cannot get MenuItem Cmd=1000\nCannot get MenuItem Cmd=0\n");
  EXPECT_EQ(qv::ColourItemData(451), 0xFF0000u);
  EXPECT_EQ(qv::ColourItemData(452) + qv::ColourItemData(460) + qv::ColourItemData(-1), 0u);
}

TEST_F(MenuDescriptionsTest, TheApplicationIsAskedForStates) {
  qv::ApplicationMenuAnswers().command_enabled = [](int32_t command) { return command % 2 == 0; };
  SetMessages({{1, "1"}, {2, "2"}, {3, "3"}});
  Menu menu(Menu::Kind::kPopup);
  ParseMenuItem(menu, "1");
  menu.SetAsksApplication(true);
  for (const char* text : {"1", "2", "-", "3S40"}) ParseMenuItem(menu, text);
  // Of two items with one command the new one is meant.
  EXPECT_EQ(DumpMenu(menu.handle()), "1=1 1=1! 2=2 - 3{}");
}

TEST_F(MenuDescriptionsTest, ListsBecomeSubmenus) {
  SetMessages({{1, "File"}, {2, "Open"}, {3, "Recent"}, {4, "a"}, {5, "Edit"}});
  SetList(900, {"1S901", "5S902"});
  SetList(901, {"2", "3S903", "-", "4"});
  SetList(903, {"4"});
  Menu bar;
  qv::ApplicationMenuAnswers().menu = [] { return static_cast<Menu*>(nullptr); };
  EXPECT_EQ(BuildMenu(bar, 899), -1);
  EXPECT_EQ(BuildMenu(bar, 900), 0);
  EXPECT_EQ(DumpMenu(bar.handle()), "File{Open=2 Recent{a=4} - a=4} Edit{}");
  HMENU inner = nullptr;
  EXPECT_EQ(bar.FindItem(4, &inner), 0);
  EXPECT_EQ(inner, GetSubMenu(GetSubMenu(bar.handle(), 0), 1));
  // Behind what is there.
  AppendSubmenu(bar, 5, 903);
  EXPECT_EQ(DumpMenu(bar.handle()), "File{Open=2 Recent{a=4} - a=4} Edit{} Edit{a=4}");
  EXPECT_EQ(qv::MenuDepth(), 0);
}

TEST_F(MenuDescriptionsTest, ASubmenuIsCopied) {
  static Menu* application = nullptr;
  qv::ApplicationMenuAnswers().menu = [] { return application; };
  SetMessages({{1, "File"}, {2, "Open"}, {3, "Quit"}, {9, "9"}});
  SetList(900, {"1S901"});
  SetList(901, {"2", "1S902", "-", "3"});
  SetList(910, {"3"});
  SetList(911, {"77"});
  SetList(912, {"x"});
  Menu bar, popup(Menu::Kind::kPopup);
  application = &bar;
  EXPECT_TRUE(LoadMenusAndAccelerators());
  qv::ApplicationMenuAnswers().command_enabled = [](int32_t command) { return command != 2; };
  // From the application's menu, although the new one has the command too.
  for (const char* text : {"3", "9D910", "9D911", "9D912", "9D913"}) ParseMenuItem(popup, text);
  EXPECT_EQ(DumpMenu(popup.handle()), "Quit=3 9{Open=2! - Quit=3} 9{} 9{} 9{}");
  EXPECT_EQ(TakeLines(), "Could not parse command x\n");
  qv::ApplicationMenuAnswers().command_title = [](uint8_t* title, int32_t command) {
    qv::CStrToLStr(title, kMostLStr, "from the application");
    return command == 2;
  };
  application = nullptr;
  ParseMenuItem(bar, "9D910");  // a menu may copy from itself
  EXPECT_EQ(DumpMenu(bar.handle()),
            "File{Open=2 File{} - Quit=3} 9{from the application=2! -  =3}");
  EXPECT_EQ(TakeLines(), "Cannot get MenuItem Cmd=3\n");
}

TEST_F(MenuDescriptionsTest, CopiesKeepColoursAndItemsWithoutACommand) {
  SetMessages({{451, "red"}});
  SetList(910, {"451"});
  Menu menu(Menu::Kind::kPopup);
  for (const char* text : {"1S911", "451CFF0000", "0", "-"}) ParseMenuItem(menu, text);
  ParseMenuItem(menu, "1D910");
  EXPECT_EQ(DumpMenu(menu.handle()), " {} [FF000000=451]  =0 -  {[FF000000=451]  =0 -}");
  EXPECT_EQ(qv::ColourItemData(451), 0xFF000000u);
  TakeLines();
  // A menu that the platform destroyed meanwhile is begun again.
  DestroyMenu(menu.handle());
  ParseMenuItem(menu, "-");
  EXPECT_EQ(DumpMenu(menu.handle()), "-");
}

TEST_F(MenuDescriptionsTest, ListsThatContainThemselvesEnd) {
  SetMessages({{1, "x"}});
  SetList(900, {"1S900"});
  Menu once;
  EXPECT_EQ(BuildMenu(once, 900), 0);
  EXPECT_EQ(test::Measure(once.handle()).depth, 10);
  EXPECT_EQ(TakeLines(), "BuildAppendNewItem Fails\n");

  SetList(900, std::vector<std::string>(100, "1S900"));
  Menu many;
  EXPECT_EQ(BuildMenu(many, 900), 0);
  const test::MenuExtent extent = test::Measure(many.handle());
  EXPECT_EQ(extent.depth, 10);
  EXPECT_LE(extent.items, 4096);
  const std::string lines = TakeLines();
  const std::string kEnd = "Menu has more than 4096 items, remainder skipped\n";
  ASSERT_GT(lines.size(), kEnd.size());
  EXPECT_EQ(lines.find(kEnd), lines.size() - kEnd.size());
  EXPECT_EQ(qv::MenuDepth(), 0);

  // The next menu has the whole count again, and copies count too.
  SetMessages({{2, "y"}});
  SetList(901, std::vector<std::string>(3000, "2"));
  SetList(902, {"2"});
  Menu next(Menu::Kind::kPopup);
  EXPECT_EQ(BuildMenu(next, 901), 0);
  SetList(903, {"1D902", "1D902", "2"});
  BuildMenu(next, 903);
  // The first copy looks at its own submenu too, and leaves it out.
  EXPECT_EQ(test::Measure(next.handle()).items, 3000 + 4096 - 1);
  EXPECT_EQ(TakeLines(), kEnd);
}

TEST_F(MenuDescriptionsTest, TheApplicationsMenuIsLoaded) {
  static Menu* application = nullptr;
  qv::ApplicationMenuAnswers().menu = [] { return application; };
  SetMessages({{1, "File"}, {2, "&Open"}});
  SetList(900, {"1S901"});
  SetList(901, {"2"});
  SetList(960, {"2w0B4F"});
  EXPECT_FALSE(LoadMenusAndAccelerators());  // no menu object, but accelerators
  EXPECT_NE(qv::PlatformAccelerators(), nullptr);
  Menu bar;
  application = &bar;
  for (int i = 0; i < 2; ++i) {
    EXPECT_TRUE(LoadMenusAndAccelerators());
    EXPECT_EQ(DumpMenu(bar.handle()), "File{&Open^Ctrl+O=2}");
    EXPECT_EQ(qv::Accelerators().count, 1u);
  }
  // Other descriptions, and none.
  SetList(960, {});
  SetList(901, {"2", "2"});
  EXPECT_TRUE(LoadMenusAndAccelerators());
  EXPECT_EQ(DumpMenu(bar.handle()), "File{&Open=2 &Open=2}");
  SetList(900, {});
  EXPECT_FALSE(LoadMenusAndAccelerators());
  EXPECT_EQ(DumpMenu(bar.handle()), "");
  application = nullptr;
}

}  // namespace
