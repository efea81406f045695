#include "tasks/task_object.h"

#include "tasks/scheduler.h"
#include "tasks/task_info.h"
#include "tasks/waits.h"

namespace qv {

TaskObject::~TaskObject() {
  if (task_ != 0 && task_ != ZRTaskCurrent()) ZRTaskKill(task_);
}

TaskId TaskObject::Start() {
  if (task_ == 0) {
    task_ = ZRTaskCreate(stack_size_ != 0 ? stack_size_ : kUsualStack, Body,
                         reinterpret_cast<uintptr_t>(this));
  }
  const TaskId task = task_;
  if (task != 0) ZRTaskYield();
  return task;
}

void TaskObject::Body(TCB* task) {
  auto* object = reinterpret_cast<TaskObject*>(task->parameter);
  object->Run();
  ZRTaskYield();
  delete object;
}

}  // namespace qv
