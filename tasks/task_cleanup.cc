#include "tasks/task_cleanup.h"

#include "tasks/kernel_state.h"
#include "tasks/kernel_thread.h"

namespace qv {
namespace {

TCB* RunningTask() {
  if (!ZRIsKernelThread() || !TheKernel().switched) return nullptr;
  return TheKernel().current.load(std::memory_order_relaxed);
}

}  // namespace

TaskCleanup::TaskCleanup(Function function) : function_(function), task_(RunningTask()) {
  if (task_ == nullptr) return;
  outer_ = task_->cleanups;
  task_->cleanups = this;
}

TaskCleanup::~TaskCleanup() {
  if (task_ != nullptr) task_->cleanups = outer_;
}

void RunCleanups(TCB* task) {
  while (TaskCleanup* innermost = task->cleanups) {
    task->cleanups = innermost->outer_;
    innermost->task_ = nullptr;
    innermost->function_(innermost);
  }
}

}  // namespace qv
