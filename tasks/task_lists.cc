#include "tasks/task_lists.h"

namespace qv {

void TaskList::Append(TCB* task) {
  Unlink(task);
  task->list = this;
  task->previous = tail;
  (tail != nullptr ? tail->next : head) = task;
  tail = task;
  ++count;
}

void TaskList::Prepend(TCB* task) {
  Unlink(task);
  task->list = this;
  task->next = head;
  (head != nullptr ? head->previous : tail) = task;
  head = task;
  ++count;
}

void Unlink(TCB* task) {
  TaskList* list = task->list;
  if (list == nullptr) return;
  (task->previous != nullptr ? task->previous->next : list->head) = task->next;
  (task->next != nullptr ? task->next->previous : list->tail) = task->previous;
  --list->count;
  task->next = task->previous = nullptr;
  task->list = nullptr;
}

bool IsConsistent(const TaskList& list) {
  uint32_t seen = 0;
  const TCB* before = nullptr;
  for (const TCB* task = list.head; task != nullptr; before = task, task = task->next) {
    if (task->list != &list || task->previous != before || ++seen > list.count) return false;
  }
  return seen == list.count && list.tail == before;
}

const char* TaskStateName(TaskState state) {
  static constexpr const char* kNames[] = {"Ready",     "Waiting",  "ReplyWait", "IOWait",
                                           "TimedWait", "SemaWait", "Idle",      "Dead"};
  const auto index = static_cast<uint32_t>(state);
  return index < sizeof kNames / sizeof kNames[0] ? kNames[index] : "";
}

}  // namespace qv
