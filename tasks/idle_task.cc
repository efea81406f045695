#include "tasks/idle_task.h"

#include "app/debug_output.h"
#include "base/clock.h"
#include "platform/windows_api.h"
#include "tasks/kernel_state.h"
#include "tasks/kernel_trace.h"
#include "tasks/task_info.h"

namespace qv {
namespace {

// Milliseconds, or kNeverSleep.
int32_t SleepOfThisRun(const KernelState& kernel) {
  if (kernel.settings.idle_sleep != kAutomaticSleep) return kernel.settings.idle_sleep;
  if (TheKernelConfiguration().friendliness == 0) return kNeverSleep;
  const bool nobody_ready = kernel.hot.Empty() && kernel.ready1.Empty() && kernel.ready2.Empty();
  return nobody_ready ? 1 : 0;
}

void RunIdle(KernelState& kernel) {
  ++kernel.statistics.idle_runs;
  if (Traces(kernel, 4)) DebugPrintf("ZRTask: No work -- running idle task.\n");
  if (ZRIdleHook hook = TheKernelConfiguration().idle_hook) hook(ZRMilliseconds(true));
  // Calls from other threads, which may bring work, end the sleep.
  const int32_t milliseconds = SleepOfThisRun(kernel);
  if (milliseconds != kNeverSleep) SleepEx(static_cast<DWORD>(milliseconds), TRUE);
  if (kernel.end_nesting > 0) {
    DebugPrintf("ZRTask: ZRTaskIdleTask scheduled inside critical region!\n");
  }
}

}  // namespace

bool CreateIdleTask() {
  KernelState& kernel = TheKernel();
  kernel.idle = ZRTaskFindTask(ZRTaskCreate(kIdleTaskStack, ZRTaskIdleTask, 0));
  if (kernel.idle == nullptr) {
    DebugPrint("ZRTask: Could not initialize Idle task.\n");
    return false;
  }
  ZRTaskSetName("IdleTask", kernel.idle->id, 0);
  LeaveList(kernel.idle);
  kernel.insertions = 0;
  return true;
}

}  // namespace qv

void ZRTaskIdleTask(TCB* task) {
  qv::KernelState& kernel = qv::TheKernel();
  while (kernel.task_count >= 2) {
    qv::RunIdle(kernel);
    task->state = qv::TaskState::kIdle;
    qv::LeaveList(task);
    HandleTaskSwitch(task, qv::ChooseNext());
  }
  task->state = qv::TaskState::kIdle;
  qv::LeaveList(task);
  HandleTaskSwitch(task, nullptr);
}
