// Many tasks that do everything at random, and one that watches them.
//
// QV_STRESS_TASKS, QV_STRESS_SECONDS and QV_STRESS_SEED take the place of the short run's figures.
// Where the clock is moved by hand a seed always gives the same run.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "base/clock.h"
#include "tasks/kernel_state.h"
#include "tasks/semaphores.h"
#include "tasks/task_messages.h"
#include "tasks/workers.h"
#include "tests/tasks/kernel_fixture.h"
#include "tests/test_platform.h"

namespace {

using qv::TaskState;

struct Random {
  uint64_t state;
  uint32_t Next() {  // splitmix64
    uint64_t z = state += 0x9E3779B97F4A7C15u;
    z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9u;
    z = (z ^ z >> 27) * 0x94D049BB133111EBu;
    return static_cast<uint32_t>((z ^ z >> 31) >> 32);
  }
  uint32_t Below(uint32_t bound) { return Next() % bound; }
};

struct Plan {
  uint32_t tasks = 200;
  double seconds = 0.5;           // of real time, at most
  uint64_t actions = UINT64_MAX;  // at most
  uint64_t seed = 1;
  bool fibers = true;
  bool kills = true;  // and new tasks in their place, for which own stacks have no room
  bool jobs = false;  // for workers
};

uint64_t FromEnvironment(const char* name, uint64_t otherwise) {
  const char* text = std::getenv(name);
  return text != nullptr ? std::strtoull(text, nullptr, 10) : otherwise;
}

struct PostedMessage : ZRTaskValueMessage {
  bool is_queued = false;
};

// Values of messages that are not sums to be answered.
constexpr uint32_t kPosted = 0xFFFFFFFF, kStop = 0xFFFFFFFE;

// Works for a moment on fields that lie beside the record, most often on a task's stack.
struct SumJob : ZRWorkerJob {
  std::atomic<uint64_t>* done = nullptr;
  uint32_t words[32] = {};
};

uint64_t Sum(ZRWorkerJob* record) {
  auto* job = static_cast<SumJob*>(record);
  uint64_t sum = 0;
  for (uint32_t& word : job->words) sum += word = static_cast<uint32_t>(job->arg1 + sum);
  ++*job->done;
  return sum;
}

struct Client {
  TaskId task = 0;
  uint64_t seed = 0;
  int32_t held[3] = {};  // units of each semaphore
  PostedMessage posted;
  SumJob job;  // nobody waits for it
};

class KernelStressTest : public test::KernelTest {
 protected:
  ~KernelStressTest() override { test::ReleaseClock(); }

  // A number that tells runs apart.
  uint64_t RunStress(const Plan& the_plan);
  uint64_t Actions() const { return actions_; }
  uint64_t jobs_submitted = 0;
  std::atomic<uint64_t> jobs_done{0};

 private:
  static constexpr int32_t kUnits[3] = {3, 5, 40};
  static constexpr uint32_t kClientsPerServer = 20;

  void Serve();
  void Act(size_t index);
  void ActOnce(Client& self, Random& random);
  void HoldUnits(Client& self, Random& random);
  void Call(Client& self, Random& random);
  void RunJob(Client& self, Random& random);
  void SetUpJob(SumJob* job, uint32_t value);
  void Watch();
  void CheckWakes() const;
  void SignalWaiting(Random& random, uint32_t one_in);
  void ReplaceOne(Random& random);
  void StopAll();
  void StartClient(size_t index);
  TaskId AnyClient(Random& random) { return clients_[random.Below(plan_.tasks)].task; }
  TaskId AnyServer(Random& random) {
    return servers_[random.Below(static_cast<uint32_t>(servers_.size()))];
  }

