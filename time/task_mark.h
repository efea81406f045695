// Which task has some work in hand. A task that is killed leaves its work as it stands; those that
// wait for it see here that nobody is going to finish it.
//
// Threads: the kernel thread. Elsewhere, and without a kernel, a mark is empty and never gone.
#pragma once

#include <cstdint>

#include "base/hooks.h"

namespace qv {

class TaskMark {
 public:
  // Marks the running task. To be called by the one that has the work.
  void Set();
  // True when a task was marked and has ended since.
  bool IsGone() const;
  bool operator==(const TaskMark&) const = default;

 private:
  TaskId task_ = 0;
  uint32_t serial_ = 0;  // tells it from a later task with the same id
};

}  // namespace qv
