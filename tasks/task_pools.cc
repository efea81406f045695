// How pools begin and end, and what is known of them.
#include "tasks/task_pools.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <new>

#include "tasks/kernel_state.h"
#include "tasks/pool_link.h"
#include "tasks/task_info.h"
#include "tasks/task_pool_state.h"
#include "tasks/task_properties.h"
#include "text/formatter.h"

namespace qv {
namespace {

constexpr uint32_t kKeysPerPool = 4;
constexpr uint32_t kDrainPause = 1001;  // microseconds between two looks at a pool that ends

struct TaskPoolsState {
  ZRTaskPool* first = nullptr;  // every pool, also one that is being disposed of
};

TaskPoolsState& State() {
  static constinit TaskPoolsState state;
  return state;
}

// --- workers ---

ZRTaskPool* PoolOfWorker(TaskId task) {
  return reinterpret_cast<ZRTaskPool*>(ZRTaskGetProperty(task, kPoolOfWorker));
}

void RunWhileAny(ZRTaskPool* pool) {
  while (ZRTaskPoolRunOne(pool)) ZRTaskYield();
}

// Units of runs that others have made, or that were dropped: nothing is left that they stand for.
void DropSpareUnits(const ZRTaskPool* pool) {
  if (pool->semaphore->count > 0)
    ZRTaskGetSemaphore(pool->semaphore, pool->semaphore->count, false);
}

// TaskEnds takes it off the counts.
void WorkerBody(TCB* task) {
  ZRTaskPool* pool = PoolOfWorker(task->id);
  ++pool->active;
  RunWhileAny(pool);
  while (!pool->stop) {
    DropSpareUnits(pool);
    ZRTaskGetSemaphore(pool->semaphore, 1, true);
    RunWhileAny(pool);
  }
}

bool AddWorker(ZRTaskPool* pool, uint32_t stack_size) {
  const TaskId task = ZRTaskCreate(stack_size, WorkerBody, 0);
  if (task == 0) return false;
  if (!ZRTaskSetProperty(task, kPoolOfWorker, reinterpret_cast<uintptr_t>(pool))) {
    ZRTaskKill(task);
    return false;
  }
  char name[2 * kTaskNameSize];
  FormatTextN(name, sizeof name - 1, "Worker Task (%s): %d", pool->name, pool->workers);
  ZRTaskSetName(name, task, 0);
  ++pool->workers;
  return true;
}

// Those that are waiting look again.
void SignalAll(const ZRTaskPool* pool) {
  for (const Chain<Guest>* chain : {&pool->entry_waiters, &pool->guests}) {
    for (const Guest* guest = chain->head; guest != nullptr; guest = guest->next) {
      SignalTask(guest->task);
    }
  }
}

// --- the end of a task, whatever it was to a pool ---

// Its jobs are nobody's from now on. What a synchronous one was to write to is gone.
void ForgetSubmitter(const ZRTaskPool* pool, TaskId task) {
  if ((GetPoolProperty(pool, task, PoolProperty::kMarks) & kHasSubmitted) == 0) return;
  for (uint32_t i = 0; i < pool->capacity; ++i) {
    ZRTaskPoolJob& job = pool->jobs[i];
    if (job.submitter != task) continue;
    job.submitter = job.waiter = 0;
    if (job.done != nullptr) job.cancel = true;
    job.done = nullptr;
  }
}

template <typename Node, typename Action>
void ForEachOf(const Chain<Node>& chain, TaskId task, Action action) {
  for (Node *node = chain.head, *next; node != nullptr; node = next) {
    next = node->next;
    if (node->task == task) action(node);
  }
}

void LeavePool(ZRTaskPool* pool, TaskId task) {
  for (const Chain<Guest>* chain : {&pool->entry_waiters, &pool->guests}) {
    ForEachOf(*chain, task, [](Guest* guest) { guest->Leave(); });
  }
  ForgetSubmitter(pool, task);
  ForEachOf(pool->runs, task, [pool](PoolRun* run) { AbandonRun(pool, run); });
}

void TaskEnds(TCB* task) {
  for (ZRTaskPool* pool = State().first; pool != nullptr; pool = pool->next) {
    LeavePool(pool, task->id);
  }
  ZRTaskPool* pool = PoolOfWorker(task->id);
  if (pool == nullptr) return;
  if ((task->flags & kNotStarted) == 0) --pool->active;
  if (--pool->workers == 0) SignalAll(pool);
}

void ResetAllStatistics() {
  for (ZRTaskPool* pool = State().first; pool != nullptr; pool = pool->next) {
    ZRTaskPoolResetStatistics(pool);
  }
}

// --- the list of pools ---

// The lowest keys that no pool uses: those of pools that are gone serve again.
uint32_t UnusedSlot() {
  uint32_t slot = 0;
  for (const ZRTaskPool* pool = State().first; pool != nullptr;) {
    const bool is_used = pool->slot == slot;
    pool = is_used ? State().first : pool->next;
    if (is_used) ++slot;
  }
  return slot;
}

void Link(ZRTaskPool* pool) {
  pool->slot = UnusedSlot();
  pool->next = State().first;
  State().first = pool;
  ThePoolLink() = {TaskEnds, ResetAllStatistics};
}

void Forget(const ZRTaskPool* pool) {
  ZRTaskPool** link = &State().first;
  while (*link != pool) link = &(*link)->next;
  *link = pool->next;
  if (State().first == nullptr) ThePoolLink() = {};
}

// --- memory ---

void FreePool(ZRTaskPool* pool) {
  ZRTaskDisposeSemaphore(&pool->semaphore);
  GlobalHooks().release(pool->jobs);
  GlobalHooks().release(pool);
}

bool MakeEntries(ZRTaskPool* pool, uint32_t entries) {
  if (entries == 0) return true;
  const uint64_t bytes = uint64_t{entries} * sizeof(ZRTaskPoolJob);
  const auto size = static_cast<size_t>(bytes);
  if (size != bytes) return false;
  pool->jobs = static_cast<ZRTaskPoolJob*>(GlobalHooks().allocate(size));
  if (pool->jobs == nullptr) return false;
  for (uint32_t i = 0; i < entries; ++i) pool->free.Take(new (&pool->jobs[i]) ZRTaskPoolJob);
  pool->free.least = pool->capacity = entries;
  return true;
}

ZRTaskPool* MakePool(uint32_t entries) {
  void* memory = GlobalHooks().allocate(sizeof(ZRTaskPool));
  if (memory == nullptr) return nullptr;
  auto* pool = new (memory) ZRTaskPool;
  pool->semaphore = ZRTaskNewSemaphore(0);
  if (pool->semaphore != nullptr && MakeEntries(pool, entries)) return pool;
  FreePool(pool);
  return nullptr;
}

// --- disposal ---

void CancelAll(ZRTaskPool* pool) {
  for (uint32_t i = 0; i < pool->capacity; ++i) {
    ZRTaskPoolJob& job = pool->jobs[i];
    job.cancel = true;
    job.remaining = 0;
  }
}

// What is queued is over; what has runs in progress, after these.
void CompleteQueued(ZRTaskPool* pool) {
  for (const JobList* list : {&pool->urgent, &pool->normal, &pool->background}) {
    while (ZRTaskPoolJob* job = list->head) {
      if (job->running == 0) {
        CompleteWithoutRun(pool, job);
      } else {
        Close(pool, job);
      }
    }
  }
}

void KillWorkers(const ZRTaskPool* pool) {
  if (pool->workers == 0) return;  // there may be no kernel either
  HashIterator each;
  TaskId id = 0;
  for (each.Begin(*TheKernel().registry); each.Next(&id, sizeof id);) {
    if (PoolOfWorker(id) == pool) ZRTaskKill(id);
  }
}

void EndWorkers(ZRTaskPool* pool) {
  if (!CanWait(TheKernel())) return pool->workers > 0 ? KillWorkers(pool) : void();
  OfferRuns(pool, pool->workers);
  while (pool->workers > 0 || pool->running > 0) {
    ZRTaskYieldMicros(kDrainPause, true);
    CompleteQueued(pool);  // runs that were abandoned
  }
}

// Callers that have not run since they were signalled find it gone.
void DismissGuests(ZRTaskPool* pool) {
  for (Chain<Guest>* chain : {&pool->entry_waiters, &pool->guests}) {
    while (Guest* guest = chain->head) guest->Leave();
  }
}

}  // namespace

// --- properties ---

uint32_t PropertyKey(const ZRTaskPool* pool, PoolProperty which) {
  return kTaskPoolProperty + kKeysPerPool * (pool->slot + 1) + static_cast<uint32_t>(which);
}

uintptr_t GetPoolProperty(const ZRTaskPool* pool, TaskId task, PoolProperty which) {
  return ZRTaskGetProperty(task, PropertyKey(pool, which));
}

bool SetPoolProperty(const ZRTaskPool* pool, TaskId task, PoolProperty which, uintptr_t value) {
  if (task == 0 && TaskOf(0) == nullptr) return true;
  return ZRTaskSetProperty(task, PropertyKey(pool, which), value);
}

}  // namespace qv

