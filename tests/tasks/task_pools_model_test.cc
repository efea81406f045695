// Random submissions and runs, one step at a time, beside a model of what a pool is to do.
//
// The pool has no workers: tasks of the test make its runs and end them when they are told.
// QV_POOLS_SEED runs one seed again.
#include <algorithm>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "tasks/task_pools.h"
#include "tests/tasks/kernel_fixture.h"

namespace {

constexpr uint32_t kAgents = 6;

using Random = std::independent_bits_engine<std::mt19937, 32, uint32_t>;

enum List { kUrgent, kNormal, kBackground, kStarted };

struct ModelJob {
  uint32_t id, submitter, parallel, remaining, running, splits, flags;
  List list;
  bool cancel;
};

struct Model {
  uint32_t entries = 0, limit = 0;
  std::vector<ModelJob> jobs;  // on each list oldest first
  uint32_t outstanding[kAgents] = {};
  std::vector<uint32_t> completed;

  size_t On(List list) const { return std::ranges::count(jobs, list, &ModelJob::list); }
  void Submit(uint32_t id, uint32_t submitter, uint32_t count, uint32_t flags);
  ModelJob* Choose();
  ModelJob Start();  // id 0 for none
  void End(uint32_t id);
  void MoveToStarted(const ModelJob& job) {
    ModelJob moved = job;
    std::erase_if(jobs, [&](const ModelJob& each) { return each.id == moved.id; });
    moved.list = kStarted;
    jobs.push_back(moved);
  }
};

void Model::Submit(uint32_t id, uint32_t submitter, uint32_t count, uint32_t flags) {
  uint32_t& own = outstanding[submitter];
  const auto has = [flags](uint32_t flag) { return (flags & flag) != 0; };
  const bool over = limit != 0 && own > limit && !has(qv::kPoolUrgent);
  if (count == 0 || over || jobs.size() == entries) {
    completed.push_back(id);
    if (count == 0 || !has(qv::kPoolMayWait) || has(qv::kPoolMayCancel)) return;
    for (ModelJob& job : jobs) {
      job.cancel |= job.list != kStarted && (job.flags & qv::kPoolMayCancel) != 0;
    }
    return;
  }
  uint32_t parallel = count;
  if (limit != 0) parallel = std::min(count, own < limit ? limit - own : 1);
  if (!has(qv::kPoolUncounted)) own += parallel;
  const List list = has(qv::kPoolBackground) ? kBackground
                    : has(qv::kPoolUrgent)   ? kUrgent
                                             : kNormal;
  jobs.push_back({id, submitter, parallel, count - parallel, 0, parallel, flags, list, false});
}

ModelJob* Model::Choose() {
  for (const List list : {kUrgent, kNormal, kStarted, kBackground}) {
    for (ModelJob& job : jobs) {
      if (job.list != list) continue;
      const bool below = limit == 0 || outstanding[job.submitter] < limit;
      if (list != kStarted || (job.remaining > 0 && below)) return &job;
    }
  }
  return nullptr;
}

ModelJob Model::Start() {
  ModelJob* job = Choose();
  if (job == nullptr) return {};
  ++job->running;
  --(job->list == kStarted ? job->remaining : job->parallel);
  const ModelJob started = *job;
  if (job->list != kStarted && job->parallel == 0) MoveToStarted(started);
  return started;
}

void Model::End(uint32_t id) {
  ModelJob& job = *std::ranges::find(jobs, id, &ModelJob::id);
  job.parallel = job.remaining = 0;
  if (--job.running > 0) {
    if (job.list != kStarted) MoveToStarted(job);
    return;
  }
  completed.push_back(id);
  if ((job.flags & qv::kPoolUncounted) == 0) outstanding[job.submitter] -= job.splits;
  std::erase_if(jobs, [id](const ModelJob& each) { return each.id == id; });
}

class TaskPoolsModelTest : public test::KernelTest {
 protected:
  void RunSeed(uint32_t seed);

 private:
  struct Agent {
    TaskId task = 0;
    std::function<void()> action;
    uint32_t runs = 0;  // the id of the job whose run it makes
  };

  void Drive(Random& random);
  void Step(Random& random);
  void Compare();
  // Lets the agent do it, until it is done or in the middle of a run.
  void Do(Agent& agent, std::function<void()> action);
  static void Run(uintptr_t id) {
    Agent& agent = *reinterpret_cast<Agent*>(ZRTaskGetUserWord(0));
    agent.runs = static_cast<uint32_t>(id);
    ZRTaskWaitEvents(1);
    agent.runs = 0;
  }
  static void Complete(uintptr_t id) { completed_.push_back(static_cast<uint32_t>(id)); }

