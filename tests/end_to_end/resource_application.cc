// An application that takes its texts out of resource files beside it. Prints string INDEX of list
// LIST for each argument "LIST:INDEX", and whole string NUMBER for each "NUMBER"; "-" when there is
// none. Behind "+" the extra files are asked too. For "menu" it loads its menu bar and accelerators
// and prints them as the platform has them: each item on a line, below its submenu; then the flags,
// key and command of each accelerator. Command 3 cannot be used.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "app/debug_output.h"
#include "app/ui/accelerators.h"
#include "app/ui/menu_answers.h"
#include "app/ui/menu_descriptions.h"
#include "base/hooks.h"
#include "platform/windows_api.h"
#include "resources/resource_chain.h"
#include "text/length_prefixed.h"

namespace {

void Show(const char* argument) {
  char text[256] = "";
  char* end = nullptr;
  const auto number = static_cast<int32_t>(std::strtol(argument, &end, 10));
  const bool found = *end == ':'
                         ? ZRGetIndCString(text, number, std::atoi(end + 1), sizeof text - 1)
                         : ZRGetString(text, number, sizeof text);
  std::printf("%s\n", found ? text : "-");
}

void ShowItem(const qv::MenuPlace& place) {
  const UINT command = GetMenuItemID(place.menu, place.position);
  const UINT state = GetMenuState(place.menu, static_cast<UINT>(place.position), MF_BYPOSITION);
  Str255 title;
  qv::GetPlatformTitle(place, title, sizeof title);
  qv::LStrToCStrInPlace(title);
  if (command == 0 || command == static_cast<UINT>(-1)) {
    std::printf("%s\n", title[0] != 0 ? reinterpret_cast<const char*>(title) : "-");
  } else {
    std::printf("%s = %u%s\n", reinterpret_cast<const char*>(title), command,
                (state & MF_GRAYED) != 0 ? ", greyed" : "");
  }
}

void ShowMenu(HMENU menu, int indentation) {
  const int count = GetMenuItemCount(menu);
  for (int position = 0; position < count; ++position) {
    std::printf("%*s", indentation, "");
    ShowItem({menu, position});
    if (HMENU submenu = GetSubMenu(menu, position)) ShowMenu(submenu, indentation + 2);
  }
}

void ShowAccelerators() {
  ACCEL entries[qv::kMostAccelerators];
  const int count = CopyAcceleratorTableW(qv::PlatformAccelerators(), entries,
                                          static_cast<int>(qv::kMostAccelerators));
  for (int i = 0; i < count; ++i) {
    std::printf("%02X %02X %u\n", entries[i].fVirt & 0x1F, entries[i].key, entries[i].cmd);
  }
}

void LoadAndShowMenu() {
  qv::Menu bar;
  bar.SetAsksApplication(true);
  qv::SetDebugFlag(1);  // what is wrong with a description is shown too
  qv::LoadMenusAndAcceleratorsInto(bar);
  ShowMenu(bar.handle(), 0);
  ShowAccelerators();
}

}  // namespace

int main(int argc, char** argv) {
  if (ZROpenResourceFiles(GetModuleHandleA(nullptr)) != 0) return 1;
  qv::ApplicationMenuAnswers().command_enabled = [](int32_t command) { return command != 3; };
  qv::GlobalHooks().show_in_console = [](const char* text) {
    return std::fputs(text, stdout) >= 0;
  };
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument == "+") {
      ZRUseExtraResourceFiles(true);
    } else if (argument == "menu") {
      LoadAndShowMenu();
    } else {
      Show(argv[i]);
    }
  }
  return 0;
}
