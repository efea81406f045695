#include "files/file_options.h"

#include <atomic>

#include "app/settings.h"
#include "diag/system/system_record.h"
#include "files/file_cache.h"
#include "files/find_request.h"
#include "platform/windows_api.h"
#include "tasks/workers.h"

namespace qv {
namespace {

enum class MissingReports : uint32_t { kNotRead, kOff, kOn };

struct FileOptionState {
  std::atomic<uint16_t> overlapped{0}, write_through{0};
  std::atomic<MissingReports> missing_reports{MissingReports::kNotRead};
  std::atomic<bool> workers_decided{false}, use_workers{true};
  std::atomic<uint32_t> open_files{0};
  std::atomic<uint64_t> writes{0}, empty_writes{0}, bytes_written{0};
};

FileOptionState& State() {
  static constinit FileOptionState state;
  return state;
}

void Count(std::atomic<uint64_t>& counter, uint64_t by) {
  counter.fetch_add(by, std::memory_order_relaxed);
}

void ReadMissingReports() {
  const bool on = ReadSetting(setting::kReportMissing) != 0;
  State().missing_reports = on ? MissingReports::kOn : MissingReports::kOff;
}

bool WorkersMayRun() {
  constexpr uint32_t kNeeded = kSystemWorkersAllowed | kSystemThreadsAvailable;
  return ZRSystemFlags(kNeeded) == kNeeded;
}

}  // namespace

bool ReportsMissing() {
  if (State().missing_reports == MissingReports::kNotRead) ReadMissingReports();
  return State().missing_reports == MissingReports::kOn;
}

bool FileWorkersByDefault() { return State().use_workers.load(std::memory_order_relaxed); }

uint32_t ChangeOpenFiles(int32_t by) {
  const auto change = static_cast<uint32_t>(by);
  return State().open_files.fetch_add(change, std::memory_order_relaxed) + change;
}

void CountWrite(uint32_t bytes) {
  FileOptionState& state = State();
  Count(state.writes, 1);
  Count(bytes == 0 ? state.empty_writes : state.bytes_written, bytes == 0 ? 1 : bytes);
}

FileWriteCounts GetFileWriteCounts() {
  const FileOptionState& state = State();
  return {state.writes, state.empty_writes, state.bytes_written};
}

void ResetFileOptionsForTest() {
  FileOptionState& state = State();
  state.overlapped = state.write_through = 0;
  state.missing_reports = MissingReports::kNotRead;
  state.workers_decided = false;
  state.use_workers = true;
  state.open_files = 0;
  state.writes = state.empty_writes = state.bytes_written = 0;
}

}  // namespace qv

void ZRFileIOInit() {
  SetErrorMode(SEM_FAILCRITICALERRORS);
  ZRSetFileIOOptions(nullptr);
  qv::ReadMissingReports();
}

void ZRSetFileIOOptions(const ZRFileIOOptions* options) {
  const ZRFileIOOptions given = options != nullptr ? *options : ZRFileIOOptions{};
  qv::State().overlapped = given.overlapped;
  qv::State().write_through = given.write_through;
}

void ZRGetFileIOOptions(ZRFileIOOptions* options) {
  if (options != nullptr) *options = {qv::State().overlapped, qv::State().write_through};
}

void ZRStartFileWorkers(bool may_use_workers, bool may_use_threads) {
  qv::FileOptionState& state = qv::State();
  if (state.workers_decided.exchange(true)) return;
  const bool wanted = may_use_workers && may_use_threads && qv::WorkersMayRun();
  state.use_workers = wanted && ZRWorkersStart() != 0 && qv::GetWorkerStatistics(false).threads > 0;
  qv::LookUpFindCall();
}

void ZRFileIOEnd() {
  ZRWorkersStop();
  ZRDropFileCache();
  qv::ReleaseFindLibrary();
}
