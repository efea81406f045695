// The lists that tasks stand on: first in, first out, linked through the tasks themselves.
//
// A task is on at most one list; Append takes it off the one that it is on. Each call takes a
// constant time.
#pragma once

#include <cstdint>

#include "tasks/task.h"

namespace qv {

struct TaskList {
  TCB* head = nullptr;
  TCB* tail = nullptr;
  uint32_t count = 0;
  uint32_t is_timed_slot = 0;  // 1 for the slots of the timed wheel

  bool Empty() const { return head == nullptr; }
  void Append(TCB* task);
  void Prepend(TCB* task);
};

// Takes the task off its list, if it is on one. Its neighbours keep their order.
void Unlink(TCB* task);

// Begins to fetch what a run of the task and a timed wait touch of its block.
inline void PrefetchBlock(const TCB* task) {
  __builtin_prefetch(&task->next);
  __builtin_prefetch(&task->state);
  __builtin_prefetch(&task->fiber);
  __builtin_prefetch(&task->runs);
  __builtin_prefetch(&task->ready_time);
  __builtin_prefetch(&task->wake_time);
}

// True when the links, the count and the tasks' own pointers fit each other.
bool IsConsistent(const TaskList& list);

}  // namespace qv
