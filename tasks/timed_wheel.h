// The sleeping tasks, by the millisecond in which they want to wake.
//
// A turn has 100 slots of one millisecond; a task stands in the slot of its wake time, however many
// turns away that is. A scan looks at the slots that have passed since the last one, and after more
// than a turn at all of them, and hands out what is due. Exactly one turn after the last scan it
// looks at one slot, so that a sleeper may wake up to a turn (100 ms) late.
#pragma once

#include <cstdint>

#include "tasks/task_lists.h"

namespace qv {

class TimedWheel {
 public:
  static constexpr uint32_t kSlots = 100;
  static constexpr uint64_t kMicrosecondsPerSlot = 1000;

  // What a scan did; the slots are as the trace shows them.
  struct Scan {
    bool full = false;
    uint32_t start = 0, target = 0, end = 0;
    uint32_t readied = 0;
    uint32_t seen = 0;  // looked at and left
  };

  constexpr TimedWheel() {
    for (TaskList& slot : slots_) slot.is_timed_slot = 1;
  }
  void Clear();

  static uint32_t SlotOf(uint64_t wake_time) {
    return static_cast<uint32_t>(wake_time / kMicrosecondsPerSlot % kSlots);
  }
  // Puts the task into the slot of its wake_time; returns the slot.
  uint32_t Add(TCB* task);
  // To be called for every task that is about to leave a slot; nothing for others.
  void BeforeLeaving(const TCB* task) {
    if (task->list != nullptr && task->list->is_timed_slot != 0) --count_;
  }

  // The slots that a scan at `now` visits.
  Scan PlanScan(uint64_t now, bool full) const;
  // Calls wake(slot, task) for each task of the plan's slots whose time is not after `now`; wake
  // takes it out of its slot.
  template <typename Wake>
  void Run(Scan* scan, uint64_t now, Wake wake) {
    for (uint32_t slot = scan->start; slot <= scan->end; ++slot) Visit(slot, scan, now, wake);
    if (!scan->full && last_slot_ > scan->target) {
      for (uint32_t slot = 0; slot <= scan->target; ++slot) Visit(slot, scan, now, wake);
    }
    last_slot_ = scan->target;
  }

  // The first task at the head of a slot that may be woken early; null when there is none.
  TCB* FirstEarly() const;

  uint32_t count() const { return count_; }
  void set_count(uint32_t count) { count_ = count; }
  const TaskList& slot(uint32_t index) const { return slots_[index]; }
  // Every slot is consistent, and the count is that of the tasks in them.
  bool CheckInvariants() const;

 private:
  template <typename Wake>
  void Visit(uint32_t slot, Scan* scan, uint64_t now, Wake wake) {
    for (TCB* task = slots_[slot].head; task != nullptr;) {
      TCB* next = task->next;
      if (next != nullptr) PrefetchBlock(next);
      if (task->wake_time <= now) {
        ++scan->readied;
        wake(slot, task);
      } else {
        ++scan->seen;
      }
      task = next;
    }
  }

  TaskList slots_[kSlots];
  uint32_t count_ = 0;      // of tasks in all slots
  uint32_t last_slot_ = 0;  // where the last scan ended
};

}  // namespace qv
