// The inside of a worker task pool, shared by its three sources: task_pools.cc (its life),
// task_pool_runs.cc (runs of jobs), task_pool_submit.cc (submitters and their waits).
//
// An entry is free -> queued (urgent, normal, background) [Queue] -> started, once no run of it may
// begin unasked [StartRun, Close] -> free [EndRun].
//
// Threads: the kernel thread; nobody else runs between two lines that do not wait. What calls a
// function of the host's, or waits, may find everything changed afterwards, even the pool gone. So
// each caller that waits stands on a chain of the pool as a Guest, and each run as a PoolRun, both
// on their tasks' stacks; who is killed is taken off by TaskEnds.
#pragma once

#include <cstdint>

#include "tasks/semaphores.h"
#include "tasks/task.h"
#include "tasks/task_pools.h"
#include "tasks/waits.h"

namespace qv {

// Doubly linked through the nodes, oldest first.
template <typename Node>
struct Chain {
  Node* head = nullptr;
  Node* tail = nullptr;

  void Append(Node* node) {
    node->previous = tail;
    node->next = nullptr;
    (tail != nullptr ? tail->next : head) = node;
    tail = node;
  }
  void Remove(Node* node) {
    (node->previous != nullptr ? node->previous->next : head) = node->next;
    (node->next != nullptr ? node->next->previous : tail) = node->previous;
    node->next = node->previous = nullptr;
  }
};

struct JobList : Chain<ZRTaskPoolJob>, TaskPoolListCounts {
  // Takes the job off the list that it is on.
  void Take(ZRTaskPoolJob* job);
};

// A caller that may wait, for as long as its call lasts.
struct Guest {
  explicit Guest(ZRTaskPool* pool_in);
  ~Guest();
  Guest(const Guest&) = delete;
  Guest& operator=(const Guest&) = delete;

  bool Gone() const { return pool == nullptr; }
  void MoveTo(Chain<Guest>* to);
  // Counted among the waiting submitters, or not.
  void SetSubmitterWaits(bool waits);
  void Leave();

  Guest* next = nullptr;
  Guest* previous = nullptr;
  Chain<Guest>* chain = nullptr;
  ZRTaskPool* pool;  // null once it is gone
  TaskId task;
  bool submitter_waits = false;
  uint8_t done = 0;  // its synchronous job is over
};

// A run in progress.
struct PoolRun {
  PoolRun* next = nullptr;
  PoolRun* previous = nullptr;
  ZRTaskPoolJob* job;
  TaskId task;  // that makes it, 0 when none does
};

// What a pool keeps as properties of tasks.
enum class PoolProperty : uint32_t {
  kOutstanding,  // runs of the task's jobs
  kMarks,        // bits of PoolMark
  kRun,          // the task's innermost PoolRun
};
enum PoolMark : uintptr_t {
  kWaitsForRuns = 1,  // to be signalled when one of its jobs is over
  kHasSubmitted = 2,  // its properties are there: from now on setting them cannot fail
};
// Of worker tasks: their pool.
constexpr uint32_t kPoolOfWorker = kTaskPoolProperty;

}  // namespace qv

struct ZRTaskPoolJob {
  ZRTaskPoolJob* next = nullptr;
  ZRTaskPoolJob* previous = nullptr;
  qv::JobList* list = nullptr;
  ZRTaskPoolFunction run = nullptr;
  ZRTaskPoolFunction complete = nullptr;
  uintptr_t arg = 0;
  uint32_t remaining = 0;   // further runs, not begun
  uint32_t parallel = 0;    // runs that may begin at once
  uint32_t running = 0;     // in progress
  uint32_t splits = 0;      // outstanding runs of the submitter
  uint8_t* done = nullptr;  // set to 1 when the job is over
  TaskId waiter = 0;        // signalled when it is over
  TaskId submitter = 0;     // 0 for none, or when it has ended
  uint32_t flags = 0;
  bool cancel = false;      // runs do nothing
  bool completing = false;  // complete(arg) has been called
  uint64_t queued_at = 0;   // milliseconds
};

struct ZRTaskPool {
  char name[kTaskNameSize] = {};
  uint32_t slot = 0;  // which of the property keys are its own
  uint32_t workers = 0;
  uint32_t active = 0;
  uint32_t running = 0;
  uint32_t per_task_limit = 0;
  uint32_t capacity = 0;
  bool stop = false;  // it is being disposed of
  ZRTaskPoolJob* jobs = nullptr;
  uint64_t completed = 0;
  uint64_t latest_wait = 0;  // milliseconds
  uint64_t longest_wait = 0;
  ZRSemaphore* semaphore = nullptr;  // runs that may begin at once
  qv::JobList started, urgent, normal, background, free;
  uint32_t waiting_submitters = 0;
  uint32_t most_waiting = 0;
  qv::Chain<qv::Guest> entry_waiters;  // the first is the drain waiter, the others wait behind it
  qv::Chain<qv::Guest> guests;         // the other ones
  qv::Chain<qv::PoolRun> runs;
  TaskId drain_waiter = 0;  // signalled when a run ends
  ZRTaskPool* next = nullptr;
};

namespace qv {

uint32_t PropertyKey(const ZRTaskPool* pool, PoolProperty which);
uintptr_t GetPoolProperty(const ZRTaskPool* pool, TaskId task, PoolProperty which);
// True also without a task to store it with.
bool SetPoolProperty(const ZRTaskPool* pool, TaskId task, PoolProperty which, uintptr_t value);

inline void SignalTask(TaskId task) {
  if (task != 0) ZRTaskSignal(task, kTaskPoolEvent);
}
// Yields until the current task can keep which run it makes. False when it cannot, since no yield
// is possible; and when the pool is gone meanwhile.
bool MakeSureOfRunProperty(ZRTaskPool* pool);
// The current task is in the middle of a run of the pool.
bool IsInRun(const ZRTaskPool* pool);

// No further run of the job begins.
void Close(ZRTaskPool* pool, ZRTaskPoolJob* job);
// Ends a job of which no run is in progress.
void CompleteWithoutRun(ZRTaskPool* pool, ZRTaskPoolJob* job);
// The task that makes the run is being killed.
void AbandonRun(ZRTaskPool* pool, PoolRun* run);
// Releases the semaphore, whose count stays a count.
void OfferRuns(ZRTaskPool* pool, uint32_t runs);

// The first in line for an entry looks again.
void SignalFirstInLine(ZRTaskPool* pool);

}  // namespace qv
