// A point in time that is still to come, or has passed.
//
//   auto timer = qv::DeadlineTimer::AfterMilliseconds(500);
//   while (!timer.Expired()) ...
//
// Deadlines stand on the microsecond clock, except those of AfterWallSeconds: they follow the
// wall clock in whole seconds, also when it is set. Threads: one at a time.
#pragma once

#include <cstdint>

namespace qv {

class DeadlineTimer {
 public:
  static constexpr uint64_t kNever = UINT64_MAX;
  // More ticks than this count as this many.
  static constexpr int32_t kMostTicks = 35791394;

  // Expired from the start, as the one of 0 ticks.
  constexpr DeadlineTimer() = default;
  // Ticks are sixtieths of a second; with 0 or less the timer is expired.
  static DeadlineTimer AfterTicks(int32_t ticks);
  static DeadlineTimer AfterMilliseconds(uint32_t milliseconds);
  static DeadlineTimer AfterSeconds(uint32_t seconds);
  static DeadlineTimer AfterWallSeconds(uint32_t seconds);
  static constexpr DeadlineTimer Never() {
    DeadlineTimer timer;
    timer.deadline_ = kNever;
    return timer;
  }

  bool Expired() const;
  // Microseconds, 0 when expired, kNever for a timer that never is.
  uint64_t MicrosecondsLeft() const;

  // A word for the timer's user; nothing here reads it.
  uintptr_t parameter = 0;

 private:
  enum class Mode : uint32_t { kMicroseconds = 0, kWallSeconds = 1 };
  static DeadlineTimer After(uint64_t microseconds);

  uint64_t start_ = 0;     // microseconds
  uint64_t deadline_ = 0;  // microseconds
  uint32_t wall_deadline_ = 0;
  Mode mode_ = Mode::kMicroseconds;
};

}  // namespace qv
