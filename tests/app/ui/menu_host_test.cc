// Every call of the platform fails in turn: what was asked for is done whole or not at all, and no
// menu is left over.
#include <functional>
#include <optional>

#include "app/ui/accelerator_descriptions.h"
#include "app/ui/accelerators.h"
#include "app/ui/menu_builder.h"
#include "app/ui/menu_descriptions.h"
#include "base/hooks.h"
#include "platform/host/control.h"
#include "tests/app/ui/menu_fixture.h"

namespace {

using qv::Menu;
using test::DumpMenu;
using test::LText;
using Range = Menu::Range;

constexpr DWORD kNoMemory = 8;

class MenuHostTest : public test::MenuTest {
 protected:
  static constexpr const char* kBar = "File{Open=1 b=5} Help=2";
  void BuildBar() {
    bar_.emplace();
    BeginMenu(*bar_, 0);
    BeginSubmenu(LText("File"));
    AppendMenuItem(LText("Open"), 0, 0, 0, 1);
    AppendMenuItem(LText("b"), 0, 0, 0, 5);
    EndSubmenu();
    AppendMenuItem(LText("Help"), 0, 0, 0, 2);
  }
  std::string Dump() { return DumpMenu(bar_->handle()); }

  // Lets calls 1, 2, 3, ... of the function fail, each for a new bar, until the body says that it
  // met no fault. Returns the faults that struck.
  uint32_t FailEachCall(const char* function, const std::function<bool()>& body) {
    uint32_t faults = 0;
    for (uint32_t nth = 1; nth < 100; ++nth) {
      SCOPED_TRACE(std::string(function) + " " + std::to_string(nth));
      const uint32_t open = host::OpenHandles();
      BuildBar();
      host::FailCall(function, nth, kNoMemory);
      const bool struck = body();
      host::ClearFaults();
      bar_.reset();
      EXPECT_EQ(host::OpenHandles(), open);
      if (!struck) break;
      ++faults;
    }
    return faults;
  }

