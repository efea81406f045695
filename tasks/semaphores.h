// Counting semaphores between tasks, served first come, first served.
//
//   ZRSemaphore* slots = ZRTaskNewSemaphore(5);
//   if (ZRTaskGetSemaphore(slots, 3, true)) { ...; ZRTaskRelSemaphore(slots, 3); }
//   ZRTaskDisposeSemaphore(&slots);
//
// A waiter that needs more than there is holds up those behind it, even if they need less. Where a
// task cannot wait (a critical region, EndTask) its units are taken all the same and that is
// reported; the count is then negative until enough was released. A waiter that is killed makes
// room for the next one, and units that it was given and never saw go back.
//
// Threads: the kernel thread. A null pointer, or a record that is no semaphore (any more), makes a
// call do nothing and return false, except where stated.
#pragma once

#include <cstdint>

#include "tasks/task_lists.h"

struct ZRSemaphore {
  static constexpr uint32_t kMagic = 0x53656D61;
  static constexpr uint32_t kDisposedMagic = 0xFFFFEEEE;

  uint32_t magic = kMagic;
  int32_t count = 0;     // units there are
  qv::TaskList waiters;  // in state SemaWait
  uint32_t granted = 0;  // waiters that were given their units and have not run since
};

// Null without memory.
ZRSemaphore* ZRTaskNewSemaphore(int32_t count);
// Wakes every waiter with false, frees the semaphore and clears the caller's pointer.
bool ZRTaskDisposeSemaphore(ZRSemaphore** semaphore);

// True when the units were taken; with wait it waits for them, until the semaphore is disposed of.
bool ZRTaskGetSemaphore(ZRSemaphore* semaphore, int32_t units, bool wait);
// Gives units back and serves the waiters.
bool ZRTaskRelSemaphore(ZRSemaphore* semaphore, int32_t units);
// Waits until the units could be taken, without keeping them.
bool ZRTaskWaitSemaphore(ZRSemaphore* semaphore, int32_t units);
// Whether the units could be taken; true for what is no semaphore.
bool ZRTaskSemaphoreAvailable(const ZRSemaphore* semaphore, int32_t units);
