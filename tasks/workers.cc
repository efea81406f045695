// How the workers begin and end.
#include "tasks/workers.h"

#include <algorithm>
#include <utility>

#include "app/settings.h"
#include "base/never_destroyed.h"
#include "tasks/worker_link.h"
#include "tasks/workers_state.h"

namespace qv {
namespace {

constexpr uint32_t kUsualThreads = 64;
constexpr uint32_t kMostThreads = 65534;
constexpr uint32_t kStopPause = 1000;  // milliseconds

struct Plans {
  WorkerPoolPlan disk{"Disk IO", 0, 0};
  WorkerPoolPlan dedicated{"Dedicated IO", 0, 0};
};

uint32_t ReadThreads(const SettingKey& key, uint32_t otherwise, uint32_t most) {
  const int32_t threads = ReadSetting(key, static_cast<int32_t>(otherwise));
  return std::min(static_cast<uint32_t>(std::max(threads, 0)), most);
}

uint32_t ReadLevel(const SettingKey& key, uint32_t preset) {
  return preset != kNotPreset ? preset : static_cast<uint32_t>(ReadSetting(key));
}

Plans ReadPlans(const WorkersState& workers) {
  const uint32_t threads =
      workers.default_threads <= kMostThreads ? workers.default_threads : kUsualThreads;
  const uint32_t dedicated =
      workers.default_dedicated <= kMostThreads ? workers.default_dedicated : threads;
  Plans plans;
  plans.disk.threads = ReadThreads(setting::kMaxWorkers, threads, kMostThreads);
  plans.dedicated.threads = ReadThreads(setting::kMaxDedicatedWorkers, dedicated, kMostDedicated);
  plans.disk.level = ReadLevel(setting::kWorkerPriority, workers.level);
  plans.dedicated.level = ReadLevel(setting::kDedicatedWorkerPriority, workers.dedicated_level);
  return plans;
}

void FindTestAlert(WorkersState& workers) {
  workers.library = LoadLibraryA("NTDLL.DLL");
  if (workers.library == nullptr) return;
  workers.test_alert = reinterpret_cast<decltype(workers.test_alert)>(
      reinterpret_cast<void*>(GetProcAddress(workers.library, "NtTestAlert")));
}

void DropTestAlert(WorkersState& workers) {
  TheWorkerLink().deliver_calls = nullptr;
  workers.test_alert = nullptr;
  if (workers.library != nullptr) FreeLibrary(std::exchange(workers.library, nullptr));
}

// True with a null pool when none is wanted.
bool StartPool(WorkersState& workers, const WorkerPoolPlan& plan, WorkerPool** pool) {
  if (plan.threads == 0) return true;
  *pool = new WorkerPool(plan, workers.finished);
  if (*pool == nullptr) return false;
  (*pool)->next = std::exchange(workers.pools, *pool);
  ++workers.pool_count;
  return (*pool)->Start();
}

void DropPools(WorkersState& workers) {
  workers.disk = workers.dedicated = nullptr;
  while (WorkerPool* pool = workers.pools) {
    pool->Stop();
    workers.pools = pool->next;
    --workers.pool_count;
    delete pool;
  }
  delete std::exchange(workers.finished, nullptr);
}

bool StartPools(WorkersState& workers, const Plans& plans) {
  workers.finished = new JobQueue;
  return workers.finished != nullptr && StartPool(workers, plans.disk, &workers.disk) &&
         StartPool(workers, plans.dedicated, &workers.dedicated);
}

void RunForHook(void (*work)(void* argument), void* argument) {
  struct HookJob : ZRWorkerJob {
    void (*work)(void* argument) = nullptr;
    void* argument = nullptr;
  } job;
  job.work = work;
  job.argument = argument;
  auto run = [](ZRWorkerJob* record) -> uint64_t {
    auto* self = static_cast<HookJob*>(record);
    self->work(self->argument);
    return 0;
  };
  ZRWorkerRun(&job, run, true, true);
}

void ResetAllStatistics() {
  for (WorkerPool* pool = Workers().pools; pool != nullptr; pool = pool->next) {
    pool->ResetStatistics();
  }
}

void Connect(const WorkersState& workers) {
  WorkerLink& link = TheWorkerLink();
  link.collect = ZRWorkersCollect;
  link.finish_jobs = FinishJobs;
  link.forget_task = ForgetDedicated;
  link.reset_statistics = ResetAllStatistics;
  if (workers.test_alert != nullptr) link.deliver_calls = [] { Workers().test_alert(); };
  GlobalHooks().run_on_worker = RunForHook;
}

void StopRunning(WorkersState& workers, uint32_t pause) {
  if (workers.stage != WorkersState::kRunning) return;
  workers.stage = WorkersState::kStopped;
  FinishJobs();
  if (pause > 0) ZRThreadSleep(pause);
  DropTestAlert(workers);
  DropPools(workers);
  workers.dedicated_count = workers.dedicated_limit = 0;
  TheWorkerLink() = {};
}

int32_t Choose(uint32_t* choice, uint32_t value) {
  if (Workers().stage != WorkersState::kNeverStarted) return 0;
  *choice = value;
  return 1;
}

}  // namespace

// Worker threads of a program that does not stop them live until its end.
WorkersState& Workers() {
  static constinit NeverDestroyed<WorkersState> state;
  return state.value;
}

WorkerStatistics GetWorkerStatistics(bool reset) {
  const WorkerPool* disk = Workers().disk;
  const WorkerStatistics figures = disk != nullptr ? disk->Statistics() : WorkerStatistics{};
  if (reset) ResetAllStatistics();
  return figures;
}

void ResetWorkersForTest() {
  WorkersState& workers = Workers();
  StopRunning(workers, 0);
  workers.default_threads = workers.default_dedicated = kNotPreset;
  workers.level = workers.dedicated_level = kNotPreset;
  workers.stage = WorkersState::kNeverStarted;
}

}  // namespace qv

int32_t ZRWorkersStart() {
  qv::WorkersState& workers = qv::Workers();
  if (workers.stage != qv::WorkersState::kNeverStarted) return 1;
  const qv::Plans plans = qv::ReadPlans(workers);
  qv::FindTestAlert(workers);
  if (!qv::StartPools(workers, plans)) {
    qv::DropPools(workers);
    qv::DropTestAlert(workers);
    return 0;
  }
  workers.dedicated_limit = plans.dedicated.threads;
  qv::Connect(workers);
  workers.stage = qv::WorkersState::kRunning;
  return 1;
}

void ZRWorkersStop() { qv::StopRunning(qv::Workers(), qv::kStopPause); }

int32_t ZRWorkersSetDefaultMax(uint32_t threads) {
  return qv::Choose(&qv::Workers().default_threads, threads);
}

int32_t ZRWorkersSetDefaultMaxDedicated(uint32_t threads) {
  return qv::Choose(&qv::Workers().default_dedicated, threads);
}

int32_t ZRWorkersSetPriority(uint32_t level) { return qv::Choose(&qv::Workers().level, level); }

int32_t ZRWorkersSetDedicatedPriority(uint32_t level) {
  return qv::Choose(&qv::Workers().dedicated_level, level);
}
