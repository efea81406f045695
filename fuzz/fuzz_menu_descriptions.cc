// Any text as a description, and any strings as lists that lead to one another: what is read keeps
// to its ranges, an accelerator table never holds more than it can, a menu is built in bounded
// time, at most ten submenus deep, and the builder is at its first level again; every title can be
// read back.
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "app/ui/accelerator_descriptions.h"
#include "app/ui/accelerators.h"
#include "app/ui/description_reader.h"
#include "app/ui/menu_builder.h"
#include "app/ui/menu_descriptions.h"
#include "app/ui/menu_titles.h"
#include "fuzz/fuzz_support.h"
#include "resources/string_resources.h"
#include "tests/app/ui/menu_extent.h"
#include "tests/resources/opened_files.h"

namespace {

void CheckItemDescription(const std::string& text) {
  qv::MenuItemDescription item;
  if (!qv::ReadMenuItem(text.c_str(), &item)) return;
  FUZZ_CHECK(std::strchr("w-0123456789", text[0]) != nullptr);
  FUZZ_CHECK(item.command >= 0 && item.icon >= 0 && item.submenu_list >= 0);
  FUZZ_CHECK(item.colour <= 0xFFFFFF && item.style_flags <= 0x7F);
  FUZZ_CHECK(!item.separator || item.command == 0);
}

void CheckAccelerators(const std::string& text) {
  ClearAccelerators();
  ParseAccelerator(text.c_str());
  const qv::AcceleratorTable& table = qv::Accelerators();
  FUZZ_CHECK(table.count <=
             std::min<size_t>(qv::kMostAccelerators, std::count(text.begin(), text.end(), 'w')));
  for (uint32_t i = 0; i < table.count; ++i) {
    const char* shown = table.entries[i].display_text;
    FUZZ_CHECK(table.entries[i].command == table.entries[0].command);
    FUZZ_CHECK(shown == nullptr || std::strlen(shown) < text.size());
  }
}

void CheckTitles(HMENU menu) {
  for (int i = 0; i < GetMenuItemCount(menu); ++i) {
    fuzz::GuardedBuffer title(256);
    FUZZ_CHECK(qv::GetPlatformTitle({menu, i}, reinterpret_cast<uint8_t*>(title.data()), 256));
    FUZZ_CHECK(title.Intact());
    if (HMENU submenu = GetSubMenu(menu, i)) CheckTitles(submenu);
  }
}

std::vector<std::string> Lines(fuzz::Input& input) {
  std::vector<std::string> lines;
  for (size_t count = input.Byte(); count > 0; --count) lines.push_back(input.Text(255));
  return lines;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static test::MemorySource* const main_file = test::OpenMainFile();
  FUZZ_CHECK(main_file != nullptr);
  test::MemorySource& file = *main_file;
  fuzz::Input input(data, size);
  const std::vector<std::string> menus = Lines(input), keys = Lines(input), titles = Lines(input);
  file.AddList(qv::kMenuBarList, menus);
  for (int32_t submenu : {1, 2, 3}) file.AddList(submenu, Lines(input));
  file.AddList(qv::kAcceleratorList, keys);
  file.AddList(qv::kFirstMessageList, titles);
  for (const std::string& text : menus) CheckItemDescription(text);
  for (const std::string& text : keys) CheckAccelerators(text);
  {
    qv::Menu bar;
    bar.SetAsksApplication(true);
    FUZZ_CHECK(qv::LoadMenusAndAcceleratorsInto(bar) == !menus.empty());
    CheckTitles(bar.handle());
    const test::MenuExtent extent = test::Measure(bar.handle());
    FUZZ_CHECK(extent.depth <= qv::kMostMenuDepth && extent.items <= qv::kMostDescriptions);
    FUZZ_CHECK(qv::MenuDepth() == 0 && qv::IsMenuBeingBuilt(bar));
  }
  FUZZ_CHECK(qv::Menu::InstanceCount() == 0);
  FUZZ_CHECK(!AppendMenuItem(nullptr, 0, 0, 0, 1));
  qv::ReleasePlatformAccelerators();
  return 0;
}
