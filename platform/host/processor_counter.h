// The counter of the processor, as a source of CounterClock.
#pragma once

#include <cstdint>

#ifdef __x86_64__
#include <x86intrin.h>
#endif

namespace host {

struct ProcessorCounter {
  // True where the system itself keeps its time by the counter: it has then found that it runs at
  // one rate, through all states of the processors and on all of them the same.
  static bool IsUsable();

  // May be read before what stands in front of it has ended.
  static uint64_t Counter() {
#ifdef __x86_64__
    return __rdtsc();
#else
    return 0;
#endif
  }

  // Since some fixed time.
  static uint64_t Nanoseconds();
};

}  // namespace host
