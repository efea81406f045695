// The framework's message output: what a user or an operator of the application may want to read.
//
//   ZRMessage("Running %s", system);
//   ZRMessageEx(error, 0, "Could not save samples as %s.", name);
//
// An application that installs a message hook gets every message, unformatted, one at a time.
// Without a hook the text goes to the debug log; off the kernel's thread to the system's debugger.
// Threads: any.
#pragma once

#include <cstdarg>
#include <cstdint>

#include "base/errors.h"

// Gets the error code and the word that ZRMessageEx was given, 0 and 0 from ZRMessage. Called under
// a lock, on the caller's thread; it may send messages itself.
using ZRMessageHook = void (*)(ZRError code, uint32_t word, const char* format, va_list arguments);

// Null removes the hook. To be set before a second thread sends messages.
void ZRSetMessageHook(ZRMessageHook hook);
ZRMessageHook ZRGetMessageHook();

// In the debug log a line end is added.
void ZRMessage(const char* format, ...);
// For a failure, with its code (0: none). Without a hook neither the code nor a line end is shown.
void ZRMessageEx(ZRError code, uint32_t word, const char* format, ...);
