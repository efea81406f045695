// Worker task pools, in the program of the task kernel. There is no peer: the times stand beside
// those of a message and of a task's life.
#include "bench/ratio.h"
#include "tasks/critical_regions.h"
#include "tasks/scheduler.h"
#include "tasks/task_pools.h"
#include "tasks/waits.h"

namespace {

using benchmark::State;

constexpr uint32_t kStack = 0x10000, kStackArea = 4 << 20;  // bytes
constexpr uint32_t kWorkers = 4, kEntries = 64;
constexpr uint32_t kHandful = 32;  // jobs that are waited for together

void Work(uintptr_t sum) { ++*reinterpret_cast<uint64_t*>(sum); }

struct Measurement {
  State* state;
  void (*measure)(State& state, ZRTaskPool* pool);
};

void MeasuringTask(TCB* task) {
  const auto& [state, measure] = *reinterpret_cast<Measurement*>(task->parameter);
  ZRTaskPool* pool = ZRTaskPoolNew("bench", kEntries, kWorkers, 0, kStack);
  ZRTaskYield();  // the workers begin
  measure(*state, pool);
  ZRTaskPoolDispose(pool);
}

int32_t RunMeasuringTask(uintptr_t measurement) {
  ZRTaskCreate(kStack, MeasuringTask, measurement);
  ZRTaskLeaveCritical();
  ZRTaskYield();
  return 0;
}

template <void (*measure)(State& state, ZRTaskPool* pool)>
void InKernel(State& state) {
  Measurement measurement{&state, measure};
  if (ZRTaskStartKernel(kStackArea, nullptr, RunMeasuringTask,
                        reinterpret_cast<uintptr_t>(&measurement)) != 0) {
    state.SkipWithError("no kernel");
  }
}

// One job after the other: hand it in, wait until a worker has run it.
void RoundTrip(State& state, ZRTaskPool* pool) {
  uint64_t sum = 0, expected = 0;
  const auto arg = reinterpret_cast<uintptr_t>(&sum);
  constexpr uint32_t kFlags = qv::kPoolWait | qv::kPoolAlwaysQueue;
  for (auto _ : state) {
    ZRTaskPoolSubmit(pool, Work, nullptr, nullptr, arg, 1, kFlags);
    if (sum != ++expected) return state.SkipWithError("a job was not run");
  }
}

// Many jobs, then all of them are waited for.
void HandIn(State& state, ZRTaskPool* pool) {
  uint64_t sum = 0, expected = 0;
  for (auto _ : state) {
    for (uint32_t i = 0; i < kHandful; ++i) {
      ZRTaskPoolSubmit(pool, Work, nullptr, nullptr, reinterpret_cast<uintptr_t>(&sum), 1, 0);
    }
    ZRTaskPoolWaitOwn(pool, nullptr, 0);
    if (sum != (expected += kHandful)) return state.SkipWithError("a job was not run");
  }
}

const bool kIsAdded = [] {
  bench::Add({.name = "pool: hand in a job and wait for it",
              .ours = InKernel<RoundTrip>,
              .processor_time = true});
  bench::Add({.name = "pool: each of 32 jobs handed in together",
              .ours = InKernel<HandIn>,
              .processor_time = true,
              .operations = kHandful});
  return true;
}();

}  // namespace
