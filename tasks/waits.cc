#include "tasks/waits.h"

#include <algorithm>

#include "app/debug_output.h"
#include "app/settings.h"
#include "base/clock.h"
#include "tasks/kernel_state.h"
#include "tasks/kernel_trace.h"

namespace qv {
namespace {

constexpr uint32_t kMostTicks = 36000, kTicksInstead = 3600;
constexpr uint32_t kMostMillis = 600000, kMillisInstead = 60000;
constexpr uint32_t kMostReports = 5;

struct WaitState {
  uint32_t tick_reports = 0;
  uint32_t milli_reports = 0;
  bool limit_known = false;
  uint32_t io_limit = 0;  // "LimitIO"
};

WaitState& State() {
  static constinit WaitState state;
  return state;
}

// The mainline, before any task has run, becomes the last task that was created. False when there
// is none.
bool Adopt(KernelState& kernel) {
  if (kernel.adopted) return true;
  if (kernel.next->Empty()) return false;
  kernel.current = kernel.next->tail;
  return kernel.adopted = true;
}

void Park(KernelState& kernel, TCB* task, uint64_t now, uint32_t micros, bool early_ok) {
  if (Traces(kernel, 4)) TraceSleep(task, now, micros, early_ok);
  LeaveList(task);
  kernel.parked.Add(task, micros, early_ok);
}

void PutOnWheel(KernelState& kernel, TCB* task, uint64_t now, uint32_t micros, bool early_ok) {
  if (task == kernel.superhot) ++kernel.statistics.superhot_sleeps;
  task->flags = early_ok ? task->flags | kMayWakeEarly : task->flags & ~kMayWakeEarly;
  task->last_dropout = now - task->ready_time;
  const uint32_t slot = kernel.wheel.Add(task);
  if (Traces(kernel, 4)) TraceSleepInSlot(task, now, micros, early_ok, slot);
}

void Sleep(KernelState& kernel, TCB* task, uint32_t micros, bool early_ok) {
  const uint64_t now = kernel.decided_at = ZRMicroseconds(true);  // the switch's reading too
  task->state = TaskState::kTimedWait;
  task->wake_time = now + micros;
  if (kernel.settings.use_parked_lists && ParkedLists::Takes(micros)) {
    Park(kernel, task, now, micros, early_ok);
  } else {
    PutOnWheel(kernel, task, now, micros, early_ok);
  }
  ChooseAndSwitch();
}

// What a request that is too long becomes, reported under the unit's limit.
uint32_t Shortened(uint32_t requested, uint32_t instead, const char* unit, uint32_t* reports) {
  const TCB* task = TaskOf(0);
  if (task != nullptr && *reports < kMostReports) {
    ++*reports;
    DebugPrint("ZRTask: Invalid yield request (%lu %s) by '%s'.\n", requested, unit, task->name);
  }
  return instead;
}

uint32_t LimitOfSettings() {
  WaitState& waits = State();
  if (!waits.limit_known) {
    waits.io_limit = static_cast<uint32_t>(ReadSetting(setting::kLimitIO));
    waits.limit_known = true;
  }
  return waits.io_limit;
}

// The task's events with the message bit as its queue says.
uint32_t WithMessageBit(const TCB* task, uint32_t events) {
  return task->first_message != nullptr ? events | kMessageEvent : events & ~kMessageEvent;
}

void MoveToFront(const KernelState& kernel, TCB* task) {
  if (task->list != kernel.running && task->list != kernel.next) return;
  task->list->Prepend(task);
}

}  // namespace

void ResetWaitsForTest() { State() = {}; }

bool WaitForJob(const void* job) {
  KernelState& kernel = TheKernel();
  if (!CanWait(kernel)) return false;
  kernel.current.load()->wait_argument = reinterpret_cast<uintptr_t>(job);
  ZRTaskWaitIO();
  return true;
}

}  // namespace qv

void ZRTaskYield() {
  qv::KernelState& kernel = qv::TheKernel();
  if (!qv::Adopt(kernel) || !qv::CanWait(kernel)) return;
  ReadyAgain(kernel.current);
  qv::ChooseAndSwitch();
}