  Plan plan_;
  std::vector<Client> clients_;
  std::vector<TaskId> servers_;
  ZRSemaphore* semaphores_[3] = {};
  bool stopping_ = false;
  uint64_t actions_ = 0, digest_ = 0, clients_running_ = 0;
};

void KernelStressTest::Serve() {
  for (;;) {
    auto* message = static_cast<PostedMessage*>(ZRTaskGetMessage(true));
    if (message->value == kStop) return;
    if (message->value == kPosted) {
      message->is_queued = false;
      continue;
    }
    const uint32_t value = message->value;
    if (value % 3 == 0) ZRTaskYieldMicros(value % 2000, true);
    ZRTaskReply(message, value + 1);
  }
}

void KernelStressTest::HoldUnits(Client& self, Random& random) {
  const uint32_t which = random.Below(3);
  const auto units = static_cast<int32_t>(1 + random.Below(3));
  EXPECT_TRUE(ZRTaskGetSemaphore(semaphores_[which], units, true));
  EXPECT_GE(semaphores_[which]->count, 0);
  self.held[which] = units;
  ZRTaskYieldMicros(random.Below(2) * random.Below(3000), false);
  self.held[which] = 0;
  ZRTaskRelSemaphore(semaphores_[which], units);
}

void KernelStressTest::Call(Client& self, Random& random) {
  if (random.Below(2) == 0 && !self.posted.is_queued) {
    self.posted.is_queued = true;
    self.posted.value = kPosted;
    EXPECT_TRUE(ZRTaskPostMessage(AnyServer(random), &self.posted));
    return;
  }
  const uint32_t value = random.Below(100000);
  uint32_t reply = 0;
  EXPECT_TRUE(ZRTaskSendValue(AnyServer(random), value, &reply));
  EXPECT_EQ(reply, value + 1);
}

void KernelStressTest::SetUpJob(SumJob* job, uint32_t value) {
  ZRWorkerJobSetUp(job, value, 0);
  job->done = &jobs_done;
  ++jobs_submitted;
}

void KernelStressTest::RunJob(Client& self, Random& random) {
  const uint32_t value = random.Next();
  if (random.Below(50) == 0) ZRWorkerDedicate();
  if (random.Below(3) == 0) {
    if ((self.job.flags & qv::kJobSubmitted) != 0) return;
    SetUpJob(&self.job, value);
    EXPECT_EQ(ZRWorkerRun(&self.job, Sum, true, false), 0u);
    return;
  }
  SumJob job, expected;
  SetUpJob(&job, value);
  expected.arg1 = value;
  std::atomic<uint64_t> uncounted{0};
  expected.done = &uncounted;
  EXPECT_EQ(ZRWorkerRun(&job, Sum, true, true), Sum(&expected));
}

void KernelStressTest::ActOnce(Client& self, Random& random) {
  constexpr uint32_t kParked[] = {1001, 100001, 500001, 1000001};
  if (plan_.jobs && random.Below(2) == 0) return RunJob(self, random);
  switch (random.Below(16)) {
    case 0:
      return ZRTaskYieldMicros(kParked[random.Below(4)], random.Below(2) == 0);
    case 1:
    case 2:
      return ZRTaskYieldMicros(1 + random.Below(20000), random.Below(2) == 0);
    case 3:
      ZRTaskYieldTo(AnyClient(random));
      return;
    case 4:
      return ZRTaskSetHotMode(0, static_cast<int32_t>(random.Below(5)) - 3);
    case 5:
      return ZRTaskSetSuperHot(random.Below(4) == 0, 0);
    case 6:
    case 7:
    case 8:
      return HoldUnits(self, random);
    case 9:
    case 10:
      return Call(self, random);
    case 11:
      ZRTaskWaitEvents(1u << random.Below(8));
      return;
    case 12:
      return ZRTaskSignal(AnyClient(random), random.Next() & 0xFF);
    case 13:
      test::MoveClock(random.Below(3000));
      ZRTaskYieldIfSliceOver(1000);
      return;
    default:
      ZRTaskYield();
  }
}

void KernelStressTest::Act(size_t index) {
  Client& self = clients_[index];
  Random random{self.seed};
  while (!stopping_) {
    test::MoveClock(random.Below(20));
    ++actions_;
    digest_ = (digest_ ^ index) * 0x100000001B3u + random.state;
    ActOnce(self, random);
  }
  --clients_running_;
}

void KernelStressTest::StartClient(size_t index) {
  Client& client = clients_[index];
  client.task = Spawn("client", [this, index] { Act(index); });
  ASSERT_NE(client.task, 0u);
  ++clients_running_;
}

// At the last loop end nobody was left behind whose time had come, but for those whose slot was
// passed by; nobody waits for what is there.
void KernelStressTest::CheckWakes() const {
  constexpr uint64_t kTwoTurns = 200000;
  const qv::KernelState& kernel = qv::TheKernel();
  EXPECT_TRUE(qv::KernelIsConsistent());
  for (uint32_t slot = 0; slot < qv::TimedWheel::kSlots; ++slot) {
    for (const TCB* task = kernel.wheel.slot(slot).head; task != nullptr; task = task->next) {
      EXPECT_GT(task->wake_time + kTwoTurns, kernel.last_loop_end);
    }
  }
  for (const ZRSemaphore* semaphore : semaphores_) {
    const TCB* first = semaphore->waiters.head;
    EXPECT_TRUE(first == nullptr || semaphore->count < first->wait_units);
  }
  for (const TaskId server : servers_) {
    const TCB* task = ZRTaskFindTask(server);
    EXPECT_FALSE(task->state == TaskState::kWaiting && task->first_message != nullptr);
  }
}

void KernelStressTest::SignalWaiting(Random& random, uint32_t one_in) {
  for (const Client& client : clients_) {
    if (ZRTaskGetState(client.task) == TaskState::kWaiting && random.Below(one_in) == 0) {
      ZRTaskSignal(client.task, random.Next() & 0xFF);
    }
  }
}

// Kills a task, whatever it does, gives back what it held, and starts another one.
void KernelStressTest::ReplaceOne(Random& random) {
  const uint32_t index = random.Below(plan_.tasks);
  Client& client = clients_[index];
  // A record of its own that somebody still has must stay.
  if (client.posted.is_queued || ZRTaskGetState(client.task) == TaskState::kReplyWait) return;
  const bool has_job = ZRTaskGetState(client.task) == TaskState::kIOWait;
  ZRTaskKill(client.task);
  EXPECT_EQ(ZRTaskIsValid(client.task), has_job);  // then it goes when that is done
  --clients_running_;
  for (int i = 0; i < 3; ++i) {
    if (client.held[i] != 0) ZRTaskRelSemaphore(semaphores_[i], std::exchange(client.held[i], 0));
  }
  client.seed = random.Next();
  StartClient(index);
}

void KernelStressTest::StopAll() {
  constexpr uint32_t kMostPasses = 100000;
  Random random{0};
  stopping_ = true;
  for (uint32_t pass = 0; clients_running_ > 0 && pass < kMostPasses; ++pass) {
    SignalWaiting(random, 1);
    ZRTaskYieldMicros(1000, false);
  }
  EXPECT_EQ(clients_running_, 0u) << "somebody waits for ever";
  std::vector<PostedMessage> stops(servers_.size());
  for (size_t i = 0; i < servers_.size(); ++i) {
    stops[i].value = kStop;
    ZRTaskPostMessage(servers_[i], &stops[i]);
  }
  while (qv::TheKernel().task_count > 2) ZRTaskYield();
  qv::ResetWorkersForTest();
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(semaphores_[i]->count, kUnits[i]);
    ZRTaskDisposeSemaphore(&semaphores_[i]);
  }
}

