#include "platform/host/menu_templates.h"

#include <string>

#include "platform/host/calls.h"
#include "platform/host/modules.h"
#include "platform/host/text.h"

namespace host {
namespace {

constexpr UINT kLastOfLevel = 0x80;  // MF_END
constexpr UINT kStates = MF_GRAYED | MF_DISABLED | MF_CHECKED;
constexpr UINT kBreaks = MF_MENUBARBREAK | MF_MENUBREAK;
constexpr int kDeepest = 25;

class Reader {
 public:
  explicit Reader(std::span<const BYTE> bytes) : bytes_(bytes) {}

  // Each is false, with ERROR_INVALID_DATA as the last error, where the bytes end before it.
  bool Word(UINT* word) {
    if (bytes_.size() < 2) return Fail(ERROR_INVALID_DATA, false);
    *word = static_cast<UINT>(bytes_[0] | bytes_[1] << 8);
    bytes_ = bytes_.subspan(2);
    return true;
  }
  bool Text(std::u16string* text) {
    for (UINT unit = 0; Word(&unit);) {
      if (unit == 0) return true;
      text->push_back(static_cast<char16_t>(unit));
    }
    return false;
  }
  bool Skip(size_t count) {
    if (count > bytes_.size()) return Fail(ERROR_INVALID_DATA, false);
    bytes_ = bytes_.subspan(count);
    return true;
  }

 private:
  std::span<const BYTE> bytes_;
};

bool ReadLevel(Reader& reader, HMENU menu, int depth);

bool ReadItem(Reader& reader, HMENU menu, UINT flags, int depth) {
  MENUITEMINFOW info = {};
  info.cbSize = sizeof info;
  info.fMask = MIIM_FTYPE | MIIM_STATE | MIIM_ID | MIIM_STRING;
  std::u16string text;
  const bool is_popup = (flags & MF_POPUP) != 0;
  if (!is_popup && !reader.Word(&info.wID)) return false;
  if (!reader.Text(&text)) return false;
  const bool is_separator =
      (flags & MF_SEPARATOR) != 0 || (!is_popup && text.empty() && info.wID == 0);
  info.fType = (flags & kBreaks) | (is_separator ? MF_SEPARATOR : 0);
  info.fState = flags & kStates;
  info.dwTypeData = text.data();
  if (is_popup) {
    info.fMask |= MIIM_SUBMENU;
    info.hSubMenu = CreatePopupMenu();
    if (info.hSubMenu == nullptr) return false;
  }
  if (!InsertMenuItemW(menu, UINT32_MAX, TRUE, &info)) {
    if (is_popup) DestroyMenu(info.hSubMenu);
    return false;
  }
  return !is_popup || ReadLevel(reader, info.hSubMenu, depth + 1);
}

bool ReadLevel(Reader& reader, HMENU menu, int depth) {
  if (depth > kDeepest) return Fail(ERROR_INVALID_DATA, false);
  for (UINT flags = 0; reader.Word(&flags);) {
    if (!ReadItem(reader, menu, flags, depth)) return false;
    if ((flags & kLastOfLevel) != 0) return true;
  }
  return false;
}

}  // namespace

HMENU MenuFromTemplate(std::span<const BYTE> bytes) {
  Reader reader(bytes);
  UINT version = 0, more = 0;
  if (!reader.Word(&version) || version != 0 || !reader.Word(&more) || !reader.Skip(more)) {
    return Fail(ERROR_INVALID_DATA, HMENU{});
  }
  HMENU menu = CreateMenu();
  if (menu == nullptr || ReadLevel(reader, menu, 0)) return menu;
  DestroyMenu(menu);  // the last error stays that of the reading
  return nullptr;
}

}  // namespace host

HMENU LoadMenuW(HINSTANCE module, LPCWSTR name) {
  if (DWORD fault = host::Enter(__func__)) return host::Fail(fault, HMENU{});
  std::string narrow;
  LPCSTR key = reinterpret_cast<LPCSTR>(name);
  if (!IS_INTRESOURCE(name)) {
    narrow = host::AnsiFromWide(name);
    key = narrow.c_str();
  }
  HRSRC resource = FindResourceA(module, key, RT_MENU);
  if (resource == nullptr) return nullptr;
  const DWORD size = SizeofResource(module, resource);
  const auto* bytes = static_cast<const BYTE*>(LockResource(LoadResource(module, resource)));
  if (bytes == nullptr) return nullptr;
  return host::MenuFromTemplate({bytes, size});
}
