// What happens to jobs, on the kernel thread.
#include <algorithm>

#include "app/debug_output.h"
#include "base/clock.h"
#include "tasks/kernel_thread.h"
#include "tasks/scheduler.h"
#include "tasks/task_info.h"
#include "tasks/worker_link.h"
#include "tasks/workers_state.h"

namespace qv {
namespace {

// The pool for a job of the caller; null where it does the work itself.
WorkerPool* PoolForCaller() {
  const WorkersState& workers = Workers();
  if (workers.stage != WorkersState::kRunning || !ZRIsKernelThread()) return nullptr;
  if (ZRTaskCurrent() == 0 || !ZRTaskSwitchingAllowed()) return nullptr;
  return ZRWorkerIsDedicated() ? workers.dedicated : workers.disk;
}

void Submit(ZRWorkerJob* job, WorkerPool* pool) {
  WorkersState& workers = Workers();
  job->flags |= kJobSubmitted;
  job->queued_at = ZRMicroseconds(true);
  job->task = ZRTaskCurrent();
  ++workers.under_way;
  pool->Submit(job);
  if (!pool->FlushPending()) workers.retry = true;
}

void RetryPending(WorkersState& workers) {
  workers.retry = false;
  for (WorkerPool* pool = workers.pools; pool != nullptr; pool = pool->next) {
    if (!pool->FlushPending()) workers.retry = true;
  }
  // A thread has the lock for a moment only: the kernel must not sleep over it.
  if (workers.retry) ZRWakeKernel();
}

void CollectOne(ZRWorkerJob* job) {
  --Workers().under_way;
  job->next = nullptr;
  job->flags = (job->flags & ~kJobSubmitted) | kJobFinished;
  if (job->pool == nullptr) {
    DebugPrint("Invalid Thread Pool\n");
    return;
  }
  job->pool->NoteFinished(*job);
  if (job->task == 0) {
    DebugPrint("Invalid Task ID\n\n");
  } else {
    CompleteJob(job->task, job);  // the record may be gone after this
  }
}

const TaskId* FindDedicated(TaskId task) {
  const WorkersState& workers = Workers();
  const TaskId* end = workers.dedicated_tasks + workers.dedicated_count;
  const TaskId* found = std::find(workers.dedicated_tasks, end, task);
  return found != end ? found : nullptr;
}

}  // namespace

void FinishJobs() {
  const WorkersState& workers = Workers();
  while (workers.under_way > 0) {
    ZRWorkersCollect();
    if (workers.under_way == 0) return;
    GiveWay();
    ZRThreadSleep(1);  // ends when a job does
  }
}

void ForgetDedicated(TaskId task) {
  WorkersState& workers = Workers();
  const TaskId* found = FindDedicated(task);
  if (found == nullptr) return;
  workers.dedicated_tasks[found - workers.dedicated_tasks] =
      workers.dedicated_tasks[--workers.dedicated_count];
}

}  // namespace qv

uint64_t ZRWorkerRun(ZRWorkerJob* job, ZRWorkerFunction function, bool use_worker, bool wait) {
  job->flags &= ~(qv::kJobSubmitted | qv::kJobFinished);
  job->function = function;
  qv::WorkerPool* pool = use_worker ? qv::PoolForCaller() : nullptr;
  if (pool == nullptr) {
    qv::DoJob(job);
    job->pool = nullptr;
    job->flags |= qv::kJobFinished;
  } else {
    qv::Submit(job, pool);
    while (wait && (job->flags & qv::kJobFinished) == 0) qv::WaitForJob(job);
  }
  return wait ? job->result : 0;
}

void ZRWorkersCollect() {
  qv::WorkersState& workers = qv::Workers();
  if (workers.under_way == 0) return;
  if (workers.retry) qv::RetryPending(workers);
  for (ZRWorkerJob* job = workers.finished->TryTakeAll(); job != nullptr;) {
    ZRWorkerJob* next = job->next;
    qv::CollectOne(job);
    job = next;
  }
}

int32_t ZRWorkerDedicate() {
  qv::WorkersState& workers = qv::Workers();
  const TaskId task = ZRTaskCurrent();
  if (task == 0) return 0;
  if (ZRWorkerIsDedicated()) return 1;
  if (workers.dedicated_count >= workers.dedicated_limit) return 0;
  workers.dedicated_tasks[workers.dedicated_count++] = task;
  return 1;
}

bool ZRWorkerIsDedicated() { return qv::FindDedicated(ZRTaskCurrent()) != nullptr; }
