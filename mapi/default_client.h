// Makes the desktop client the user's default mail client: registry entries under
// HKEY_CURRENT_USER for mail clients and for "mailto" links.
//
// Keys and values written before a failing step stay written.
#pragma once

#include <cstdint>

#include "platform/windows_api.h"

extern "C" {

// The whole job. A failure shows two message boxes: that of the step, then a summary.
void __cdecl MakeDefault(void);

// The same with the signature that the system's run-a-library-function tool calls.
void __stdcall MakeDefaultAsRunDll(HWND window, HINSTANCE instance, LPSTR command_line,
                                   int show_command);

// Registers only the mail client with the path of this library; shows nothing. 1 when every step
// succeeded, else 0; null is refused before anything is written.
uint8_t __stdcall SetQVAsDefaultMailClient(const char* dll_path);
}
