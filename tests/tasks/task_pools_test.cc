// Pools as short texts: what submitters and runs do, and in which order it shows.
//
// Scripts of small names are tasks, started after the workers; those in capitals are jobs, and play
// in each of their runs. Steps beside those of task_scripts.h; N and M are numbers:
//   JN=FF     hand in job J, N runs, flags FF in hexadecimal: "J" when queued, "-J" when not
//   JN=FF?M   the same with a can_wait that is true M times
//   W, W?M    wait for what was handed in: "W" or "-W"
//   o         write the outstanding runs
//   r         make one run: "r", or "-r" when there was none
//   kT        kill task T, or the worker of that digit
//   ( )       enter and leave a critical region
//   FN        let the allocation after N more fail
//   S, Z      write the statistics, reset them
//   D         dispose of the pool: "D" or "-D"
//   E         the end: wait until nobody else is left, and dispose of it
// A run of J shows as "J<" and "J>", its completion as "J!".
#include "tasks/task_pools.h"

#include <algorithm>
#include <cstdlib>

#include "base/clock.h"
#include "tasks/kernel_state.h"
#include "tests/tasks/task_scripts.h"
#include "tests/test_platform.h"

namespace {

uint32_t Number(const char** at, int base = 10) {
  char* end = nullptr;
  const unsigned long value = std::strtoul(*at, &end, base);
  *at = end;
  return static_cast<uint32_t>(value);
}

class TaskPoolsTest : public test::ScriptTest {
 protected:
  TaskPoolsTest() {
    test::StopClock(1000000);
    qv::ResetClockForTest();
    keep_processor = test::MoveClock;
  }
  ~TaskPoolsTest() override { test::ReleaseClock(); }

  ZRTaskPool* pool = nullptr;

 private:
  struct Job {
    TaskPoolsTest* test;
    char name;
    int waits;  // that are left to can_wait; -1 without one

    ZRTaskPoolCanWait CanWait() const { return waits < 0 ? nullptr : MayWait; }
  };

  bool PlayOwn(const char** at) override;
  void Submit(char name, const char** at);
  // The job to wait with; "?" and a number may follow.
  uintptr_t Waiting(char name, const char** at) {
    jobs_[name] = {this, name, **at == '?' ? static_cast<int>(Number(&++*at)) : -1};
    return reinterpret_cast<uintptr_t>(&jobs_[name]);
  }
  void WaitForRuns(uintptr_t job) {
    LogAnswer(ZRTaskPoolWaitOwn(pool, JobOf(job).CanWait(), job), 'W');
  }
  void Dispose() {
    const bool disposed = ZRTaskPoolDispose(pool);
    if (disposed) pool = nullptr;
    LogAnswer(disposed, 'D');
  }
  static TaskId FindWorker(char name);
  void Kill(char name);
  void End();
  void WriteStatistics();
  void LogAnswer(bool answer, char name) { Log((answer ? "" : "-") + std::string(1, name)); }

  static Job& JobOf(uintptr_t arg) { return *reinterpret_cast<Job*>(arg); }
  static void RunJob(uintptr_t arg);
  static void CompleteJob(uintptr_t arg) { JobOf(arg).test->Log({JobOf(arg).name, '!'}); }
  static bool MayWait(uintptr_t arg) { return JobOf(arg).waits-- > 0; }

