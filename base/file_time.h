// The platform's file times as framework times.
#pragma once

#include <cstdint>

namespace qv {

// Seconds from 1 January 1904 on the clock that `file_time` is on (units of 100 nanoseconds from 1
// January 1601). A time before 1904 gives 0, one after February 2040 the largest value.
constexpr uint32_t FrameworkTimeFromFileTime(uint64_t file_time) {
  constexpr uint64_t kUnitsPerSecond = 10'000'000;
  constexpr uint64_t kSecondsTo1904 = 9'561'628'800;
  constexpr uint64_t kLast = 0xFFFFFFFF;
  const uint64_t seconds = file_time / kUnitsPerSecond;
  if (seconds < kSecondsTo1904) return 0;
  const uint64_t time = seconds - kSecondsTo1904;
  return static_cast<uint32_t>(time < kLast ? time : kLast);
}

}  // namespace qv
