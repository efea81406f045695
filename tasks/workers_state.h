// Inner: the state of the workers, which workers.cc (start and end) and worker_jobs.cc share.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/windows_api.h"
#include "tasks/job_queue.h"
#include "tasks/worker_pool.h"

namespace qv {

constexpr uint32_t kMostDedicated = 64;
constexpr uint32_t kNotPreset = 0xFFFFFFFF;

// The kernel thread's, but for the stage.
struct WorkersState {
  enum Stage : uint8_t { kNeverStarted, kRunning, kStopped };
  std::atomic<Stage> stage{kNeverStarted};

  // --- the host's choices, before the start ---
  uint32_t default_threads = kNotPreset;
  uint32_t default_dedicated = kNotPreset;
  uint32_t level = kNotPreset;
  uint32_t dedicated_level = kNotPreset;

  // --- while they run ---
  HMODULE library = nullptr;             // "NTDLL.DLL"
  LONG(WINAPI* test_alert)() = nullptr;  // delivers queued calls; null where the system lacks it
  JobQueue* finished = nullptr;
  WorkerPool* pools = nullptr;  // newest first
  uint32_t pool_count = 0;
  WorkerPool* disk = nullptr;  // "Disk IO"; null without one
  WorkerPool* dedicated = nullptr;
  uint32_t under_way = 0;  // jobs submitted and not collected, of all pools
  bool retry = false;      // a pool has jobs pending

  // --- tasks whose jobs go to "Dedicated IO" ---
  TaskId dedicated_tasks[kMostDedicated] = {};
  uint32_t dedicated_count = 0;
  uint32_t dedicated_limit = 0;
};

WorkersState& Workers();

// Returns when no job is under way any more.
void FinishJobs();
// A task has ended.
void ForgetDedicated(TaskId task);

}  // namespace qv
