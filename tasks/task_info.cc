#include "tasks/task_info.h"

#include <algorithm>
#include <cstring>

#include "tasks/kernel_state.h"
#include "tasks/kernel_thread.h"

namespace qv {
namespace {

// A field of a task, `missing` when there is no such task.
template <typename Value>
Value FieldOf(TaskId id, Value TCB::*field, Value missing = {}) {
  const TCB* task = TaskOf(id);
  return task != nullptr ? task->*field : missing;
}

void CopyText(const char* text, char* buffer, size_t size) {
  if (buffer == nullptr || size == 0) return;
  const size_t length = std::min(strlen(text), size - 1);
  std::memcpy(buffer, text, length);
  buffer[length] = '\0';
}

// A superhot task that is ready is on no list.
void TakeSuperHotBack(KernelState& kernel) {
  TCB* task = kernel.superhot;
  kernel.superhot = nullptr;
  if (task != nullptr && task->state == TaskState::kReady) MakeReady(task);
}

}  // namespace
}  // namespace qv

void ZRTaskSetName(const char* name, TaskId id, uintptr_t tag) {
  if (!ZRIsKernelThread()) return;
  TCB* task = qv::TaskOf(id);
  if (task == nullptr) return;
  qv::CopyText(name != nullptr ? name : "", task->name, sizeof task->name);
  task->tag = tag;
}

const char* ZRTaskGetName(TaskId id) {
  if (!ZRIsKernelThread()) return "<thread>";
  const TCB* task = qv::TaskOf(id);
  return task != nullptr ? task->name : "<mainline>";
}

void ZRTaskCopyName(TaskId task, char* buffer, size_t size) {
  qv::CopyText(ZRTaskGetName(task), buffer, size);
}

void ZRTaskSetHotMode(TaskId id, int32_t mode) {
  TCB* task = qv::TaskOf(id);
  if (task == nullptr) return;
  uint32_t& flags = task->flags;
  switch (mode) {
    case kTaskAlwaysHot:
      flags = (flags | qv::kAlwaysHot | qv::kHotOnce) & ~qv::kNeverHot;
      return;
    case kTaskNeverHot:
      flags = (flags | qv::kNeverHot) & ~(qv::kAlwaysHot | qv::kHotOnce);
      return;
    case kTaskHotReset:
      flags &= ~(qv::kAlwaysHot | qv::kNeverHot | qv::kHotOnce);
      return;
    case kTaskHotOnce:
      if ((flags & qv::kNeverHot) == 0) flags |= qv::kHotOnce;
      return;
    default:
      flags &= ~qv::kHotOnce;
  }
}

int32_t ZRTaskGetHotMode(TaskId id) {
  const uint32_t flags = qv::FieldOf(id, &TCB::flags);
  if ((flags & qv::kNeverHot) != 0) return kTaskNeverHot;
  if ((flags & qv::kAlwaysHot) != 0) return kTaskAlwaysHot;
  return (flags & qv::kHotOnce) != 0 ? kTaskHotOnce : 0;
}

bool ZRTaskIsHot(TaskId id) {
  const qv::KernelState& kernel = qv::TheKernel();
  if (!ZRIsKernelThread()) {
    const TCB* current = kernel.current.load(std::memory_order_relaxed);
    return current != nullptr && (id == 0 || reinterpret_cast<TaskId>(current) == id);
  }
  const TCB* task = qv::TaskOf(id);
  return task != nullptr && (task == kernel.superhot || task->IsHot());
}

void ZRTaskSetSuperHot(bool on, TaskId id) {
  qv::KernelState& kernel = qv::TheKernel();
  TCB* task = qv::TaskOf(id);
  if (task == nullptr || (on && task == kernel.superhot)) return;
  qv::TakeSuperHotBack(kernel);
  if (!on) return;
  kernel.superhot = task;
  // One that waits stays where its wait is kept.
  if (task->state == qv::TaskState::kReady) qv::LeaveList(task);
}

bool ZRTaskIsSuperHot(TaskId id) {
  const TCB* task = qv::TaskOf(id);
  return task != nullptr && task == qv::TheKernel().superhot;
}

uint32_t ZRTaskGetNumber(TaskId id) { return qv::FieldOf(id, &TCB::number); }

void ZRTaskSetNumber(uint32_t number) {
  if (TCB* task = qv::TaskOf(0)) task->number = number;
}

uint32_t ZRTaskAssignSerial(TaskId id) {
  TCB* task = qv::TaskOf(id);
  if (task == nullptr) return 0;
  uint32_t& last = qv::TheKernelConfiguration().last_serial;
  if (++last == 0) ++last;
  return task->serial = last;
}

uint32_t ZRTaskGetSerial(TaskId id) { return qv::FieldOf(id, &TCB::serial); }

uintptr_t ZRTaskGetTag(TaskId id) { return qv::FieldOf(id, &TCB::tag); }

uintptr_t ZRTaskGetUserWord(TaskId id) { return qv::FieldOf(id, &TCB::user); }

void ZRTaskSetUserWord(TaskId id, uintptr_t word) {
  if (TCB* task = qv::TaskOf(id)) task->user = word;
}

qv::TaskState ZRTaskGetState(TaskId id) {
  return qv::FieldOf(id, &TCB::state, qv::TaskState::kDead);
}

TaskId ZRTaskCurrent() {
  const TCB* task = qv::TaskOf(0);
  return task != nullptr ? task->id : 0;
}

TaskId ZRTaskPrevious() {
  const TCB* task = qv::TheKernel().previous;
  return task != nullptr ? task->id : 0;
}

uintptr_t ZRTaskGetParam() { return qv::FieldOf(0, &TCB::parameter); }

void ZRTaskSetParam(TaskId id, uintptr_t value) {
  TCB* task = qv::TaskOf(id);
  if (task == nullptr) return;
  task->parameter = value;
  if (id == 0) *qv::TheKernel().current_parameter = value;
}
