#include "tests/app/ui/menu_fixture.h"

#include <cstdio>
#include <map>

#include "app/debug_output.h"
#include "app/ui/accelerators.h"
#include "app/ui/menu.h"
#include "app/ui/menu_answers.h"
#include "app/ui/menu_titles.h"
#include "base/hooks.h"
#include "resources/string_resources.h"
#include "tests/resources/opened_files.h"

namespace test {
namespace {

// The name of the file depends on the user's language.
constexpr const char* kFile = ".rez";
constexpr int32_t kMessagesOfList = 16;

std::string& Lines() {
  static std::string lines;
  return lines;
}

std::map<int32_t, std::vector<std::string>>& Messages() {
  static std::map<int32_t, std::vector<std::string>> messages;
  return messages;
}

MENUITEMINFOW ItemAt(HMENU menu, int position, WCHAR* title, UINT units) {
  MENUITEMINFOW info = {};
  info.cbSize = sizeof info;
  info.fMask = MIIM_FTYPE | MIIM_ID | MIIM_STATE | MIIM_SUBMENU | MIIM_DATA | MIIM_STRING;
  info.dwTypeData = title;
  info.cch = units;
  EXPECT_TRUE(GetMenuItemInfoW(menu, static_cast<UINT>(position), TRUE, &info));
  return info;
}

std::string TitleAt(HMENU menu, int position) {
  Str255 title;
  EXPECT_TRUE(qv::GetPlatformTitle({menu, position}, title, sizeof title));
  std::string text = Text(title);
  for (char& c : text) c = c == '\t' ? '^' : c;
  return text;
}

std::string DumpItem(HMENU menu, int position) {
  WCHAR unused[256] = {};
  const MENUITEMINFOW info = ItemAt(menu, position, unused, 256);
  char text[64];
  if ((info.fType & MFT_SEPARATOR) != 0) return "-";
  if ((info.fType & MFT_OWNERDRAW) != 0) {
    std::snprintf(text, sizeof text, "[%X=%u]", static_cast<unsigned>(info.dwItemData),
                  static_cast<unsigned>(info.wID));
    return text;
  }
  if (info.hSubMenu != nullptr)
    return TitleAt(menu, position) + "{" + DumpMenu(info.hSubMenu) + "}";
  return TitleAt(menu, position) + "=" + std::to_string(info.wID);
}

std::string Marks(HMENU menu, int position) {
  const UINT state = GetMenuState(menu, static_cast<UINT>(position), MF_BYPOSITION);
  if (GetSubMenu(menu, position) != nullptr) return "";  // its count stands in the same word
  return std::string((state & MF_CHECKED) != 0 ? "*" : "") +
         ((state & (MF_GRAYED | MF_DISABLED)) != 0 && (state & MF_SEPARATOR) == 0 ? "!" : "");
}

}  // namespace

std::string DumpMenu(HMENU menu) {
  std::string text;
  for (int position = 0; position < GetMenuItemCount(menu); ++position) {
    WCHAR unused[256] = {};
    if (position > 0) text += ' ';
    if ((ItemAt(menu, position, unused, 256).fType & MFT_MENUBARBREAK) != 0) text += '|';
    text += DumpItem(menu, position) + Marks(menu, position);
  }
  return text;
}

MenuTest::MenuTest() {
  Lines().clear();
  Messages().clear();
  qv::ResetResourceChainForTest();
  OpenedFiles().Provide(kFile);
  EXPECT_EQ(ZROpenResourceFiles(GetModuleHandleA(nullptr)), ZRErrNone);
  qv::SetDebugFlag(1);
  qv::GlobalHooks().show_in_console = [](const char* text) {
    Lines() += text;
    return true;
  };
}

MenuTest::~MenuTest() {
  ClearAccelerators();
  qv::ReleasePlatformAccelerators();
  qv::ResetMenuAnswersForTest();
  qv::ResetColumnBreakIntervalForTest();
  qv::SetDebugFlag(0);
  qv::ResetHooksForTest();
  EXPECT_EQ(Lines(), "") << "lines that the test did not expect";
  EXPECT_EQ(qv::Menu::InstanceCount(), 0u);
}

void MenuTest::SetList(int32_t list, const std::vector<std::string>& strings) {
  OpenedFiles().source(kFile)->AddList(list, strings);
}

void MenuTest::SetMessage(int32_t number, const std::string& text) {
  const int32_t list = qv::kFirstMessageList + (number - 1) / kMessagesOfList;
  std::vector<std::string>& messages = Messages()[list];
  messages.resize(kMessagesOfList);
  messages[static_cast<size_t>((number - 1) % kMessagesOfList)] = text;
  SetList(list, messages);
}

std::string MenuTest::TakeLines() {
  std::string lines;
  lines.swap(Lines());
  return lines;
}

}  // namespace test
