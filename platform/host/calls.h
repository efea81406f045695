// What every entry point of the stand-in does first: it counts the call, and fails when a test
// wants that.
//
//   if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
//
// Calls that cannot fail and that locks are made of (critical sections, the last error, thread
// numbers) do without. Threads: any.
#pragma once

#include "platform/host/types.h"

namespace host {

// Counts a call of `function`, a name that stays where it is, as __func__ does. The error that this
// call shall fail with, or 0.
DWORD Enter(const char* function);

void SetThreadError(DWORD error);

// Sets the thread's last error and gives `result` back: the end of a call that fails.
template <typename Result>
Result Fail(DWORD error, Result result) {
  SetThreadError(error);
  return result;
}

}  // namespace host