ZRTaskPool* ZRTaskPoolNew(const char* name, uint32_t entries, uint32_t workers,
                          uint32_t per_task_limit, uint32_t stack_size) {
  ZRTaskPool* pool = qv::MakePool(entries);
  if (pool == nullptr) return nullptr;
  const size_t length = name != nullptr ? std::min(strlen(name), sizeof pool->name - 1) : 0;
  if (length > 0) std::memcpy(pool->name, name, length);
  pool->per_task_limit = per_task_limit;
  qv::Link(pool);
  while (pool->workers < workers && qv::AddWorker(pool, stack_size)) continue;
  return pool;
}

bool ZRTaskPoolDispose(ZRTaskPool* pool) {
  if (pool == nullptr || pool->stop || qv::IsInRun(pool)) return false;
  if (pool->running > 0 && !qv::CanWait(qv::TheKernel())) return false;
  pool->stop = true;
  qv::MakeSureOfRunProperty(pool);
  qv::CancelAll(pool);
  qv::SignalAll(pool);
  qv::CompleteQueued(pool);
  qv::EndWorkers(pool);
  qv::DismissGuests(pool);
  qv::Forget(pool);
  qv::FreePool(pool);
  return true;
}

void ZRTaskPoolStatistics(const ZRTaskPool* pool, qv::TaskPoolStatistics* statistics) {
  *statistics = {};
  if (pool == nullptr) return;
  *statistics = {.workers = pool->workers,
                 .active = pool->active,
                 .running = pool->running,
                 .entries = pool->capacity,
                 .waiting_submitters = pool->waiting_submitters,
                 .most_waiting = pool->most_waiting,
                 .completed = pool->completed,
                 .latest_wait = pool->latest_wait,
                 .longest_wait = pool->longest_wait,
                 .free = pool->free,
                 .urgent = pool->urgent,
                 .normal = pool->normal,
                 .background = pool->background,
                 .started = pool->started};
}

void ZRTaskPoolResetStatistics(ZRTaskPool* pool) {
  if (pool == nullptr) return;
  pool->completed = pool->latest_wait = pool->longest_wait = 0;
  pool->most_waiting = pool->waiting_submitters;
  for (qv::JobList* list :
       {&pool->free, &pool->urgent, &pool->normal, &pool->background, &pool->started}) {
    list->least = list->most = list->count;
  }
}
