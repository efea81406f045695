#include "platform/host/windows.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "platform/host/calls.h"
#include "platform/host/handles.h"
#include "platform/host/modules.h"
#include "platform/host/text.h"

namespace host {
namespace {

constexpr UINT kCaptionCommands[] = {SC_MINIMIZE, SC_RESTORE, SC_CLOSE};

struct WindowObject : Object {
  WNDPROC procedure = nullptr;
  HWND parent = nullptr;
  HMENU menu = nullptr;
  bool is_client = false;       // of several documents
  HWND active = nullptr;        // of a client: the child in front
  bool is_maximised = false;    // of a client: the child in front is
  HMENU shown_in = nullptr;     // of a client: the menu with the child's items
  HMENU system_menu = nullptr;  // of a child
};

struct WindowState {
  std::mutex mutex;
  std::map<std::u16string, WNDPROC> classes;  // by their names in upper case
  std::vector<HWND> windows;                  // all, oldest first
};

WindowState& State() {
  static auto& state = *new WindowState;
  return state;
}

std::shared_ptr<WindowObject> WindowOf(HWND window) { return FindHandle<WindowObject>(window); }

std::u16string ClassName(LPCWSTR name) {
  return name != nullptr && !IS_INTRESOURCE(name) ? UpperCase(name) : std::u16string();
}

std::vector<HWND> Windows() {
  std::lock_guard hold(State().mutex);
  return State().windows;
}

// Items that a maximised child has in the frame's menu: its system menu at the front, the buttons
// of its caption at the end.
void AddChildItems(WindowObject& client) {
  const std::shared_ptr<WindowObject> frame = WindowOf(client.parent),
                                      child = WindowOf(client.active);
  if (!frame || !child || frame->menu == nullptr || client.shown_in != nullptr) return;
  if (child->system_menu == nullptr) child->system_menu = CreatePopupMenu();
  MENUITEMINFOW info = {};
  info.cbSize = sizeof info;
  info.fMask = MIIM_FTYPE | MIIM_SUBMENU;
  info.fType = MFT_BITMAP;
  info.hSubMenu = child->system_menu;
  InsertMenuItemW(frame->menu, 0, TRUE, &info);
  info.fMask = MIIM_FTYPE | MIIM_ID;
  for (UINT command : kCaptionCommands) {
    info.wID = command;
    InsertMenuItemW(frame->menu, UINT32_MAX, TRUE, &info);
  }
  client.shown_in = frame->menu;
}

void TakeChildItems(WindowObject& client) {
  const HMENU menu = std::exchange(client.shown_in, nullptr);
  const std::shared_ptr<WindowObject> child = WindowOf(client.active);
  if (menu == nullptr || !IsMenu(menu)) return;
  for (UINT command : kCaptionCommands) DeleteMenu(menu, command, MF_BYCOMMAND);
  if (child && GetSubMenu(menu, 0) == child->system_menu) RemoveMenu(menu, 0, MF_BYPOSITION);
}

LRESULT CALLBACK ClientProcedure(HWND window, UINT message, WPARAM w, LPARAM l) {
  const std::shared_ptr<WindowObject> client = WindowOf(window);
  const HWND child = reinterpret_cast<HWND>(w);
  switch (message) {
    case WM_MDICREATE: {
      const auto* create = reinterpret_cast<const MDICREATESTRUCTW*>(l);
      const HWND made =
          CreateWindowExW(0, create->szClass, create->szTitle, create->style | WS_CHILD, create->x,
                          create->y, create->cx, create->cy, window, nullptr, nullptr, nullptr);
      if (made == nullptr) return 0;
      TakeChildItems(*client);
      client->active = made;
      client->is_maximised = false;
      return reinterpret_cast<LRESULT>(made);
    }
    case WM_MDIMAXIMIZE:
    case WM_MDIRESTORE:
      if (!WindowOf(child) || WindowOf(child)->parent != window) return 0;
      TakeChildItems(*client);
      client->active = child;
      client->is_maximised = message == WM_MDIMAXIMIZE;
      if (client->is_maximised) AddChildItems(*client);
      return 0;
    case WM_MDIDESTROY:
      if (WindowOf(child) && WindowOf(child)->parent == window) DestroyWindow(child);
      return 0;
    case WM_MDIGETACTIVE:
      if (l != 0) *reinterpret_cast<BOOL*>(l) = client->is_maximised ? TRUE : FALSE;
      return reinterpret_cast<LRESULT>(client->active);
    default:
      return 0;
  }
}

// What its parent, a client, knows of a window that goes.
void ForgetChild(HWND window, const WindowObject& child) {
  const std::shared_ptr<WindowObject> client = WindowOf(child.parent);
  if (!client || client->active != window) return;
  TakeChildItems(*client);
  client->active = nullptr;
  client->is_maximised = false;
}

void Destroy(HWND window) {
  const std::shared_ptr<WindowObject> object = WindowOf(window);
  if (!object) return;
  for (HWND each : Windows()) {
    if (const auto child = WindowOf(each); child && child->parent == window) Destroy(each);
  }
  ForgetChild(window, *object);
  if (object->menu != nullptr) DestroyMenu(object->menu);
  if (object->system_menu != nullptr) DestroyMenu(object->system_menu);
  RemoveObject(reinterpret_cast<uintptr_t>(window));
  std::lock_guard hold(State().mutex);
  std::erase(State().windows, window);
}

}  // namespace
}  // namespace host

