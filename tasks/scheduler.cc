// Who runs next.
#include "tasks/scheduler.h"

#include <algorithm>

#include "app/debug_output.h"
#include "base/clock.h"
#include "platform/windows_api.h"
#include "tasks/kernel_state.h"
#include "tasks/kernel_trace.h"
#include "tasks/task_list_report.h"

namespace qv {
namespace {

constexpr DWORD kDumpPause = 100;  // milliseconds, before each loop's task list

// --- picking within a loop ---

TCB* PickSuperhot(const KernelState& kernel) {
  TCB* task = kernel.superhot;
  if (task == nullptr || task->state != TaskState::kReady || task == kernel.current) return nullptr;
  if (!kernel.hot.Empty() || !kernel.running->Empty() || kernel.next->Empty()) return task;
  if (Traces(kernel, 4)) {
    DebugPrintf("ZRTask: Superhot task ready but no other ready tasks.\n");
  }
  return nullptr;
}

TCB* PickHot(KernelState& kernel) {
  if (kernel.hot.Empty() || kernel.hot_countdown > 0 || kernel.hot_budget <= 0) return nullptr;
  --kernel.hot_budget;
  kernel.hot_countdown = kernel.hot_cycle;
  return kernel.hot.head;
}

// --- the end of a loop, step by step ---

// How long the loop took, 0 for the first; the sleep behind it does not count.
uint64_t LoopTime(const KernelState& kernel, uint64_t now) {
  const bool is_known = kernel.last_loop_end != 0 && now > kernel.last_loop_end;
  return is_known ? now - kernel.last_loop_end : 0;
}

// The time after it.
uint64_t SleepAtLoopEnd(const KernelState& kernel, uint64_t now) {
  if (kernel.settings.sleep == kNeverSleep) return now;
  // Calls from other threads end the sleep.
  SleepEx(static_cast<DWORD>(kernel.settings.sleep), TRUE);
  return ZRMicroseconds(true);
}

void RenewHotBudget(KernelState& kernel) {
  const int64_t picks = kernel.hot_budget_at_start - kernel.hot_budget;
  kernel.statistics.most_hot_picks = std::max(kernel.statistics.most_hot_picks, picks);
  kernel.hot_budget = std::max<int64_t>(kernel.task_count / 2, kernel.settings.hot_limit);
  kernel.hot_budget_at_start = kernel.hot_budget;
  kernel.hot_countdown = 0;
}

void NoteLoopTime(KernelStatistics* statistics, uint64_t interval) {
  if (interval == 0) return;
  statistics->longest_loop = std::max(statistics->longest_loop, interval);
  statistics->loop_time += interval;
  ++statistics->timed_loops;
}

void Wake(TCB* task, uint64_t now) {
  MakeReady(task);
  task->ready_time = now;
}

void CheckParked(KernelState& kernel, uint64_t now) {
  constexpr int64_t kLeastPause = 10;  // microseconds between two checks
  if (!kernel.settings.use_parked_lists) return;
  const auto since = static_cast<int64_t>(now - kernel.last_parked_check);
  if (since >= 0 && since <= kLeastPause) return;
  kernel.last_parked_check = now;
  // A clock that began anew says nothing about anyone's time: all go.
  kernel.parked.Check(now, since < 0, [now](TCB* task) { Wake(task, now); });
}

void TraceScanEnd(const KernelState& kernel) {
  if (!Traces(kernel, 4)) return;
  DebugPrintf("%u EndOfLoop done . In timed wheel %d \n", Low(kernel.last_wheel_check),
              kernel.wheel.count());
}

// After a full scan the count is what the scan saw, whatever it was.
void CorrectWheelCount(KernelState& kernel, const TimedWheel::Scan& scan) {
  if (kernel.wheel.count() == scan.seen) return;
  if (Traces(kernel, 4)) {
    DebugPrintf("lasttimecheck %u Reset timed wheel access count %d readied %d saw %d\n",
                Low(kernel.last_wheel_check), kernel.wheel.count(), scan.readied, scan.seen);
  }
  kernel.wheel.set_count(scan.seen);
}

void ScanWheel(KernelState& kernel, uint64_t now, uint64_t elapsed, bool full) {
  if (Traces(kernel, 4)) {
    DebugPrintf("%u EndOfLoop. In timed wheel %d \n", Low(now), kernel.wheel.count());
  }
  kernel.last_wheel_check = now;
  TimedWheel::Scan scan = kernel.wheel.PlanScan(now, full);
  if (full) ++kernel.statistics.full_scans;
  if (Traces(kernel, 3)) TraceScanPlan(scan, elapsed);
  kernel.wheel.Run(&scan, now, [&kernel, now](uint32_t slot, TCB* task) {
    if (Traces(kernel, 4)) TraceTimedWake(task, now, slot);
    Wake(task, now);
  });
  kernel.last_wheel_check = ZRMicroseconds(true);
  if (full) {
    CorrectWheelCount(kernel, scan);
  } else {
    TraceScanEnd(kernel);
  }
}

void CheckWheel(KernelState& kernel, uint64_t now) {
  // A clock that began anew makes this large, and the scan a full one.
  const uint64_t elapsed = now - kernel.last_wheel_check;
  if (elapsed < TimedWheel::kMicrosecondsPerSlot) return;
  if (kernel.settings.use_parked_lists && kernel.wheel.count() == 0) {
    kernel.last_wheel_check = ZRMicroseconds(true);
    TraceScanEnd(kernel);
    return;
  }
  ScanWheel(kernel, now, elapsed, elapsed / TimedWheel::kMicrosecondsPerSlot > TimedWheel::kSlots);
}

void SwapRoles(KernelState& kernel) { std::swap(kernel.running, kernel.next); }

// How many switches lie between two hot picks: as many as give each hot task its share.
void RenewHotCycle(KernelState& kernel) {
  if (!kernel.hot.Empty() && kernel.insertions > 0) {
    kernel.longest_hot_list = std::max(kernel.longest_hot_list, kernel.hot.count);
    const auto per_task = static_cast<uint64_t>(std::max(kernel.settings.hot_limit_per_task, 1));
    const uint64_t cycle = kernel.insertions / (kernel.longest_hot_list * per_task);
    kernel.hot_cycle = std::max(static_cast<uint32_t>(cycle), kLeastHotCycle);
  }
  kernel.insertions = 0;
}

// For want of anything else: wakes the first sleeper that allows it.
void ForceEarlyWake(KernelState& kernel, uint64_t now) {
  if (Traces(kernel, 4)) {
    DebugPrintf("ZRTask: Alternate list empty too (%s).\n",
                kernel.running == &kernel.ready1 ? "ready1" : "ready2");
  }
  TCB* sleeper = kernel.wheel.FirstEarly();
  if (sleeper == nullptr) return;
  if (Traces(kernel, 4)) DebugPrintf("%u ZRTask: Timed wake (%s).\n", Low(now), sleeper->name);
  MakeReady(sleeper);
  ++kernel.statistics.forced_wakes;
}

void ForceParkedWake(KernelState& kernel) {
  TCB* sleeper = kernel.settings.use_parked_lists ? kernel.parked.FirstEarly() : nullptr;
  if (sleeper == nullptr) return;
  Wake(sleeper, 0);
}

// The first task of the new loop.
TCB* ChooseInNewLoop(KernelState& kernel, uint64_t now) {
  SwapRoles(kernel);
  RenewHotCycle(kernel);
  TCB* next = PickNextTask();
  if (next != nullptr) return next;
  SwapRoles(kernel);
  next = kernel.running->head;
  if (next != nullptr) return next;
  if (TheKernelConfiguration().friendliness == 0) {
    ForceEarlyWake(kernel, now);
    next = kernel.next->head;
    if (next != nullptr) return next;
    ForceParkedWake(kernel);
    next = kernel.next->head;
  }
  return next != nullptr ? next : kernel.idle;
}

}  // namespace
}  // namespace qv

