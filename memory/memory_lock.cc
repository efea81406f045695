#include "memory/memory_lock.h"

#include "memory/memory_settings.h"

namespace qv {
namespace {

// Memory is given back until the last thread ends, so the lock is never destroyed.
union LockHolder {
  LockObject lock;
  constexpr LockHolder() : lock() {}
  ~LockHolder() {}
};

}  // namespace

LockObject& MemoryLock() {
  static constinit LockHolder holder;
  return holder.lock;
}

MemoryOperation::MemoryOperation() : hold_(MemoryLock()) { ReadMemorySettingsIfDue(); }

}  // namespace qv
