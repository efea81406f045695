#include "files/request_statistics.h"

#include <algorithm>
#include <atomic>
#include <iterator>

#include "app/message.h"
#include "diag/system/system_record.h"
#include "files/file_request.h"

namespace qv {
namespace {

struct Counters {
  std::atomic<double> count{0}, latest{0}, total{0}, longest{0};
};

struct StatisticsState {
  Counters of[kFileRequestCodes];  // relaxed: a lost count does no harm
};

StatisticsState& State() {
  static constinit StatisticsState state;
  return state;
}

constexpr auto kRelaxed = std::memory_order_relaxed;

constexpr const char* kNames[] = {"None",      "Create",   "Open",      "Seek",       "Read",
                                  "Write",     "Flush",    "Close",     "SetEOF",     "FolderList",
                                  "FindFirst", "FindNext", "FindClose", "GetAFPInfo", "VolInfo",
                                  "MkDir",     "RmDir",    "SetInfo",   "Delete",     "IsDir",
                                  "Stat",      "MoveFile", "CopyFile",  "FlushVol"};
static_assert(std::size(kNames) == kFileRequestCodes);

void PrintLine(uint32_t operation) {
  constexpr double kMilliseconds = 1000;
  const RequestStatistics values = RequestStatisticsOf(operation);
  if (values.count == 0) return;
  ZRMessage("  %10.10s: %8lu %8.3f %8.3f %8.3f", RequestName(operation),
            static_cast<uint32_t>(values.count), values.latest * kMilliseconds,
            values.longest * kMilliseconds, values.total / values.count * kMilliseconds);
}

}  // namespace

void CountRequest(uint32_t operation, double seconds) {
  if (operation >= kFileRequestCodes) return;
  Counters& counters = State().of[operation];
  counters.count.store(counters.count.load(kRelaxed) + 1, kRelaxed);
  counters.latest.store(seconds, kRelaxed);
  counters.total.store(counters.total.load(kRelaxed) + seconds, kRelaxed);
  counters.longest.store(std::max(counters.longest.load(kRelaxed), seconds), kRelaxed);
}

RequestStatistics RequestStatisticsOf(uint32_t operation) {
  if (operation >= kFileRequestCodes) return {};
  const Counters& counters = State().of[operation];
  return {counters.count.load(kRelaxed), counters.latest.load(kRelaxed),
          counters.total.load(kRelaxed), counters.longest.load(kRelaxed)};
}

void ResetRequestStatistics() {
  for (Counters& counters : State().of) {
    for (auto* value : {&counters.count, &counters.latest, &counters.total, &counters.longest}) {
      value->store(0, kRelaxed);
    }
  }
}

const char* RequestName(uint32_t operation) {
  return operation < kFileRequestCodes ? kNames[operation] : "<Other>";
}

}  // namespace qv

void ZRDumpWorkerStatistics(bool reset) {
  constexpr uint32_t kNeeded = kSystemWorkersAllowed | kSystemThreadsAvailable;
  if (ZRSystemFlags(kNeeded) == kNeeded) {
    ZRMessage("WORKER STATISTICS:");
    ZRMessage("   Operation:     Count  Latest  Longest  Average (ms)");
    for (uint32_t code = 1; code < kFileRequestCodes; ++code) qv::PrintLine(code);
  } else {
    ZRMessage("This server has no worker threads.");
  }
  if (reset) qv::ResetRequestStatistics();
}
