#include "tasks/timed_wheel.h"

namespace qv {

void TimedWheel::Clear() {
  for (TaskList& slot : slots_) slot = {.is_timed_slot = 1};
  count_ = last_slot_ = 0;
}

uint32_t TimedWheel::Add(TCB* task) {
  const uint32_t slot = SlotOf(task->wake_time);
  BeforeLeaving(task);
  slots_[slot].Append(task);
  ++count_;
  return slot;
}

TimedWheel::Scan TimedWheel::PlanScan(uint64_t now, bool full) const {
  if (full) return {.full = true, .end = kSlots - 1};
  const uint32_t target = SlotOf(now);
  return {.start = last_slot_, .target = target, .end = last_slot_ <= target ? target : kSlots - 1};
}

TCB* TimedWheel::FirstEarly() const {
  for (const TaskList& slot : slots_) {
    if (slot.head != nullptr && (slot.head->flags & kMayWakeEarly) != 0) return slot.head;
  }
  return nullptr;
}

bool TimedWheel::CheckInvariants() const {
  uint32_t tasks = 0;
  for (uint32_t index = 0; index < kSlots; ++index) {
    const TaskList& slot = slots_[index];
    if (!IsConsistent(slot)) return false;
    for (const TCB* task = slot.head; task != nullptr; task = task->next) {
      if (SlotOf(task->wake_time) != index) return false;
    }
    tasks += slot.count;
  }
  return tasks == count_;
}

}  // namespace qv
