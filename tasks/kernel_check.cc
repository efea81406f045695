// What always holds between two steps of the kernel.
#include "tasks/kernel_state.h"
#include "tasks/semaphores.h"

namespace qv {
namespace {

bool IsReadyList(const KernelState& kernel, const TaskList* list) {
  return list == &kernel.hot || list == &kernel.ready1 || list == &kernel.ready2;
}

// A task stands where its state says.
bool StandsRight(const KernelState& kernel, const TCB* task) {
  switch (task->state) {
    case TaskState::kReady:
      if (task->list != nullptr) return IsReadyList(kernel, task->list);
      return task == kernel.superhot || task == kernel.current || task == kernel.idle;
    case TaskState::kWaiting:
    case TaskState::kReplyWait:
      return task->list == &kernel.wait;
    case TaskState::kIOWait:
    case TaskState::kIdle:
      return task->list == nullptr;
    case TaskState::kTimedWait:
      return task->list != nullptr && !IsReadyList(kernel, task->list) &&
             task->list != &kernel.wait;
    case TaskState::kSemaWait:
      return task->list == &reinterpret_cast<const ZRSemaphore*>(task->wait_argument)->waiters;
    case TaskState::kDead:
      return false;
  }
  return false;
}

bool MessageBitIsTrue(const TCB* task) {
  return (task->first_message != nullptr) == ((task->events & kMessageEvent) != 0);
}

}  // namespace

bool KernelIsConsistent() {
  KernelState& kernel = TheKernel();
  for (const TaskList* list : {&kernel.hot, &kernel.ready1, &kernel.ready2, &kernel.wait}) {
    if (!IsConsistent(*list)) return false;
  }
  if (!kernel.wheel.CheckInvariants() || !kernel.parked.CheckInvariants()) return false;
  if (kernel.registry->Count() != kernel.task_count || kernel.running == kernel.next) return false;
  HashIterator each;
  TaskId id = 0;
  for (each.Begin(*kernel.registry); each.Next(&id, sizeof id);) {
    const TCB* task = ZRTaskFindTask(id);
    if (task == nullptr || !StandsRight(kernel, task) || !MessageBitIsTrue(task)) return false;
  }
  return true;
}

}  // namespace qv
