#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/platform/menu_text.h"

namespace {

using platform_test::Insert;
using platform_test::MenuText;

constexpr WCHAR kFrameClass[] = {'P', 'T', 'F', 0}, kChildClass[] = {'P', 'T', 'C', 0};
constexpr WCHAR kLowerFrameClass[] = {'p', 't', 'f', 0};
constexpr WCHAR kClientClass[] = {'M', 'd', 'i', 'C', 'l', 'i', 'e', 'n', 't', 0};
constexpr UINT kAsk = 0x0400;  // the first message that is an application's own

HWND client = nullptr;

LRESULT CALLBACK FrameProcedure(HWND window, UINT message, WPARAM w, LPARAM l) {
  if (message == kAsk) return static_cast<LRESULT>(w) + l;
  return DefFrameProcW(window, client, message, w, l);
}

bool Register(const WCHAR* name, WNDPROC procedure) {
  WNDCLASSW window_class = {};
  window_class.lpfnWndProc = procedure;
  window_class.hInstance = GetModuleHandleA(nullptr);
  window_class.lpszClassName = name;
  return RegisterClassW(&window_class) != 0;
}

HWND Create(const WCHAR* name, DWORD style, HWND parent, HMENU menu, LPVOID parameter = nullptr) {
  return CreateWindowExW(0, name, name, style, 0, 0, 300, 200, parent, menu,
                         GetModuleHandleA(nullptr), parameter);
}

BOOL CALLBACK Collect(HWND window, LPARAM list) {
  reinterpret_cast<std::vector<HWND>*>(list)->push_back(window);
  return TRUE;
}

class WindowsTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    EXPECT_TRUE(Register(kFrameClass, FrameProcedure));
    EXPECT_TRUE(Register(kChildClass, DefMDIChildProcW));
    EXPECT_FALSE(Register(kFrameClass, FrameProcedure));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_CLASS_ALREADY_EXISTS));
  }
  void SetUp() override {
    Insert(bar, -1, "File", 1);
    frame = Create(kLowerFrameClass, WS_OVERLAPPEDWINDOW | WS_VISIBLE, nullptr, bar);
    ASSERT_NE(frame, nullptr);
    CLIENTCREATESTRUCT create = {};
    create.idFirstChild = 5000;
    client = Create(kClientClass, WS_CHILD | WS_CLIPCHILDREN | WS_VISIBLE, frame, nullptr, &create);
    ASSERT_NE(client, nullptr);
  }
  void TearDown() override {
    if (IsWindow(frame)) DestroyWindow(frame);
    client = nullptr;
  }
  HWND OpenChild() {
    MDICREATESTRUCTW create = {};
    create.szClass = create.szTitle = kChildClass;
    create.hOwner = GetModuleHandleA(nullptr);
    create.cx = create.cy = 100;
    return reinterpret_cast<HWND>(
        SendMessageW(client, WM_MDICREATE, 0, reinterpret_cast<LPARAM>(&create)));
  }
  void Send(UINT message, HWND child) {
    SendMessageW(client, message, reinterpret_cast<WPARAM>(child), 0);
  }
  HWND Active(BOOL* maximised) {
    return reinterpret_cast<HWND>(
        SendMessageW(client, WM_MDIGETACTIVE, 0, reinterpret_cast<LPARAM>(maximised)));
  }
  int Items() { return GetMenuItemCount(bar); }

  HMENU bar = CreateMenu();
  HWND frame = nullptr;
};

TEST_F(WindowsTest, MenusBelongToTheirWindows) {
  EXPECT_EQ(GetMenu(frame), bar);
  EXPECT_EQ(SendMessageW(frame, kAsk, 40, 2), 42);
  HMENU other = CreateMenu();
  EXPECT_TRUE(SetMenu(frame, other));
  EXPECT_TRUE(DrawMenuBar(frame));
  EXPECT_TRUE(IsMenu(bar)) << "a menu that is taken away stays";
  EXPECT_FALSE(SetMenu(frame, reinterpret_cast<HMENU>(uintptr_t{1})));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_MENU_HANDLE));
  EXPECT_TRUE(DestroyWindow(frame));
  EXPECT_FALSE(IsMenu(other)) << "one that is shown goes with the window";
  EXPECT_FALSE(IsWindow(frame));
  EXPECT_FALSE(IsWindow(client));
  EXPECT_EQ(GetMenu(frame), nullptr);  // Wine's SetMenu does not refuse it
  EXPECT_TRUE(DestroyMenu(bar));
}

TEST_F(WindowsTest, OnlyTopLevelWindowsAreListed) {
  std::vector<HWND> windows;
  EXPECT_TRUE(EnumWindows(Collect, reinterpret_cast<LPARAM>(&windows)));
  EXPECT_EQ(std::count(windows.begin(), windows.end(), frame), 1);
  EXPECT_EQ(std::count(windows.begin(), windows.end(), client), 0);
  const WCHAR kNone[] = {'N', 'o', 'n', 'e', 0};
  EXPECT_EQ(Create(kNone, 0, nullptr, nullptr), nullptr);  // Wine has an error of its own
}

TEST_F(WindowsTest, AMaximisedChildPutsItsItemsIntoTheBar) {
  BOOL maximised = TRUE;
  EXPECT_EQ(Active(&maximised), nullptr);
  HWND child = OpenChild();
  ASSERT_NE(child, nullptr);
  EXPECT_EQ(Active(&maximised), child);
  EXPECT_FALSE(maximised);
  EXPECT_EQ(Items(), 1);
  Send(WM_MDIMAXIMIZE, child);
  EXPECT_EQ(Active(&maximised), child);
  EXPECT_TRUE(maximised);
  const int with_child = Items();
  EXPECT_GE(with_child, 4);
  EXPECT_NE(GetSubMenu(bar, 0), nullptr) << "its system menu";
  EXPECT_EQ(GetMenuItemID(bar, 1), 1u);
  EXPECT_EQ(GetMenuItemID(bar, with_child - 1), UINT{SC_CLOSE});
  HWND second = OpenChild();
  EXPECT_EQ(Active(&maximised), second);
  Send(WM_MDIMAXIMIZE, second);
  EXPECT_EQ(Items(), with_child);
  Send(WM_MDIRESTORE, second);
  EXPECT_EQ(MenuText(bar), "File=1");
  Send(WM_MDIMAXIMIZE, child);
  Send(WM_MDIDESTROY, second);
  EXPECT_EQ(Items(), with_child);
  EXPECT_TRUE(DestroyWindow(frame));
  EXPECT_FALSE(IsWindow(child));
}

}  // namespace
