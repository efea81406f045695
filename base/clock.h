// The microsecond clock of the process, and conversions to milliseconds and ticks.
//
//   uint64_t start = ZRMicroseconds(true);
//
// The clock counts from its own first reading, which is one second (or less on a machine that has
// just started). It follows the system's interrupt time or, by setting, the performance counter; a
// counter that is too slow is reported to the system's debugger and not used. It never runs
// backwards. Threads: any.
#pragma once

#include <cstdint>

// Microseconds. A reading that need not be fresh may be the last one, while the caller could give
// up the processor to other tasks: the kernel takes a fresh one at each switch.
uint64_t ZRMicroseconds(bool fresh);
// The same, cut to 32 bits, and in milliseconds.
uint32_t ZRMicroseconds32(bool fresh);
uint32_t ZRMilliseconds(bool fresh);

namespace qv {

constexpr uint64_t kMicrosecondsPerMillisecond = 1000;
constexpr uint64_t kMicrosecondsPerSecond = 1000000;

// Ticks are sixtieths of a second; results are cut, not rounded.
constexpr uint64_t MicrosecondsFromTicks(uint32_t ticks) { return uint64_t{ticks} * 100000 / 6; }
constexpr uint64_t TicksFromMicroseconds(uint64_t micros) {
  return micros / kMicrosecondsPerSecond * 60 +
         micros % kMicrosecondsPerSecond * 60 / kMicrosecondsPerSecond;
}

// The next reading is a first one again: settings are read anew.
void ResetClockForTest();

}  // namespace qv
