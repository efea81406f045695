// Message boxes, and the message queue that each thread has.
#pragma once

#include "platform/host/types.h"

#define MB_OK 0
#define MB_OKCANCEL 1
#define MB_YESNOCANCEL 3
#define MB_YESNO 4
#define MB_ICONERROR 0x10
#define MB_SYSTEMMODAL 0x1000
#define MB_SETFOREGROUND 0x10000
#define MB_TOPMOST 0x40000
#define IDOK 1
#define IDCANCEL 2
#define IDYES 6
#define IDNO 7
#define WM_QUIT 0x0012
#define WM_APP 0x8000
#define PM_REMOVE 1

struct POINT {
  LONG x, y;
};
struct MSG {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  DWORD time;
  POINT pt;
};

QV_HOST_API int MessageBoxA(HWND owner, LPCSTR text, LPCSTR caption, UINT type);
QV_HOST_API BOOL GetMessageA(MSG* message, HWND window, UINT first, UINT last);
QV_HOST_API BOOL PeekMessageA(MSG* message, HWND window, UINT first, UINT last, UINT remove);
QV_HOST_API BOOL TranslateMessage(const MSG* message);
QV_HOST_API LRESULT DispatchMessageA(const MSG* message);
QV_HOST_API BOOL PostThreadMessageA(DWORD thread, UINT message, WPARAM wide, LPARAM l);
QV_HOST_API void PostQuitMessage(int code);
