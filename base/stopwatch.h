// Elapsed time since a start, on the microsecond clock.
//
//   qv::Stopwatch watch;                       // runs from here
//   uint32_t waited = watch.Milliseconds();
//
// A value that 32 bits do not hold reads 0xFFFFFFFF. Threads: one at a time.
#pragma once

#include <cstdint>

#include "base/clock.h"

namespace qv {

class Stopwatch {
 public:
  static constexpr uint32_t kTooLong = 0xFFFFFFFF;

  Stopwatch() : start_(ZRMicroseconds(true)) {}

  void Restart() { start_ = ZRMicroseconds(true); }
  uint64_t Start() const { return start_; }

  uint32_t Microseconds() const { return Fit(Elapsed()); }
  uint32_t Milliseconds() const { return Fit(Elapsed() / kMicrosecondsPerMillisecond); }
  // Sixtieths of a second.
  uint32_t Ticks() const { return Fit(TicksFromMicroseconds(Elapsed())); }
  double Seconds() const {
    return static_cast<double>(Elapsed()) / static_cast<double>(kMicrosecondsPerSecond);
  }

 private:
  uint64_t Elapsed() const { return ZRMicroseconds(true) - start_; }
  static constexpr uint32_t Fit(uint64_t value) {
    return value > kTooLong ? kTooLong : static_cast<uint32_t>(value);
  }

  uint64_t start_;
};

}  // namespace qv
