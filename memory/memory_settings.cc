#include "memory/memory_settings.h"

#include "app/settings.h"

namespace qv {
namespace {

constexpr int32_t kUnread = -1;

struct SettingsState {
  // Under the memory lock.
  MemorySettings values;
  bool check_free_read = false;
  bool reading = false;  // an operation made by the reading itself goes on with what is there
};

SettingsState& State() {
  static constinit SettingsState state;
  return state;
}

void ReadCheckFree(SettingsState& state) {
  state.check_free_read = true;
  state.values.check_free = ReadSetting(setting::kCheckFree);
}

void ReadOthers(MemorySettings& values) {
  values.heap_checks = ReadSetting(setting::kHeapChecks);
  values.heap_tracebacks = ReadSetting(setting::kHeapTracebacks, values.heap_checks != 0);
  values.heap_locks = ReadSetting(setting::kHeapLocks);
  values.track_lockers = ReadSetting(setting::kTrackLockers);
  if (values.track_lockers != 0) values.heap_locks = values.heap_tracebacks = 1;
}

void ReadWhatIsDue(SettingsState& state) {
  if (state.reading) return;
  state.reading = true;
  if (!state.check_free_read) ReadCheckFree(state);
  if (state.values.heap_checks == kUnread) ReadOthers(state.values);
  state.reading = false;
}

}  // namespace

const MemorySettings& CurrentMemorySettings() { return State().values; }

// HeapChecks is read last of what decides, so one look at it is enough.
void ReadMemorySettingsIfDue() {
  SettingsState& state = State();
  if (state.values.heap_checks == kUnread) ReadWhatIsDue(state);
}

void ResetMemorySettingsForTest() { State() = {}; }

}  // namespace qv
