#include "base/clock.h"

#include <atomic>
#include <cstdio>

#include "base/hooks.h"
#include "base/lock_object.h"
#include "base/never_destroyed.h"
#include "platform/interrupt_time.h"
#include "platform/windows_api.h"

namespace qv {
namespace {

constexpr uint64_t kInterruptUnitsPerMicrosecond = 10;
constexpr double kFrequencyUnitsPerMegahertz = 10;  // of the setting, 100 kHz each

struct ClockState {
  LockObject lock;
  std::atomic<bool> started{false};
  // Set once under the lock, before `started`.
  double counts_per_microsecond = 0;  // 0: interrupt time
  int64_t first_count = 0;
  uint64_t base = 0;  // raw microseconds at clock time 0
  // The latest reading, by whichever thread.
  std::atomic<uint64_t> last{0};
};

// Threads read the clock until they end, so it is never destroyed. No local static, whose first use
// would be looked for at each reading.
constinit NeverDestroyed<ClockState> state;

ClockState& State() { return state.value; }

template <typename... Values>
void Report(const char* format, Values... values) {
  char line[128];
  std::snprintf(line, sizeof line, format, values...);
  GlobalHooks().write_debugger_text(line);
}

int64_t PerformanceCount() {
  LARGE_INTEGER count{};
  QueryPerformanceCounter(&count);
  return count.QuadPart;
}

// Chooses the performance counter when the settings want it and it is fast enough.
void ChooseSource(ClockState& clock) {
  const ClockSettings settings = GlobalHooks().read_clock_settings();
  clock.counts_per_microsecond = 0;
  if (settings.use_performance_counter != 1) return;
  LARGE_INTEGER frequency{};
  QueryPerformanceFrequency(&frequency);
  const double megahertz = static_cast<double>(frequency.QuadPart) / 1000000.0;
  if (settings.minimum_frequency_100_khz >= megahertz * kFrequencyUnitsPerMegahertz) {
    Report("ZRTask: WARNING HPET frequency %f. Disabled.\n", megahertz);
    return;
  }
  clock.first_count = PerformanceCount();
  clock.counts_per_microsecond = megahertz;
  Report("ZRTask: HPET frequency %f.\n", megahertz);
  Report("ZRTask: HPET counter start %u.\n", static_cast<unsigned>(clock.first_count));
}

uint64_t RawReading(const ClockState& clock) {
  if (clock.counts_per_microsecond == 0) {
    return platform::InterruptTime() / kInterruptUnitsPerMicrosecond;
  }
  const auto counts = static_cast<double>(PerformanceCount() - clock.first_count);
  return static_cast<uint64_t>(counts / clock.counts_per_microsecond);
}

// Not in line: the room for its texts would lie on the stack of every reading, between its frame
// and those of its calls, in lines of the cache that nothing else uses.
[[gnu::noinline]] void StartOnce(ClockState& clock) {
  ScopedLock hold(clock.lock);
  if (clock.started.load(std::memory_order_relaxed)) return;
  ChooseSource(clock);
  const uint64_t raw = RawReading(clock);
  clock.base = raw > kMicrosecondsPerSecond ? raw - kMicrosecondsPerSecond : raw;
  clock.last.store(0, std::memory_order_relaxed);
  clock.started.store(true, std::memory_order_release);
}

// A thread that read earlier but arrives later must not turn the clock back.
uint64_t Advance(ClockState& clock, uint64_t now) {
  uint64_t last = clock.last.load(std::memory_order_relaxed);
  while (last < now && !clock.last.compare_exchange_weak(last, now, std::memory_order_relaxed)) {
  }
  return last < now ? now : last;
}

}  // namespace

void ResetClockForTest() {
  ClockState& clock = State();
  ScopedLock hold(clock.lock);
  clock.started.store(false, std::memory_order_release);
}

}  // namespace qv

uint64_t ZRMicroseconds(bool fresh) {
  qv::ClockState& clock = qv::State();
  if (!clock.started.load(std::memory_order_acquire)) qv::StartOnce(clock);
  if (!fresh) {
    const uint64_t last = clock.last.load(std::memory_order_relaxed);
    if (last != 0 && qv::GlobalHooks().switching_allowed()) return last;
  }
  const uint64_t raw = qv::RawReading(clock);
  return qv::Advance(clock, raw > clock.base ? raw - clock.base : 0);
}

uint32_t ZRMicroseconds32(bool fresh) { return static_cast<uint32_t>(ZRMicroseconds(fresh)); }

uint32_t ZRMilliseconds(bool fresh) {
  return static_cast<uint32_t>(ZRMicroseconds(fresh) / qv::kMicrosecondsPerMillisecond);
}
