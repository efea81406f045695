// Debug output: what every component says about itself, to the debug log, the console window and
// the system's debugger.
//
//   DebugPrint("CRezFmt: %ld maps\n", count);      // log file, and console with the flag on
//   DebugPrintf("ZRTask: loop %ld\n", loop);       // debugger only
//   if (!ZR_CHECK(size > 0, "cdfile")) return ZRErrParam;
//
// Texts are UTF-8, formatted by FormatText's rules and cut at 7999 bytes. Without scratch memory
// nothing is written. Threads: any; each call's text stays whole in the log.
#pragma once

#include <cstdarg>
#include <cstdint>

// Writes to the debug log when it is open, and to the console when the debug flag is 1 or more.
// Returns the length of the text when the console took it, else the count written to the log, else
// 0. With neither sink the text is not even formatted.
uint32_t DebugPrint(const char* format, ...);
// The same under one lock of the process: for callers whose messages must not mix in the console
// either.
uint32_t DebugPrintLocked(const char* format, ...);
// The sink behind them. Only target 0, the debug channel, reaches the log.
uint32_t DebugOutput(uint32_t target, const char* format, va_list arguments);

// Formats and passes the text to OutputDebugStringA.
void DebugPrintf(const char* format, ...);

namespace qv {

// The debug flag: 0 off, 1 or more on. Set at the start of an application, from its settings.
int32_t DebugFlag();
void SetDebugFlag(int32_t flag);

// What a failed check prints: "Assertion failed: %s, file %s, line %d\n" by DebugPrint. Nothing
// stops; the caller goes on along its error path.
void ReportFailedCheck(const char* condition, const char* component, int line);

}  // namespace qv

// The condition's truth; a false one is reported as a failed check of the component.
#define ZR_CHECK(condition, component) \
  ((condition) ? true : (qv::ReportFailedCheck(#condition, component, __LINE__), false))
