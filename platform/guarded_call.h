// One protected block for both platforms: runs a function and catches a fault of the processor in
// it (a read of memory that is not there, a division by zero).
//
//   bool ok = platform::GuardedCall(ReadList, platform::CatchEveryFault, &job);
//
// The filter sees the fault first: EXCEPTION_EXECUTE_HANDLER abandons the function,
// EXCEPTION_CONTINUE_SEARCH passes the fault on to an outer block or the system,
// EXCEPTION_CONTINUE_EXECUTION repeats the instruction. An abandoned function does not run its
// destructors: let it hold nothing. Locals that must survive live in the context.
// Blocks nest; each thread has its own chain of them.
#pragma once

#include "platform/windows_api.h"

namespace platform {

using GuardedFunction = void (*)(void* context);
using FaultFilter = LONG (*)(EXCEPTION_POINTERS* fault, void* context);

// Returns true when the function came to its end, false when the filter abandoned it.
bool GuardedCall(GuardedFunction function, FaultFilter filter, void* context);

// A filter that abandons the function on every fault.
LONG CatchEveryFault(EXCEPTION_POINTERS* fault, void* context);

}  // namespace platform
