// What the kernel tells the layers below it, through their hooks.
#include <algorithm>
#include <cstring>

#include "platform/windows_api.h"
#include "tasks/kernel_state.h"
#include "tasks/kernel_thread.h"
#include "tasks/task_info.h"
#include "tasks/waits.h"

namespace qv {
namespace {

uintptr_t* RunningTaskSlots() {
  if (!ZRIsKernelThread()) return nullptr;
  TCB* task = TheKernel().current;
  return task != nullptr && TheKernel().switched ? task->local_slots : nullptr;
}

void ClearSlotOfAll(uint32_t index) {
  KernelState& kernel = TheKernel();
  if (kernel.registry == nullptr || !ZRIsKernelThread()) return;
  HashIterator each;
  TaskId id = 0;
  for (each.Begin(*kernel.registry); each.Next(&id, sizeof id);) {
    TCB* task = ZRTaskFindTask(id);
    if (task == nullptr) continue;
    task->local_slots[index] = 0;
    task->local_slots[kLocalSlotCount] &= ~(uintptr_t{1} << index);
  }
}

void YieldToOthers() { ZRIsKernelThread() ? ZRTaskYield() : Sleep(0); }

void CopyTaskHooks(const Hooks& from, Hooks* to) {
  to->current_task = from.current_task;
  to->copy_task_name = from.copy_task_name;
  to->on_kernel_thread = from.on_kernel_thread;
  to->switching_allowed = from.switching_allowed;
  to->yield = from.yield;
  to->task_local_slots = from.task_local_slots;
  to->clear_task_local_slot = from.clear_task_local_slot;
}

}  // namespace

void ConnectKernelHooks() {
  Hooks& hooks = GlobalHooks();
  CopyTaskHooks(hooks, &TheKernel().hooks_before);
  hooks.current_task = [] { return ZRIsKernelThread() ? ZRTaskCurrent() : TaskId{0}; };
  hooks.copy_task_name = ZRTaskCopyName;
  hooks.on_kernel_thread = ZRIsKernelThread;
  hooks.switching_allowed = [] { return ZRIsKernelThread() && ZRTaskSwitchingAllowed(); };
  hooks.yield = YieldToOthers;
  hooks.task_local_slots = RunningTaskSlots;
  hooks.clear_task_local_slot = ClearSlotOfAll;
}

void DisconnectKernelHooks() { CopyTaskHooks(TheKernel().hooks_before, &GlobalHooks()); }

}  // namespace qv