void KernelStressTest::Watch() {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + std::chrono::duration<double>(plan_.seconds);
  Random random{~plan_.seed};
  while (Clock::now() < end && actions_ < plan_.actions && !HasFailure()) {
    ZRTaskYieldMicros(5000, false);
    CheckWakes();
    SignalWaiting(random, 4);
    if (plan_.kills) ReplaceOne(random);
  }
  StopAll();
}

uint64_t KernelStressTest::RunStress(const Plan& the_plan) {
  plan_ = the_plan;
  clients_ = std::vector<Client>(plan_.tasks);
  servers_.clear();
  stopping_ = false;
  actions_ = digest_ = clients_running_ = 0;
  stack_size = 0x8000;
  Set(std::string("QVSetup/Fibers=") + (plan_.fibers ? "1" : "0"));
  test::StopClock(1000000);
  qv::ResetClockForTest();
  RunTasks(
      [this] {
        EXPECT_TRUE(!plan_.jobs || ZRWorkersStart() == 1);
        for (int i = 0; i < 3; ++i) semaphores_[i] = ZRTaskNewSemaphore(kUnits[i]);
        for (uint32_t i = 0; i <= plan_.tasks / kClientsPerServer; ++i) {
          servers_.push_back(Spawn("server", [this] { Serve(); }));
        }
        for (size_t i = 0; i < clients_.size(); ++i) {
          clients_[i].seed = plan_.seed * 1000003 + i;
          StartClient(i);
        }
        Spawn("watcher", [this] { Watch(); });
      },
      plan_.fibers ? 1 << 20 : plan_.tasks * 2 * stack_size);
  return digest_;
}