  ZRTaskPool* pool_ = nullptr;
  Model model_;
  std::vector<Agent> agents_;
  uint32_t last_id_ = 0;
  static inline std::vector<uint32_t> completed_;
};

void TaskPoolsModelTest::Do(Agent& agent, std::function<void()> action) {
  agent.action = std::move(action);
  ZRTaskSignal(agent.task, 1);
  do ZRTaskYield();
  while (ZRTaskGetState(agent.task) == qv::TaskState::kReady);
}

void TaskPoolsModelTest::Step(Random& random) {
  const uint32_t index = random() % kAgents;
  Agent& agent = agents_[index];
  if (const uint32_t id = agent.runs; id != 0) {
    model_.End(id);
    return Do(agent, [] {});
  }
  if (random() % 2 == 0) {
    constexpr uint32_t kFlags = qv::kPoolUrgent | qv::kPoolBackground | qv::kPoolMayWait |
                                qv::kPoolMayCancel | qv::kPoolUncounted;
    const uint32_t id = ++last_id_, count = random() % 5, flags = random() & random() & kFlags;
    model_.Submit(id, index, count, flags);
    return Do(agent, [this, id, count, flags] {
      const auto gives_up = [](uintptr_t) { return false; };
      ZRTaskPoolSubmit(pool_, Run, Complete, gives_up, id, count, flags | qv::kPoolAlwaysQueue);
    });
  }
  const ModelJob job = model_.Start();
  if (job.cancel) model_.End(job.id);
  Do(agent, [this, expected = job.id != 0] { EXPECT_EQ(ZRTaskPoolRunOne(pool_), expected); });
  EXPECT_EQ(agent.runs, job.cancel ? 0 : job.id);
}

void TaskPoolsModelTest::Compare() {
  qv::TaskPoolStatistics now;
  ZRTaskPoolStatistics(pool_, &now);
  EXPECT_TRUE(qv::TaskPoolIsConsistent(pool_));
  EXPECT_EQ(now.urgent.count, model_.On(kUrgent));
  EXPECT_EQ(now.normal.count, model_.On(kNormal));
  EXPECT_EQ(now.background.count, model_.On(kBackground));
  EXPECT_EQ(now.started.count, model_.On(kStarted));
  EXPECT_EQ(now.free.count, model_.entries - model_.jobs.size());
  EXPECT_EQ(completed_, model_.completed);
  for (uint32_t i = 0; i < kAgents; ++i) {
    EXPECT_EQ(ZRTaskPoolOutstanding(pool_, agents_[i].task), model_.outstanding[i]);
  }
}

void TaskPoolsModelTest::Drive(Random& random) {
  ZRTaskYield();  // the agents wait
  for (int i = 0; i < 400 && !HasFailure(); ++i) {
    Step(random);
    Compare();
  }
  for (Agent& agent : agents_) {
    if (agent.runs != 0) Do(agent, [] {});
  }
  ZRTaskPoolDispose(pool_);
  // Each submission was over once.
  std::ranges::sort(completed_);
  EXPECT_EQ(completed_.size(), last_id_);
  EXPECT_EQ(std::ranges::adjacent_find(completed_), completed_.end());
  for (const Agent& agent : agents_) ZRTaskKill(agent.task);
}

void TaskPoolsModelTest::RunSeed(uint32_t seed) {
  SCOPED_TRACE("QV_POOLS_SEED=" + std::to_string(seed));
  Random random(seed);
  model_ = {};
  model_.entries = 1 + seed % 12;
  model_.limit = seed / 12 % 4;
  agents_.assign(kAgents, {});
  completed_.clear();
  last_id_ = 0;
  RunTasks([&] {
    pool_ = ZRTaskPoolNew("P", model_.entries, 0, model_.limit, stack_size);
    for (Agent& agent : agents_) {
      agent.task = Spawn("agent", [&agent] {
        for (;; std::exchange(agent.action, nullptr)()) ZRTaskWaitEvents(1);
      });
      ZRTaskSetUserWord(agent.task, reinterpret_cast<uintptr_t>(&agent));
    }
    Spawn("driver", [&] { Drive(random); });
  });
}

TEST_F(TaskPoolsModelTest, ManySeeds) {
  if (const char* seed = std::getenv("QV_POOLS_SEED")) {
    return RunSeed(static_cast<uint32_t>(std::strtoul(seed, nullptr, 10)));
  }
  std::random_device first;
  for (int i = 0; i < 50 && !HasFailure(); ++i) RunSeed(first());
}

}  // namespace
