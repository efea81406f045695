// Names of threads, for those who look at the process from outside.
#pragma once

#include "platform/windows_api.h"

namespace platform {

// Windows: tells the debugger that is attached, which learns names from an exception that everybody
// else ignores; without one nothing happens. Elsewhere: the machine's name of the thread, cut to 15
// bytes. An unknown number is ignored. Threads: any.
void ShowThreadName(DWORD thread_id, const char* name);

}  // namespace platform