TEST_F(KernelStressTest, WheelWithFibers) {
  const Plan plan = {.tasks = static_cast<uint32_t>(FromEnvironment("QV_STRESS_TASKS", 300)),
                     .seconds = static_cast<double>(FromEnvironment("QV_STRESS_SECONDS", 1)),
                     .seed = FromEnvironment("QV_STRESS_SEED", std::random_device{}())};
  std::printf("QV_STRESS_SEED=%llu\n", static_cast<unsigned long long>(plan.seed));
  const uint64_t digest = RunStress(plan);
  std::printf("%llu actions, digest %016llX\n", static_cast<unsigned long long>(Actions()),
              static_cast<unsigned long long>(digest));
}

TEST_F(KernelStressTest, JobsOnSixtyFourThreads) {
  Set("QVSetup/MaxWorkers=56");
  Set("QVSetup/MaxDedicatedWorkers=8");
  for (const bool fibers : {true, false}) {
    RunStress({.seconds = static_cast<double>(FromEnvironment("QV_STRESS_SECONDS", 1)),
               .seed = std::random_device{}(),
               .fibers = fibers,
               .kills = fibers,
               .jobs = true});
  }
  std::printf("%llu jobs\n", static_cast<unsigned long long>(jobs_submitted));
  EXPECT_GT(jobs_submitted, 1000u);
  EXPECT_EQ(jobs_done, jobs_submitted) << "some were lost";
}

TEST_F(KernelStressTest, ParkedLists) {
  Set("QVSetup/UseParkedTasks=1");
  RunStress({.seed = std::random_device{}()});
}

TEST_F(KernelStressTest, OwnStacks) {
  RunStress({.seed = std::random_device{}(), .fibers = false, .kills = false});
}

// The order of runs depends on nothing but the seed, and not on what tasks run on.
TEST_F(KernelStressTest, ASeedGivesTheSameRunInBothModes) {
  if (test::OnWindows()) GTEST_SKIP() << "its clock runs";
  Plan plan = {.seconds = 60, .actions = 30000, .seed = 7, .kills = false};
  const uint64_t digest = RunStress(plan);
  EXPECT_EQ(RunStress(plan), digest);
  plan.fibers = false;
  EXPECT_EQ(RunStress(plan), digest);
  plan.seed = 8;
  EXPECT_NE(RunStress(plan), digest);
}

}  // namespace
