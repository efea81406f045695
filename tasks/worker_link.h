// What lies between the kernel and the layer that runs blocking work on other threads. That layer
// installs itself here; without it nothing is called.
//
// The road of a job: the task leaves it with a worker and calls qv::WaitForJob; a worker thread
// runs it and wakes the kernel thread, whose sleeps are alertable; before its next decision the
// kernel calls `collect`, which calls qv::CompleteJob for every job that is done.
//
// Threads: the kernel thread.
#pragma once

#include "tasks/task.h"

namespace qv {

struct WorkerLink {
  // Before every decision: hands jobs over that are still pending, collects those that are done.
  void (*collect)() = nullptr;
  // At every loop end: lets the calls arrive that other threads have queued for this one.
  void (*deliver_calls)() = nullptr;
  // The kernel ends: returns when no job is under way any more, since records may lie on stacks
  // that are about to go.
  void (*finish_jobs)() = nullptr;
  // A task is about to go: it is no longer a dedicated one.
  void (*forget_task)(TaskId task) = nullptr;
  // A separate request of the statistics operation: the workers' own figures start anew.
  void (*reset_statistics)() = nullptr;
};

// To be set before the kernel starts, or by the kernel thread.
WorkerLink& TheWorkerLink();

// Blocks the running task until CompleteJob(task, job). Returns at once where waiting is not
// possible (false).
bool WaitForJob(const void* job);

// A job is done: readies the task when it waits for this very job, or kills it when that was asked
// for meanwhile. Any other task, or an id that is no longer valid, is left alone (false).
bool CompleteJob(TaskId task, const void* job);

}  // namespace qv
