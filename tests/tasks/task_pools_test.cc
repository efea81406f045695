// Pools as short texts: what submitters and runs do, and in which order it shows.
//
// A script is a name of one letter, a colon and steps. Small names are tasks, started in their
// order after the workers; capitals are the jobs: their steps are those of each run, none else.
//   .            yield                        +N    let N milliseconds pass
//   JN=FF        submit job J, count N, flags FF (hexadecimal); "J" when queued, "-J" when not
//   JN=FF?M      the same with a can_wait that is true M times
//   o            write the outstanding runs   W     wait for them; then "W", or "-W"
//   W?M          the same with a can_wait
//   kT           kill task T, or the worker of that digit
//   *T           signal a task, for no reason
//   ( )          enter and leave a critical region
//   D            dispose of the pool; "D" or "-D"
// A run of J shows as "J<" and "J>", its completion as "J!".
#include "tasks/task_pools.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "base/clock.h"
#include "tasks/kernel_state.h"
#include "tasks/semaphores.h"
#include "tasks/task_statistics.h"
#include "tests/tasks/kernel_fixture.h"
#include "tests/test_platform.h"

namespace {

struct PoolSize {
  uint32_t entries = 8, workers = 1, limit = 0;
};

class TaskPoolsTest : public test::KernelTest {
 protected:
  TaskPoolsTest() {
    test::StopClock(1000000);
    qv::ResetClockForTest();
  }
  ~TaskPoolsTest() override { test::ReleaseClock(); }

  std::string RunScripts(const PoolSize& size, const std::vector<std::string>& scripts);

  ZRTaskPool* pool = nullptr;

 private:
  struct Job {
    TaskPoolsTest* test;
    char name;
    int waits;  // that are left to can_wait
  };

  void Play(const char* at);
  void Submit(char name, const char** at);
  uint32_t Number(const char** at, int base = 10);
  // Behind "?": how often can_wait is true.
  int Waits(const char** at) { return **at == '?' ? Number(&++*at) : -1; }
  TaskId TaskOf(char name);
  void End();
  static Job& JobOf(uintptr_t arg) { return *reinterpret_cast<Job*>(arg); }
  static void RunJob(uintptr_t arg);
  static void CompleteJob(uintptr_t arg) { JobOf(arg).test->Log({JobOf(arg).name, '!'}); }
  static bool MayWait(uintptr_t arg) { return JobOf(arg).waits-- > 0; }

  std::map<char, std::string> steps_;
  std::map<char, TaskId> tasks_;
  std::map<char, Job> jobs_;
};

uint32_t TaskPoolsTest::Number(const char** at, int base) {
  char* end = nullptr;
  const unsigned long value = std::strtoul(*at, &end, base);
  *at = end;
  return static_cast<uint32_t>(value);
}

TaskId TaskPoolsTest::TaskOf(char name) {
  if (name >= 'a') return tasks_[name];
  const std::string worker = std::string("Worker Task (P): ") + name;
  qv::HashIterator each;
  TaskId id = 0;
  for (each.Begin(*qv::TheKernel().registry); each.Next(&id, sizeof id);) {
    if (ZRTaskGetName(id) == worker) return id;
  }
  return 0;
}

void TaskPoolsTest::RunJob(uintptr_t arg) {
  Job& job = JobOf(arg);
  job.test->Log({job.name, '<'});
  job.test->Play(job.test->steps_[job.name].c_str());
  job.test->Log({job.name, '>'});
}

void TaskPoolsTest::Submit(char name, const char** at) {
  const uint32_t count = Number(at);
  const uint32_t flags = Number(&++*at, 16);
  const int waits = Waits(at);
  jobs_[name] = {this, name, waits};
  const bool queued = ZRTaskPoolSubmit(pool, RunJob, CompleteJob, waits >= 0 ? MayWait : nullptr,
                                       reinterpret_cast<uintptr_t>(&jobs_[name]), count, flags);
  Log((queued ? "" : "-") + std::string(1, name));
}

void TaskPoolsTest::Play(const char* at) {
  while (*at != '\0') {
    if (pool != nullptr) {
      EXPECT_TRUE(qv::TaskPoolIsConsistent(pool)) << at;
    }
    switch (const char step = *at++) {
      case '.':
        ZRTaskYield();
        break;
      case '+':
        test::MoveClock(Number(&at) * qv::kMicrosecondsPerMillisecond);
        break;
      case 'o':
        Log(std::to_string(ZRTaskPoolOutstanding(pool, 0)));
        break;
      case 'W': {
        jobs_['W'] = {this, 'W', Waits(&at)};
        const bool asks = jobs_['W'].waits >= 0;
        const auto arg = reinterpret_cast<uintptr_t>(&jobs_['W']);
        Log(ZRTaskPoolWaitOwn(pool, asks ? MayWait : nullptr, arg) ? "W" : "-W");
        break;
      }
      case 'k':
        ZRTaskKill(TaskOf(*at++));
        break;
      case '*':
        ZRTaskSignal(TaskOf(*at++), 1);
        break;
      case '(':
        ZRTaskEnterCritical();
        break;
      case ')':
        ZRTaskLeaveCritical();
        break;
      case 'D':
        if (ZRTaskPoolDispose(pool)) {
          pool = nullptr;
          Log("D");
        } else {
          Log("-D");
        }
        break;
      default:
        if (step != ' ') Submit(step, &at);
    }
  }
}

// When only the workers are left, or nobody.
void TaskPoolsTest::End() {
  qv::TaskPoolStatistics now;
  ZRTaskPoolStatistics(pool, &now);
  EXPECT_EQ(now.free.count + now.urgent.count + now.normal.count + now.background.count +
                now.started.count,
            now.entries);
  EXPECT_EQ(now.waiting_submitters, 0u);
  if (pool != nullptr) {
    EXPECT_TRUE(ZRTaskPoolDispose(pool));
  }
}

std::string TaskPoolsTest::RunScripts(const PoolSize& size,
                                      const std::vector<std::string>& scripts) {
  steps_.clear();
  RunTasks([&] {
    pool = ZRTaskPoolNew("P", size.entries, size.workers, size.limit, stack_size);
    for (const std::string& script : scripts) {
      const char name = script[0];
      steps_[name] = script.substr(2);
      if (name < 'a') continue;
      tasks_[name] = Spawn(std::string(1, name), [this, name] { Play(steps_[name].c_str()); });
    }
    Spawn("end", [this] {
      const auto lives = [](const auto& task) { return ZRTaskIsValid(task.second); };
      for (int i = 0; i < 1000 && std::ranges::any_of(tasks_, lives); ++i) {
        ZRTaskYieldMicros(3000, false);
      }
      for (const auto& [name, task] : tasks_) {
        EXPECT_FALSE(ZRTaskIsValid(task)) << name << " waits for ever";
        ZRTaskKill(task);
      }
      End();
    });
  });
  tasks_.clear();
  pool = nullptr;
  return TakeLog();
}

const struct {
  const char* name;
  PoolSize size;
  std::vector<std::string> scripts;
  const char* log;
} kScripts[] = {
    {"two jobs in their order", {}, {"a:A1=0 B1=0 o W o"}, "A B 2 A< A> A! B< B> B! W 0"},
    {"the lists", {}, {"a:A1=2 B1=0 C1=1 D1=3 W"}, ""},
};

TEST_F(TaskPoolsTest, Scripts) {
  for (const auto& row : kScripts) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(RunScripts(row.size, row.scripts), row.log);
  }
}

}  // namespace
