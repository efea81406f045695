// A task as an object: derive, say what it does in Run, start it.
//
//   class Copier : public qv::TaskObject { void Run() override { ... } };
//   (new Copier)->Start();                // deletes itself when Run has returned
//
// Threads: the kernel thread. Ownership: a started object belongs to its task. Deleting it from
// another task kills the task; a task that is killed does not delete its object.
#pragma once

#include <cstdint>

#include "tasks/task.h"

namespace qv {

class TaskObject {
 public:
  // 0 stands for kUsualStack bytes.
  explicit TaskObject(uint32_t stack_size = 0) : stack_size_(stack_size) {}
  virtual ~TaskObject();
  TaskObject(const TaskObject&) = delete;
  TaskObject& operator=(const TaskObject&) = delete;

  virtual void Run() = 0;

  // Creates the task, once, and yields to it. Returns its id, which the object itself no longer
  // knows if it has ended meanwhile; 0 when it could not be created, and may be started again.
  TaskId Start();

  static constexpr uint32_t kUsualStack = 64000;

 private:
  static void Body(TCB* task);

  uint32_t stack_size_;
  TaskId task_ = 0;
};

}  // namespace qv
