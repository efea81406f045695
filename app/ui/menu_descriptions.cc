#include "app/ui/menu_descriptions.h"

#include "app/debug_output.h"
#include "app/ui/accelerator_descriptions.h"
#include "app/ui/accelerators.h"
#include "app/ui/description_reader.h"
#include "app/ui/menu_answers.h"
#include "app/ui/menu_builder.h"
#include "resources/resource_chain.h"
#include "resources/string_resources.h"
#include "text/formatter.h"
#include "text/length_prefixed.h"

namespace qv {
namespace {

using Submenu = MenuItemDescription::Submenu;

constexpr int kColourDigits = 6;
constexpr uint8_t kSeparatorTitle[] = {1, '-'};
constexpr uint8_t kBlankTitle[] = {1, ' '};

// --- reading one description ---

// 0 for a letter that stands for no style.
uint32_t StyleOf(char letter) {
  switch (letter) {
    case 'b':
      return kBold;
    case 'i':
      return kItalic;
    case 'u':
      return kUnderline;
    case 'o':
      return kOutline;
    case 's':
      return kShadow;
    case 'c':
      return kCondensed;
    case 'e':
      return kExtended;
    default:
      return 0;
  }
}

bool ReadColour(DescriptionReader& reader, MenuItemDescription* item) {
  const std::optional<uint32_t> colour = reader.Hexadecimal(kColourDigits);
  if (!colour) {
    DebugPrint("Could not parse 6 hex digits %s\n", reader.rest());
    return false;
  }
  item->colour = *colour;
  return true;
}

bool ReadNumber(DescriptionReader& reader, int32_t* number) {
  const std::optional<int32_t> read = reader.Number();
  if (read) *number = *read;
  return read.has_value();
}

bool ReadSubmenu(DescriptionReader& reader, Submenu kind, MenuItemDescription* item) {
  if (!ReadNumber(reader, &item->submenu_list)) return false;
  item->submenu = kind;
  return true;
}

// One option; false when the rest cannot be read.
bool ReadOption(DescriptionReader& reader, MenuItemDescription* item) {
  if (reader.Take('C')) return ReadColour(reader, item);
  if (reader.Take('I')) return ReadNumber(reader, &item->icon);
  if (reader.Take('S')) return ReadSubmenu(reader, Submenu::kFromList, item);
  if (reader.Take('D')) return ReadSubmenu(reader, Submenu::kCopied, item);
  const uint32_t style = StyleOf(reader.next());
  if (style == 0) {
    DebugPrint("unrecognized Option in menu parser remainder skipped %s char:%c\n", reader.rest(),
               reader.next());
    return false;
  }
  item->style_flags |= style;
  reader.Skip(1);
  return true;
}

bool BeginsItem(char c) { return c == 'w' || c == '-' || (c >= '0' && c <= '9'); }

// --- what one menu may cost ---

// Counts what is read from the outermost call of this component on.
struct BuildingState {
  int32_t nested = 0;
  int32_t left = 0;
  bool reported = false;
};
BuildingState& State() {
  static constinit BuildingState state;
  return state;
}

class BuildingScope {
 public:
  BuildingScope() {
    if (State().nested == 0) State() = {0, kMostDescriptions, false};
    ++State().nested;
  }
  ~BuildingScope() { --State().nested; }
  BuildingScope(const BuildingScope&) = delete;
  BuildingScope& operator=(const BuildingScope&) = delete;
};

bool MayReadOneMore() {
  BuildingState& state = State();
  if (state.left > 0) {
    --state.left;
    return true;
  }
  if (!state.reported) {
    DebugPrint("Menu has more than %ld items, remainder skipped\n", kMostDescriptions);
  }
  state.reported = true;
  return false;
}

// --- building it ---

void Report(bool appended) {
  if (!appended) DebugPrint("BuildAppendNewItem Fails\n");
}

// Gives a blank title where the application has none.
void UseBlankTitle(uint8_t* title, int32_t command) {
  CopyLStr(title, kBlankTitle, kMostLStr);
  if (command < kFirstUntitledCommand) DebugPrint("Cannot get MenuItem Cmd=%d\n", command);
}

void TitleOf(const MenuItemDescription& item, uint8_t* title) {
  if (item.separator) {
    CopyLStr(title, kSeparatorTitle, kMostLStr);
  } else if (!ZRGetMessageText(title, kMostLStr, item.command, 0, false)) {
    UseBlankTitle(title, item.command);
  }
}

void DisableUnlessEnabled(int32_t command) {
  if (!ApplicationMenuAnswers().command_enabled(command)) DisableAppendedItem();
}

void AddItem(Menu& menu, const MenuItemDescription& item, const uint8_t* title) {
  const bool appended =
      AppendMenuItem(title, item.icon, item.colour, item.style_flags, item.command);
  Report(appended);
  if (appended && menu.asks_application() && !item.separator) DisableUnlessEnabled(item.command);
}

// The menu, of the application's or the one being built, that has the command.
MenuPlace FindExisting(const Menu& menu, int32_t command) {
  const Menu* application = ApplicationMenuAnswers().menu();
  const MenuPlace place =
      FindPlatformItem(application == nullptr ? nullptr : application->handle(), command);
  return place.found() ? place : FindPlatformItem(menu.handle(), command);
}

// Separators are copied too, submenus are not.
void CopyItem(const MenuPlace& source) {
  if (GetSubMenu(source.menu, source.position) != nullptr) return;
  const UINT state = GetMenuState(source.menu, static_cast<UINT>(source.position), MF_BYPOSITION);
  if (state == static_cast<UINT>(-1)) return Report(false);
  if ((state & MF_SEPARATOR) != 0) return Report(AppendMenuItem(kSeparatorTitle, 0, 0, 0, 0));
  const auto command = static_cast<int32_t>(GetMenuItemID(source.menu, source.position));
  Str255 title;
  if (!ApplicationMenuAnswers().command_title(title, command)) UseBlankTitle(title, command);
  const bool appended = AppendMenuItem(title, 0, ItemColour(command), 0, command);
  Report(appended);
  if (appended) DisableUnlessEnabled(command);
}

void CopyExistingMenu(const Menu& menu, int32_t list) {
  char text[kMostLStr + 1];
  if (!ZRGetIndCString(text, list, 1, kMostLStr)) return;
  const std::optional<int32_t> command = DescriptionReader(text).Number();
  if (!command) return;
  MenuPlace source = FindExisting(menu, *command);
  if (!source.found()) return;
  const int count = GetMenuItemCount(source.menu);
  for (source.position = 0; source.position < count && MayReadOneMore(); ++source.position) {
    CopyItem(source);
  }
}

void AddSubmenu(Menu& menu, const MenuItemDescription& item, const uint8_t* title) {
  if (!BeginSubmenu(title)) return Report(false);
  if (item.submenu == Submenu::kFromList) {
    BuildMenu(menu, item.submenu_list);
  } else {
    CopyExistingMenu(menu, item.submenu_list);
  }
  EndSubmenu();
}

void AddDescribed(Menu& menu, const char* text) {
  MenuItemDescription item;
  if (!ReadMenuItem(text, &item)) return;
  if (!IsMenuBeingBuilt(menu) && !BeginMenu(menu, 1)) return Report(false);
  Str255 title;
  TitleOf(item, title);
  if (item.submenu == Submenu::kNone) {
    AddItem(menu, item, title);
  } else {
    AddSubmenu(menu, item, title);
  }
}

void FinishMenu(const Menu& menu) {
  while (MenuDepth() > 0) EndSubmenu();
  RedrawMenuBars(menu);
}

}  // namespace

bool ReadMenuItem(const char* text, MenuItemDescription* item) {
  *item = {};
  if (!BeginsItem(*text)) return false;
  DescriptionReader reader(text);
  reader.Take('w');
  item->separator = reader.Take('-');
  if (!item->separator && !ReadNumber(reader, &item->command)) return false;
  while (!reader.at_end() && ReadOption(reader, item)) {
  }
  return true;
}

bool LoadMenusAndAcceleratorsInto(Menu& menu) {
  FillAccelerators();
  CreatePlatformAccelerators();
  if (!BeginMenu(menu, 0)) return false;
  const bool built = BuildMenu(menu, kMenuBarList) == 0;
  FinishMenu(menu);
  return built;
}

}  // namespace qv

bool LoadMenusAndAccelerators() {
  qv::Menu* menu = qv::ApplicationMenuAnswers().menu();
  if (menu != nullptr) return qv::LoadMenusAndAcceleratorsInto(*menu);
  qv::FillAccelerators();
  qv::CreatePlatformAccelerators();
  return false;
}

void ParseMenuItem(qv::Menu& menu, const char* text) {
  const qv::BuildingScope scope;
  if (qv::MayReadOneMore()) qv::AddDescribed(menu, text);
}

int32_t BuildMenu(qv::Menu& menu, int32_t list) {
  const qv::BuildingScope scope;
  char text[kMostLStr + 1];
  int32_t result = -1;
  for (int32_t index = 1; ZRGetIndCString(text, list, index, kMostLStr); ++index) {
    result = 0;
    if (!qv::MayReadOneMore()) break;
    qv::AddDescribed(menu, text);
  }
  return result;
}

void AppendSubmenu(qv::Menu& menu, int32_t command, int32_t list) {
  char text[32];
  FormatTextN(text, sizeof text - 1, "%ldS%ld", command, list);
  ParseMenuItem(menu, text);
}
