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

struct ModelJob {
  uint32_t id, submitter, parallel, remaining, running, splits, flags;
  bool cancel;
};

struct Model {
  uint32_t entries = 0, limit = 0;
  std::vector<ModelJob> jobs[4];  // urgent, normal, background, started; oldest first
  uint32_t outstanding[kAgents] = {};
  std::vector<uint32_t> completed;

  size_t Used() const { return jobs[0].size() + jobs[1].size() + jobs[2].size() + jobs[3].size(); }
  void Submit(uint32_t id, uint32_t submitter, uint32_t count, uint32_t flags);
  // The job that is run next: its list and place; false for none.
  bool Choose(size_t* list, size_t* place) const;
  ModelJob Start();  // id 0 for none
  void End(uint32_t id);
};

void Model::Submit(uint32_t id, uint32_t submitter, uint32_t count, uint32_t flags) {
  uint32_t& own = outstanding[submitter];
  const bool over = limit != 0 && own > limit && (flags & qv::kPoolUrgent) == 0;
  if (count == 0 || over || Used() == entries) {
    completed.push_back(id);
    if (count == 0 || (flags & qv::kPoolMayWait) == 0 || (flags & qv::kPoolMayCancel) != 0) return;
    for (size_t list = 0; list < 3; ++list) {
      for (ModelJob& job : jobs[list]) job.cancel |= (job.flags & qv::kPoolMayCancel) != 0;
    }
    return;
  }
  uint32_t parallel = count;
  if (limit != 0) parallel = std::min(count, own < limit ? limit - own : 1);
  if ((flags & qv::kPoolUncounted) == 0) own += parallel;
  const size_t list = (flags & qv::kPoolBackground) != 0 ? 2
                      : (flags & qv::kPoolUrgent) != 0   ? 0
                                                         : 1;
  jobs[list].push_back({id, submitter, parallel, count - parallel, 0, parallel, flags, false});
}

bool Model::Choose(size_t* list, size_t* place) const {
  *place = 0;
  for (const size_t each : {0, 1, 3, 2}) {
    *list = each;
    if (each != 3 && !jobs[each].empty()) return true;
    for (size_t i = 0; each == 3 && i < jobs[3].size(); ++i) {
      *place = i;
      const ModelJob& job = jobs[3][i];
      if (job.remaining > 0 && (limit == 0 || outstanding[job.submitter] < limit)) return true;
    }
    *place = 0;
  }
  return false;
}

ModelJob Model::Start() {
  size_t list, place;
  if (!Choose(&list, &place)) return {};
  ModelJob& job = jobs[list][place];
  ++job.running;
  if (list == 3) {
    --job.remaining;
  } else if (--job.parallel == 0) {
    const ModelJob moved = job;
    jobs[list].erase(jobs[list].begin());
    jobs[3].push_back(moved);
    return moved;
  }
  return job;
}

void Model::End(uint32_t id) {
  for (auto& list : jobs) {
    const auto job = std::ranges::find(list, id, &ModelJob::id);
    if (job == list.end()) continue;
    ModelJob ended = *job;
    ended.parallel = ended.remaining = 0;
    --ended.running;
    if (&list == &jobs[3] && ended.running > 0) {
      *job = ended;
      return;
    }
    list.erase(job);
    if (ended.running > 0) {
      jobs[3].push_back(ended);
      return;
    }
    completed.push_back(id);
    if ((ended.flags & qv::kPoolUncounted) == 0) outstanding[ended.submitter] -= ended.splits;
    return;
  }
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
  static TaskPoolsModelTest*& Self() {
    static TaskPoolsModelTest* self;
    return self;
  }

  void Drive(Random& random);
  void Step(Random& random);
  void Submit(uint32_t agent, uint32_t count, uint32_t flags);
  void Compare();
  // Lets the agent do it, until it is done or in the middle of a run.
  void Do(Agent& agent, std::function<void()> action);
  static void Run(uintptr_t id);
  static void Complete(uintptr_t id) { Self()->completed_.push_back(static_cast<uint32_t>(id)); }

  ZRTaskPool* pool_ = nullptr;
  Model model_;
  std::vector<Agent> agents_;
  std::vector<uint32_t> completed_;
  uint32_t last_id_ = 0;
  bool stopping_ = false;
};

void TaskPoolsModelTest::Run(uintptr_t id) {
  const auto is_current = [](const Agent& agent) { return agent.task == ZRTaskCurrent(); };
  Agent& agent = *std::ranges::find_if(Self()->agents_, is_current);
  agent.runs = static_cast<uint32_t>(id);
  ZRTaskWaitEvents(1);
  agent.runs = 0;
}

void TaskPoolsModelTest::Do(Agent& agent, std::function<void()> action) {
  agent.action = std::move(action);
  ZRTaskSignal(agent.task, 1);
  do ZRTaskYield();
  while (ZRTaskGetState(agent.task) == qv::TaskState::kReady);
}

void TaskPoolsModelTest::Submit(uint32_t agent, uint32_t count, uint32_t flags) {
  const uint32_t id = ++last_id_;
  model_.Submit(id, agent, count, flags);
  Do(agents_[agent], [this, id, count, flags] {
    ZRTaskPoolSubmit(
        pool_, Run, Complete, [](uintptr_t) { return false; }, id, count,
        flags | qv::kPoolAlwaysQueue);
  });
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
    return Submit(index, random() % 5, random() & random() & kFlags);
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
  EXPECT_EQ(now.urgent.count, model_.jobs[0].size());
  EXPECT_EQ(now.normal.count, model_.jobs[1].size());
  EXPECT_EQ(now.background.count, model_.jobs[2].size());
  EXPECT_EQ(now.started.count, model_.jobs[3].size());
  EXPECT_EQ(now.free.count, model_.entries - model_.Used());
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
  stopping_ = true;
  for (const Agent& agent : agents_) ZRTaskSignal(agent.task, 1);
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
  stopping_ = false;
  Self() = this;
  RunTasks([&] {
    pool_ = ZRTaskPoolNew("P", model_.entries, 0, model_.limit, stack_size);
    for (Agent& agent : agents_) {
      agent.task = Spawn("agent", [this, &agent] {
        while (ZRTaskWaitEvents(1), !stopping_) std::exchange(agent.action, nullptr)();
      });
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
