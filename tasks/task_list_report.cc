#include "tasks/task_list_report.h"

#include <algorithm>
#include <cstdarg>

#include "base/clock.h"
#include "base/scratch_pool.h"
#include "platform/windows_api.h"
#include "tasks/kernel_state.h"
#include "tasks/kernel_trace.h"
#include "text/formatter.h"

namespace qv {
namespace {

void PrintRuns(ZRTaskOutput output, const KernelState& kernel, const TCB* task) {
  if (task->last_loop != kernel.statistics.loops) return;
  const uint32_t all = kernel.statistics.loop_runs;
  if (all == 0) {
    ZRTaskPrint(output, " runs=%lu lruns=%lu(n/a)", task->runs, task->loop_runs);
    return;
  }
  ZRTaskPrint(output, " runs=%lu lruns=%lu(%lu%%)", task->runs, task->loop_runs,
              static_cast<uint32_t>(uint64_t{task->loop_runs} * 100 / all));
}

void PrintStack(ZRTaskOutput output, const TCB* task) {
  if (task->fiber != nullptr) {
    ZRTaskPrint(output, " Fiber=%08lX",
                static_cast<uint32_t>(reinterpret_cast<uintptr_t>(task->fiber)));
    return;
  }
  const auto left =
      static_cast<uint32_t>(reinterpret_cast<uintptr_t>(task->saved_sp) - task->stack_base);
  const auto lowest = static_cast<uint32_t>(task->stack_low - task->stack_base);
  ZRTaskPrint(output, " Stack=%lu (%lu free, LWM=%lu)", task->stack_size, left,
              std::min(left, lowest));
}

void PrintState(ZRTaskOutput output, const TCB* task) {
  ZRTaskPrint(output, " [%s", TaskStateName(task->state));
  auto* argument = reinterpret_cast<void*>(task->wait_argument);
  switch (task->state) {
    case TaskState::kWaiting:
      ZRTaskPrint(output, " (mask=%l08Xh)]\n", static_cast<uint32_t>(task->wait_argument));
      return;
    case TaskState::kReplyWait:
      ZRTaskPrint(output, " (msg=%p)]\n", argument);
      return;
    case TaskState::kIOWait:
      ZRTaskPrint(output, " (io=%p)]\n", argument);
      return;
    case TaskState::kTimedWait:
      ZRTaskPrint(output, " (wake=%ld)]\n",
                  static_cast<int32_t>(task->wake_time - ZRMicroseconds(true)));
      return;
    case TaskState::kSemaWait:
      ZRTaskPrint(output, " (%p,%ld)]\n", argument, task->wait_units);
      return;
    default:
      ZRTaskPrint(output, "]\n");
  }
}

void PrintTask(ZRTaskOutput output, const TCB* task) {
  const KernelState& kernel = TheKernel();
  if (task->name[0] != '\0') {
    ZRTaskPrint(output, "    Task %ph (%s)", NumberAsPointer(task), task->name);
  } else {
    ZRTaskPrint(output, "    Task %ph", NumberAsPointer(task));
  }
  ZRTaskPrint(output, " ltasks=%lu", kernel.statistics.loop_runs);
  ZRTaskPrint(output, " secs=%.1f", task->seconds);
  PrintRuns(output, kernel, task);
  PrintStack(output, task);
  PrintState(output, task);
}

// Tasks that wait for events are left out: on most days that is nearly everybody.
void PrintList(const char* name, const TaskList& list) {
  ZRTaskPrint(nullptr, "  %s List:\n", name);
  if (list.Empty()) ZRTaskPrint(nullptr, "  <empty>\n");
  for (const TCB* task = list.head; task != nullptr; task = task->next) {
    if (task->state != TaskState::kWaiting) PrintTask(nullptr, task);
  }
}

}  // namespace
}  // namespace qv

void ZRTaskPrint(ZRTaskOutput output, const char* format, ...) {
  qv::ScratchBlock text;
  if (text.data() == nullptr) return;
  va_list arguments;
  va_start(arguments, format);
  FormatTextList(text.data(), format, arguments);
  va_end(arguments);
  if (output != nullptr) {
    output(text.data());
  } else {
    OutputDebugStringA(text.data());
  }
}

void ZRTaskDumpTask(ZRTaskOutput output, TaskId id) {
  if (const TCB* task = qv::TaskOf(id)) qv::PrintTask(output, task);
}

void ZRTaskDumpList() {
  const qv::KernelState& kernel = qv::TheKernel();
  ZRTaskPrint(nullptr, "List of Kernel Tasks:\n");
  if (kernel.superhot != nullptr) {
    ZRTaskPrint(nullptr, "  SuperHot Task:\n");
    qv::PrintTask(nullptr, kernel.superhot);
  }
  qv::PrintList("Hot", kernel.hot);
  qv::PrintList("Running", *kernel.running);
  qv::PrintList("Ready", *kernel.next);
  qv::PrintList("Wait", kernel.wait);
  for (uint32_t slot = 0; slot < qv::TimedWheel::kSlots; ++slot) {
    qv::PrintList("Timed", kernel.wheel.slot(slot));
  }
  ZRTaskPrint(nullptr, "---- End of list ----\n");
  ZRTaskPrint(nullptr, "Hot HWM Per Task: %d\n", kernel.statistics.most_runs_per_loop);
  ZRTaskPrint(nullptr, "Hot HWM Per Loop: %d\n",
              static_cast<int32_t>(kernel.statistics.most_hot_picks));
}