  std::optional<Menu> bar_;
};

// What answers true has done all of it, whichever call failed on the way; what answers false has
// done nothing, but for ranges, of which a part may be done.
TEST_F(MenuHostTest, AnOperationIsDoneOrNot) {
  const struct {
    const char* name;
    std::function<bool(Menu&)> operation;
    const char* after;
    bool in_parts;
  } kRows[] = {
      {"disable", [](Menu& bar) { return bar.DisableItem(1); }, "File{Open=1! b=5} Help=2", false},
      {"check", [](Menu& bar) { return bar.CheckItem(2); }, "File{Open=1 b=5} Help=2*", false},
      {"title", [](Menu& bar) { return bar.SetItemTitle(1, LText("x")); }, "File{x=1 b=5} Help=2",
       false},
      {"insert", [](Menu& bar) { return bar.InsertItem(LText("x"), 9, 2); },
       "File{Open=1 b=5} x=9 Help=2", false},
      {"separator", [](Menu&) { return AppendMenuItem(LText("-"), 0, 0, 0, 0); },
       "File{Open=1 b=5} Help=2 -", false},
      {"submenu", [](Menu&) { return BeginSubmenu(LText("s")); }, "File{Open=1 b=5} Help=2 s{}",
       false},
      {"remove", [](Menu& bar) { return bar.RemoveItem(0); }, "Help=2", false},
      {"begin", [](Menu& bar) { return BeginMenu(bar, 1); }, "File{Open=1 b=5} Help=2", false},
      {"window menu", [](Menu& bar) { return bar.InsertWindowMenu(77); },
       "File{Open=1 b=5} Window{Tile=70 Cascade=71} Help=2", false},
      {"begin anew", [](Menu& bar) { return BeginMenu(bar, 0); }, "", true},
      {"enable", [](Menu& bar) { return bar.DisableItem(5) && bar.EnableRange(1, Range::kAll); },
       "File{Open=1 b=5} Help=2", true},
      {"clear", [](Menu& bar) { return bar.ClearFrom(1); }, "File{-=1} Help=2", true},
  };
  uint32_t faults = 0;
  for (const auto& row : kRows) {
    for (const char* function :
         {"CreatePopupMenu", "GetMenuItemCount", "GetSubMenu", "GetMenuItemID", "EnableMenuItem",
          "CheckMenuItem", "SetMenuItemInfoW", "InsertMenuItemW", "DeleteMenu", "RemoveMenu",
          "LoadMenuW", "GetMenuItemInfoW", "CreateMenu"}) {
      SCOPED_TRACE(row.name);
      faults += FailEachCall(function, [&] {
        const bool done = row.operation(*bar_);
        const bool struck = host::FaultsStruck() > 0;
        host::ClearFaults();
        EXPECT_TRUE(done || struck);
        const std::string after = Dump();
        EXPECT_TRUE(done ? after == row.after : row.in_parts || after == kBar) << after;
        EXPECT_TRUE(done || qv::MenuDepth() == 0);
        return struck;
      });
    }
  }
  EXPECT_GT(faults, 40u);
}

TEST_F(MenuHostTest, WithoutMemoryNothingIsInserted) {
  BuildBar();
  const std::string before = Dump();
  qv::GlobalHooks().allocate = [](size_t) -> void* { return nullptr; };
  EXPECT_FALSE(bar_->SetItemTitle(1, LText("x")));
  EXPECT_FALSE(bar_->InsertItem(LText("x"), 9, 2));
  EXPECT_FALSE(AppendMenuItem(LText("x"), 0, 0, 0, 9));
  EXPECT_FALSE(BeginSubmenu(LText("x")));
  ParseAccelerator("1w0B43\"text\"");  // the short-cut works, its text is missing
  qv::ResetHooksForTest();
  EXPECT_EQ(Dump(), before);
  EXPECT_EQ(FindAccelerator(1)->display_text, nullptr);
}

TEST_F(MenuHostTest, DescriptionsGoOnBehindAnItemThatCannotBe) {
  SetMessages({{1, "a"}, {2, "b"}, {3, "c"}});
  SetList(900, {"1S901", "3", "1D902"});
  SetList(901, {"2", "3"});
  SetList(902, {"2"});
  const struct {
    const char* function;
    std::vector<const char*> menus;  // for the first, second, ... call that fails
  } kRows[] = {
      {"InsertMenuItemW",
       {"c=3 a{}", "a{c=3} c=3 a{}", "a{b=2} c=3 a{b=2}", "a{b=2 c=3} a{b=2 c=3}", "a{b=2 c=3} c=3",
        "a{b=2 c=3} c=3 a{c=3}", "a{b=2 c=3} c=3 a{b=2}"}},
      {"CreatePopupMenu", {"c=3 a{}", "a{b=2 c=3} c=3"}},
  };
  for (const auto& row : kRows) {
    size_t run = 0;
    FailEachCall(row.function, [&] {
      qv::LoadMenusAndAcceleratorsInto(*bar_);
      const bool struck = host::FaultsStruck() > 0;
      EXPECT_EQ(struck, run < row.menus.size());
      EXPECT_EQ(Dump(), struck ? row.menus[run] : "a{b=2 c=3} c=3 a{b=2 c=3}");
      EXPECT_EQ(TakeLines(), struck ? "BuildAppendNewItem Fails\n" : "");
      ++run;
      return struck;
    });
    EXPECT_EQ(run, row.menus.size() + 1);
  }
}

TEST_F(MenuHostTest, WithoutAMenuThereIsNothing) {
  host::FailCall("CreateMenu", 1, kNoMemory, true);
  Menu bar;
  EXPECT_EQ(bar.handle(), nullptr);
  EXPECT_FALSE(BeginMenu(bar, 0));
  EXPECT_FALSE(qv::LoadMenusAndAcceleratorsInto(bar));
  ParseMenuItem(bar, "-");
  EXPECT_EQ(TakeLines(), "BuildAppendNewItem Fails\n");
  EXPECT_EQ(bar.FindItem(1), -1);
  EXPECT_TRUE(bar.IsItemEnabled(1));
  RedrawMenuBars(bar);
  host::ClearFaults();
  ParseMenuItem(bar, "-");
  EXPECT_EQ(DumpMenu(bar.handle()), "-");
}

TEST_F(MenuHostTest, WithoutAPlatformTableThereAreNoShortCuts) {
  SetList(900, {"-"});
  SetList(960, {"1w0B43"});
  FailEachCall("CreateAcceleratorTableW", [&] {
    EXPECT_TRUE(qv::LoadMenusAndAcceleratorsInto(*bar_));
    EXPECT_EQ(qv::PlatformAccelerators() == nullptr, host::FaultsStruck() > 0);
    EXPECT_NE(FindAccelerator(1), nullptr);
    qv::ReleasePlatformAccelerators();
    return host::FaultsStruck() > 0;
  });
}

}  // namespace
