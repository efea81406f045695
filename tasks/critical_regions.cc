#include "tasks/critical_regions.h"

#include "base/lock_object.h"
#include "base/never_destroyed.h"
#include "tasks/kernel_state.h"
#include "tasks/waits.h"

namespace qv {
namespace {

// Threads use it until they end, so it is never destroyed.
LockObject& KernelLock() {
  static constinit NeverDestroyed<LockObject> lock;
  return lock.value;
}

template <typename Change>
uint32_t ChangeWord(uint32_t* word, Change change) {
  ScopedLock hold(KernelLock());
  const uint32_t before = *word;
  *word = change(before);
  return before;
}

}  // namespace
}  // namespace qv

void ZRTaskEnterCritical(bool lock) {
  qv::TheKernel().region.fetch_sub(1, std::memory_order_relaxed);
  if (lock) qv::KernelLock().Lock();
}

void ZRTaskLeaveCritical(bool lock) {
  qv::TheKernel().region.fetch_add(1, std::memory_order_relaxed);
  if (lock) qv::KernelLock().Unlock();
}

uint32_t ZRTaskAtomicIncrement(uint32_t* word) {
  return qv::ChangeWord(word, [](uint32_t value) { return value + 1; });
}

uint32_t ZRTaskAtomicDecrement(uint32_t* word) {
  return qv::ChangeWord(word, [](uint32_t value) { return value - 1; });
}

uint32_t ZRTaskAtomicExchange(uint32_t* word, uint32_t value) {
  return qv::ChangeWord(word, [value](uint32_t) { return value; });
}

uint32_t ZRTaskAcquireFlag(uint32_t* flag) {
  while (ZRTaskAtomicIncrement(flag) != 0) {
    ZRTaskAtomicDecrement(flag);
    ZRTaskYieldTicks(0, false);
  }
  return 0;
}

void ZRTaskReleaseFlag(uint32_t* flag) { ZRTaskAtomicDecrement(flag); }