  using OwnStep = std::function<void(const char** at)>;
  const std::map<char, OwnStep> own_steps_ = {
      {'o', [this](auto) { Log(std::to_string(ZRTaskPoolOutstanding(pool, 0))); }},
      {'W', [this](auto at) { WaitForRuns(Waiting('W', at)); }},
      {'r', [this](auto) { LogAnswer(ZRTaskPoolRunOne(pool), 'r'); }},
      {'k', [this](auto at) { Kill(*(*at)++); }},
      {'(', [](auto) { ZRTaskEnterCritical(); }},
      {')', [](auto) { ZRTaskLeaveCritical(); }},
      {'F', [](auto at) { test::FailAllocation(static_cast<int>(Number(at))); }},
      {'S', [this](auto) { WriteStatistics(); }},
      {'Z', [](auto) { ZRTaskResetWorkerStatistics(); }},
      {'D', [this](auto) { Dispose(); }},
      {'E', [this](auto) { End(); }}};
  std::map<char, Job> jobs_;
};

void TaskPoolsTest::RunJob(uintptr_t arg) {
  const auto [test, name, waits] = JobOf(arg);
  test->Log({name, '<'});
  test->Play(test->steps_[name]);
  test->Log({name, '>'});
}

void TaskPoolsTest::Submit(char name, const char** at) {
  const uint32_t count = Number(at);
  const uint32_t flags = Number(&++*at, 16);
  const uintptr_t job = Waiting(name, at);
  LogAnswer(ZRTaskPoolSubmit(pool, RunJob, CompleteJob, JobOf(job).CanWait(), job, count, flags),
            name);
}

TaskId TaskPoolsTest::FindWorker(char name) {
  qv::HashIterator each;
  TaskId id = 0;
  for (each.Begin(*qv::TheKernel().registry); each.Next(&id, sizeof id);) {
    if (ZRTaskGetName(id) == std::string("Worker Task (P): ") + name) return id;
  }
  return 0;
}

// Nothing may be under way on the stack of a task that kills itself.
void TaskPoolsTest::Kill(char name) { ZRTaskKill(name >= 'a' ? tasks_[name] : FindWorker(name)); }

void TaskPoolsTest::WriteStatistics() {
  qv::TaskPoolStatistics now;
  ZRTaskPoolStatistics(pool, &now);
  std::string text = std::to_string(now.completed) + ":" + std::to_string(now.latest_wait) + "/" +
                     std::to_string(now.longest_wait);
  for (const auto& [least, count, most] : {now.free, now.normal, now.background, now.started}) {
    text += ":" + std::to_string(least) + "/" + std::to_string(count) + "/" + std::to_string(most);
  }
  Log(text);
}

void TaskPoolsTest::End() {
  const auto lives = [](const auto& task) {
    return task.second != ZRTaskCurrent() && ZRTaskIsValid(task.second);
  };
  int tries = 1000;
  do {
    ZRTaskYieldMicros(3000, false);  // the clock stands while anybody is ready
  } while (--tries > 0 && std::ranges::any_of(tasks_, lives));
  EXPECT_GT(tries, 0) << "somebody waits for ever";
  EXPECT_EQ(ZRTaskPoolDispose(pool), pool != nullptr);
}

bool TaskPoolsTest::PlayOwn(const char** at) {
  EXPECT_TRUE(pool == nullptr || qv::TaskPoolIsConsistent(pool)) << *at;
  const char step = **at;
  if (const auto own = own_steps_.find(step); own != own_steps_.end()) {
    ++*at;
    own->second(at);
    return true;
  }
  if (step < 'A' || step > 'Z' || (*at)[1] < '0' || (*at)[1] > '9') return false;
  ++*at;
  Submit(step, at);
  return true;
}

const struct {
  const char* name;
  const char* scripts;
  const char* log;
  uint32_t entries = 8, workers = 1, limit = 0;  // of the pool
} kScripts[] = {
    // Which job comes next.
    {"three lists, both bits are the background's", "a:A1=2 B1=0 C1=1 I1=3 o W o",
     "A B C I 4 C< C> C! B< B> B! A< A> A! I< I> I! W 0"},
    {"a run left over is dropped", "a:A3=0 o W o | A:y", "A 2 A< A< A> A> A! W 0", 8, 3, 2},
    {"a further run goes before the background", "a:X1=0 A5=0 W | b:B1=2 | X:y | A:yyy",
     "X A B X< A< X> X! A< A> B< B> B! A> A! W", 8, 2, 2},
    {"unless the submitter is at its limit", "a:A3=0 W | b:B1=2 | A:yyy",
     "A B A< A< B< B> B! A> A> A! W", 8, 3, 2},
    {"units of dropped runs wake nobody later", "a:A9=0 W B1=0 W", "A A< A> A! W B B< B> B! W", 8,
     2},

    // Inline, once.
    {"no runs", "a:A0=0 A0=80", "A! -A A! -A"},
    {"no workers", "a:A5=0", "A< A> A! -A", 8, 0},
    {"no entries", "a:A1=0", "A< A> A! -A", 0, 1},
    {"no entries to queue in", "a:A1=84 B1=88?1", "A! -A B! -B", 0, 1},
    {"one synchronous run", "a:A1=8 B1=88 C1=8?9", "A< A> A! -A B< B> B! B C< C> C! C"},
    {"inside a run", "a:A1=0 W | A:B2=8", "A A< B< B> B! -B A> A! W", 8, 2},
    {"inside a run, queued", "a:A1=0 W | A:B1=88", "A A< B< B> B! B A> A! W", 8, 2},
    {"inside a run inside a run", "a:A1=0 W | A:B1=A8 C1=0", "A A< B< B> B! B C< C> C! -C A> A! W",
     8, 2},
    {"where nobody can wait", "a:(A2=88) A2=0 (W) W", "A< A> A! -A A -W A< A> A! W"},

    // Room.
    {"no more runs than can be counted", "a:A4294967295=0 B1=0 C4294967295=40 W",
     "A B! -B C A< A> A! W C< C> C!"},
    {"refused", "a:A1=0 B1=0 W", "A B! -B A< A> A! W", 1},
    {"refused in a critical region", "a:A1=0 (B1=4) W", "A B! -B A< A> A! W", 1},
    {"waits for an entry", "a:A1=0 B1=4 W", "A A< A> A! B B< B> B! W", 1},
    {"asks while it waits", "a:A1=0 B1=4?9 W", "A A< A> A! B B< B> B! W", 1},
    {"gives up", "a:A1=0 B1=4?0 B1=4?1 W | A:yyy", "A B! -B A< B! -B A> A! W", 1},
    {"a line", "a:A1=0 | b:B1=4 | c:C1=4 | A:yy", "A A< A> A! B B< B> B! C C< C> C!", 1},
    {"signals for no reason", "a:A1=0 | b:B1=4 | c:C1=4 | d:*b*cy*c*b | A:yyyy",
     "A A< A> A! B B< B> B! C C< C> C!", 1},
    {"the first in line is killed", "a:A1=0 | b:B1=4 | c:C1=4 | d:kb | A:yy",
     "A A< A> A! C C< C> C!", 1},
    {"the second", "a:A1=0 | b:B1=4 | c:C1=4 | d:I1=4 | e:kc | A:yyy",
     "A A< A> A! B B< B> B! I I< I> I!", 1},
    {"the one that was just told", "a:A1=0 | b:B1=4 | c:C1=4 | A:ykb", "A A< A> A! C C< C> C!", 1},
    {"beyond the limit", "a:A1=0 B9=0 C1=0 I1=1 o H1=4 W | b:G1=0",
     "A B C! -C I 3 G I< I> I! A< A> A! H B< B> B! G< G> G! H< H> H! W", 8, 1, 1},
    {"the limit gives up", "a:A1=0 B1=0 C1=4?0 W", "A B C! -C A< A> A! B< B> B! W", 8, 1, 1},
    {"uncounted", "a:A1=40 B3=40 C1=40 o W | A:y", "A B C 0 W A< A> A! B< B> B! C< C> C!", 8, 1, 1},
    {"who waits cancels", "a:A1=0y B1=10 C1=4 W | A:yy", "A A< B A> A! C B! C< C> C! W", 2},
    {"unless it may be cancelled", "a:A1=0y B1=10 C1=14 W | A:yy",
     "A A< B A> A! C B< B> B! C< C> C! W", 2},

    {"who waits cancels but once", "a:A1=0 X1=0 | b:B1=14?99 | c:C1=4?99 | A:yy",
     "A X A< A> A! B X< X> X! C B< B> B! C< C> C!", 2},

    // Memory.
    {"none to count its runs", "a:F0A1=0 F1B1=0 F1C1=4?0 I1=0 W", "A! -A B! -B C! -C I I< I> I! W"},
    {"none at once", "a:F0A1=4 W | b:F1B1=4?9", "A B A< A> A! W B< B> B!"},
    {"none to note its run", "a:A1=80 | b:(F0r) r", "A -r A< A> A! r", 8, 0},
    {"none at once to note its run", "a:A1=80 | b:F0r r", "A A< A> A! r -r", 8, 0},

    // Waits for what was handed in.
    {"the first run by the submitter", "a:A2=20 W | A:y", "A< A< A> A A> A! W"},
    {"all of it", "a:A1=A8", "A< A> A! A"},
    {"synchronous", "a:A2=8 o | b:*ay*a | A:yy", "A< A< A> A> A! A 0", 8, 2},
    {"given up before it began", "a:A2=8?0 o W", "A! A 0 W"},
    {"given up in progress", "a:A2=8?2 o W o | A:yyyyy", "A< A 2 A> A! W 0"},
    {"its runs, given up", "a:A1=0 W?0 W?1 W?9 | A:yyy", "A -W A< -W A> A! W"},
    {"its own run", "a:A1=20 W | A:W W?9", "A< -W -W A> A! A W"},
    {"without workers by itself", "a:A2=80 o W | b:B2=88", "A 2 A< A> A! W B< B> B! B", 8, 0},

    // Tasks that are killed.
    {"a worker in its run", "a:A1=0 W | b:yk0 | A:yyy", "A A< A! W", 8, 2},
    {"by its own hand", "a:A1=0 W B1=0 W | A:k0", "A A< A! W B B< B> B! W", 8, 2},
    {"one of two runs", "a:A3=0 W | b:yk0 | A:yyy", "A A< A< A> A! W", 8, 2},
    {"the last worker", "a:A1=0 B2=0 W | b:yk0 | A:yyy", "A B A< A! B< B> B! W", 8, 1},
    {"the last worker, for an entry", "a:A1=0 B1=4 W | b:yk0 | A:yy", "A A< A! B B< B> B! W", 1},
    {"the last worker, synchronous", "a:A2=8 W | b:yk0 | A:yy", "A< A! A W"},
    {"an idle worker", "a:k0 A1=0 W", "A A< A> A! W", 8, 2},
    {"a worker that was just woken", "a:A1=0 k0 W", "A A< A> A! W", 8, 2},
    {"a submitter in its run", "a:A1=20 | b:ka | A:yyy", "A< A!"},
    {"a submitter whose job runs", "a:A2=8 | b:yka | A:yy", "A< A> A!"},
    {"a submitter whose job is queued", "a:X1=0 | b:A2=8 | c:ykb | X:yy", "X X< X> X! A!"},
    {"a submitter that goes on", "a:A1=0 ka | b:o | A:y", "A 0 A< A> A!"},

    {"another task in its place", "a:A1=0 ka | b:ycN | N:B1=0 C1=0 oyyyyyyo | A:yyyy | B:yyyyy",
     "A A< B C 2 A> A! B< 2 B> B! C< C> C!"},

    // Disposal.
    {"idle", "a:D D", "D -D", 8, 64},
    {"busy", "a:A2=0 B1=10 C1=2 y D | A:yyy", "A B C A< A< B! C! A> A> A! D", 8, 2},
    {"with waiting submitters", "a:A1=0yD | b:B1=4 | c:C1=4?9 | A:yyy", "A A< C! -C B! -B A> A! D",
     1, 1, 1},
    {"with synchronous ones", "a:A1=0yyD | b:B2=8 | c:C2=8?99 W | A:yyyy",
     "A A< B! C! C W B A> A! D"},
    {"while one waits for its runs", "a:A1=0 W | b:yD | A:yyy", "A A< A> A! W D"},
    {"inside a run", "a:A1=20 W | A:D", "A< -D A> A! A W"},
    {"where it cannot wait", "a:A1=0y(D) W (D) | A:yy", "A A< -D A> A! W D"},
    {"where it cannot wait, with waiting submitters", "a:A1=0 B1=4 | b:(D)", "A A! D B! -B", 1},
    {"a worker is killed meanwhile", "a:A1=0yD | b:yyk0 | A:yyyyyy", "A A< A! D"},

    // Figures: jobs, latest/longest wait, each list at least/now/at most; then after a reset.
    {"statistics", "a:A1=0 B1=2 C1=0 W S ZS | A:+5000 | B:+2000 | C:+1000",
     "A B C A< A> A! C< C> C! B< B> B! W 3:8/8:1/4/4:0/0/2:0/0/1:0/0/1 "
     "0:0/0:4/4/4:0/0/0:0/0/0:0/0/0",
     4},
};

TEST_F(TaskPoolsTest, ScriptsInBothModes) {
  const bool clock_stands = !test::OnWindows();
  for (const char* mode : {"QVSetup/Fibers=1", "QVSetup/Fibers=0"}) {
    Set(mode);
    for (const auto& row : kScripts) {
      if (!clock_stands && std::string(row.scripts).find('+') != std::string::npos) continue;
      SCOPED_TRACE(std::string(mode) + ", " + row.name);
      const auto make_pool = [&] {
        pool = ZRTaskPoolNew("P", row.entries, row.workers, row.limit, stack_size);
      };
      EXPECT_EQ(RunScripts(std::string(row.scripts) + " | z:E", make_pool), row.log);
    }
  }
}

// Without memory there is no pool, or one with fewer workers. It outlives its kernel.
TEST_F(TaskPoolsTest, AllocationsFail) {
  uint32_t most = 0;
  int none = 0, completed = 0;
  const auto count = [](uintptr_t sum) { ++*reinterpret_cast<int*>(sum); };
  for (int after = 0; most < 3 && after < 50; ++after) {
    completed = 0;
    Run([&] {
      test::FailAllocation(after);
      pool = ZRTaskPoolNew("P", 4, 3, 0, stack_size);
      test::FailAllocation(-1);
      qv::TaskPoolStatistics now;
      ZRTaskPoolStatistics(pool, &now);
      EXPECT_GE(now.workers, most);
      most = now.workers;
      ZRTaskPoolSubmit(pool, nullptr, count, nullptr, reinterpret_cast<uintptr_t>(&completed), 1,
                       qv::kPoolAlwaysQueue);
    });
    none += pool == nullptr ? 1 : 0;
    EXPECT_TRUE(pool == nullptr || qv::TaskPoolIsConsistent(pool));
    EXPECT_EQ(completed, pool == nullptr ? 1 : 0);
    EXPECT_EQ(ZRTaskPoolDispose(pool), pool != nullptr);
    EXPECT_EQ(completed, 1);
  }
  EXPECT_EQ(none, 3);
  EXPECT_EQ(most, 3u);
}

}  // namespace
