// Many tasks on pools of many workers, with every flag, while tasks of all kinds are killed.
//
// QV_STRESS_SEED runs one seed again (where the clock is moved by hand).
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <list>
#include <random>
#include <vector>

#include "base/clock.h"
#include "tasks/kernel_state.h"
#include "tasks/task_pools.h"
#include "tests/tasks/kernel_fixture.h"
#include "tests/test_platform.h"

namespace {

using Random = std::independent_bits_engine<std::mt19937, 32, uint32_t>;

struct Plan {
  uint32_t pools = 3, entries = 40, workers = 64, clients = 100, actions = 20000;
};

class TaskPoolsStressTest : public test::KernelTest {
 protected:
  TaskPoolsStressTest() {
    test::StopClock(1000000);
    qv::ResetClockForTest();
  }
  ~TaskPoolsStressTest() override { test::ReleaseClock(); }
  void RunStress(const Plan& plan, uint32_t seed);

 private:
  // What became of a submission.
  struct Job {
    TaskPoolsStressTest* test;
    uint32_t runs, completions, waits, count;
    bool returned;  // from the call that handed it in
  };

  void Act();
  void SubmitOne(ZRTaskPool* pool);
  void Watch();
  void StartClient() {
    clients_.push_back(Spawn("client", [this] { Act(); }));
  }
  void KillOne();
  void Pause();
  uint32_t Below(uint32_t bound) { return random_() % bound; }
  static void Run(uintptr_t arg);
  static void Complete(uintptr_t arg);
  static bool MayWait(uintptr_t arg);

  Random random_;
  Plan plan_;
  std::vector<ZRTaskPool*> pools_;
  std::vector<TaskId> clients_;
  std::list<Job> jobs_;
  uint32_t actions_ = 0;
};

void TaskPoolsStressTest::Pause() {
  test::MoveClock(Below(50));
  switch (Below(6)) {
    case 0:
      return ZRTaskYield();
    case 1:
      return ZRTaskYieldMicros(1 + Below(5000), Below(2) == 0);
    case 2:
      return ZRTaskSignal(clients_[Below(plan_.clients)], 1);
    default:
      return;
  }
}

void TaskPoolsStressTest::Run(uintptr_t arg) {
  Job& job = *reinterpret_cast<Job*>(arg);
  EXPECT_EQ(job.completions, 0u);
  EXPECT_LE(++job.runs, job.count);
  job.test->Pause();
  if (job.test->Below(8) == 0) job.test->SubmitOne(job.test->pools_[0]);
  job.test->Pause();
}

void TaskPoolsStressTest::Complete(uintptr_t arg) {
  Job& job = *reinterpret_cast<Job*>(arg);
  EXPECT_EQ(++job.completions, 1u);
  job.test->Pause();
}

bool TaskPoolsStressTest::MayWait(uintptr_t arg) {
  return reinterpret_cast<Job*>(arg)->waits-- > 0;
}

void TaskPoolsStressTest::SubmitOne(ZRTaskPool* pool) {
  // Without kPoolAlwaysQueue, with which a run can wait for itself.
  const uint32_t flags = random_() & random_() & 0x7F;
  jobs_.push_back({this, 0, 0, Below(10), Below(6), false});
  Job& job = jobs_.back();
  ZRTaskPoolSubmit(pool, Run, Complete, Below(3) == 0 ? MayWait : nullptr,
                   reinterpret_cast<uintptr_t>(&job), job.count, flags);
  job.returned = true;
}

void TaskPoolsStressTest::Act() {
  while (++actions_ < plan_.actions) {
    ZRTaskPool* pool = pools_[Below(plan_.pools)];
    SubmitOne(pool);
    EXPECT_TRUE(qv::TaskPoolIsConsistent(pool));
    if (Below(8) != 0) continue;
    EXPECT_TRUE(ZRTaskPoolWaitOwn(pool, nullptr, 0));
    EXPECT_EQ(ZRTaskPoolOutstanding(pool, 0), 0u);
  }
}

// Any task but the watcher; another client takes a client's place.
void TaskPoolsStressTest::KillOne() {
  const uint32_t victim = Below(plan_.clients);
  if (Below(2) == 0) {
    ZRTaskKill(clients_[victim]);
    StartClient();
    std::swap(clients_[victim], clients_.back());
    clients_.pop_back();
    return;
  }
  std::vector<TaskId> workers;
  qv::HashIterator each;
  TaskId id = 0;
  for (each.Begin(*qv::TheKernel().registry); each.Next(&id, sizeof id);) {
    if (ZRTaskGetName(id)[0] == 'W') workers.push_back(id);
  }
  std::ranges::sort(workers, {}, ZRTaskGetNumber);
  if (!workers.empty()) ZRTaskKill(workers[Below(static_cast<uint32_t>(workers.size()))]);
}

void TaskPoolsStressTest::Watch() {
  const auto lives = [](TaskId task) { return ZRTaskIsValid(task); };
  while (std::ranges::any_of(clients_, lives) && !HasFailure()) {
    ZRTaskYieldMicros(2000, false);
    EXPECT_TRUE(qv::KernelIsConsistent());
    if (actions_ < plan_.actions) KillOne();
  }
  for (ZRTaskPool* pool : pools_) EXPECT_TRUE(ZRTaskPoolDispose(pool));
}

void TaskPoolsStressTest::RunStress(const Plan& plan, uint32_t seed) {
  plan_ = plan;
  std::printf("QV_STRESS_SEED=%u\n", seed);
  random_.seed(seed);
  stack_size = 0x8000;
  RunTasks([this] {
    for (uint32_t i = 0; i < plan_.pools; ++i) {
      pools_.push_back(ZRTaskPoolNew("stress", plan_.entries, plan_.workers, i * 2, stack_size));
    }
    for (uint32_t i = 0; i < plan_.clients; ++i) StartClient();
    Spawn("end", [this] { Watch(); });
  });
  uint32_t runs = 0, lost = 0;
  for (const Job& job : jobs_) {
    runs += job.runs;
    lost += job.completions == 0 ? 1 : 0;
    EXPECT_TRUE(!job.returned || job.completions == 1);
  }
  std::printf("%zu jobs, %u runs, %u of tasks killed before\n", jobs_.size(), runs, lost);
  EXPECT_GT(runs, jobs_.size() / 4);
}

TEST_F(TaskPoolsStressTest, PoolsOf64Workers) {
  const char* seed = std::getenv("QV_STRESS_SEED");
  RunStress({}, seed != nullptr ? static_cast<uint32_t>(std::strtoul(seed, nullptr, 10))
                                : std::random_device()());
}

}  // namespace