void ZRTaskYieldMicros(uint32_t micros, bool early_ok) {
  qv::KernelState& kernel = qv::TheKernel();
  if (!qv::CanWait(kernel)) return;
  TCB* task = kernel.current;
  task->flags &= ~qv::kHotOnce;
  if (micros > 0) {
    qv::Sleep(kernel, task, micros, early_ok);
    return;
  }
  ReadyAgain(task);
  qv::ChooseAndSwitch();
}

void ZRTaskYieldMillis(uint32_t milliseconds, bool early_ok) {
  if (milliseconds > qv::kMostMillis) {
    milliseconds =
        qv::Shortened(milliseconds, qv::kMillisInstead, "ms", &qv::State().milli_reports);
  }
  ZRTaskYieldMicros(static_cast<uint32_t>(milliseconds * qv::kMicrosecondsPerMillisecond),
                    early_ok);
}

void ZRTaskYieldTicks(uint32_t ticks, bool early_ok) {
  if (ticks > qv::kMostTicks) {
    ticks = qv::Shortened(ticks, qv::kTicksInstead, "ticks", &qv::State().tick_reports);
  }
  ZRTaskYieldMicros(static_cast<uint32_t>(qv::MicrosecondsFromTicks(ticks)), early_ok);
}

void ZRTaskYieldTicksUnlessSuperHot(uint32_t ticks, bool early_ok) {
  const qv::KernelState& kernel = qv::TheKernel();
  const bool is_superhot = kernel.superhot != nullptr && kernel.superhot == kernel.current;
  ZRTaskYieldTicks(is_superhot ? 0 : ticks, early_ok);
}

bool ZRTaskYieldTo(TaskId id) {
  qv::KernelState& kernel = qv::TheKernel();
  if (!qv::CanWait(kernel)) return false;
  ReadyAgain(kernel.current);
  if (TCB* target = qv::TaskOf(id)) qv::MoveToFront(kernel, target);
  qv::ChooseAndSwitch();
  return true;
}

bool ZRTaskYieldIfSliceOver(uint64_t micros) {
  const qv::KernelState& kernel = qv::TheKernel();
  if (kernel.current == nullptr || ZRMicroseconds(true) - kernel.switch_watch < micros) {
    return false;
  }
  ZRTaskYield();
  return true;
}

bool ZRTaskYieldIfSliceOverMillis(uint32_t milliseconds) {
  return ZRTaskYieldIfSliceOver(milliseconds * qv::kMicrosecondsPerMillisecond);
}

bool ZRTaskCountIO(uint32_t limit) {
  const uint32_t setting = qv::LimitOfSettings();
  if (limit == kSettingIOLimit) limit = setting;
  TCB* task = qv::TaskOf(0);
  if (task == nullptr) return false;
  if (limit != 0 && task->io_count < limit) {
    ++task->io_count;
    return false;
  }
  ZRTaskYield();
  return true;
}

uint32_t ZRTaskWaitEvents(uint32_t mask) {
  qv::KernelState& kernel = qv::TheKernel();
  if (!qv::CanWait(kernel)) return 0;
  TCB* task = kernel.current;
  task->state = qv::TaskState::kWaiting;
  task->wait_argument = mask;
  task->ready_time = 0;
  kernel.wait.Append(task);
  qv::ChooseAndSwitch();
  return task->events & mask;
}

void ZRTaskSignal(TaskId id, uint32_t events) {
  TCB* task = qv::TaskOf(id);
  if (task == nullptr ||
      (task->state != qv::TaskState::kWaiting && task->state != qv::TaskState::kTimedWait)) {
    return;
  }
  task->events = qv::WithMessageBit(task, events);
  MakeReady(task);
}

uint32_t ZRTaskGetEvents(bool clear) {
  TCB* task = qv::TaskOf(0);
  if (task == nullptr) return 0;
  const uint32_t events = task->events;
  if (clear) task->events = qv::WithMessageBit(task, 0);
  return events;
}

void ZRTaskWaitIO() {
  qv::KernelState& kernel = qv::TheKernel();
  if (!qv::CanWait(kernel)) return;
  TCB* task = kernel.current;
  task->state = qv::TaskState::kIOWait;
  task->ready_time = 0;
  qv::LeaveList(task);
  qv::ChooseAndSwitch();
}
