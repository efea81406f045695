// Menus and accelerator tables, as a model in memory: what a program put into them can be read back
// by the same calls. Nothing is drawn.
#pragma once

#include "platform/host/types.h"

QV_HOST_DECLARE_HANDLE(HMENU);
QV_HOST_DECLARE_HANDLE(HACCEL);
QV_HOST_DECLARE_HANDLE(HBITMAP);

#define MF_INSERT 0x0000
#define MF_BYCOMMAND 0x0000
#define MF_ENABLED 0x0000
#define MF_UNCHECKED 0x0000
#define MF_STRING 0x0000
#define MF_GRAYED 0x0001
#define MF_DISABLED 0x0002
#define MF_BITMAP 0x0004
#define MF_CHECKED 0x0008
#define MF_POPUP 0x0010
#define MF_MENUBARBREAK 0x0020
#define MF_MENUBREAK 0x0040
#define MF_HILITE 0x0080
#define MF_OWNERDRAW 0x0100
#define MF_BYPOSITION 0x0400
#define MF_SEPARATOR 0x0800

#define MFT_STRING MF_STRING
#define MFT_BITMAP MF_BITMAP
#define MFT_MENUBARBREAK MF_MENUBARBREAK
#define MFT_MENUBREAK MF_MENUBREAK
#define MFT_OWNERDRAW MF_OWNERDRAW
#define MFT_SEPARATOR MF_SEPARATOR

#define MFS_GRAYED 0x0003
#define MFS_DISABLED MFS_GRAYED
#define MFS_CHECKED MF_CHECKED

#define MIIM_STATE 0x0001
#define MIIM_ID 0x0002
#define MIIM_SUBMENU 0x0004
#define MIIM_CHECKMARKS 0x0008
#define MIIM_TYPE 0x0010
#define MIIM_DATA 0x0020
#define MIIM_STRING 0x0040
#define MIIM_BITMAP 0x0080
#define MIIM_FTYPE 0x0100

#define FVIRTKEY 0x01
#define FSHIFT 0x04
#define FCONTROL 0x08
#define FALT 0x10

#define ERROR_INVALID_DATA 13L
#define ERROR_INVALID_MENU_HANDLE 1401L
#define ERROR_INVALID_ACCEL_HANDLE 1403L
#define ERROR_MENU_ITEM_NOT_FOUND 1456L

struct MENUITEMINFOW {
  UINT cbSize, fMask, fType, fState, wID;
  HMENU hSubMenu;
  HBITMAP hbmpChecked, hbmpUnchecked;
  ULONG_PTR dwItemData;
  LPWSTR dwTypeData;
  UINT cch;
  HBITMAP hbmpItem;
};

struct ACCEL {
  BYTE fVirt;
  WORD key, cmd;
};

// --- menus: ERROR_INVALID_MENU_HANDLE for what is none, ERROR_MENU_ITEM_NOT_FOUND for no such
// item. A menu owns its submenus: they go with it, and with their item unless it is taken out.

QV_HOST_API HMENU CreateMenu(void);
QV_HOST_API HMENU CreatePopupMenu(void);
QV_HOST_API BOOL DestroyMenu(HMENU menu);
QV_HOST_API BOOL IsMenu(HMENU menu);

QV_HOST_API int GetMenuItemCount(HMENU menu);
QV_HOST_API UINT GetMenuItemID(HMENU menu, int position);
QV_HOST_API HMENU GetSubMenu(HMENU menu, int position);
// With a submenu the number of its items in the second byte. UINT_MAX when there is no such item.
QV_HOST_API UINT GetMenuState(HMENU menu, UINT item, UINT flags);
QV_HOST_API BOOL GetMenuItemInfoW(HMENU menu, UINT item, BOOL by_position, MENUITEMINFOW* info);
QV_HOST_API BOOL SetMenuItemInfoW(HMENU menu, UINT item, BOOL by_position,
                                  const MENUITEMINFOW* info);
// In front of an item, or at the end when there is no such item. An item with neither text, submenu
// nor a picture of its own is a separator.
QV_HOST_API BOOL InsertMenuItemW(HMENU menu, UINT item, BOOL by_position,
                                 const MENUITEMINFOW* info);
// The old state, or -1.
QV_HOST_API BOOL EnableMenuItem(HMENU menu, UINT item, UINT flags);
QV_HOST_API DWORD CheckMenuItem(HMENU menu, UINT item, UINT flags);
// Deletes the item with its submenu; RemoveMenu leaves the submenu to the caller.
QV_HOST_API BOOL DeleteMenu(HMENU menu, UINT item, UINT flags);
QV_HOST_API BOOL RemoveMenu(HMENU menu, UINT item, UINT flags);

// A menu of the module's resources; null with the reason when there is none, or none that can be
// read.
QV_HOST_API HMENU LoadMenuW(HINSTANCE module, LPCWSTR name);

// --- accelerators

QV_HOST_API HACCEL CreateAcceleratorTableW(ACCEL* entries, int count);
// How many were copied, or without a buffer how many there are.
QV_HOST_API int CopyAcceleratorTableW(HACCEL table, ACCEL* entries, int count);
QV_HOST_API BOOL DestroyAcceleratorTable(HACCEL table);
