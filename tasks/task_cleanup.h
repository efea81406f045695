// What has to be undone when a task is killed in the middle of its work. Its stack is never
// unwound, so destructors do not run; a cleanup does.
//
//   class Turn : qv::TaskCleanup {
//    public:
//     Turn() : TaskCleanup([](TaskCleanup* self) { static_cast<Turn*>(self)->GiveBack(); }) {}
//     ~Turn() { GiveBack(); }
//   };
//
// The object lies on the stack of its task, and its function is called in place of its destructor:
// by the kill, before anything of the task is freed, the innermost first. The function may touch
// whatever the task could, and ready other tasks; it must not wait. A task that is killed while a
// worker has its job goes when the job has been collected, so no worker uses the stack any more.
//
// Threads: the kernel thread. Elsewhere, and where no task runs, there is nobody to be killed, and
// the function is never called.
#pragma once

struct TCB;

namespace qv {

class TaskCleanup {
 public:
  using Function = void (*)(TaskCleanup* self);

  // For the running task.
  explicit TaskCleanup(Function function);
  ~TaskCleanup();
  TaskCleanup(const TaskCleanup&) = delete;
  TaskCleanup& operator=(const TaskCleanup&) = delete;

  // Whether a task runs here that can be killed, or wait.
  bool HasTask() const { return task_ != nullptr; }

 private:
  friend void RunCleanups(TCB* task);

  Function function_;
  TCB* task_;  // null: none
  TaskCleanup* outer_ = nullptr;
};

// The task is about to go.
void RunCleanups(TCB* task);

}  // namespace qv
