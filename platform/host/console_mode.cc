// The input mode of a console. The machine's terminals have none of this kind, so there is a
// console only where a test has made one.
#include <atomic>

#include "platform/host/calls.h"
#include "platform/host/control.h"
#include "platform/host/process.h"

namespace host {
namespace {

std::atomic<DWORD>& Mode() {
  static std::atomic<DWORD> mode{0};  // 0: no console
  return mode;
}

HANDLE ConsoleInput() { return reinterpret_cast<HANDLE>(uintptr_t{0x0C}); }

bool IsConsole(HANDLE handle) { return Mode() != 0 && handle == ConsoleInput(); }

}  // namespace

void SetConsoleInputMode(DWORD mode) { Mode() = mode; }
DWORD ConsoleInputMode() { return Mode(); }

}  // namespace host

using host::Enter;
using host::Fail;

HANDLE GetStdHandle(DWORD which) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, INVALID_HANDLE_VALUE);
  if (which != STD_INPUT_HANDLE) return Fail(ERROR_INVALID_HANDLE, INVALID_HANDLE_VALUE);
  return host::Mode() != 0 ? host::ConsoleInput() : nullptr;
}

BOOL GetConsoleMode(HANDLE console, LPDWORD mode) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  if (!host::IsConsole(console)) return Fail(ERROR_INVALID_HANDLE, FALSE);
  *mode = host::Mode();
  return TRUE;
}

BOOL SetConsoleMode(HANDLE console, DWORD mode) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  if (!host::IsConsole(console)) return Fail(ERROR_INVALID_HANDLE, FALSE);
  host::Mode() = mode;
  return TRUE;
}
