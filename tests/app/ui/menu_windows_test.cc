#include "app/ui/menu_answers.h"
#include "app/ui/menu_builder.h"
#include "app/ui/menu_descriptions.h"
#include "tests/app/ui/menu_fixture.h"
#include "tests/platform/frame_window.h"

namespace {

using platform_test::client;
using platform_test::kFrameClass;
using platform_test::OpenChild;
using platform_test::Send;
using qv::Menu;
using test::DumpMenu;
using test::LText;

// A frame window with a multiple-document client, and a bar "File{New=1} Edit{Copy=2} Help{x=3}"
// that the frame shows.
class MenuWindowsTest : public test::MenuTest {
 protected:
  MenuWindowsTest() {
    platform_test::Register(kFrameClass, platform_test::FrameProcedure);
    platform_test::Register(platform_test::kChildClass, DefMDIChildProcW);
    frame_ = platform_test::CreateFrame(kFrameClass, nullptr);
    EXPECT_NE(frame_, nullptr);
    Build({"File", "Edit", "Help"});
    EXPECT_TRUE(bar_.AttachTo(frame_));
    platform_test::CreateClient(frame_);
    qv::ApplicationMenuAnswers().multiple_document_client = [](const Menu&) { return client; };
  }
  ~MenuWindowsTest() override {
    if (GetMenu(frame_) == bar_.handle()) bar_.DetachFrom(frame_);
    DestroyWindow(frame_);
    client = nullptr;
  }
  void Build(const std::vector<std::string>& titles) {
    BeginMenu(bar_, 0);
    for (const std::string& title : titles) {
      BeginSubmenu(LText(title));
      AppendMenuItem(LText("x"), 0, 0, 0, title[0]);
      EndSubmenu();
    }
  }
  // The own items of the bar, without what a child has in it.
  std::string OwnItems() {
    const Menu::ChildItems child = bar_.MaximisedChildItems();
    std::string text;
    for (int i = child.front; i < GetMenuItemCount(bar_.handle()) - child.back; ++i) {
      Str255 title;
      EXPECT_TRUE(qv::GetPlatformTitle({bar_.handle(), i}, title, sizeof title));
      qv::LStrToCStrInPlace(title);
      text += (text.empty() ? "" : " ") + std::string(reinterpret_cast<const char*>(title));
    }
    return text;
  }

  HWND frame_ = nullptr;
  Menu bar_;
};

TEST_F(MenuWindowsTest, WindowsThatShowTheBarAreCounted) {
  EXPECT_EQ(GetMenu(frame_), bar_.handle());
  EXPECT_TRUE(bar_.AttachTo(frame_));
  EXPECT_EQ(bar_.use_count(), 1u);
  HWND other = platform_test::CreateFrame(kFrameClass, nullptr);
  EXPECT_FALSE(bar_.DetachFrom(other));
  EXPECT_TRUE(bar_.AttachTo(other));
  EXPECT_EQ(bar_.use_count(), 2u);
  EXPECT_FALSE(bar_.AttachTo(nullptr));
  RedrawMenuBars(bar_);
  EXPECT_TRUE(bar_.DetachFrom(other));
  EXPECT_EQ(GetMenu(other), nullptr);
  EXPECT_TRUE(bar_.DetachFrom(frame_));
  EXPECT_FALSE(bar_.DetachFrom(frame_));
  EXPECT_EQ(bar_.use_count(), 0u);
  DestroyWindow(other);
}

TEST_F(MenuWindowsTest, TheRangeLeavesOutChildAndLastItem) {
  const int own = GetMenuItemCount(bar_.handle());
  EXPECT_EQ(own, 3);
  const auto expect_range = [this](int first, int last) {
    const qv::MenuRange range = bar_.MultipleDocumentRange();
    EXPECT_EQ(range.first, first);
    EXPECT_EQ(range.last, last);
  };
  expect_range(0, own - 2);
  HWND child = OpenChild();
  expect_range(0, own - 2);
  EXPECT_EQ(bar_.MaximisedChildItems().front, 0);
  Send(WM_MDIMAXIMIZE, child);
  const int count = GetMenuItemCount(bar_.handle());
  EXPECT_GT(count, own);
  expect_range(1, count - 5);
  EXPECT_EQ(bar_.MaximisedChildItems().front, 1);
  EXPECT_EQ(bar_.MaximisedChildItems().back, count - own - 1);
  EXPECT_EQ(OwnItems(), "File Edit Help");
  // A popup has no part in it.
  Menu popup(Menu::Kind::kPopup);
  EXPECT_EQ(popup.MultipleDocumentRange().last, -2);
  Send(WM_MDIRESTORE, child);
  expect_range(0, own - 2);
}

TEST_F(MenuWindowsTest, WhatIsBuiltStandsBetweenTheItemsOfAMaximisedChild) {
  Send(WM_MDIMAXIMIZE, OpenChild());
  HMENU system = GetSubMenu(bar_.handle(), 0);
  const int child_items = GetMenuItemCount(bar_.handle()) - 3;
  Build({"Datei", "Hilfe"});
  EXPECT_EQ(OwnItems(), "Datei Hilfe");
  AppendMenuItem(LText("Los"), 0, 0, 0, 7);
  EXPECT_EQ(OwnItems(), "Datei Hilfe Los");
  EXPECT_EQ(GetMenuItemCount(bar_.handle()), child_items + 3);
  EXPECT_EQ(GetSubMenu(bar_.handle(), 0), system);
  EXPECT_FALSE(bar_.RemoveItem(0));
  EXPECT_FALSE(bar_.RemoveItem(GetMenuItemCount(bar_.handle()) - 1));
  EXPECT_TRUE(bar_.RemoveItem(2));
  EXPECT_EQ(OwnItems(), "Datei Los");
  EXPECT_TRUE(bar_.ClearFrom(7));
  EXPECT_EQ(OwnItems(), "Datei -");
  EXPECT_EQ(GetMenuItemCount(bar_.handle()), child_items + 2);
}

TEST_F(MenuWindowsTest, TheSystemMenuOfAChildOutlivesTheBar) {
  HMENU system = nullptr, own = nullptr;
  bar_.DetachFrom(frame_);
  {
    Menu bar;
    BeginMenu(bar, 0);
    BeginSubmenu(LText("own"));
    own = GetSubMenu(bar.handle(), 0);
    EXPECT_TRUE(bar.AttachTo(frame_));
    Send(WM_MDIMAXIMIZE, OpenChild());
    system = GetSubMenu(bar.handle(), 0);
    EXPECT_NE(system, own);
    EXPECT_TRUE(bar.DetachFrom(frame_));
  }
  EXPECT_TRUE(IsMenu(system));
  EXPECT_FALSE(IsMenu(own));
}

}  // namespace
