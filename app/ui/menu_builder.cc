#include "app/ui/menu_builder.h"

#include "app/ui/menu_titles.h"

namespace qv {
namespace {

constexpr int kColourCommands = kLastColourCommand - kFirstColourCommand + 1;
constexpr int kColourShift = 8;

struct MenuBuilderState {
  // The menu being built, and its open levels; both null when there is none.
  const Menu* menu = nullptr;
  HMENU levels[kMostMenuDepth + 1] = {};
  int depth = 0;
  MenuPlace last;  // the item appended last
  // What the colour commands got last, in whatever menu.
  uint32_t colours[kColourCommands] = {};
};
MenuBuilderState& State() {
  static constinit MenuBuilderState state;
  return state;
}

bool IsColourCommand(int32_t command) {
  return command >= kFirstColourCommand && command <= kLastColourCommand;
}

// Where the next item goes; not found when nothing is being built.
MenuPlace EndOfLevel() {
  const MenuBuilderState& state = State();
  if (state.menu == nullptr || state.depth > kMostMenuDepth) return {};
  HMENU level = state.levels[state.depth];
  const int count = GetMenuItemCount(level);
  return {level, state.depth == 0 ? count - state.menu->MaximisedChildItems().back : count};
}

bool Append(const PlatformItem& item) {
  const MenuPlace place = EndOfLevel();
  if (!place.found() || !InsertPlatformItem(place, item)) return false;
  State().last = place;
  return true;
}

bool AppendColour(int32_t command, uint32_t colour) {
  const uint32_t data = colour << kColourShift;
  if (!Append({.type = MFT_OWNERDRAW, .command = static_cast<UINT>(command), .data = data})) {
    return false;
  }
  State().colours[command - kFirstColourCommand] = data;
  return true;
}

void ForgetAnyMenu() {
  State().menu = nullptr;
  State().depth = 0;
  State().last = {};
}

}  // namespace

int MenuDepth() { return State().depth; }

bool IsMenuBeingBuilt(const Menu& menu) {
  return State().menu == &menu && IsMenu(State().levels[0]);
}

void ForgetMenuBeingBuilt(const Menu& menu) {
  if (State().menu == &menu) ForgetAnyMenu();
}

bool DisableAppendedItem() { return EnablePlatformItem(State().last, MF_GRAYED); }

uint32_t ColourItemData(int32_t command) {
  return IsColourCommand(command) ? State().colours[command - kFirstColourCommand] : 0;
}

uint32_t ItemColour(int32_t command) { return ColourItemData(command) >> kColourShift; }

}  // namespace qv

bool BeginMenu(qv::Menu& menu, int32_t keep) {
  qv::MenuBuilderState& state = qv::State();
  qv::ForgetAnyMenu();
  if (!menu.Prepare(keep > 0)) return false;
  state.menu = &menu;
  state.levels[0] = menu.handle();
  return true;
}

bool BeginSubmenu(const uint8_t* title) {
  qv::MenuBuilderState& state = qv::State();
  if (state.menu == nullptr || state.depth == qv::kMostMenuDepth) return false;
  HMENU popup = CreatePopupMenu();
  if (popup == nullptr) return false;
  const qv::MenuTitle text(title);
  if (!qv::Append({.submenu = popup, .title = text.bytes()})) {
    DestroyMenu(popup);
    return false;
  }
  state.levels[++state.depth] = popup;
  return true;
}

void EndSubmenu() {
  if (qv::State().depth > 0) --qv::State().depth;
}

bool AppendMenuItem(const uint8_t* text, int32_t, uint32_t colour, uint32_t, int32_t command) {
  qv::MenuTitle title(text);
  if (title.is_separator()) return qv::Append({.type = MFT_SEPARATOR});
  if (qv::IsColourCommand(command)) return qv::AppendColour(command, colour);
  if (command > 0) title.AppendAccelerator(command);
  return qv::Append({.command = static_cast<UINT>(command), .title = title.bytes()});
}
