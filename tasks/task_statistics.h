// Counters of the kernel and of its tasks.
//
// A reset begins a new epoch: the kernel's sums start at once, each task's when it is next
// switched. Threads: the kernel thread.
#pragma once

#include <cstdint>

#include "base/hooks.h"

namespace qv {

struct KernelStatistics {
  uint32_t tasks = 0;     // with the idle task
  uint32_t loops = 0;     // loop ends so far
  uint32_t switches = 0;  // of the processor, and decisions to go on with the same task
  uint32_t switches_at_reset = 0;
  uint32_t loop_runs = 0;  // in the present loop
  uint32_t idle_runs = 0;
  uint32_t forced_wakes = 0;  // early ones, for want of anything else to do
  uint32_t superhot_sleeps = 0;
  uint32_t full_scans = 0;
  uint32_t most_runs_per_loop = 0;  // of one task
  int64_t most_hot_picks = 0;       // in one loop
  uint64_t longest_loop = 0;        // microseconds from one loop end to the next one's sleep
  uint64_t loop_time = 0;           // their sum
  uint32_t timed_loops = 0;         // their number
  uint64_t since = 0;               // the clock at the last reset, microseconds
};

struct TaskStatistics {
  uint32_t number = 0;
  uint32_t runs = 0;
  uint32_t loop_runs = 0;
  uint32_t runs_since_read = 0;
  double seconds = 0;
  double longest = 0;         // microseconds
  uint64_t last_dropout = 0;  // microseconds
};

KernelStatistics GetKernelStatistics();
// False, and zeros, for an id that is not valid.
bool GetTaskStatistics(TaskId task, TaskStatistics* statistics);

}  // namespace qv

void ZRTaskResetStatistics();
// The figures of the workers and of the task pools start anew, where there are any.
void ZRTaskResetWorkerStatistics();
// The runs since it was last called for the task; 0 for an id that is not valid.
uint32_t ZRTaskTakeRuns(TaskId task);
