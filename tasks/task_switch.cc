// From one task to the next.
#include <algorithm>
#include <cstdlib>

#include "app/debug_output.h"
#include "app/message.h"
#include "base/clock.h"
#include "platform/fiber_prefetch.h"
#include "tasks/fiber_layer.h"
#include "tasks/kernel_state.h"
#include "tasks/kernel_thread.h"
#include "tasks/kernel_trace.h"
#include "tasks/own_stacks.h"
#include "tasks/task_list_report.h"

namespace qv {
namespace {

// The reading that the decision was made with, else a fresh one: one a switch is enough.
uint64_t TakeSwitchTime(KernelState& kernel) {
  const uint64_t now = kernel.decided_at != 0 ? kernel.decided_at : ZRMicroseconds(true);
  kernel.decided_at = 0;
  return now;
}

void ReportLatency(const KernelState& kernel, uint64_t now) {
  const KernelConfiguration& configuration = TheKernelConfiguration();
  if (configuration.longest_latency == 0 || !kernel.has_last_switch) return;
  const uint64_t latency = (now - kernel.last_switch) / kMicrosecondsPerMillisecond;
  if (latency <= configuration.longest_latency) return;
  ZRMessage("ZRTask: Longest latency was %ld milliseconds.", static_cast<uint32_t>(latency));
  if (configuration.trace_latency != 0) GlobalHooks().print_traceback(0);
}

// True when the counters are of the present epoch; else they start anew.
bool IsCurrentEpoch(const KernelState& kernel, TCB* task) {
  if (task->statistics_epoch == kernel.statistics_epoch) return true;
  task->statistics_epoch = kernel.statistics_epoch;
  task->runs = task->loop_runs = task->runs_since_read = 0;
  task->seconds = task->longest = 0;
  task->last_dropout = 0;
  return false;
}

void CountTime(KernelState& kernel, TCB* from, TCB* to, uint64_t now) {
  if (from != nullptr) {
    from->io_count = 0;
    if (IsCurrentEpoch(kernel, from)) {
      // A multiplication: a division is long enough to be felt in every switch.
      constexpr double kSecondsPerMicrosecond = 1.0 / static_cast<double>(kMicrosecondsPerSecond);
      from->seconds += static_cast<double>(now - kernel.switch_watch) * kSecondsPerMicrosecond;
    }
  }
  if (to != nullptr) IsCurrentEpoch(kernel, to);
  kernel.switch_watch = now;
}

void CountRun(KernelState& kernel, TCB* task) {
  ++task->runs;
  ++task->runs_since_read;
  ++kernel.statistics.loop_runs;
  task->loop_runs = task->last_loop == kernel.statistics.loops ? task->loop_runs + 1 : 1;
  task->last_loop = kernel.statistics.loops;
  kernel.statistics.most_runs_per_loop =
      std::max(kernel.statistics.most_runs_per_loop, task->loop_runs);
}

// Where the task that runs now stands while it runs.
void PlaceRunning(KernelState& kernel, TCB* task) {
  if (task == kernel.superhot) {
    LeaveList(task);
  } else if (task->IsHot()) {
    if (task->list != &kernel.hot) {
      LeaveList(task);
      kernel.hot.Append(task);
    }
    task->flags &= ~kHotOnce;
  } else if (task->list == &kernel.hot) {
    PutOnReadyList(task);
  }
}

void NoteFirstSwitch(const KernelState& kernel) {
  ZRSetKernelThread();
  if (kernel.task_count > 1) return;
  ZRTaskPrint(nullptr, "ZRTask: *** ERROR - QV kernel started with no tasks! ***\n");
  GlobalHooks().print_traceback(0);
}

void NoteDropout(TCB* from, uint64_t now) {
  if (from == nullptr || from->ready_time == 0) return;
  from->last_dropout = now - from->ready_time;
  from->longest = std::max(from->longest, static_cast<double>(from->last_dropout));
}

// `to` becomes the current task, as everybody sees it.
void Publish(KernelState& kernel, TCB* to) {
  kernel.current.store(to, std::memory_order_relaxed);
  *kernel.current_parameter = to != nullptr ? to->parameter : 0;
  if (to != nullptr) {
    to->state = TaskState::kReady;
  } else if (kernel.task_count > 1 && !ZRFibersUsable()) {
    DebugPrint("ZRTask: Shutdown leaving %lu orphan tasks!\n", kernel.task_count - 1);
  }
}

void PrefetchStackOf(const TCB* task) {
  if (task->fiber != nullptr) {
    platform::PrefetchFiber(task->fiber);
  } else if (task->saved_sp != nullptr) {
    platform::PrefetchStack(task->saved_sp);
  }
}

// Where many tasks run in turn, blocks and stacks are cold. While these run those of the next ones
// come in: a block, then the fiber that it names, then that one's stack, each some switches after
// what leads to it. A stack is in a page of its own whose translation is cold too, and the
// processor waits for that even when it only prefetches; so several are asked for at once, and
// their translations are looked up side by side. Those of few tasks stay in the caches.
void PrefetchFollowers(KernelState& kernel, const TCB* to) {
  constexpr uint32_t kMany = 200;
  constexpr int kBatch = 4;  // tasks
  if (to == nullptr || kernel.task_count <= kMany) return;
  if (--kernel.switches_to_prefetch > 0) return;
  kernel.switches_to_prefetch = kBatch;
  const TCB* each = to->next;
  for (int ahead = 0; each != nullptr && ahead < 3 * kBatch; each = each->next, ++ahead) {
    if (ahead < kBatch) {
      PrefetchStackOf(each);
    } else if (ahead < 2 * kBatch) {
      __builtin_prefetch(each->fiber);
    } else {
      PrefetchBlock(each);
    }
  }
}

void Leave(Leaving leaving, TCB* from, TCB* to) {
  KernelState& kernel = TheKernel();
  PrefetchFollowers(kernel, to);
  Publish(kernel, to);
  if (!ZRFiberSwitch(from, to)) SwitchOwnStack(leaving, from, to);
}

void CountDown(KernelState& kernel) {
  if (kernel.hot_countdown > 0) --kernel.hot_countdown;
}

void Switch(TCB* from, TCB* to, uint64_t now) {
  KernelState& kernel = TheKernel();
  CountDown(kernel);
  if (!RegionAllowsSwitch(kernel)) return;
  const bool is_first = !kernel.switched;
  if (from == to && !is_first) return;
  if (is_first) {
    NoteFirstSwitch(kernel);
  } else {
    NoteDropout(from, now);
  }
  if (to != nullptr) to->ready_time = now;
  kernel.switched = true;
  Leave(is_first ? Leaving::kMainline : Leaving::kTask, from, to);
}

}  // namespace

void PassProcessorForGood(TCB* to) {
  KernelState& kernel = TheKernel();
  CountDown(kernel);
  const uint64_t now = TakeSwitchTime(kernel);
  CountTime(kernel, nullptr, to, now);
  if (to != nullptr) to->ready_time = now;
  Leave(Leaving::kForGood, nullptr, to);
  std::abort();  // a stack that was left for good does not run
}

void RunTaskBody(TCB* task) {
  task->flags &= ~kNotStarted;
  CountRun(TheKernel(), task);
  task->entry(task);
  PassProcessorForGood(EndTask());
}

}  // namespace qv

void SwitchContext(TCB* from, TCB* to) { qv::Switch(from, to, ZRMicroseconds(true)); }

void HandleTaskSwitch(TCB* from, TCB* to) {
  qv::KernelState& kernel = qv::TheKernel();
  ++kernel.statistics.switches;
  const uint64_t now = qv::TakeSwitchTime(kernel);
  if (qv::Traces(kernel, 2)) qv::TraceSwitch(kernel, from, to, now);
  if (to != from) kernel.previous = kernel.current;
  qv::ReportLatency(kernel, now);
  qv::CountTime(kernel, kernel.switched ? from : nullptr, to, now);
  kernel.last_switch = now;
  kernel.has_last_switch = true;
  if (to == from && to != nullptr) to->ready_time = now;
  qv::Switch(from, to, now);
  TCB* task = kernel.current;
  if (task == nullptr) return;  // the mainline, when the kernel has ended
  qv::CountRun(kernel, task);
  qv::PlaceRunning(kernel, task);
}
