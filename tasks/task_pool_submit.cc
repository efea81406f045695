// Submitters: finding room, queueing, and waiting for it to be done.
#include <algorithm>
#include <initializer_list>

#include "base/clock.h"
#include "tasks/kernel_state.h"
#include "tasks/task_info.h"
#include "tasks/task_pool_state.h"

namespace qv {
namespace {

struct Submission {
  ZRTaskPool* pool;
  ZRTaskPoolFunction run;
  ZRTaskPoolFunction complete;
  ZRTaskPoolCanWait can_wait;
  uintptr_t arg;
  uint32_t count;
  uint32_t flags;

  bool Has(TaskPoolFlag flag) const { return (flags & flag) != 0; }
};

uint32_t OwnRuns(const ZRTaskPool* pool) { return ZRTaskPoolOutstanding(pool, 0); }

bool RunsInline(const Submission& job) {
  if (job.pool == nullptr || (job.Has(kPoolWait) && !CanWait(TheKernel()))) return true;
  if (job.pool->stop || job.Has(kPoolAlwaysQueue)) return false;
  if (job.pool->capacity == 0 || job.pool->active == 0 || IsInRun(job.pool)) return true;
  return job.can_wait == nullptr && job.count < 2 && job.Has(kPoolWait);
}

// --- waits: each returns false where nothing is to be waited for any more ---

// Asks the caller, if it wants to be asked, then lets others run.
bool AskAndYield(const Guest& guest, ZRTaskPoolCanWait can_wait, uintptr_t arg) {
  if (can_wait != nullptr && !can_wait(arg)) return false;
  if (!CanWait(TheKernel())) return false;
  ZRTaskYield();
  return !guest.Gone();
}

bool WaitForSignal(const Guest& guest) {
  if (!CanWait(TheKernel())) return false;
  if (guest.pool->workers > 0) {
    ZRTaskWaitEvents(kTaskPoolEvent);
  } else if (!ZRTaskPoolRunOne(guest.pool)) {
    ZRTaskYield();
  }
  return !guest.Gone();
}

// Until one of the caller's jobs is over.
bool WaitForRuns(const Guest& guest) {
  const uintptr_t marks = GetPoolProperty(guest.pool, 0, PoolProperty::kMarks);
  SetPoolProperty(guest.pool, 0, PoolProperty::kMarks, marks | kWaitsForRuns);
  if (!WaitForSignal(guest)) return false;
  SetPoolProperty(guest.pool, 0, PoolProperty::kMarks, marks);
  return true;
}

bool WaitForEntry(Guest& guest) {
  ZRTaskPool* pool = guest.pool;
  guest.MoveTo(&pool->entry_waiters);
  while (!pool->stop && pool->free.head == nullptr) {
    if (pool->entry_waiters.head == &guest) pool->drain_waiter = guest.task;
    if (!WaitForSignal(guest)) break;
  }
  if (guest.Gone()) return false;
  guest.MoveTo(&pool->guests);
  return CanWait(TheKernel());
}

bool WaitForRoom(const Submission& job, Guest& guest) {
  guest.SetSubmitterWaits(true);
  bool go_on;
  if (job.can_wait != nullptr) {
    go_on = AskAndYield(guest, job.can_wait, job.arg);
  } else if (job.pool->free.head == nullptr) {
    go_on = WaitForEntry(guest);
  } else {
    go_on = WaitForRuns(guest);
  }
  guest.SetSubmitterWaits(false);
  return go_on;
}

// --- room ---

// How many runs may begin at once.
uint32_t ParallelRuns(const Submission& job) {
  const uint32_t outstanding = OwnRuns(job.pool), limit = job.pool->per_task_limit;
  if (limit == 0) return job.count;
  return std::min(job.count, limit > outstanding ? limit - outstanding : 1);
}

// The sum of outstanding runs must stay one, too.
bool HasRoom(const Submission& job) {
  const ZRTaskPool* pool = job.pool;
  const uint32_t outstanding = OwnRuns(pool);
  if (pool->free.head == nullptr) return false;
  if (!job.Has(kPoolUncounted) && ParallelRuns(job) > UINT32_MAX - outstanding) return false;
  return job.Has(kPoolUrgent) || pool->per_task_limit == 0 || outstanding <= pool->per_task_limit;
}

void CancelQueued(ZRTaskPool* pool) {
  for (const JobList* list : {&pool->urgent, &pool->normal, &pool->background}) {
    for (ZRTaskPoolJob* job = list->head; job != nullptr; job = job->next) {
      if ((job->flags & kPoolMayCancel) != 0) job->cancel = true;
    }
  }
}

// Afterwards no property of the caller's can fail to be set.
bool StoreProperties(const ZRTaskPool* pool) {
  const uintptr_t marks = GetPoolProperty(pool, 0, PoolProperty::kMarks);
  if ((marks & kHasSubmitted) != 0) return true;
  const uintptr_t run = GetPoolProperty(pool, 0, PoolProperty::kRun);
  return SetPoolProperty(pool, 0, PoolProperty::kRun, run) &&
         SetPoolProperty(pool, 0, PoolProperty::kOutstanding, OwnRuns(pool)) &&
         SetPoolProperty(pool, 0, PoolProperty::kMarks, marks | kHasSubmitted);
}

// False when the job is refused.
bool FindRoom(const Submission& job, Guest& guest) {
  bool may_cancel = !job.Has(kPoolMayCancel);
  while (!job.pool->stop) {
    const bool has_room = HasRoom(job);
    if (has_room && StoreProperties(job.pool)) return true;
    if (!job.Has(kPoolMayWait) || job.pool->capacity == 0 || !CanWait(TheKernel())) return false;
    if (has_room) {  // but no memory
      if (!AskAndYield(guest, job.can_wait, job.arg)) return false;
      continue;
    }
    if (may_cancel) CancelQueued(job.pool);
    may_cancel = false;
    if (!WaitForRoom(job, guest)) return false;
  }
  return false;
}

// --- queueing ---

JobList& ListFor(const Submission& job) {
  if (job.Has(kPoolBackground)) return job.pool->background;
  return job.Has(kPoolUrgent) ? job.pool->urgent : job.pool->normal;
}

// Takes the first free entry.
ZRTaskPoolJob* Queue(const Submission& job, Guest* guest) {
  ZRTaskPool* pool = job.pool;
  ZRTaskPoolJob* entry = pool->free.head;
  ListFor(job).Take(entry);
  entry->run = job.run;
  entry->complete = job.complete;
  entry->arg = job.arg;
  entry->parallel = entry->splits = ParallelRuns(job);
  entry->remaining = job.count - entry->parallel;
  entry->done = job.Has(kPoolWait) ? &guest->done : nullptr;
  entry->waiter = 0;
  entry->submitter = guest->task;
  entry->flags = job.flags;
  entry->cancel = entry->completing = false;
  entry->queued_at = ZRMicroseconds(true) / kMicrosecondsPerMillisecond;
  if (!job.Has(kPoolUncounted)) {
    SetPoolProperty(pool, 0, PoolProperty::kOutstanding, OwnRuns(pool) + entry->splits);
  }
  OfferRuns(pool, entry->parallel);
  return entry;
}

// --- synchronous jobs ---

void GiveUp(ZRTaskPool* pool, ZRTaskPoolJob* job) {
  job->done = nullptr;
  job->waiter = 0;
  job->cancel = true;
  if (job->running == 0) {
    CompleteWithoutRun(pool, job);
  } else {
    Close(pool, job);
  }
}

// Until the flag is set the entry is the submission's own.
void WaitUntilDone(const Submission& job, const Guest& guest, ZRTaskPoolJob* entry) {
  if (guest.done == 0 && job.can_wait == nullptr) entry->waiter = guest.task;
  while (guest.done == 0) {
    const bool go_on =
        job.can_wait != nullptr ? AskAndYield(guest, job.can_wait, job.arg) : WaitForSignal(guest);
    if (!go_on && guest.done == 0) return GiveUp(job.pool, entry);
  }
}

void Call(ZRTaskPoolFunction function, uintptr_t arg) {
  if (function != nullptr) function(arg);
}

}  // namespace

// --- guests ---

Guest::Guest(ZRTaskPool* pool_in) : pool(pool_in), task(ZRTaskCurrent()) { MoveTo(&pool->guests); }

Guest::~Guest() { Leave(); }

void Guest::MoveTo(Chain<Guest>* to) {
  ZRTaskPool* const here = pool;
  const bool was_first = chain == &here->entry_waiters && here->entry_waiters.head == this;
  if (chain != nullptr) chain->Remove(this);
  chain = to;
  if (to != nullptr) to->Append(this);
  if (was_first) SignalFirstInLine(here);
}

void Guest::SetSubmitterWaits(bool waits) {
  if (pool == nullptr || waits == submitter_waits) return;
  submitter_waits = waits;
  pool->waiting_submitters += waits ? 1 : -1;
  pool->most_waiting = std::max(pool->most_waiting, pool->waiting_submitters);
}

void Guest::Leave() {
  if (pool == nullptr) return;
  SetSubmitterWaits(false);
  MoveTo(nullptr);
  pool = nullptr;
}

void SignalFirstInLine(ZRTaskPool* pool) {
  pool->drain_waiter = 0;
  if (pool->entry_waiters.head != nullptr) SignalTask(pool->entry_waiters.head->task);
}

}  // namespace qv

