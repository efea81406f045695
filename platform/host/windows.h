// Windows, as a model in memory: who is whose child, which menu a window shows, and of windows with
// several documents the children and the items that a maximised one puts into the frame's menu.
// Nothing is drawn, and a window gets the messages only that are sent to it. All windows belong to
// one thread, that of the user interface.
#pragma once

#include "platform/host/menus.h"
#include "platform/host/messages.h"
#include "platform/host/types.h"

typedef LRESULT(CALLBACK* WNDPROC)(HWND window, UINT message, WPARAM w, LPARAM l);
typedef BOOL(CALLBACK* WNDENUMPROC)(HWND window, LPARAM parameter);
QV_HOST_DECLARE_HANDLE(HICON);
QV_HOST_DECLARE_HANDLE(HCURSOR);
QV_HOST_DECLARE_HANDLE(HBRUSH);

#define WS_OVERLAPPEDWINDOW 0x00CF0000L
#define WS_VISIBLE 0x10000000L
#define WS_CHILD 0x40000000L
#define WS_CLIPCHILDREN 0x02000000L

#define WM_MDICREATE 0x0220
#define WM_MDIDESTROY 0x0221
#define WM_MDIRESTORE 0x0223
#define WM_MDIMAXIMIZE 0x0225
#define WM_MDIGETACTIVE 0x0229

#define SC_MINIMIZE 0xF020
#define SC_RESTORE 0xF120
#define SC_CLOSE 0xF060

#define ERROR_INVALID_WINDOW_HANDLE 1400L
#define ERROR_CANNOT_FIND_WND_CLASS 1407L
#define ERROR_CLASS_ALREADY_EXISTS 1410L

typedef WORD ATOM;
struct WNDCLASSW {
  UINT style;
  WNDPROC lpfnWndProc;
  int cbClsExtra, cbWndExtra;
  HINSTANCE hInstance;
  HICON hIcon;
  HCURSOR hCursor;
  HBRUSH hbrBackground;
  LPCWSTR lpszMenuName, lpszClassName;
};
struct CLIENTCREATESTRUCT {
  HANDLE hWindowMenu;
  UINT idFirstChild;
};
struct MDICREATESTRUCTW {
  LPCWSTR szClass, szTitle;
  HANDLE hOwner;
  int x, y, cx, cy;
  DWORD style;
  LPARAM lParam;
};

QV_HOST_API ATOM RegisterClassW(const WNDCLASSW* window_class);
// The class "MDICLIENT" is there from the start.
QV_HOST_API HWND CreateWindowExW(DWORD extended_style, LPCWSTR class_name, LPCWSTR title,
                                 DWORD style, int x, int y, int width, int height, HWND parent,
                                 HMENU menu, HINSTANCE instance, LPVOID parameter);
// With its children and the menu it shows.
QV_HOST_API BOOL DestroyWindow(HWND window);
QV_HOST_API BOOL IsWindow(HWND window);
QV_HOST_API LRESULT SendMessageW(HWND window, UINT message, WPARAM w, LPARAM l);
QV_HOST_API LRESULT DefWindowProcW(HWND window, UINT message, WPARAM w, LPARAM l);
QV_HOST_API LRESULT DefFrameProcW(HWND window, HWND client, UINT message, WPARAM w, LPARAM l);
QV_HOST_API LRESULT CALLBACK DefMDIChildProcW(HWND window, UINT message, WPARAM w, LPARAM l);
// Those without a parent, as long as the callback wishes.
QV_HOST_API BOOL EnumWindows(WNDENUMPROC callback, LPARAM parameter);

QV_HOST_API HMENU GetMenu(HWND window);
// Null takes the menu away; it stays the caller's.
QV_HOST_API BOOL SetMenu(HWND window, HMENU menu);
QV_HOST_API BOOL DrawMenuBar(HWND window);
