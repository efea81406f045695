#include "platform/host/fonts.h"

#include <algorithm>
#include <mutex>

#include "platform/host/calls.h"
#include "platform/host/control.h"
#include "platform/host/handles.h"

namespace host {
namespace {

constexpr BYTE kFreshCharsets[] = {0, 161, 162, 177, 178, 186, 204, 238};
constexpr int kDefaultHeight = 16;

struct FontState {
  std::mutex mutex;
  std::vector<BYTE> char_sets{std::begin(kFreshCharsets), std::end(kFreshCharsets)};
};

FontState& State() {
  static auto& state = *new FontState;
  return state;
}

struct Font : Object {
  int height = kDefaultHeight;
  BYTE char_set = ANSI_CHARSET;
};

struct DrawingContext : Object {
  HGDIOBJ selected = nullptr;  // null: the system's own font
};

// The character set of the font that is found for a wanted one.
BYTE FoundCharset(DWORD wanted) {
  FontState& state = State();
  std::lock_guard hold(state.mutex);
  bool covered = std::count(state.char_sets.begin(), state.char_sets.end(), wanted) > 0;
  return covered ? static_cast<BYTE>(wanted) : ANSI_CHARSET;
}

// A context starts with the system's font, which is an object like any other but never closed.
HGDIOBJ SystemFont() { return reinterpret_cast<HGDIOBJ>(uintptr_t{0x10}); }

}  // namespace

void SetFontCharsets(const std::vector<BYTE>& char_sets) {
  FontState& state = State();
  std::lock_guard hold(state.mutex);
  state.char_sets = char_sets;
  if (char_sets.empty())
    state.char_sets.assign(std::begin(kFreshCharsets), std::end(kFreshCharsets));
}

}  // namespace host

using host::Enter;
using host::Fail;

HFONT CreateFontA(int height, int, int, int, int, DWORD, DWORD, DWORD, DWORD char_set, DWORD, DWORD,
                  DWORD, DWORD, LPCSTR) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, HFONT{});
  auto font = std::make_shared<host::Font>();
  font->height = height == 0 ? host::kDefaultHeight : std::abs(height);
  font->char_set = host::FoundCharset(char_set);
  return host::AddHandle<HFONT>(font);
}

HGDIOBJ SelectObject(HDC context, HGDIOBJ object) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, HGDIOBJ{});
  auto drawing = host::FindHandle<host::DrawingContext>(context);
  bool is_font = object == host::SystemFont() || host::FindHandle<host::Font>(object);
  if (!drawing || !is_font) return Fail(ERROR_INVALID_HANDLE, HGDIOBJ{});
  HGDIOBJ before = drawing->selected ? drawing->selected : host::SystemFont();
  drawing->selected = object;
  return before;
}

BOOL DeleteObject(HGDIOBJ object) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  return host::CloseHandleOf<host::Font>(object) ? TRUE : Fail(ERROR_INVALID_HANDLE, FALSE);
}

BOOL GetTextMetricsA(HDC context, TEXTMETRICA* metrics) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  auto drawing = host::FindHandle<host::DrawingContext>(context);
  if (!drawing || !metrics) return Fail(ERROR_INVALID_HANDLE, FALSE);
  auto selected = host::FindHandle<host::Font>(drawing->selected);
  *metrics = {};
  metrics->tmHeight = selected ? selected->height : host::kDefaultHeight;
  metrics->tmCharSet = selected ? selected->char_set : ANSI_CHARSET;
  return TRUE;
}

HWND GetDesktopWindow(void) {
  return Enter(__func__) ? nullptr : reinterpret_cast<HWND>(uintptr_t{0x20});
}

HDC GetDC(HWND) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, HDC{});
  return host::AddHandle<HDC>(std::make_shared<host::DrawingContext>());
}

int ReleaseDC(HWND, HDC context) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, 0);
  return host::CloseHandleOf<host::DrawingContext>(context);
}
