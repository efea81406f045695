#include "base/deadline_timer.h"

#include <algorithm>
#include <ctime>

#include "base/clock.h"

namespace qv {
namespace {

uint32_t WallSeconds() { return static_cast<uint32_t>(std::time(nullptr)); }

}  // namespace

DeadlineTimer DeadlineTimer::After(uint64_t microseconds) {
  DeadlineTimer timer;
  timer.start_ = ZRMicroseconds(true);
  timer.deadline_ = timer.start_ + microseconds;
  return timer;
}

DeadlineTimer DeadlineTimer::AfterTicks(int32_t ticks) {
  if (ticks <= 0) return {};
  return After(MicrosecondsFromTicks(static_cast<uint32_t>(std::min(ticks, kMostTicks))));
}

DeadlineTimer DeadlineTimer::AfterMilliseconds(uint32_t milliseconds) {
  return After(milliseconds * kMicrosecondsPerMillisecond);
}

DeadlineTimer DeadlineTimer::AfterSeconds(uint32_t seconds) {
  return After(seconds * kMicrosecondsPerSecond);
}

DeadlineTimer DeadlineTimer::AfterWallSeconds(uint32_t seconds) {
  DeadlineTimer timer;
  timer.mode_ = Mode::kWallSeconds;
  timer.start_ = ZRMicroseconds(true);
  timer.wall_deadline_ = WallSeconds() + seconds;
  return timer;
}

bool DeadlineTimer::Expired() const {
  if (mode_ == Mode::kWallSeconds) return WallSeconds() >= wall_deadline_;
  if (deadline_ == kNever) return false;
  if (start_ == 0 && deadline_ == 0) return true;
  return deadline_ < ZRMicroseconds(true);
}

uint64_t DeadlineTimer::MicrosecondsLeft() const {
  if (mode_ == Mode::kWallSeconds) {
    const uint32_t now = WallSeconds();
    return now >= wall_deadline_ ? 0 : (wall_deadline_ - now) * kMicrosecondsPerSecond;
  }
  if (deadline_ == kNever) return kNever;
  const uint64_t now = ZRMicroseconds(true);
  return now >= deadline_ ? 0 : deadline_ - now;
}

}  // namespace qv
