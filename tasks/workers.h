// Workers: threads that do blocking work for tasks, while the kernel thread goes on.
//
//   struct ReadJob : ZRWorkerJob {          // the caller's own fields follow the record
//     int file = -1;
//     char bytes[512];
//   };
//   uint64_t Read(ZRWorkerJob* job) {       // on a worker thread: no calls of the kernel
//     auto* read_job = static_cast<ReadJob*>(job);
//     return ReadSome(read_job->file, read_job->bytes);
//   }
//
//   ReadJob job;                            // on the stack of the task, which waits
//   ZRWorkerJobSetUp(&job, 0, 0);
//   job.file = file;
//   uint64_t count = ZRWorkerRun(&job, Read, true, true);    // other tasks run meanwhile
//
// There are two pools of threads: "Disk IO", and "Dedicated IO" for tasks whose jobs take long
// (ZRWorkerDedicate), so that these do not stand in the way of files. Work is done on the calling
// thread instead, with the same result, wherever a task cannot wait: without a current task, in a
// critical region, in EndTask, off the kernel thread, and while the workers do not run.
//
// Threads: the kernel thread, but for ZRWorkerRun, which any thread may call. The function of a job
// touches the job and what was given to it; it must not call the kernel and must not throw.
// Ownership: a record is its caller's. From ZRWorkerRun until it is collected it must stay where it
// is, also when the task does not wait; a task that is killed while it waits goes only when its job
// is done. The end of a kernel waits for the jobs that are under way.
// Errors: where a thread, a pool or memory is not to be had, ZRWorkersStart answers 0, and jobs are
// done on the caller. README.md shows a job's road.
#pragma once

#include <concepts>
#include <cstdint>

#include "base/hooks.h"

struct ZRWorkerJob;
using ZRWorkerFunction = uint64_t (*)(ZRWorkerJob* job);

namespace qv {

class WorkerPool;

// Flags of a record. Bit 0 is the caller's.
constexpr uint32_t kJobSubmitted = 2;  // handed to a pool, not collected yet
constexpr uint32_t kJobFinished = 4;   // done, by whatever thread

}  // namespace qv

// Words that may carry an address are as wide as one.
struct ZRWorkerJob {
  uint64_t result = 0;                  // the function's; 4125 (ZRErrParam) without a function
  int32_t tag = -1;                     // the caller's
  uint32_t flags = 0;                   // kJob...
  ZRWorkerFunction function = nullptr;  // the work
  double seconds = 0;                   // that the function took on the worker thread
  uintptr_t arg1 = 0, arg2 = 0;         // the caller's
  TaskId task = 0;                      // that submitted it
  ZRWorkerJob* next = nullptr;          // on whatever list it stands
  uint64_t queued_at = 0;               // microseconds, when it was submitted
  qv::WorkerPool* pool = nullptr;       // that runs it; null: none did
};

// --- the pools ---

// Starts the pools that the settings ask for, once for the process. 1 when they run, or ran before;
// 0, with nothing left, when a thread or memory is missing: a later call tries again.
int32_t ZRWorkersStart();
// Finishes all jobs that were submitted and readies their tasks, then ends the threads; it may let
// other tasks run meanwhile. From here on jobs run on the caller, also after another start.
void ZRWorkersStop();

// Before the start: what applies where the settings say nothing. Threads above 65534 mean 64, and
// for the dedicated ones the default of the others; a priority is taken in place of the setting.
// 1, or 0 and nothing changed once the workers run.
int32_t ZRWorkersSetDefaultMax(uint32_t threads);
int32_t ZRWorkersSetDefaultMaxDedicated(uint32_t threads);
int32_t ZRWorkersSetPriority(uint32_t level);
int32_t ZRWorkersSetDedicatedPriority(uint32_t level);

// --- jobs ---

// Zeroes the record, with the fields of a type derived from it, and fills in what it begins with.
template <std::derived_from<ZRWorkerJob> Record>
void ZRWorkerJobSetUp(Record* job, uintptr_t arg1, uintptr_t arg2) {
  *job = Record{};
  job->arg1 = arg1;
  job->arg2 = arg2;
}

// Has the function done: by a worker, or at once on the caller without use_worker or where a task
// cannot wait (above). With `wait` it returns the result when the job is done; without it returns 0
// at once, and kJobFinished of the record's flags, which the kernel thread sets when it collects
// the job, tells the end. A record is not submitted again before.
uint64_t ZRWorkerRun(ZRWorkerJob* job, ZRWorkerFunction function, bool use_worker, bool wait);

// Jobs of the current task go to "Dedicated IO" from now on, until the task ends. 1, or 0 when
// there is no current task or as many tasks as "MaxDedicatedWorkers" are dedicated already.
int32_t ZRWorkerDedicate();
bool ZRWorkerIsDedicated();

// A step of PickNextTask: hands pending jobs over, collects finished ones. Never blocks.
void ZRWorkersCollect();

namespace qv {

// Times are in milliseconds, of jobs that have been collected.
struct WorkerStatistics {
  uint32_t threads = 0;
  uint32_t in_flight = 0;                         // jobs submitted and not collected
  uint32_t most_in_flight = 0;                    // ever
  double job_time = 0, longest_job_time = 0;      // on the worker thread
  double round_trip = 0, longest_round_trip = 0;  // from submission to collection
};

// Of the "Disk IO" pool, zeros without it. With `reset` the figures of all pools start anew.
WorkerStatistics GetWorkerStatistics(bool reset);

// Stops the workers, and forgets that they ever ran and what was set.
void ResetWorkersForTest();

}  // namespace qv
