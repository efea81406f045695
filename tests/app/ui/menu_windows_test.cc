#include "app/ui/menu_answers.h"
#include "app/ui/menu_builder.h"
#include "app/ui/menu_descriptions.h"
#include "tests/app/ui/menu_fixture.h"

namespace {

using qv::Menu;
using test::DumpMenu;
using test::LText;

HINSTANCE Self() { return GetModuleHandleA(nullptr); }

// The client of the one frame window that a test has.
HWND& Client() {
  static HWND client = nullptr;
  return client;
}

LRESULT CALLBACK FrameProcedure(HWND window, UINT message, WPARAM w, LPARAM l) {
  return DefFrameProcW(window, Client(), message, w, l);
}

void RegisterOnce(const WCHAR* name, WNDPROC procedure) {
  WNDCLASSW window_class = {};
  window_class.lpfnWndProc = procedure;
  window_class.hInstance = Self();
  window_class.lpszClassName = name;
  RegisterClassW(&window_class);
}

constexpr WCHAR kFrameClass[] = {'Q', 'F', 0}, kChildClass[] = {'Q', 'C', 0};
constexpr WCHAR kClientClass[] = {'M', 'D', 'I', 'C', 'L', 'I', 'E', 'N', 'T', 0};

// A frame window with a multiple-document client, and a bar "File{New=1} Edit{Copy=2} Help{x=3}"
// that the frame shows.
class MenuWindowsTest : public test::MenuTest {
 protected:
  MenuWindowsTest() {
    RegisterOnce(kFrameClass, FrameProcedure);
    RegisterOnce(kChildClass, DefMDIChildProcW);
    frame_ = CreateWindowExW(0, kFrameClass, kFrameClass, WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0,
                             400, 300, nullptr, nullptr, Self(), nullptr);
    EXPECT_NE(frame_, nullptr);
    Build({"File", "Edit", "Help"});
    EXPECT_TRUE(bar_.AttachTo(frame_));
    CLIENTCREATESTRUCT create = {};
    create.idFirstChild = 5000;
    Client() = CreateWindowExW(0, kClientClass, nullptr, WS_CHILD | WS_CLIPCHILDREN | WS_VISIBLE, 0,
                               0, 300, 200, frame_, nullptr, Self(), &create);
    EXPECT_NE(Client(), nullptr);
    qv::ApplicationMenuAnswers().multiple_document_client = [](const Menu&) { return Client(); };
  }
  ~MenuWindowsTest() override {
    if (GetMenu(frame_) == bar_.handle()) bar_.DetachFrom(frame_);
    DestroyWindow(frame_);
    Client() = nullptr;
  }
  void Build(const std::vector<std::string>& titles) {
    BeginMenu(bar_, 0);
    for (const std::string& title : titles) {
      BeginSubmenu(LText(title));
      AppendMenuItem(LText("x"), 0, 0, 0, title[0]);
      EndSubmenu();
    }
  }
  HWND OpenChild(bool maximised) {
    MDICREATESTRUCTW create = {};
    create.szClass = kChildClass;
    create.szTitle = kChildClass;
    create.hOwner = Self();
    create.cx = create.cy = 100;
    HWND child = reinterpret_cast<HWND>(
        SendMessageW(Client(), WM_MDICREATE, 0, reinterpret_cast<LPARAM>(&create)));
    EXPECT_NE(child, nullptr);
    if (maximised) SendMessageW(Client(), WM_MDIMAXIMIZE, reinterpret_cast<WPARAM>(child), 0);
    return child;
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
  HWND other = CreateWindowExW(0, kFrameClass, kFrameClass, WS_OVERLAPPEDWINDOW, 0, 0, 9, 9,
                               nullptr, nullptr, Self(), nullptr);
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
  HWND child = OpenChild(false);
  expect_range(0, own - 2);
  EXPECT_EQ(bar_.MaximisedChildItems().front, 0);
  SendMessageW(Client(), WM_MDIMAXIMIZE, reinterpret_cast<WPARAM>(child), 0);
  const int count = GetMenuItemCount(bar_.handle());
  EXPECT_GT(count, own);
  expect_range(1, count - 5);
  EXPECT_EQ(bar_.MaximisedChildItems().front, 1);
  EXPECT_EQ(bar_.MaximisedChildItems().back, count - own - 1);
  EXPECT_EQ(OwnItems(), "File Edit Help");
  // A popup has no part in it.
  Menu popup(Menu::Kind::kPopup);
  EXPECT_EQ(popup.MultipleDocumentRange().last, -2);
  SendMessageW(Client(), WM_MDIRESTORE, reinterpret_cast<WPARAM>(child), 0);
  expect_range(0, own - 2);
}

TEST_F(MenuWindowsTest, WhatIsBuiltStandsBetweenTheItemsOfAMaximisedChild) {
  OpenChild(true);
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
    OpenChild(true);
    system = GetSubMenu(bar.handle(), 0);
    EXPECT_NE(system, own);
    EXPECT_TRUE(bar.DetachFrom(frame_));
  }
  EXPECT_TRUE(IsMenu(system));
  EXPECT_FALSE(IsMenu(own));
}

}  // namespace
