// Pools of worker tasks: jobs that many tasks hand in, done by a few.
//
//   ZRTaskPool* pool = ZRTaskPoolNew("Index", 100, 4, 2, 64000);
//   ZRTaskPoolSubmit(pool, IndexFolder, FreeFolder, nullptr, folder, 1, 0);   // goes on at once
//   ZRTaskPoolWaitOwn(pool, nullptr, 0);      // until all that this task handed in is done
//   ZRTaskPoolDispose(pool);
//
// A job is a function, how many runs of it may be made beside each other, and a function that is
// called when it is over. Runs share the argument and divide the work among themselves: once the
// first of them returns, the work is taken to be at its end, and no further run begins. `complete`
// is called exactly once for every submission, after its last run, or at once when the job is
// refused; what a job owns is freed there. It is called whether or not anything ran.
//
// Jobs wait on one of three lists. A worker takes the first urgent job, else the first normal one,
// else a further run of a job in progress (of a submitter that is below its limit), else the first
// background job. It yields after each run.
//
// Limits. A pool has a fixed number of entries, one for each job until its last run. Where
// per_task_limit is not 0, a submitter whose outstanding runs exceed it has to wait (or is refused)
// as if there were no entry, and a job begins with no more runs than the limit leaves, but with
// one. Only those count as outstanding, until the whole job is over; further runs, which are made
// when workers have nothing better to do, do not. What a 32-bit count of outstanding runs cannot
// hold finds no room either.
//
// Where a job is not queued but run at once by the caller, once and whatever its count: in a pool
// without entries or without a worker that has begun (workers begin when they first get the
// processor; a null pool has none), inside a run of the same pool, and when a submitter without
// can_wait would only wait for a single run. kPoolAlwaysQueue queues it all the same: a run that
// waits for such a job needs another worker to make it. A synchronous job is always run by the
// caller where it cannot wait: in a critical region, or without a task.
//
// Waiting. Submitters that wait for an entry stand in a line, which a newcomer may pass when an
// entry is free. Where all workers of a pool have been killed or none could be made, those who wait
// make the runs themselves. Nothing here waits where waiting is not possible: it is refused then.
//
// With can_wait the caller asks it (with arg), yields, and looks again, until it is false: the
// caller gives up. A synchronous job that is given up is over at once when none of its runs is in
// progress; else no further run begins and the last one calls `complete`.
//
// Tasks that are killed. A worker in the middle of a run: the run counts as returned. Was it the
// last one, the job goes to the urgent list as a cancelled one, and the next worker calls
// `complete`, unless that had begun already. The pool has a worker less. A submitter in the middle
// of its first run: likewise. A submitter that waits for room: neither function is called. Its jobs
// in the pool go on, but a synchronous one is cancelled: do not kill a task whose job uses that
// task's stack. A task that is killed while it disposes of a pool leaves what it had not freed yet.
//
// Threads: the kernel thread. Ownership: the pool belongs to its creator, outlives no use, and is
// to be disposed of also when its kernel has ended. Property keys from kTaskPoolProperty up are the
// pools' own. Event 0x10000 is theirs while a task waits here. Errors: nothing throws.
#pragma once

#include <cstdint>

#include "base/hooks.h"

struct ZRTaskPool;
struct ZRTaskPoolJob;

using ZRTaskPoolFunction = void (*)(uintptr_t arg);
using ZRTaskPoolCanWait = bool (*)(uintptr_t arg);

namespace qv {

enum TaskPoolFlag : uint32_t {
  kPoolUrgent = 0x01,      // the urgent list; takes an entry also over the submitter's limit
  kPoolBackground = 0x02,  // the background list, also with kPoolUrgent
  kPoolMayWait = 0x04,     // waits for an entry, or for the limit, rather than be refused
  kPoolWait = 0x08,        // synchronous: returns when the job is over
  kPoolMayCancel = 0x10,   // cancelled while it is queued, when a job without this has to wait
  kPoolRunFirst = 0x20,    // the submitter makes the first run itself
  kPoolUncounted = 0x40,   // its runs are not outstanding ones of the submitter
  kPoolAlwaysQueue = 0x80,
};

constexpr uint32_t kTaskPoolProperty = 0x54500000;
constexpr uint32_t kTaskPoolEvent = 0x10000;

// How many jobs a list has, and had since the statistics were reset.
struct TaskPoolListCounts {
  uint32_t least = 0, count = 0, most = 0;
};

struct TaskPoolStatistics {
  uint32_t workers = 0;  // alive
  uint32_t active = 0;   // of them, that have begun
  uint32_t running = 0;  // runs in progress
  uint32_t entries = 0;
  uint32_t waiting_submitters = 0;
  // Since the reset.
  uint32_t most_waiting = 0;
  uint64_t completed = 0;                      // jobs, with those that were cancelled
  uint64_t latest_wait = 0, longest_wait = 0;  // milliseconds from a submission to its completion
  TaskPoolListCounts free, urgent, normal, background, started;
};

}  // namespace qv

// The name is cut to 31 characters. Workers are named "Worker Task (%s): %d"; when one cannot be
// created the pool has those before it. stack_size is in bytes. Null without memory, with nothing
// left allocated. Does not switch.
ZRTaskPool* ZRTaskPoolNew(const char* name, uint32_t entries, uint32_t workers,
                          uint32_t per_task_limit, uint32_t stack_size);

// Ends the pool: jobs that are queued complete as cancelled, runs in progress are waited for,
// waiting submitters are refused, the workers end. False, with nothing done, for null, for a pool
// that is being disposed of, inside a run of it, and where the caller cannot wait for runs that are
// in progress; where it cannot wait and there are none, the workers are killed.
bool ZRTaskPoolDispose(ZRTaskPool* pool);

// Hands in `count` runs of run(arg); either function may be null. True when the job was queued;
// false when it was run by the caller or refused, and then complete(arg) has been called. Refused:
// count 0; no room, without kPoolMayWait; given up while it waited for room; no memory to count the
// submitter's runs (tried again after a yield with kPoolMayWait); a pool that is being disposed of.
bool ZRTaskPoolSubmit(ZRTaskPool* pool, ZRTaskPoolFunction run, ZRTaskPoolFunction complete,
                      ZRTaskPoolCanWait can_wait, uintptr_t arg, uint32_t count, uint32_t flags);

// Makes one run in the caller, of the job that a worker would take, or of `job`, which must be in
// the pool. False when there was none, or, with only_cancelled, when it is not a cancelled one; and
// without memory where no yield can bring some.
bool ZRTaskPoolRunOne(ZRTaskPool* pool, bool only_cancelled = false, ZRTaskPoolJob* job = nullptr);

// Waits until the current task has no outstanding runs. False when can_wait gave up, and when there
// are some but the caller cannot wait, also because it is inside a run of the pool.
bool ZRTaskPoolWaitOwn(ZRTaskPool* pool, ZRTaskPoolCanWait can_wait, uintptr_t arg);

// 0 stands for the current task.
uint32_t ZRTaskPoolOutstanding(const ZRTaskPool* pool, TaskId task);

void ZRTaskPoolStatistics(const ZRTaskPool* pool, qv::TaskPoolStatistics* statistics);
// Also done for every pool by ZRTaskResetWorkerStatistics.
void ZRTaskPoolResetStatistics(ZRTaskPool* pool);

namespace qv {

// The lists hold what they say, each entry stands where its counts say, and sums are true. Walks
// everything; for tests.
bool TaskPoolIsConsistent(const ZRTaskPool* pool);

}  // namespace qv
