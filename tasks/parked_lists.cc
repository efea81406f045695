#include "tasks/parked_lists.h"

namespace qv {

uint32_t ParkedLists::IndexOf(uint64_t micros) {
  uint32_t index = 0;
  while (index < kDurations && kWaits[index] != micros) ++index;
  return index;
}

// A wait longer than the limit becomes one that is due at the next check.
bool ParkedLists::HeadIsDue(TCB* head, uint64_t limit, uint64_t now) {
  if (head->wake_time < now) return true;
  if (head->wake_time - now > limit) head->wake_time = 0;
  return false;
}

TCB* ParkedLists::FirstEarly() const {
  for (uint32_t i = kDurations; i < 2 * kDurations; ++i) {
    if (!lists_[i].Empty()) return lists_[i].head;
  }
  return nullptr;
}

bool ParkedLists::CheckInvariants() const {
  for (const TaskList& list : lists_) {
    if (!IsConsistent(list)) return false;
  }
  return true;
}

}  // namespace qv
