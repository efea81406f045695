#include "platform/host/clock.h"

#include <time.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <type_traits>

#include "platform/host/calls.h"
#include "platform/host/control.h"
#include "platform/host/counter_clock.h"
#include "platform/host/process.h"
#include "platform/host/processor_counter.h"
#include "platform/host/synchronization.h"
#include "platform/host/thread_object.h"

namespace host {
namespace {

struct Clock {
  std::mutex mutex;
  std::atomic<bool> frozen = false;  // changes under the mutex; the running clock does without it
  uint64_t micros = 0;               // while frozen; ticks are its milliseconds
  uint64_t step = 0;                 // microseconds that each reading adds while frozen
  bool wall_frozen = false;
  SYSTEMTIME wall{};
};

constexpr uint64_t kMicrosPerTick = 1000, kNanosPerMicro = 1000;
constexpr uint64_t kCountsPerMicro = 10;  // performance counter and interrupt time

// Threads read the clock until they end: it is nothing that is destroyed.
static_assert(std::is_trivially_destructible_v<Clock>);
constinit Clock state;

Clock& State() { return state; }

// Moves a frozen clock on. False when it runs.
bool Advance(uint64_t micros) {
  Clock& clock = State();
  std::lock_guard hold(clock.mutex);
  if (clock.frozen) clock.micros += micros;
  return clock.frozen;
}

SYSTEMTIME RealLocalTime() {
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  tm local;
  localtime_r(&now.tv_sec, &local);
  auto word = [](int value) { return static_cast<WORD>(value); };
  return {word(local.tm_year + 1900), word(local.tm_mon + 1),
          word(local.tm_wday),        word(local.tm_mday),
          word(local.tm_hour),        word(local.tm_min),
          word(local.tm_sec),         word(static_cast<int>(now.tv_nsec / 1000000))};
}

uint64_t RealMicroseconds() { return ProcessorCounter::Nanoseconds() / kNanosPerMicro; }

constinit CounterClock<ProcessorCounter> counter_clock;

// The same by the counter: each switch of tasks reads it.
uint64_t CountedMicroseconds() { return counter_clock.Nanoseconds() / kNanosPerMicro; }

// One reading of the clock: the frozen one, or what `real` gives.
uint64_t ReadMicroseconds(uint64_t (*real)()) {
  Clock& clock = State();
  if (!clock.frozen.load(std::memory_order_acquire)) return real();
  std::lock_guard hold(clock.mutex);
  if (!clock.frozen) return real();
  const uint64_t now = clock.micros;
  clock.micros += clock.step;
  return now;
}

}  // namespace

bool TicksFrozen() {
  Clock& clock = State();
  std::lock_guard hold(clock.mutex);
  return clock.frozen;
}

void PassTime(DWORD milliseconds) {
  if (Advance(milliseconds * kMicrosPerTick)) return;
  if (milliseconds == 0) {
    std::this_thread::yield();
    return;
  }
  // NOLINTNEXTLINE(bugprone-infinite-loop): INFINITE is for ever
  do {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
  } while (milliseconds == INFINITE);
}

uint64_t RealMilliseconds() { return RealMicroseconds() / kMicrosPerTick; }

uint64_t InterruptTime() { return ReadMicroseconds(CountedMicroseconds) * kCountsPerMicro; }

void FreezeMicroseconds(uint64_t micros, uint64_t step) {
  Clock& clock = State();
  std::lock_guard hold(clock.mutex);
  clock.frozen = true;
  clock.micros = micros;
  clock.step = step;
}

void FreezeTicks(DWORD ticks, DWORD step) {
  FreezeMicroseconds(ticks * kMicrosPerTick, step * kMicrosPerTick);
}

void AdvanceTicks(DWORD milliseconds) { Advance(milliseconds * kMicrosPerTick); }

void AdvanceMicroseconds(uint64_t micros) { Advance(micros); }

void ThawTicks() {
  Clock& clock = State();
  std::lock_guard hold(clock.mutex);
  clock.frozen = clock.wall_frozen = false;
}

void FreezeLocalTime(const SYSTEMTIME& time) {
  Clock& clock = State();
  std::lock_guard hold(clock.mutex);
  clock.wall_frozen = true;
  clock.wall = time;
}

}  // namespace host

DWORD GetTickCount(void) {
  host::Enter(__func__);
  return static_cast<DWORD>(host::ReadMicroseconds(host::RealMicroseconds) / host::kMicrosPerTick);
}

void GetLocalTime(SYSTEMTIME* time) {
  host::Enter(__func__);
  host::Clock& clock = host::State();
  std::lock_guard hold(clock.mutex);
  *time = clock.wall_frozen ? clock.wall : host::RealLocalTime();
}

void Sleep(DWORD milliseconds) {
  host::Enter(__func__);
  host::PassTime(milliseconds);
}

BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency) {
  if (DWORD fault = host::Enter(__func__)) return host::Fail(fault, FALSE);
  frequency->QuadPart = static_cast<int64_t>(host::kCountsPerMicro * 1000000);
  return TRUE;
}

BOOL QueryPerformanceCounter(LARGE_INTEGER* count) {
  if (DWORD fault = host::Enter(__func__)) return host::Fail(fault, FALSE);
  count->QuadPart = static_cast<int64_t>(host::InterruptTime());
  return TRUE;
}

DWORD SleepEx(DWORD milliseconds, BOOL alertable) {
  host::Enter(__func__);
  if (alertable) return host::SleepAlertably(milliseconds);
  host::PassTime(milliseconds);
  return 0;
}
