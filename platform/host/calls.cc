#include "platform/host/calls.h"

#include <map>
#include <mutex>
#include <string>
#include <string_view>

#include "platform/host/control.h"
#include "platform/host/process.h"

namespace host {
namespace {

struct CallRecord {
  uint32_t made = 0;
  uint32_t countdown = 0;  // calls until the fault strikes; 0: no fault is set
  DWORD error = 0;
  bool from_then_on = false;
};

// Never destroyed: threads of the stand-in may outlive the destructors of the process.
struct CallTable {
  std::mutex mutex;
  std::map<std::string, CallRecord, std::less<>> records;
  uint32_t struck = 0;
};

CallTable& State() {
  static auto& state = *new CallTable;
  return state;
}

CallRecord& RecordOf(CallTable& table, std::string_view function) {
  auto found = table.records.find(function);
  if (found == table.records.end()) {
    found = table.records.emplace(std::string(function), CallRecord{}).first;
  }
  return found->second;
}

// Whether the fault of this record strikes the present call.
bool Strikes(CallRecord& record) {
  if (record.countdown == 0) return false;
  if (record.countdown > 1) {
    --record.countdown;
    return false;
  }
  if (!record.from_then_on) record.countdown = 0;
  return true;
}

thread_local DWORD thread_error = 0;

}  // namespace

DWORD Enter(const char* function) {
  CallTable& table = State();
  std::lock_guard hold(table.mutex);
  CallRecord& record = RecordOf(table, function);
  ++record.made;
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
  return found == table.records.end() ? 0 : found->second.made;
}

void ResetCallCounts() {
  CallTable& table = State();
  std::lock_guard hold(table.mutex);
  for (auto& [name, record] : table.records) record.made = 0;
}

}  // namespace host

DWORD GetLastError(void) { return host::thread_error; }
void SetLastError(DWORD error) { host::SetThreadError(error); }
