#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/platform/frame_window.h"
#include "tests/platform/menu_text.h"

namespace platform_test {
namespace {

constexpr WCHAR kLowerFrameClass[] = {'p', 't', 'f', 0};

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
    frame = CreateFrame(kLowerFrameClass, bar);
    ASSERT_NE(frame, nullptr);
    CreateClient(frame);
  }
  void TearDown() override {
    if (IsWindow(frame)) DestroyWindow(frame);
    client = nullptr;
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
}  // namespace platform_test
