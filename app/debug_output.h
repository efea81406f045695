// Debug output to the system's debugger.
//
//   DebugPrintf("ZRFile: %ld bytes\n", size);
//
// Threads: any. Errors: without scratch memory nothing is written.
#pragma once

// Formats (rules and limit of FormatText) and passes the text to OutputDebugStringA.
void DebugPrintf(const char* format, ...);
