// The console print: status text for whoever runs the program.
//
//   ConsolePrint("%s - OK\n", path);
//
// The text, by FormatText's rules and cut at 7999 bytes, goes to the process's standard output,
// which is flushed at once, to the console window when the debug flag is 1 or more, and to the
// print hook. Without scratch memory nothing is written.
// Threads: any; texts of several threads may mix.
#pragma once

#include <cstdarg>

void ConsolePrint(const char* format, ...);
void ConsolePrintList(const char* format, va_list arguments);

namespace qv {

// Called with each text after the other two; null for none. To be set before a second thread runs.
using PrintHook = void (*)(const char* text);
void SetPrintHook(PrintHook hook);

}  // namespace qv
