#include "tasks/job_queue.h"

#include "tasks/kernel_thread.h"
#include "tasks/task_info.h"
#include "tasks/threads.h"
#include "tasks/waits.h"

namespace qv {

// A yield of the mainline would be the one that starts the tasks, so it is left out.
void GiveWay() {
  if (ZRIsKernelThread() && ZRTaskCurrent() != 0) {
    ZRTaskYield();
  } else {
    ZRThreadYield();
  }
}

void JobQueue::Append(ZRWorkerJob* head, ZRWorkerJob* tail, uint32_t count) {
  tail->next = nullptr;
  (tail_ != nullptr ? tail_->next : head_) = head;
  tail_ = tail;
  count_.fetch_add(count, std::memory_order_relaxed);
  Signal();
}

void JobQueue::Push(ZRWorkerJob* job) {
  ScopedLock hold(*this);
  Append(job, job, 1);
}

bool JobQueue::TryPushChain(ZRWorkerJob* head, ZRWorkerJob* tail, uint32_t count) {
  if (!TryLock()) return false;
  Append(head, tail, count);
  Unlock();
  return true;
}

ZRWorkerJob* JobQueue::Pop() {
  ScopedLock hold(*this);
  while (head_ == nullptr && !stopped_) Wait();
  ZRWorkerJob* job = head_;
  if (job != nullptr) {
    head_ = job->next;
    if (head_ == nullptr) tail_ = nullptr;
    job->next = nullptr;
    count_.fetch_sub(1, std::memory_order_relaxed);
  }
  // A signal wakes only one, whatever it was for: who wakes passes it on.
  if (head_ != nullptr || stopped_) Signal();
  return job;
}

ZRWorkerJob* JobQueue::TryTakeAll() {
  if (count_.load(std::memory_order_relaxed) == 0 || !TryLock()) return nullptr;
  ZRWorkerJob* chain = head_;
  head_ = tail_ = nullptr;
  count_.store(0, std::memory_order_relaxed);
  Unlock();
  return chain;
}

void JobQueue::Stop() {
  stopped_ = true;
  while (!TryLock()) GiveWay();
  Signal();
  Unlock();
}

}  // namespace qv
