// Menu templates that are none whole, and calls that fail while one is read: no menu is left over.
// Windows itself trusts the templates of a module.
#include <gtest/gtest.h>

#include <vector>

#include "platform/host/control.h"
#include "platform/host/menu_templates.h"
#include "tests/platform/child_process.h"
#include "tests/platform/menu_text.h"

namespace {

constexpr WORD kLast = 0x80;

std::vector<BYTE> Template(const std::vector<WORD>& words) {
  std::vector<BYTE> bytes;
  for (WORD word : words) bytes.insert(bytes.end(), {BYTE(word & 0xFF), BYTE(word >> 8)});
  return bytes;
}

// "A{B=1 C{D=2}} E=3"
const std::vector<BYTE> kGood =
    Template({0,   0, MF_POPUP, 'A', 0,   0, 1,     'B', 0,   MF_POPUP | kLast,
              'C', 0, kLast,    2,   'D', 0, kLast, 3,   'E', 0});

struct Reading {
  std::string text;
  DWORD error = 0;
};

// Out of memory of exactly this size, so that a read behind it shows.
Reading Read(const std::vector<BYTE>& bytes) {
  const uint32_t open = host::OpenHandles();
  SetLastError(0);
  HMENU menu = host::MenuFromTemplate(bytes);
  Reading reading = {menu != nullptr ? platform_test::MenuText(menu) : "", GetLastError()};
  if (menu != nullptr) DestroyMenu(menu);
  EXPECT_EQ(host::OpenHandles(), open);
  return reading;
}

TEST(MenuTemplatesTest, Whole) {
  EXPECT_EQ(Read(kGood).text, "A{B=1 C{D=2}} E=3");
  std::vector<BYTE> longer = kGood;
  longer.insert(longer.begin() + 4, {1, 2, 3});
  longer[2] = 3;
  longer.push_back(9);
  EXPECT_EQ(Read(longer).text, "A{B=1 C{D=2}} E=3") << "bytes behind the header and the items";
  EXPECT_EQ(Read(Template({0, 0, 0, 0, 0, MF_SEPARATOR, 5, 'x', 0, MF_CHECKED | kLast, 1, 0})).text,
            "- - =1*");
}

TEST(MenuTemplatesTest, CutAnywhereAndForeign) {
  for (size_t size = 0; size < kGood.size(); ++size) {
    const Reading cut = Read({kGood.begin(), kGood.begin() + static_cast<ptrdiff_t>(size)});
    EXPECT_EQ(cut.error, static_cast<DWORD>(ERROR_INVALID_DATA)) << size;
  }
  std::vector<BYTE> newer = kGood, far = kGood;
  newer[0] = 1;
  far[2] = 0xFF;
  EXPECT_EQ(Read(newer).error, static_cast<DWORD>(ERROR_INVALID_DATA));
  EXPECT_EQ(Read(far).error, static_cast<DWORD>(ERROR_INVALID_DATA));
  std::vector<WORD> deep = {0, 0};
  for (int level = 0; level < 10000; ++level) deep.insert(deep.end(), {MF_POPUP | kLast, 0});
  EXPECT_EQ(Read(Template(deep)).error, static_cast<DWORD>(ERROR_INVALID_DATA));
}

TEST(MenuTemplatesTest, EachCallFails) {
  for (const char* function : {"CreateMenu", "CreatePopupMenu", "InsertMenuItemW"}) {
    uint32_t nth = 1;
    for (;; ++nth) {
      host::FailCall(function, nth, ERROR_NOT_ENOUGH_MEMORY);
      const Reading reading = Read(kGood);
      const bool struck = host::FaultsStruck() > 0;
      host::ClearFaults();
      if (!struck) break;
      EXPECT_EQ(reading.text, "") << function << nth;
      EXPECT_EQ(reading.error, static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY)) << function << nth;
    }
    EXPECT_GT(nth, 1u) << function;
  }
}

TEST(MenuTemplatesTest, AMenuInItselfEnds) {
  HMENU menu = CreateMenu();
  EXPECT_TRUE(platform_test::Insert(menu, -1, "x", 1));
  EXPECT_TRUE(platform_test::Insert(menu, -1, "itself", 2, menu));
  EXPECT_EQ(GetMenuState(menu, 77, MF_BYCOMMAND), UINT(-1)) << "the search ends";
  EXPECT_TRUE(DestroyMenu(menu));
}

}  // namespace
