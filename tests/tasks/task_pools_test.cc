// Pools as short texts: what submitters and runs do, and in which order it shows.
//
// A script is a name of one letter, a colon and steps. Small names are tasks, started in their
// order after the workers; capitals (but D, F and W) are the jobs: their steps are those of each
// run, none else.
//   .            yield                        +N    let N milliseconds pass
//   JN=FF        submit job J, count N, flags FF (hexadecimal); "J" when queued, "-J" when not
//   JN=FF?M      the same with a can_wait that is true M times
//   o            write the outstanding runs   W     wait for them; then "W", or "-W"
//   W?M          the same with a can_wait
//   kT           kill task T, or the worker of that digit
//   *T           signal a task, for no reason
//   ( )          enter and leave a critical region
//   FN           let the allocation after N more fail
//   r            make one run; "-r" when there was none
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
      case 'F':
        test::FailAllocation(static_cast<int>(Number(&at)));
        break;
      case 'r':
        Log(ZRTaskPoolRunOne(pool) ? "r" : "-r");
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
        if (step >= 'A') Submit(step, &at);
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
      int tries = 1000;
      do {
        ZRTaskYieldMicros(3000, false);  // the clock stands while anybody is ready
      } while (--tries > 0 && std::ranges::any_of(tasks_, lives));
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
    // Which job comes next.
    {"three lists, both bits are the background's",
     {},
     {"a:A1=2 B1=0 C1=1 E1=3 o W o"},
     "A B C E 4 C< C> C! B< B> B! A< A> A! E< E> E! W 0"},
    {"a run left over is dropped", {8, 3, 2}, {"a:A3=0 o W o", "A:."}, "A 2 A< A< A> A> A! W 0"},
    {"a further run goes before the background",
     {8, 2, 2},
     {"a:X1=0 A5=0 W", "b:B1=2", "X:.", "A:..."},
     "X A B X< A< X> X! A< A> B< B> B! A> A! W"},
    {"unless the submitter is at its limit",
     {8, 3, 2},
     {"a:A3=0 W", "b:B1=2", "A:..."},
     "A B A< A< B< B> B! A> A> A! W"},
    {"units of dropped runs wake nobody later",
     {8, 2},
     {"a:A9=0 W B1=0 W"},
     "A A< A> A! W B B< B> B! W"},

    // Inline, once.
    {"no runs", {}, {"a:A0=0 A0=80"}, "A! -A A! -A"},
    {"no workers", {8, 0}, {"a:A5=0"}, "A< A> A! -A"},
    {"no entries", {0, 1}, {"a:A1=0"}, "A< A> A! -A"},
    {"no entries to queue in", {0, 1}, {"a:A1=84 B1=88?1"}, "A! -A B! -B"},
    {"one synchronous run", {}, {"a:A1=8 B1=88 C1=8?9"}, "A< A> A! -A B< B> B! B C< C> C! C"},
    {"inside a run", {8, 2}, {"a:A1=0 W", "A:B2=8"}, "A A< B< B> B! -B A> A! W"},
    {"inside a run, queued", {8, 2}, {"a:A1=0 W", "A:B1=88"}, "A A< B< B> B! B A> A! W"},
    {"where nobody can wait", {}, {"a:(A2=88) A2=0 (W) W"}, "A< A> A! -A A -W A< A> A! W"},

    // Room.
    {"no more runs than can be counted",
     {},
     {"a:A4294967295=0 B1=0 C1=40 W"},
     "A B! -B C A< A> A! W C< C> C!"},
    {"refused", {1}, {"a:A1=0 B1=0 W"}, "A B! -B A< A> A! W"},
    {"refused in a critical region", {1}, {"a:A1=0 (B1=4) W"}, "A B! -B A< A> A! W"},
    {"waits for an entry", {1}, {"a:A1=0 B1=4 W"}, "A A< A> A! B B< B> B! W"},
    {"asks while it waits", {1}, {"a:A1=0 B1=4?9 W"}, "A A< A> A! B B< B> B! W"},
    {"gives up", {1}, {"a:A1=0 B1=4?0 B1=4?1 W", "A:..."}, "A B! -B A< B! -B A> A! W"},
    {"a line", {1}, {"a:A1=0", "b:B1=4", "c:C1=4", "A:.."}, "A A< A> A! B B< B> B! C C< C> C!"},
    {"signals for no reason",
     {1},
     {"a:A1=0", "b:B1=4", "c:C1=4", "d:*b*c.*c*b", "A:...."},
     "A A< A> A! B B< B> B! C C< C> C!"},
    {"the first in line is killed",
     {1},
     {"a:A1=0", "b:B1=4", "c:C1=4", "d:kb", "A:.."},
     "A A< A> A! C C< C> C!"},
    {"the second",
     {1},
     {"a:A1=0", "b:B1=4", "c:C1=4", "d:E1=4", "e:kc", "A:..."},
     "A A< A> A! B B< B> B! E E< E> E!"},
    {"the one that was just told",
     {1},
     {"a:A1=0", "b:B1=4", "c:C1=4", "A:.kb"},
     "A A< A> A! C C< C> C!"},
    {"beyond the limit",
     {8, 1, 1},
     {"a:A1=0 B9=0 C1=0 E1=1 o H1=4 W", "b:G1=0"},
     "A B C! -C E 3 G E< E> E! A< A> A! H B< B> B! G< G> G! H< H> H! W"},
    {"the limit gives up", {8, 1, 1}, {"a:A1=0 B1=0 C1=4?0 W"}, "A B C! -C A< A> A! B< B> B! W"},
    {"uncounted",
     {8, 1, 1},
     {"a:A1=40 B3=40 C1=40 o W", "A:."},
     "A B C 0 W A< A> A! B< B> B! C< C> C!"},
    {"who waits cancels", {2}, {"a:A1=0. B1=10 C1=4 W", "A:.."}, "A A< B A> A! C B! C< C> C! W"},
    {"unless it may be cancelled",
     {2},
     {"a:A1=0. B1=10 C1=14 W", "A:.."},
     "A A< B A> A! C B< B> B! C< C> C! W"},

    // Memory.
    {"none to count its runs",
     {},
     {"a:F0A1=0 F1B1=0 F1C1=4?0 E1=0 W"},
     "A! -A B! -B C! -C E E< E> E! W"},
    {"none at once", {}, {"a:F0A1=4 W", "b:F1B1=4?9"}, "A B A< A> A! W B< B> B!"},
    {"none to note its run", {8, 0}, {"a:A1=80", "b:(F0r) r"}, "A -r A< A> A! r"},
    {"none at once to note its run", {8, 0}, {"a:A1=80", "b:F0r r"}, "A A< A> A! r -r"},

    // Waits for what was handed in.
    {"the first run by the submitter", {}, {"a:A2=20 W", "A:."}, "A< A< A> A A> A! W"},
    {"all of it", {}, {"a:A1=A8"}, "A< A> A! A"},
    {"synchronous", {8, 2}, {"a:A2=8 o", "b:*a.*a", "A:.."}, "A< A< A> A> A! A 0"},
    {"given up before it began", {}, {"a:A2=8?0 o W"}, "A! A 0 W"},
    {"given up in progress", {}, {"a:A2=8?2 o W o", "A:....."}, "A< A 2 A> A! W 0"},
    {"its runs, given up", {}, {"a:A1=0 W?0 W?1 W?9", "A:..."}, "A -W A< -W A> A! W"},
    {"its own run", {}, {"a:A1=20 W", "A:W W?9"}, "A< -W -W A> A! A W"},
    {"without workers by itself", {8, 0}, {"a:A2=80 o W", "b:B2=88"}, "A 2 A< A> A! W B< B> B! B"},

    // Tasks that are killed.
    {"a worker in its run", {8, 2}, {"a:A1=0 W", "b:.k0", "A:..."}, "A A< A! W"},
    {"by its own hand", {8, 2}, {"a:A1=0 W B1=0 W", "A:k0"}, "A A< A! W B B< B> B! W"},
    {"one of two runs", {8, 2}, {"a:A3=0 W", "b:.k0", "A:..."}, "A A< A< A> A! W"},
    {"the last worker", {8, 1}, {"a:A1=0 B2=0 W", "b:.k0", "A:..."}, "A B A< A! B< B> B! W"},
    {"the last worker, for an entry",
     {1},
     {"a:A1=0 B1=4 W", "b:.k0", "A:.."},
     "A A< A! B B< B> B! W"},
    {"the last worker, synchronous", {}, {"a:A2=8 W", "b:.k0", "A:.."}, "A< A! A W"},
    {"an idle worker", {8, 2}, {"a:k0 A1=0 W"}, "A A< A> A! W"},
    {"a worker that was just woken", {8, 2}, {"a:A1=0 k0 W"}, "A A< A> A! W"},
    {"a submitter in its run", {}, {"a:A1=20", "b:ka", "A:..."}, "A< A!"},
    {"a submitter whose job runs", {}, {"a:A2=8", "b:.ka", "A:.."}, "A< A> A!"},
    {"a submitter whose job is queued", {}, {"a:X1=0", "b:A2=8", "c:.kb", "X:.."}, "X X< X> X! A!"},
    {"a submitter that goes on", {}, {"a:A1=0 ka", "b:o", "A:."}, "A 0 A< A> A!"},

    // Disposal.
    {"idle", {8, 64}, {"a:D D"}, "D -D"},
    {"busy", {8, 2}, {"a:A2=0 B1=10 C1=2 . D", "A:..."}, "A B C A< A< B! C! A> A> A! D"},
    {"with waiting submitters",
     {1, 1, 1},
     {"a:A1=0.D", "b:B1=4", "c:C1=4?9", "A:..."},
     "A A< C! -C B! -B A> A! D"},
    {"with synchronous ones",
     {},
     {"a:A1=0..D", "b:B2=8", "c:C2=8?99 W", "A:...."},
     "A A< B! C! C W B A> A! D"},
    {"while one waits for its runs", {}, {"a:A1=0 W", "b:.D", "A:..."}, "A A< A> A! W D"},
    {"inside a run", {}, {"a:A1=20 W", "A:D"}, "A< -D A> A! A W"},
    {"where it cannot wait", {}, {"a:A1=0.(D) W (D)", "A:.."}, "A A< -D A> A! W D"},
    {"a worker is killed meanwhile", {}, {"a:A1=0.D", "b:..k0", "A:......"}, "A A< A! D"},
};