using host::Enter;
using host::Fail;

ATOM RegisterClassW(const WNDCLASSW* window_class) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, ATOM{0});
  const std::u16string name =
      window_class != nullptr ? host::ClassName(window_class->lpszClassName) : u"";
  if (name.empty() || window_class->lpfnWndProc == nullptr) {
    return Fail(ERROR_INVALID_PARAMETER, ATOM{0});
  }
  std::lock_guard hold(host::State().mutex);
  auto& classes = host::State().classes;
  if (name == u"MDICLIENT" || !classes.emplace(name, window_class->lpfnWndProc).second) {
    return Fail(ERROR_CLASS_ALREADY_EXISTS, ATOM{0});
  }
  return static_cast<ATOM>(0xC000 + classes.size());
}

HWND CreateWindowExW(DWORD, LPCWSTR class_name, LPCWSTR, DWORD style, int, int, int, int,
                     HWND parent, HMENU menu, HINSTANCE, LPVOID) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, HWND{});
  auto window = std::make_shared<host::WindowObject>();
  const bool is_child = (style & WS_CHILD) != 0;
  if (is_child && !host::WindowOf(parent)) return Fail(ERROR_INVALID_WINDOW_HANDLE, HWND{});
  window->parent = is_child ? parent : nullptr;
  window->menu = is_child ? nullptr : menu;
  std::lock_guard hold(host::State().mutex);
  const std::u16string name = host::ClassName(class_name);
  const auto found = host::State().classes.find(name);
  window->is_client = name == u"MDICLIENT";
  if (!window->is_client && found == host::State().classes.end()) {
    return Fail(ERROR_CANNOT_FIND_WND_CLASS, HWND{});
  }
  window->procedure = window->is_client ? host::ClientProcedure : found->second;
  const HWND handle = host::AddHandle<HWND>(std::move(window));
  host::State().windows.push_back(handle);
  return handle;
}

BOOL DestroyWindow(HWND window) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  if (!host::WindowOf(window)) return Fail(ERROR_INVALID_WINDOW_HANDLE, FALSE);
  host::Destroy(window);
  return TRUE;
}

BOOL IsWindow(HWND window) { return host::WindowOf(window) ? TRUE : FALSE; }

LRESULT SendMessageW(HWND window, UINT message, WPARAM w, LPARAM l) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, LRESULT{0});
  const auto object = host::WindowOf(window);
  if (!object) return Fail(ERROR_INVALID_WINDOW_HANDLE, LRESULT{0});
  return object->procedure(window, message, w, l);
}

LRESULT DefWindowProcW(HWND, UINT, WPARAM, LPARAM) { return 0; }
LRESULT DefFrameProcW(HWND, HWND, UINT, WPARAM, LPARAM) { return 0; }
LRESULT CALLBACK DefMDIChildProcW(HWND, UINT, WPARAM, LPARAM) { return 0; }

BOOL EnumWindows(WNDENUMPROC callback, LPARAM parameter) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  for (HWND each : host::Windows()) {
    const auto window = host::WindowOf(each);
    if (window && window->parent == nullptr && !callback(each, parameter)) return FALSE;
  }
  return TRUE;
}

HMENU GetMenu(HWND window) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, HMENU{});
  const auto object = host::WindowOf(window);
  return object ? object->menu : Fail(ERROR_INVALID_WINDOW_HANDLE, HMENU{});
}

BOOL SetMenu(HWND window, HMENU menu) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  const auto object = host::WindowOf(window);
  if (!object || object->parent != nullptr) return Fail(ERROR_INVALID_WINDOW_HANDLE, FALSE);
  if (menu != nullptr && !IsMenu(menu)) return Fail(ERROR_INVALID_MENU_HANDLE, FALSE);
  object->menu = menu;
  return TRUE;
}

BOOL DrawMenuBar(HWND window) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  return host::WindowOf(window) ? TRUE : Fail(ERROR_INVALID_WINDOW_HANDLE, FALSE);
}
