#include "diag/system/processor_speed.h"

#include "base/lock_object.h"
#include "base/never_destroyed.h"
#include "platform/windows_api.h"

namespace qv {
namespace {

constexpr char kProcessorKey[] = "HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0";
constexpr const char* kValueNames[] = {"~MHz", "~Mhz", "~mhz"};
constexpr uint32_t kSpeedCount = 3;

struct SpeedState {
  LockObject lock;  // guards all below
  bool read = false;
  uint32_t speeds[kSpeedCount] = {};  // MHz, by kind
};

// Asked for until the last thread ends, so the lock is never destroyed.
SpeedState& State() {
  static constinit NeverDestroyed<SpeedState> state;
  return state.value;
}

// 0 when the key has no such number.
uint32_t ReadNumber(HKEY key, const char* name) {
  DWORD value = 0, type = 0, size = sizeof value;
  LSTATUS status =
      RegQueryValueExA(key, name, nullptr, &type, reinterpret_cast<LPBYTE>(&value), &size);
  return status == 0 && type == REG_DWORD && size == sizeof value ? value : 0;
}

uint32_t ReadRegistrySpeed() {
  HKEY key = nullptr;
  if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, kProcessorKey, 0, KEY_READ, &key) != 0) return 0;
  uint32_t speed = 0;
  for (const char* name : kValueNames) {
    speed = ReadNumber(key, name);
    if (speed != 0) break;
  }
  RegCloseKey(key);
  return speed;
}

}  // namespace

void ResetProcessorSpeedForTest() {
  SpeedState& state = State();
  ScopedLock hold(state.lock);
  state.read = false;
  for (uint32_t& speed : state.speeds) speed = 0;
}

}  // namespace qv

uint32_t ZRProcessorSpeed(uint32_t kind, bool refresh) {
  qv::SpeedState& state = qv::State();
  qv::ScopedLock hold(state.lock);
  if (refresh || !state.read) {
    state.speeds[kProcessorSpeedRegistry] = qv::ReadRegistrySpeed();
    state.read = true;
  }
  if (kind < qv::kSpeedCount) return state.speeds[kind];
  const uint32_t registry = state.speeds[kProcessorSpeedRegistry];
  return registry != 0 ? registry : state.speeds[kProcessorSpeedNominal];
}
