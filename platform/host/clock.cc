#include "platform/host/clock.h"

#include <chrono>
#include <mutex>
#include <thread>

#include "platform/host/calls.h"
#include "platform/host/control.h"
#include "platform/host/process.h"
#include "platform/host/synchronization.h"

namespace host {
namespace {

struct Clock {
  std::mutex mutex;
  bool frozen = false;
  DWORD ticks = 0;  // while frozen
  DWORD step = 0;   // added by each reading while frozen
};

Clock& State() {
  static auto& state = *new Clock;
  return state;
}

// Moves a frozen clock on. False when it runs.
bool Advance(DWORD milliseconds) {
  Clock& clock = State();
  std::lock_guard hold(clock.mutex);
  if (clock.frozen) clock.ticks += milliseconds;
  return clock.frozen;
}

}  // namespace

bool TicksFrozen() {
  Clock& clock = State();
  std::lock_guard hold(clock.mutex);
  return clock.frozen;
}

void PassTime(DWORD milliseconds) {
  if (Advance(milliseconds)) return;
  if (milliseconds == 0) {
    std::this_thread::yield();
    return;
  }
  do {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
  } while (milliseconds == INFINITE);
}

uint64_t RealMilliseconds() {
  auto now = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

void FreezeTicks(DWORD ticks, DWORD step) {
  Clock& clock = State();
  std::lock_guard hold(clock.mutex);
  clock.frozen = true;
  clock.ticks = ticks;
  clock.step = step;
}

void AdvanceTicks(DWORD milliseconds) { Advance(milliseconds); }

void ThawTicks() {
  Clock& clock = State();
  std::lock_guard hold(clock.mutex);
  clock.frozen = false;
}

}  // namespace host

DWORD GetTickCount(void) {
  host::Enter(__func__);
  host::Clock& clock = host::State();
  std::lock_guard hold(clock.mutex);
  if (!clock.frozen) return static_cast<DWORD>(host::RealMilliseconds());
  DWORD now = clock.ticks;
  clock.ticks += clock.step;
  return now;
}

void Sleep(DWORD milliseconds) {
  host::Enter(__func__);
  host::PassTime(milliseconds);
}
