// Inner: a queue of jobs between the kernel thread and the workers.
//
//   incoming.TryPushChain(head, tail, 3);            // kernel thread: false when the lock is taken
//   while (ZRWorkerJob* job = incoming.Pop()) ...    // worker: sleeps until there is one
//
// Jobs come out in the order in which they went in. While a job is in the queue its `next` belongs
// to the queue. Threads: any; what the kernel thread calls begins with Try and never blocks, but
// for Stop, which lets other tasks run until it has the lock.
#pragma once

#include <atomic>
#include <cstdint>

#include "base/event_lock.h"
#include "tasks/lock_pool.h"
#include "tasks/workers.h"

namespace qv {

class JobQueue : public EventLock, public FromHooks {
 public:
  JobQueue() = default;
  JobQueue(const JobQueue&) = delete;
  JobQueue& operator=(const JobQueue&) = delete;

  void Push(ZRWorkerJob* job);
  // The whole chain from head to tail, linked by `next`, or nothing when the lock is taken.
  bool TryPushChain(ZRWorkerJob* head, ZRWorkerJob* tail, uint32_t count);
  // The first job; sleeps while there is none. Null once the queue is stopped and empty.
  ZRWorkerJob* Pop();
  // All jobs as a chain; null when there are none or the lock is taken.
  ZRWorkerJob* TryTakeAll();
  // Nobody sleeps here any more.
  void Stop();

 private:
  void Append(ZRWorkerJob* head, ZRWorkerJob* tail, uint32_t count);

  // Both change under the lock, and may be looked at without it.
  std::atomic<uint32_t> count_{0};
  std::atomic<bool> stopped_{false};
  // Under the lock.
  ZRWorkerJob* head_ = nullptr;
  ZRWorkerJob* tail_ = nullptr;
};

// Lets other tasks run, or other threads where the caller is no task.
void GiveWay();

}  // namespace qv
