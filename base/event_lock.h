// A lock whose holder can wait until another thread signals.
//
//   qv::ScopedLock hold(queue_lock);
//   while (queue.empty()) queue_lock.Wait();    // others get the lock meanwhile
//
// One signal releases one wait, the next one when nobody waits; several signals before a wait count
// as one. A wait may end without a signal (see below), so look at the condition again after it.
//
// Threads: any. The lock must be held exactly once by a thread that waits. Errors: where the system
// had no event to give, waits end after about a millisecond as if signalled: slower, never stuck.
#pragma once

#include <cstdint>

#include "base/lock_object.h"

namespace qv {

class EventLock : public LockObject {
 public:
  EventLock();
  ~EventLock() override;

  // With or without the lock held.
  void Signal();
  // Leaves the lock, waits without limit, takes the lock again.
  void Wait();
  // The same for at most `micros` / 1000 whole milliseconds. False when that time passed
  // unsignalled.
  bool WaitMicros(uint32_t micros);

 private:
  bool WaitMillis(DWORD milliseconds);

  const HANDLE event_;  // null when there was none
};

}  // namespace qv
