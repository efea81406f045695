#include "app/ui/menu_builder.h"

#include "app/ui/accelerator_descriptions.h"
#include "app/ui/accelerators.h"
#include "tests/app/ui/menu_fixture.h"

namespace {

using qv::Menu;
using test::DumpMenu;
using test::LText;
using MenuBuilderTest = test::MenuTest;

bool Append(const char* title, int32_t command) {
  return AppendMenuItem(LText(title), 0, 0, 0, command);
}

TEST_F(MenuBuilderTest, BuildsLevels) {
  Menu bar;
  EXPECT_TRUE(BeginMenu(bar, 0));
  EndSubmenu();  // level 0 stays
  EXPECT_TRUE(BeginSubmenu(LText("a")));
  EXPECT_TRUE(BeginSubmenu(LText("-")));
  EXPECT_TRUE(Append("-", 5));
  EXPECT_TRUE(Append("--", 2));
  EndSubmenu();
  EXPECT_TRUE(Append("d", 0));
  EndSubmenu();
  EXPECT_TRUE(Append("e", -7));
  EXPECT_EQ(DumpMenu(bar.handle()), "a{-{- --=2} d=0} e=4294967289");
  HMENU handle = bar.handle();
  EXPECT_TRUE(BeginMenu(bar, 1));
  EXPECT_TRUE(BeginSubmenu(LText("left open")));
  EXPECT_EQ(DumpMenu(bar.handle()), "a{-{- --=2} d=0} e=4294967289 left open{}");

  EXPECT_TRUE(BeginMenu(bar, 0));
  for (int i = 1; i <= 10; ++i) EXPECT_TRUE(BeginSubmenu(LText("s"))) << i;
  EXPECT_FALSE(BeginSubmenu(LText("too deep")));
  EXPECT_EQ(qv::MenuDepth(), 10);
  EXPECT_TRUE(Append("x", 1));
  for (int i = 0; i < 12; ++i) EndSubmenu();
  EXPECT_TRUE(Append("y", 2));
  EXPECT_EQ(DumpMenu(bar.handle()), "s{s{s{s{s{s{s{s{s{s{x=1}}}}}}}}}} y=2");
  EXPECT_EQ(bar.handle(), handle);
}

TEST_F(MenuBuilderTest, NothingIsAppendedToAMenuThatIsGone) {
  {
    Menu bar;
    BeginMenu(bar, 0);
    BeginSubmenu(LText("a"));
  }
  EXPECT_FALSE(Append("x", 1));
  EXPECT_FALSE(BeginSubmenu(LText("x")));
  EXPECT_FALSE(qv::DisableAppendedItem());
  EXPECT_EQ(qv::MenuDepth(), 0);
}

TEST_F(MenuBuilderTest, TitlesShowTheirAccelerator) {
  const std::string name(40, 'n');
  const struct {
    const char *entry, *title;
  } kRows[] = {
      {"5w0163", "t^C"},
      {"5w1D2E\"Del\"", "t^Ctrl+Alt+Shift+Del"},
      {"5w0943\"Ctrl+C\"", "t^Ctrl+Ctrl+C"},
      {"5w090D", "t^Ctrl+"},
      {"5w0143\"\"", "t^"},
      {"5w01BC", "t^\xC2\xBC"},
      {"6w0143", "t"},
      {"5w0143\"a\"w0144\"b\"", "t^a"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.entry);
    ClearAccelerators();
    ParseAccelerator(row.entry);
    Menu menu(Menu::Kind::kPopup);
    BeginMenu(menu, 0);
    EXPECT_TRUE(Append("t", 5));
    EXPECT_EQ(DumpMenu(menu.handle()), std::string(row.title) + "=5");
  }
  // The names are the file's before they are the module's, 39 bytes at most.
  SetList(999, {"Strg+", name});
  ClearAccelerators();
  ParseAccelerator("5w1C43");
  Menu menu(Menu::Kind::kPopup);
  BeginMenu(menu, 0);
  EXPECT_TRUE(Append("t", 5));
  EXPECT_EQ(DumpMenu(menu.handle()), "t^Strg+" + name.substr(1) + "Shift+C=5");
}

TEST_F(MenuBuilderTest, OddTitlesDoNoHarm) {
  const struct {
    std::string title, shown;
  } kRows[] = {
      {"", "=1"},
      {std::string("a\0b", 3), "a=1"},
      {"\xE2", "=1"},  // a character that the end cuts
      {"\xFE", "=1"},  // the beginning of one that does not exist
      {"a\xC3", "a=1"},
      {"\x80z\xFF", "\x1Az\x1A=1"},
      {"\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80=1"},
      {"a\r\nb\nc", "a\r\nb\nc=1"},
      {std::string(255, 'x'), std::string(255, 'x') + "=1"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.title);
    Menu menu(Menu::Kind::kPopup);
    BeginMenu(menu, 0);
    EXPECT_TRUE(AppendMenuItem(LText(row.title), 0, 0, 0, 1));
    EXPECT_EQ(DumpMenu(menu.handle()), row.shown);
  }
  // A text that fills the room is cut at a whole character.
  ParseAccelerator(("5w0170\"" + std::string(1000, 'k') + "\xE2\x82\xAC\"").c_str());
  Menu menu(Menu::Kind::kPopup);
  BeginMenu(menu, 0);
  EXPECT_TRUE(AppendMenuItem(LText(std::string(21, 't')), 0, 0, 0, 5));
  EXPECT_TRUE(AppendMenuItem(nullptr, 0, 0, 0, 1));
  MENUITEMINFOW info = {};
  info.cbSize = sizeof info;
  info.fMask = MIIM_STRING;
  ASSERT_TRUE(GetMenuItemInfoW(menu.handle(), 0, TRUE, &info));
  EXPECT_EQ(info.cch, 1022u);
}

}  // namespace
