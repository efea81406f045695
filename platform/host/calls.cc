#include "platform/host/calls.h"

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

#include "platform/host/control.h"
#include "platform/host/process.h"

namespace host {
namespace {

struct CallRecord {
  std::atomic<uint32_t> made = 0;
  // The rest changes under the table's mutex; the countdown may be looked at without it.
  std::atomic<uint32_t> countdown = 0;  // calls until the fault strikes; 0: no fault is set
  DWORD error = 0;
  bool from_then_on = false;
};

// Records by the address of a function's name, so that a call neither compares names nor locks.
// Entries come and never go; functions that find no room here are looked for by name.
class NameCache {
 public:
  CallRecord* Find(const char* name) const {
    for (size_t at = HomeOf(name), last = at + kProbes; at < last; ++at) {
      const Entry& entry = entries_[at];
      if (entry.name.load(std::memory_order_acquire) == name) return entry.record;
    }
    return nullptr;
  }
  // Under the table's mutex.
  void Add(const char* name, CallRecord* record) {
    for (size_t at = HomeOf(name), last = at + kProbes; at < last; ++at) {
      Entry& entry = entries_[at];
      const char* present = entry.name.load(std::memory_order_relaxed);
      if (present == name) return;
      if (present != nullptr) continue;
      entry.record = record;
      entry.name.store(name, std::memory_order_release);
      return;
    }
  }

 private:
  struct Entry {
    std::atomic<const char*> name = nullptr;
    CallRecord* record = nullptr;
  };
  static constexpr size_t kHomes = 2048, kProbes = 8;

  static size_t HomeOf(const char* name) {
    return (reinterpret_cast<uintptr_t>(name) * 0x9E3779B97F4A7C15u >> 32) % kHomes;
  }

  Entry entries_[kHomes + kProbes];
};

// Never destroyed: threads of the stand-in may outlive the destructors of the process.
struct CallTable {
  std::mutex mutex;
  std::map<std::string, CallRecord, std::less<>> records;
  NameCache by_address;
  uint32_t struck = 0;
};

CallTable& State() {
  static auto& state = *new CallTable;
  return state;
}

CallRecord& RecordOf(CallTable& table, std::string_view function) {
  auto found = table.records.find(function);
  if (found == table.records.end()) found = table.records.try_emplace(std::string(function)).first;
  return found->second;
}

CallRecord& RecordOfCall(CallTable& table, const char* function) {
  if (CallRecord* known = table.by_address.Find(function)) return *known;
  std::lock_guard hold(table.mutex);
  CallRecord& record = RecordOf(table, function);
  table.by_address.Add(function, &record);
  return record;
}

// Whether the fault of this record strikes the present call.
bool Strikes(CallRecord& record) {
  const uint32_t countdown = record.countdown;
  if (countdown == 0) return false;
  if (countdown > 1 || !record.from_then_on) record.countdown = countdown - 1;
  return countdown == 1;
}

thread_local DWORD thread_error = 0;

}  // namespace

DWORD Enter(const char* function) {
  CallTable& table = State();
  CallRecord& record = RecordOfCall(table, function);
  record.made.fetch_add(1, std::memory_order_relaxed);
  if (record.countdown.load(std::memory_order_relaxed) == 0) return 0;
  std::lock_guard hold(table.mutex);
  if (!Strikes(record)) return 0;
  ++table.struck;
  return record.error;
}

void SetThreadError(DWORD error) { thread_error = error; }

void FailCall(const char* function, uint32_t nth, DWORD error, bool from_then_on) {
  CallTable& table = State();
  std::lock_guard hold(table.mutex);
  CallRecord& record = RecordOf(table, function);
  record.countdown = nth;
  record.error = error;
  record.from_then_on = from_then_on;
}

void ClearFaults() {
  CallTable& table = State();
  std::lock_guard hold(table.mutex);
  for (auto& [name, record] : table.records) record.countdown = 0;
  table.struck = 0;
}

uint32_t FaultsStruck() {
  CallTable& table = State();
  std::lock_guard hold(table.mutex);
  return table.struck;
}

uint32_t CallsMade(const char* function) {
  CallTable& table = State();
  std::lock_guard hold(table.mutex);
  auto found = table.records.find(std::string_view(function));
  return found == table.records.end() ? 0 : found->second.made.load();
}

void ResetCallCounts() {
  CallTable& table = State();
  std::lock_guard hold(table.mutex);
  for (auto& [name, record] : table.records) record.made = 0;
}

}  // namespace host

DWORD GetLastError(void) { return host::thread_error; }
void SetLastError(DWORD error) { host::SetThreadError(error); }
