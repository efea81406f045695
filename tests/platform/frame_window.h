// A frame window with a client for several documents.
#pragma once

#include <gtest/gtest.h>

#include "platform/windows_api.h"

namespace platform_test {

constexpr WCHAR kFrameClass[] = {'P', 'T', 'F', 0}, kChildClass[] = {'P', 'T', 'C', 0};
constexpr UINT kAsk = 0x0400;  // the first message that is an application's own; answers with a sum

// The client of the one frame window that a test has.
inline HWND client = nullptr;

inline LRESULT CALLBACK FrameProcedure(HWND window, UINT message, WPARAM w, LPARAM l) {
  if (message == kAsk) return static_cast<LRESULT>(w) + l;
  return DefFrameProcW(window, client, message, w, l);
}

inline bool Register(const WCHAR* name, WNDPROC procedure) {
  WNDCLASSW window_class = {};
  window_class.lpfnWndProc = procedure;
  window_class.hInstance = GetModuleHandleA(nullptr);
  window_class.lpszClassName = name;
  return RegisterClassW(&window_class) != 0;
}

inline HWND Create(const WCHAR* name, DWORD style, HWND parent, HMENU menu,
                   LPVOID parameter = nullptr) {
  return CreateWindowExW(0, name, name, style, 0, 0, 300, 200, parent, menu,
                         GetModuleHandleA(nullptr), parameter);
}

inline HWND CreateFrame(const WCHAR* name, HMENU menu) {
  return Create(name, WS_OVERLAPPEDWINDOW | WS_VISIBLE, nullptr, menu);
}

inline void CreateClient(HWND frame) {
  constexpr WCHAR kClientClass[] = {'M', 'd', 'i', 'C', 'l', 'i', 'e', 'n', 't', 0};
  CLIENTCREATESTRUCT create = {};
  create.idFirstChild = 5000;
  client = Create(kClientClass, WS_CHILD | WS_CLIPCHILDREN | WS_VISIBLE, frame, nullptr, &create);
  EXPECT_NE(client, nullptr);
}

inline HWND OpenChild() {
  MDICREATESTRUCTW create = {};
  create.szClass = create.szTitle = kChildClass;
  create.hOwner = GetModuleHandleA(nullptr);
  create.cx = create.cy = 100;
  return reinterpret_cast<HWND>(
      SendMessageW(client, WM_MDICREATE, 0, reinterpret_cast<LPARAM>(&create)));
}

inline void Send(UINT message, HWND child) {
  SendMessageW(client, message, reinterpret_cast<WPARAM>(child), 0);
}

}  // namespace platform_test
