// Inner: the kernel's trace lines ("Tasks" in the settings). Each is behind one test of the level,
// so that a kernel that is not traced does not look at names or formats.
#pragma once

#include "tasks/kernel_state.h"

namespace qv {

inline bool Traces(const KernelState& kernel, int32_t level) {
  return kernel.settings.trace >= level;
}

// Not in line: their texts would lie in the frames of those who call, which every task then has on
// its stack while it waits; a line more of the cache for each switch.
[[gnu::noinline]] void TraceSwitch(const KernelState& kernel, const TCB* from, const TCB* to,
                                   uint64_t now);
[[gnu::noinline]] void TraceCreated(const TCB* task);
[[gnu::noinline]] void TraceSleep(const TCB* task, uint64_t now, uint32_t micros,
                                  bool may_wake_early);
[[gnu::noinline]] void TraceSleepInSlot(const TCB* task, uint64_t now, uint32_t micros,
                                        bool may_wake_early, uint32_t slot);
[[gnu::noinline]] void TraceScanPlan(const TimedWheel::Scan& scan, uint64_t elapsed);
[[gnu::noinline]] void TraceTimedWake(const TCB* task, uint64_t now, uint32_t slot);

// A clock value as the lines show it.
constexpr uint32_t Low(uint64_t value) { return static_cast<uint32_t>(value); }
// A number in the form of an address.
inline void* NumberAsPointer(const TCB* task) {
  return reinterpret_cast<void*>(static_cast<uintptr_t>(task->number));
}

}  // namespace qv
