// Sleepers of four common durations, each on a list of its own in the order of their wake times, so
// that a check looks at heads only. Used by setting in place of the timed wheel.
//
// Lists 0 to 3 hold waits of 1001, 100001, 500001 and 1000001 microseconds; lists 4 to 7 waits of
// the same durations that may end early.
#pragma once

#include <cstdint>
#include <utility>

#include "tasks/task_lists.h"

namespace qv {

class ParkedLists {
 public:
  static constexpr uint32_t kDurations = 4;

  // True for one of the four durations.
  static bool Takes(uint64_t micros) { return IndexOf(micros) < kDurations; }
  void Add(TCB* task, uint64_t micros, bool may_wake_early) {
    lists_[IndexOf(micros) + (may_wake_early ? kDurations : 0)].Append(task);
  }

  // Calls wake(task) for what is due at `now`, or for all: of lists 0 to 3 at most the head, whose
  // wait is cut short when it is longer than its list allows; of lists 4 to 7 every one.
  template <typename Wake>
  void Check(uint64_t now, bool wake_all, Wake wake) {
    for (uint32_t i = 0; i < kDurations; ++i) {
      TaskList& list = lists_[i];
      if (wake_all) {
        while (!list.Empty()) wake(list.head);
      } else if (!list.Empty() && HeadIsDue(list.head, kLimits[i], now)) {
        wake(list.head);
      }
    }
    for (uint32_t i = kDurations; i < 2 * kDurations; ++i) {
      TaskList& list = lists_[i];
      while (!list.Empty() && (wake_all || list.head->wake_time <= now)) wake(list.head);
    }
  }

  // The head of the first list that may be woken early; null when there is none.
  TCB* FirstEarly() const;
  bool CheckInvariants() const;
  void Clear() { *this = {}; }

 private:
  static constexpr uint64_t kWaits[kDurations] = {1001, 100001, 500001, 1000001};
  // The second one is shorter than its waits, which therefore end early.
  static constexpr uint64_t kLimits[kDurations] = {1001, 10001, 500001, 1000001};

  static uint32_t IndexOf(uint64_t micros);
  static bool HeadIsDue(TCB* head, uint64_t limit, uint64_t now);

  TaskList lists_[2 * kDurations];
};

}  // namespace qv
