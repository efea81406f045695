#include "time/task_mark.h"

#include "tasks/scheduler.h"
#include "tasks/task_info.h"

namespace qv {

void TaskMark::Set() {
  const TaskId task = GlobalHooks().current_task();
  const bool is_task = task != 0 && ZRTaskIsValid(task);
  // An empty mark stays untouched: without a kernel other threads may look at it.
  if (!is_task && task_ == 0) return;
  task_ = is_task ? task : 0;
  if (!is_task) return;
  serial_ = ZRTaskGetSerial(task);
  if (serial_ == 0) serial_ = ZRTaskAssignSerial(task);
}

bool TaskMark::IsGone() const {
  if (task_ == 0) return false;
  return !ZRTaskIsValid(task_) || ZRTaskGetSerial(task_) != serial_;
}

}  // namespace qv
