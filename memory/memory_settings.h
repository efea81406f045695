// How closely memory is watched: five numbers of the settings file, section "Debug"
// (setting_keys.h).
//
//   "CheckFree"       0  signatures around the blocks of ZRAMEMAlloc
//   "HeapChecks"      1  how ZRAMEMFree tests a pointer (checked_allocations.h)
//   "HeapTracebacks"  1  a traceback after each message about misuse; 0 when "HeapChecks" is 0
//   "HeapLocks"       0  report each lock of a handle that is locked already
//   "TrackLockers"    0  remember where a handle was first locked; not 0 also sets the two before
//   it
//
// They are read, in this order, by the first operation of the process. "CheckFree" is never read
// again, since blocks made in one mode cannot be freed in the other. The other four are read again
// by every operation as long as "HeapChecks" is -1.
// Threads: under the memory lock.
#pragma once

#include <cstdint>

namespace qv {

struct MemorySettings {
  int32_t check_free = 0;
  int32_t heap_checks = -1;  // -1: not read
  int32_t heap_tracebacks = 0;
  int32_t heap_locks = 0;
  int32_t track_lockers = 0;
};

const MemorySettings& CurrentMemorySettings();
// The start of every operation.
void ReadMemorySettingsIfDue();
// Nothing is read yet, as in a new process. Blocks of checked mode must have been freed before.
void ResetMemorySettingsForTest();

}  // namespace qv
