// Choosing jobs, running them and what follows their last run.
#include <algorithm>

#include "base/clock.h"
#include "tasks/kernel_state.h"
#include "tasks/task_info.h"
#include "tasks/task_pool_state.h"

namespace qv {
namespace {

bool MayRunFurther(const ZRTaskPool* pool, const ZRTaskPoolJob* job) {
  if (job->remaining == 0) return false;
  return pool->per_task_limit == 0 ||
         GetPoolProperty(pool, job->submitter, PoolProperty::kOutstanding) < pool->per_task_limit;
}

// What a worker is to run next; null for nothing.
ZRTaskPoolJob* ChooseJob(const ZRTaskPool* pool) {
  if (pool->urgent.head != nullptr) return pool->urgent.head;
  if (pool->normal.head != nullptr) return pool->normal.head;
  for (ZRTaskPoolJob* job = pool->started.head; job != nullptr; job = job->next) {
    if (MayRunFurther(pool, job)) return job;
  }
  return pool->background.head;
}

void StartRun(ZRTaskPool* pool, PoolRun* run) {
  ZRTaskPoolJob* job = run->job;
  pool->runs.Append(run);
  ++pool->running;
  ++job->running;
  if (job->parallel == 0) {
    --job->remaining;
  } else if (--job->parallel == 0) {
    pool->started.Take(job);
  }
}

// The submitter's outstanding runs, and who waits for the job.
void Settle(ZRTaskPool* pool, const ZRTaskPoolJob* job) {
  const TaskId submitter = job->submitter;
  if (submitter != 0 && (job->flags & kPoolUncounted) == 0) {
    const auto outstanding = GetPoolProperty(pool, submitter, PoolProperty::kOutstanding);
    SetPoolProperty(pool, submitter, PoolProperty::kOutstanding,
                    outstanding - std::min<uintptr_t>(outstanding, job->splits));
    const uintptr_t marks = GetPoolProperty(pool, submitter, PoolProperty::kMarks);
    if ((marks & kWaitsForRuns) != 0) {
      SetPoolProperty(pool, submitter, PoolProperty::kMarks, marks & ~uintptr_t{kWaitsForRuns});
      SignalTask(submitter);
    }
  }
  SignalTask(job->waiter);
}

// After its last run, which still counts as in progress: `complete` may wait.
void Complete(ZRTaskPool* pool, ZRTaskPoolJob* job) {
  ++pool->completed;
  if (job->done != nullptr) *job->done = 1;
  job->done = nullptr;
  pool->latest_wait = ZRMicroseconds(true) / kMicrosecondsPerMillisecond - job->queued_at;
  pool->longest_wait = std::max(pool->longest_wait, pool->latest_wait);
  job->completing = true;
  if (job->complete != nullptr) job->complete(job->arg);
  Settle(pool, job);
}

void SignalDrainWaiter(ZRTaskPool* pool) {
  const TaskId waiter = pool->drain_waiter;
  pool->drain_waiter = 0;
  SignalTask(waiter);
}

// The run is no more; its job is free after its last one.
void EndRun(ZRTaskPool* pool, PoolRun* run) {
  pool->runs.Remove(run);
  --pool->running;
  if (--run->job->running == 0) pool->free.Take(run->job);
  SignalDrainWaiter(pool);
}

void FinishRun(ZRTaskPool* pool, PoolRun* run) {
  ZRTaskPoolJob* job = run->job;
  Close(pool, job);
  if (job->running == 1) Complete(pool, job);
}

// Somebody else is to complete it.
void QueueAsCancelled(ZRTaskPool* pool, ZRTaskPoolJob* job) {
  job->cancel = true;
  job->parallel = 1;
  pool->urgent.Take(job);
  OfferRuns(pool, 1);
}

// Makes a run in the current task; it may be inside of another one.
void MakeRun(ZRTaskPool* pool, ZRTaskPoolJob* job) {
  const uintptr_t outer = GetPoolProperty(pool, 0, PoolProperty::kRun);
  PoolRun run{.job = job, .task = ZRTaskCurrent()};
  SetPoolProperty(pool, 0, PoolProperty::kRun, reinterpret_cast<uintptr_t>(&run));
  StartRun(pool, &run);
  if (!job->cancel && job->run != nullptr) job->run(job->arg);
  FinishRun(pool, &run);
  SetPoolProperty(pool, 0, PoolProperty::kRun, outer);
  EndRun(pool, &run);
}

}  // namespace

bool IsInRun(const ZRTaskPool* pool) {
  return TaskOf(0) != nullptr && GetPoolProperty(pool, 0, PoolProperty::kRun) != 0;
}

bool MakeSureOfRunProperty(ZRTaskPool* pool) {
  Guest guest(pool);
  while (
      !SetPoolProperty(pool, 0, PoolProperty::kRun, GetPoolProperty(pool, 0, PoolProperty::kRun))) {
    if (!CanWait(TheKernel())) return false;
    ZRTaskYield();
    if (guest.Gone()) return false;
  }
  return true;
}

void JobList::Take(ZRTaskPoolJob* job) {
  if (JobList* from = job->list; from != nullptr) {
    from->Remove(job);
    from->least = std::min(from->least, --from->count);
  }
  job->list = this;
  Append(job);
  most = std::max(most, ++count);
}

void Close(ZRTaskPool* pool, ZRTaskPoolJob* job) {
  if (job->parallel > 0) pool->started.Take(job);
  job->parallel = job->remaining = 0;
}

void OfferRuns(ZRTaskPool* pool, uint32_t runs) {
  const int32_t room = INT32_MAX - std::max(pool->semaphore->count, 0);
  const auto units = static_cast<int32_t>(std::min(runs, static_cast<uint32_t>(room)));
  ZRTaskRelSemaphore(pool->semaphore, units);
}

void CompleteWithoutRun(ZRTaskPool* pool, ZRTaskPoolJob* job) {
  job->cancel = true;
  MakeRun(pool, job);
}

void AbandonRun(ZRTaskPool* pool, PoolRun* run) {
  ZRTaskPoolJob* job = run->job;
  Close(pool, job);
  if (job->running > 1 || job->completing) {
    if (job->completing) Settle(pool, job);
    EndRun(pool, run);
    return;
  }
  pool->runs.Remove(run);
  --pool->running;
  --job->running;
  QueueAsCancelled(pool, job);
  SignalDrainWaiter(pool);
}

}  // namespace qv

bool ZRTaskPoolRunOne(ZRTaskPool* pool, bool only_cancelled, ZRTaskPoolJob* job) {
  if (pool == nullptr || !qv::MakeSureOfRunProperty(pool)) return false;
  if (job == nullptr) job = qv::ChooseJob(pool);
  if (job == nullptr || (only_cancelled && !job->cancel)) return false;
  if (job->parallel == 0 && job->remaining == 0) return false;
  qv::MakeRun(pool, job);
  return true;
}
