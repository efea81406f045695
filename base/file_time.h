// The platform's file times (units of 100 nanoseconds from 1 January 1601) as framework times
// (seconds from 1 January 1904), and back. Both are on the same clock, whichever that is.
#pragma once

#include <cstdint>

namespace qv {

constexpr uint64_t kFileTimeUnitsPerSecond = 10'000'000;
constexpr uint64_t kFileTimeOf1904 = 9'561'628'800 * kFileTimeUnitsPerSecond;

// A time before 1904 gives 0, one after February 2040 the largest value.
constexpr uint32_t FrameworkTimeFromFileTime(uint64_t file_time) {
  if (file_time < kFileTimeOf1904) return 0;
  const uint64_t seconds = (file_time - kFileTimeOf1904) / kFileTimeUnitsPerSecond;
  return static_cast<uint32_t>(seconds < UINT32_MAX ? seconds : UINT32_MAX);
}

constexpr uint64_t FileTimeFromFrameworkTime(uint32_t time) {
  return kFileTimeOf1904 + time * kFileTimeUnitsPerSecond;
}

}  // namespace qv
