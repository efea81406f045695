// Tests only: faults, time, boxes and system settings of the stand-in.
//
// Not available on Windows. All state belongs to the process, whoever loaded the stand-in.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/host/types.h"

#define QV_HOST_CONTROL __attribute__((visibility("default")))

namespace host {

// Makes the n-th next call (1 is the next one) of the named function fail with `error`, as that
// function reports errors. With `from_then_on` every later call fails too. One rule per function;
// a second one replaces the first.
QV_HOST_CONTROL void FailCall(const char* function, uint32_t nth, DWORD error,
                              bool from_then_on = false);
QV_HOST_CONTROL void ClearFaults();
// How often a fault set by FailCall struck since the last ClearFaults.
QV_HOST_CONTROL uint32_t FaultsStruck();
// Calls of the named function since the last ResetCallCounts; 0 for one never called.
QV_HOST_CONTROL uint32_t CallsMade(const char* function);
QV_HOST_CONTROL void ResetCallCounts();

// The tick count stands at `ticks` until ThawTicks; Sleep, and the wait of a connect that nobody
// answers, then move it on instead of waiting. `step` is added at each reading.
QV_HOST_CONTROL void FreezeTicks(DWORD ticks, DWORD step = 0);
QV_HOST_CONTROL void AdvanceTicks(DWORD milliseconds);
// The same in microseconds, which the interrupt time and the performance counter show.
QV_HOST_CONTROL void FreezeMicroseconds(uint64_t micros, uint64_t step = 0);
QV_HOST_CONTROL void AdvanceMicroseconds(uint64_t micros);
QV_HOST_CONTROL void ThawTicks();

// The wall clock stands at this local time until ThawTicks.
QV_HOST_CONTROL void FreezeLocalTime(const SYSTEMTIME& time);

struct MessageBoxRecord {
  std::string text, caption;
  UINT type;
};
// From here on boxes are recorded and answered with `answer` instead of being shown.
QV_HOST_CONTROL void RecordMessageBoxes(int answer = 1);
QV_HOST_CONTROL std::vector<MessageBoxRecord> TakeMessageBoxes();

// From here on debugger output is kept (and still written to debug.txt).
QV_HOST_CONTROL std::vector<std::string> TakeDebugOutput();

// Gives the process a console whose input has this mode; the mode that it has now. 0: no console.
QV_HOST_CONTROL void SetConsoleInputMode(DWORD mode);
QV_HOST_CONTROL DWORD ConsoleInputMode();

// The value that the registry's "ACP" has; the narrow calls and GetACP follow it.
QV_HOST_CONTROL void SetAnsiCodePage(UINT code_page);
// The names of the user's language and country (ASCII); a fresh process has "en" and "US".
QV_HOST_CONTROL void SetUserLanguage(const std::string& language, const std::string& country);
// How the user writes times, made of h, hh, H, HH, m, mm, s, ss, tt and marks (ASCII); a fresh
// process has "h:mm:ss tt".
QV_HOST_CONTROL void SetUserTimeFormat(const std::string& format);
// Font character sets that CreateFontA finds; {} restores the default set.
QV_HOST_CONTROL void SetFontCharsets(const std::vector<BYTE>& char_sets);

// What GetVersionExA reports (the numbers of that call), and metric 89 of GetSystemMetrics.
struct SystemVersion {
  DWORD platform = 2, major = 6, minor = 1, build = 7601;
  std::string service_pack = "Service Pack 1";
  WORD suite = 0x100;
  BYTE product = 1;
  int server_r2 = 0;
};
QV_HOST_CONTROL void SetSystemVersion(const SystemVersion& version);

// What the memory calls report instead of the machine's figures, bytes.
struct MemoryFigures {
  uint64_t total_physical = 0, available_physical = 0;
  uint64_t total_page_file = 0, available_page_file = 0;
  uint64_t total_virtual = 0, available_virtual = 0;
};
QV_HOST_CONTROL void SetMemoryFigures(const MemoryFigures& figures);
// The default version and the machine's figures again.
QV_HOST_CONTROL void ResetSystem();

// A drive beside C: and Z:, or in the place of one of them. It has no contents.
struct TestDrive {
  UINT type = 3;                  // DRIVE_FIXED
  std::string label, connection;  // UTF-8; the connection is what a remote drive stands for
  uint32_t serial = 0x51563031;
};
QV_HOST_CONTROL void AddDrive(char letter, const TestDrive& drive);
QV_HOST_CONTROL void RemoveAddedDrives();

// Open handles of all kinds: files, processes, keys, fonts, DDE instances, conversations
// and strings. Resources of modules need no closing and do not count.
QV_HOST_CONTROL uint32_t OpenHandles();

// Fibers that were created, or are a thread's own, and still exist.
QV_HOST_CONTROL uint32_t LiveFibers();

// The state directory (made when missing), a native path.
QV_HOST_CONTROL std::string StateDirectory();
// Empties the state directory and gives it what a fresh system holds; clears faults, frozen ticks,
// a chosen version, memory figures, recorded boxes and debugger output. Open handles stay.
QV_HOST_CONTROL void ResetState();

}  // namespace host
