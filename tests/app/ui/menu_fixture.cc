#include "tests/app/ui/menu_fixture.h"

#include <algorithm>
#include <cstdio>

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

constexpr int32_t kMessagesOfList = 16;

std::string& Lines() {
  static std::string lines;
  return lines;
}

std::map<int32_t, std::vector<std::string>>& Messages() {
  static std::map<int32_t, std::vector<std::string>> messages;
  return messages;
}

std::string TitleAt(HMENU menu, int position) {
  Str255 title;
  EXPECT_TRUE(qv::GetPlatformTitle({menu, position}, title, sizeof title));
  std::string text = Text(title);
  std::replace(text.begin(), text.end(), '\t', '^');
  return text;
}

std::string DumpItem(HMENU menu, int position) {
  MENUITEMINFOW info = {};
  info.cbSize = sizeof info;
  info.fMask = MIIM_FTYPE | MIIM_ID | MIIM_STATE | MIIM_SUBMENU | MIIM_DATA;
  EXPECT_TRUE(GetMenuItemInfoW(menu, static_cast<UINT>(position), TRUE, &info));
  std::string text = (info.fType & MFT_MENUBARBREAK) != 0 ? "|" : "";
  if ((info.fType & MFT_SEPARATOR) != 0) return text + "-";
  if (info.hSubMenu != nullptr)
    return text + TitleAt(menu, position) + "{" + DumpMenu(info.hSubMenu) + "}";
  if ((info.fType & MFT_OWNERDRAW) != 0) {
    char item[64];
    std::snprintf(item, sizeof item, "[%X=%u]", static_cast<unsigned>(info.dwItemData),
                  static_cast<unsigned>(info.wID));
    text += item;
  } else {
    text += TitleAt(menu, position) + "=" + std::to_string(info.wID);
  }
  if ((info.fState & MFS_CHECKED) != 0) text += '*';
  return (info.fState & MFS_GRAYED) != 0 ? text + '!' : text;
}

}  // namespace

std::string DumpMenu(HMENU menu) {
  std::string text;
  const int count = GetMenuItemCount(menu);
  for (int position = 0; position < count; ++position) {
    text += (position > 0 ? " " : "") + DumpItem(menu, position);
  }
  return text;
}

MenuTest::MenuTest() {
  Lines().clear();
  Messages().clear();
  qv::ResetResourceChainForTest();
  file_ = OpenMainFile();
  EXPECT_NE(file_, nullptr);
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
  file_->AddList(list, strings);
}

void MenuTest::SetMessages(const std::map<int32_t, std::string>& texts) {
  for (const auto& [number, text] : texts) {
    const int32_t list = qv::kFirstMessageList + (number - 1) / kMessagesOfList;
    std::vector<std::string>& messages = Messages()[list];
    messages.resize(kMessagesOfList);
    messages[static_cast<size_t>((number - 1) % kMessagesOfList)] = text;
    SetList(list, messages);
  }
}

std::string MenuTest::TakeLines() {
  std::string lines;
  lines.swap(Lines());
  return lines;
}

}  // namespace test