bool ZRTaskPoolSubmit(ZRTaskPool* pool, ZRTaskPoolFunction run, ZRTaskPoolFunction complete,
                      ZRTaskPoolCanWait can_wait, uintptr_t arg, uint32_t count, uint32_t flags) {
  const qv::Submission job{pool, run, complete, can_wait, arg, count, flags};
  const bool runs_inline = count > 0 && qv::RunsInline(job);
  if (count == 0 || runs_inline) {
    if (runs_inline) qv::Call(run, arg);
    qv::Call(complete, arg);
    return false;
  }
  qv::Guest guest(pool);
  if (!qv::FindRoom(job, guest)) {
    qv::Call(complete, arg);
    return false;
  }
  ZRTaskPoolJob* entry = qv::Queue(job, &guest);
  if (job.Has(qv::kPoolRunFirst)) ZRTaskPoolRunOne(pool, false, entry);
  if (job.Has(qv::kPoolWait)) qv::WaitUntilDone(job, guest, entry);
  return true;
}

bool ZRTaskPoolWaitOwn(ZRTaskPool* pool, ZRTaskPoolCanWait can_wait, uintptr_t arg) {
  if (pool == nullptr) return true;
  qv::Guest guest(pool);
  while (!guest.Gone() && qv::OwnRuns(pool) > 0) {
    if (qv::IsInRun(pool)) return false;
    const bool go_on =
        can_wait != nullptr ? qv::AskAndYield(guest, can_wait, arg) : qv::WaitForRuns(guest);
    if (!go_on && !guest.Gone()) return false;
  }
  return true;
}

uint32_t ZRTaskPoolOutstanding(const ZRTaskPool* pool, TaskId task) {
  if (pool == nullptr) return 0;
  if (task == 0) task = ZRTaskCurrent();
  return static_cast<uint32_t>(qv::GetPoolProperty(pool, task, qv::PoolProperty::kOutstanding));
}
