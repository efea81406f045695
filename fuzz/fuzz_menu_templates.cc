// Any bytes as a menu template: a menu that can be walked, or none and nothing left over.
#include "fuzz/fuzz_support.h"
#include "platform/host/control.h"
#include "platform/host/menu_templates.h"

namespace {

int CountItems(HMENU menu, int depth) {
  FUZZ_CHECK(depth <= 26);
  const int count = GetMenuItemCount(menu);
  int all = count;
  for (int position = 0; position < count; ++position) {
    FUZZ_CHECK(GetMenuState(menu, static_cast<UINT>(position), MF_BYPOSITION) != UINT32_MAX);
    if (HMENU submenu = GetSubMenu(menu, position)) all += CountItems(submenu, depth + 1);
  }
  return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const uint32_t open = host::OpenHandles();
  HMENU menu = host::MenuFromTemplate({data, size});
  if (menu != nullptr) {
    const int items = CountItems(menu, 0);
    FUZZ_CHECK(items > 0 && static_cast<size_t>(items) <= size / 4);
    FUZZ_CHECK(DestroyMenu(menu) != FALSE);
  }
  FUZZ_CHECK(host::OpenHandles() == open);
  return 0;
}
