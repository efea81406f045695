// Debug output to the system's debugger.
//
// Threads: any.
#pragma once

// Formats (rules and limit of FormatText) and passes the text to OutputDebugStringA.
void DebugPrintf(const char* format, ...);
