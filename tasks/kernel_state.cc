#include "tasks/kernel_state.h"

namespace qv {
constinit KernelHolder kernel_holder;

KernelConfiguration& TheKernelConfiguration() {
  static constinit KernelConfiguration configuration;
  return configuration;
}

WorkerLink& TheWorkerLink() {
  static constinit WorkerLink link;
  return link;
}

TCB* TaskOf(TaskId id) {
  return id == 0 ? TheKernel().current.load(std::memory_order_relaxed) : ZRTaskFindTask(id);
}

TCB* ChooseNext() {
  TCB* next = PickNextTask();
  return next != nullptr ? next : EndOfLoop();
}

void ChooseAndSwitch() { HandleTaskSwitch(TheKernel().current, ChooseNext()); }

void LeaveList(TCB* task) {
  TheKernel().wheel.BeforeLeaving(task);
  Unlink(task);
}

void PutOnReadyList(TCB* task) {
  KernelState& kernel = TheKernel();
  LeaveList(task);
  if (task == kernel.superhot) return;
  if (task->IsHot()) {
    kernel.hot.Append(task);
  } else {
    kernel.next->Append(task);
    ++kernel.insertions;
  }
}

bool CompleteJob(TaskId id, const void* job) {
  TCB* task = ZRTaskFindTask(id);
  if (task == nullptr || task->state != TaskState::kIOWait ||
      task->wait_argument != reinterpret_cast<uintptr_t>(job)) {
    return false;
  }
  MakeReady(task);
  if ((task->flags & kKillDeferred) != 0) ZRTaskKill(id);
  return true;
}

SwitchingHold::SwitchingHold() { TheKernel().exceptions.fetch_add(1); }
SwitchingHold::~SwitchingHold() { TheKernel().exceptions.fetch_sub(1); }

}  // namespace qv

bool ZRTaskSwitchingAllowed() {
  const qv::KernelState& kernel = qv::TheKernel();
  return kernel.end_nesting == 0 && qv::RegionAllowsSwitch(kernel);
}

bool ZRTaskIsValid(TaskId task) { return ZRTaskFindTask(task) != nullptr; }

TCB* ZRTaskFindTask(TaskId task) {
  const qv::KernelState& kernel = qv::TheKernel();
  if (task == 0 || kernel.registry == nullptr) return nullptr;
  // Known ids are addresses of live blocks; nothing else is looked at.
  if (!kernel.registry->Lookup(&task, sizeof task, nullptr, nullptr)) return nullptr;
  auto* block = reinterpret_cast<TCB*>(task);
  return block->cookie == (task ^ TCB::kCookieMask) ? block : nullptr;
}