TCB* PickNextTask() {
  qv::KernelState& kernel = qv::TheKernel();
  if (qv::TheWorkerLink().collect != nullptr) qv::TheWorkerLink().collect();
  if (kernel.current == nullptr || !qv::RegionAllowsSwitch(kernel)) return nullptr;
  if (TCB* task = qv::PickSuperhot(kernel)) return task;
  if (TCB* task = qv::PickHot(kernel)) return task;
  return kernel.running->head;
}

TCB* EndOfLoop() {
  qv::KernelState& kernel = qv::TheKernel();
  uint64_t now = ZRMicroseconds(true);
  const uint64_t loop_time = qv::LoopTime(kernel, now);
  if (qv::TheWorkerLink().deliver_calls != nullptr) qv::TheWorkerLink().deliver_calls();
  now = qv::SleepAtLoopEnd(kernel, now);
  qv::RenewHotBudget(kernel);
  qv::NoteLoopTime(&kernel.statistics, loop_time);
  kernel.last_loop_end = now;
  if (qv::Traces(kernel, 6)) {
    SleepEx(qv::kDumpPause, TRUE);
    ZRTaskDumpList();
  }
  ++kernel.statistics.loops;
  kernel.statistics.loop_runs = 0;
  qv::CheckParked(kernel, now);
  qv::CheckWheel(kernel, now);
  if (!qv::RegionAllowsSwitch(kernel)) return kernel.current;
  kernel.decided_at = now;
  return qv::ChooseInNewLoop(kernel, now);
}

void MakeReady(TCB* task) {
  task->state = qv::TaskState::kReady;
  qv::PutOnReadyList(task);
}

void ReadyAgain(TCB* task) {
  if (task->state == qv::TaskState::kReady) qv::PutOnReadyList(task);
}
