// The process's code pages: the default that 20000 stands for, the application's, the system's.
//
// Threads: any; each value is read and stored whole.
#pragma once

#include "text/code_pages.h"

// The system's ANSI code page (registry value "ACP"), read at each call; the application code page
// when it cannot be read or names none (no text, no number from 1 to 65535).
CodePage GetSystemCodePage();

// Stores the default code page (initially 1252) and returns the previous one; 20000 only asks.
CodePage SetDefaultCodePage(CodePage cp);

// The code page of the module's text (initially 1252); set by the start-up.
CodePage GetApplicationCodePage();
void SetApplicationCodePage(CodePage cp);

// The same as GetApplicationCodePage.
inline CodePage ApplicationCodePage() { return GetApplicationCodePage(); }

// The platform's ANSI code page, which the narrow calls of this process take; 1252 when the
// platform does not accept it. GetSystemCodePage reads what the registry says.
CodePage SystemAnsiCodePage();

// `cp` when the platform converts it and the number is one of the platform's (below 20000), else 0.
CodePage ValidWindowsCodePage(CodePage cp);
// `cp` when the platform converts it, else 1252.
CodePage ValidCodePageOr1252(CodePage cp);

// 65001, the code page in which text travels inside the library.
constexpr CodePage GetInterchangeCodePage() { return kUtf8; }

namespace qv {

// The default code page in place of 20000, any other as it is.
CodePage ResolveCodePage(CodePage cp);

void ResetCodePagesForTest();

}  // namespace qv