TEST_F(TaskPoolsTest, Scripts) {
  for (const auto& row : kScripts) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(RunScripts(row.size, row.scripts), row.log);
  }
}

TEST_F(TaskPoolsTest, WithoutMemoryThereAreFewerWorkersOrNoPool) {
  uint32_t most = 0;
  int none = 0;
  for (int after = 0; most < 3 && after < 50; ++after) {
    Run([&] {
      test::FailAllocation(after);
      pool = ZRTaskPoolNew("P", 4, 3, 0, stack_size);
      test::FailAllocation(-1);
      none += pool == nullptr ? 1 : 0;
      qv::TaskPoolStatistics now;
      ZRTaskPoolStatistics(pool, &now);
      EXPECT_GE(now.workers, most);
      most = now.workers;
      EXPECT_EQ(ZRTaskPoolDispose(pool), pool != nullptr);
    });
    EXPECT_EQ(blocks_left, 0);
  }
  EXPECT_EQ(none, 3);
  EXPECT_EQ(most, 3u);
}

TEST_F(TaskPoolsTest, APoolOutlivesItsKernel) {
  int completed = 0;
  Run([&] {
    pool = ZRTaskPoolNew("P", 4, 3, 0, stack_size);
    const auto count = [](uintptr_t sum) { ++*reinterpret_cast<int*>(sum); };
    EXPECT_TRUE(ZRTaskPoolSubmit(pool, nullptr, count, nullptr,
                                 reinterpret_cast<uintptr_t>(&completed), 1, qv::kPoolAlwaysQueue));
  });
  EXPECT_EQ(completed, 0);
  EXPECT_TRUE(ZRTaskPoolDispose(pool));
  EXPECT_EQ(completed, 1);
}

