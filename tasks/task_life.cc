// How tasks begin and end.
#include <new>

#include "tasks/fiber_layer.h"
#include "tasks/kernel_state.h"
#include "tasks/kernel_thread.h"
#include "tasks/kernel_trace.h"
#include "tasks/own_stacks.h"
#include "tasks/pool_link.h"
#include "tasks/task_cleanup.h"
#include "tasks/task_list_report.h"
#include "tasks/task_properties.h"

namespace qv {
namespace {

constexpr uint32_t kStackMultiple = 16;

TCB* NewBlock(uint32_t stack_size, ZRTaskEntry entry, uintptr_t parameter) {
  void* memory = GlobalHooks().allocate(sizeof(TCB));
  if (memory == nullptr) return nullptr;
  TCB* task = new (memory) TCB;
  task->id = reinterpret_cast<TaskId>(task);
  task->cookie = task->id ^ TCB::kCookieMask;
  task->parameter = parameter;
  task->stack_size = stack_size;
  task->entry = entry;
  task->last_loop = TheKernel().statistics.loops;
  task->statistics_epoch = TheKernel().statistics_epoch;
  return task;
}

void FreeBlock(TCB* task) {
  ReleaseProperties(task);
  task->cookie = 0;
  task->state = TaskState::kDead;
  GlobalHooks().release(task);
}

// Stack, fiber and registration; false with nothing left but what FreeBlock frees, and the part of
// the stack area, which is never given back.
bool Equip(KernelState& kernel, TCB* task) {
  task->number = kernel.task_count + 1;
  if (ZRFibersUsable()) {
    task->stack_base = task->stack_low = kNoStackBase;
  } else if (!TakeOwnStack(task)) {
    return false;
  }
  if (!ZRFiberCreate(task)) return false;
  if (SetPropertyOf(task, kTaskNumberProperty, task->number) &&
      kernel.registry->Insert(&task->id, sizeof task->id)) {
    return true;
  }
  DeleteFiberOf(task);
  return false;
}

// The task is known no more. Its fiber is dealt with already.
void Forget(KernelState& kernel, TCB* task) {
  --kernel.task_count;
  if (kernel.previous == task) kernel.previous = nullptr;
  if (kernel.idle == task) kernel.idle = nullptr;
  if (TheWorkerLink().forget_task != nullptr) TheWorkerLink().forget_task(task->id);
  kernel.registry->Remove(&task->id, sizeof task->id);
  FreeBlock(task);
}

void ReleaseSlotBlocks(TCB* task) {
  for (uint32_t index = 0; index < kLocalSlotCount; ++index) {
    if ((task->local_slots[kLocalSlotCount] >> index & 1) == 0) continue;
    GlobalHooks().release(reinterpret_cast<void*>(task->local_slots[index]));
  }
}

}  // namespace

void ReleaseTask(TCB* task) {
  RunCleanups(task);
  if (ThePoolLink().task_ends != nullptr) ThePoolLink().task_ends(task);
  LeaveList(task);
  if (TheKernel().superhot == task) TheKernel().superhot = nullptr;
  ReleaseSemaphore(task);
  ReleaseMessages(task);
  ReleaseSlotBlocks(task);
}

}  // namespace qv

TaskId ZRTaskCreate(uint32_t stack_size, ZRTaskEntry entry, uintptr_t parameter) {
  qv::KernelState& kernel = qv::TheKernel();
  stack_size -= stack_size % qv::kStackMultiple;
  if (!kernel.started || entry == nullptr || stack_size > kLargestTaskStack) return 0;
  TCB* task = qv::NewBlock(stack_size, entry, parameter);
  if (task == nullptr) return 0;
  ZRSetKernelThread();
  if (!qv::Equip(kernel, task)) {
    qv::FreeBlock(task);
    return 0;
  }
  if (qv::Traces(kernel, 2)) qv::TraceCreated(task);
  if (!ZRFibersUsable() && kernel.settings.check_stacks) qv::MarkOwnStack(task);
  ++kernel.task_count;
  qv::PutOnReadyList(task);
  return task->id;
}

TCB* EndTask() {
  qv::KernelState& kernel = qv::TheKernel();
  ++kernel.end_nesting;
  TCB* task = kernel.current;
  if (!qv::RegionAllowsSwitch(kernel)) {
    ZRTaskPrint(nullptr, "ZRTask: Task terminated while in critical region!\n");
  }
  qv::ReleaseTask(task);
  task->state = qv::TaskState::kDead;
  TCB* next = qv::ChooseNext();
  if (next == task) next = nullptr;
  ZRFiberRetire(task);
  qv::RetireOwnStack(task);
  qv::Forget(kernel, task);
  kernel.previous = nullptr;
  kernel.current = next;
  --kernel.end_nesting;
  return next;
}

void ZRTaskKill(TaskId id) {
  qv::KernelState& kernel = qv::TheKernel();
  TCB* task = qv::TaskOf(id);
  if (task == nullptr || task == kernel.idle) return;
  if (task->state == qv::TaskState::kIOWait) {
    task->flags |= qv::kKillDeferred;
    return;
  }
  if (task == kernel.current && kernel.switched) qv::PassProcessorForGood(EndTask());
  // The mainline has adopted it, but it never ran: the next yield adopts another one.
  if (task == kernel.current) {
    kernel.current = nullptr;
    kernel.adopted = false;
  }
  qv::ReleaseTask(task);
  task->state = qv::TaskState::kDead;
  qv::DeleteFiberOf(task);
  qv::ForgetOwnStack(task);
  qv::Forget(kernel, task);
}
