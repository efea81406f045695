#include "tasks/task_statistics.h"

#include <utility>

#include "base/clock.h"
#include "tasks/kernel_state.h"
#include "tasks/pool_link.h"

namespace qv {

KernelStatistics GetKernelStatistics() {
  KernelStatistics statistics = TheKernel().statistics;
  statistics.tasks = TheKernel().task_count;
  return statistics;
}

bool GetTaskStatistics(TaskId id, TaskStatistics* statistics) {
  const TCB* task = TaskOf(id);
  if (task == nullptr) {
    *statistics = {};
    return false;
  }
  *statistics = {.number = task->number,
                 .runs = task->runs,
                 .loop_runs = task->loop_runs,
                 .runs_since_read = task->runs_since_read,
                 .seconds = task->seconds,
                 .longest = task->longest,
                 .last_dropout = task->last_dropout};
  return true;
}

}  // namespace qv

void ZRTaskResetStatistics() {
  qv::KernelState& kernel = qv::TheKernel();
  ++kernel.statistics_epoch;
  kernel.statistics.loop_time = kernel.statistics.timed_loops = 0;
  kernel.statistics.longest_loop = 0;
  kernel.statistics.full_scans = 0;
  kernel.statistics.switches_at_reset = kernel.statistics.switches;
  kernel.statistics.since = ZRMicroseconds(true);
}

void ZRTaskResetWorkerStatistics() {
  if (qv::TheWorkerLink().reset_statistics != nullptr) qv::TheWorkerLink().reset_statistics();
  if (qv::ThePoolLink().reset_statistics != nullptr) qv::ThePoolLink().reset_statistics();
}

uint32_t ZRTaskTakeRuns(TaskId id) {
  TCB* task = qv::TaskOf(id);
  return task != nullptr ? std::exchange(task->runs_since_read, 0) : 0;
}
