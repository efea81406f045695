// Keeping the processor, and operations that no other thread can come between.
//
//   ZRTaskEnterCritical();   // from here on no other task runs, whatever is called
//   ...
//   ZRTaskLeaveCritical();
//
// Regions nest. The kernel starts inside one, so the host leaves one before its tasks can switch.
// With the lock the kernel lock is held too, which other threads may use.
//
// Threads: regions on the kernel thread; the operations on words from any thread.
#pragma once

#include <cstdint>

void ZRTaskEnterCritical(bool lock = false);
void ZRTaskLeaveCritical(bool lock = false);

// Each under the kernel lock; returns the value before.
uint32_t ZRTaskAtomicIncrement(uint32_t* word);
uint32_t ZRTaskAtomicDecrement(uint32_t* word);
uint32_t ZRTaskAtomicExchange(uint32_t* word, uint32_t value);

// A lock between tasks that waits by yielding: the word is 0 while it is free. Returns 0 once it is
// taken. Where a task cannot yield it must not be held by another one.
uint32_t ZRTaskAcquireFlag(uint32_t* flag);
void ZRTaskReleaseFlag(uint32_t* flag);

namespace qv {

// A region for the length of a scope.
class CriticalRegion {
 public:
  explicit CriticalRegion(bool lock = false) : lock_(lock) { ZRTaskEnterCritical(lock_); }
  ~CriticalRegion() { ZRTaskLeaveCritical(lock_); }
  CriticalRegion(const CriticalRegion&) = delete;
  CriticalRegion& operator=(const CriticalRegion&) = delete;

 private:
  const bool lock_;
};

}  // namespace qv
