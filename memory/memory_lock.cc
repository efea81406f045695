#include "memory/memory_lock.h"

#include "base/never_destroyed.h"
#include "memory/memory_settings.h"

namespace qv {

// Memory is given back until the last thread ends, so the lock is never destroyed.
LockObject& MemoryLock() {
  static constinit NeverDestroyed<LockObject> lock;
  return lock.value;
}

MemoryOperation::MemoryOperation() : hold_(MemoryLock()) { ReadMemorySettingsIfDue(); }

}  // namespace qv
