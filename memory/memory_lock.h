// The one lock of this folder: it guards the handle table, the checked allocator and their
// settings.
//
//   qv::MemoryOperation operation;   // first line of every operation
//
// Re-entrant on one thread: operations call each other, and what writes a message may allocate. It
// is held while messages and tracebacks are written, so the order is: the memory lock first, then
// the locks of the debug output and the scratch pool. Whoever holds one of those may not allocate
// through the hooks. What the current task is gets asked before the lock is taken.
#pragma once

#include "base/lock_object.h"

namespace qv {

LockObject& MemoryLock();

// Holds the memory lock for a scope; the settings have been read when it begins.
class MemoryOperation {
 public:
  MemoryOperation();

 private:
  ScopedLock hold_;
};

}  // namespace qv