TEST_F(TaskPoolsTest, Statistics) {
  qv::TaskPoolStatistics before, after;
  RunTasks([&] {
    pool = ZRTaskPoolNew("P", 4, 2, 0, stack_size);
    Spawn("submitter", [&] {
      const auto run = [](uintptr_t millis) {
        test::MoveClock(millis * qv::kMicrosecondsPerMillisecond);
      };
      ZRTaskPoolSubmit(pool, run, nullptr, nullptr, 5, 1, 0);
      ZRTaskPoolSubmit(pool, run, nullptr, nullptr, 2, 1, qv::kPoolBackground);
      ZRTaskPoolSubmit(pool, run, nullptr, nullptr, 1, 1, 0);
      ZRTaskPoolWaitOwn(pool, nullptr, 0);
      ZRTaskPoolStatistics(pool, &before);
      ZRTaskResetWorkerStatistics();
      ZRTaskPoolStatistics(pool, &after);
      ZRTaskPoolDispose(pool);
    });
  });
  const auto text = [](const qv::TaskPoolListCounts& list) {
    return std::to_string(list.least) + "/" + std::to_string(list.count) + "/" +
           std::to_string(list.most);
  };
  EXPECT_EQ(before.completed, 3u);
  EXPECT_EQ(text(before.free) + " " + text(before.normal) + " " + text(before.background) + " " +
                text(before.started),
            "1/4/4 0/0/2 0/0/1 0/0/1");
  EXPECT_EQ(after.completed, 0u);
  EXPECT_EQ(text(after.free) + " " + text(after.normal), "4/4/4 0/0/0");
  EXPECT_EQ(after.workers, 2u);
  if (test::OnWindows()) return;  // its clock runs
  EXPECT_EQ(before.latest_wait, 8u);
  EXPECT_EQ(before.longest_wait, 8u);
  EXPECT_EQ(after.longest_wait, 0u);
}

}  // namespace
