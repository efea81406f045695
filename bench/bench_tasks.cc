// The task kernel beside Boost.Fiber, its switch of stacks beside Boost.Context.
//
// Every measurement of ours is a task of a kernel of its own; the other tasks of that kernel are
// its company. What has no peer is there to be compared with its neighbours: a yield must cost the
// same whatever the number of tasks that wait.
#include <algorithm>
#include <chrono>
#include <ctime>
#include <string>
#include <thread>
#include <vector>

#ifdef QV_HAVE_BOOST_FIBER
#include <boost/context/fiber.hpp>
#include <boost/fiber/all.hpp>
#endif

#include "app/settings.h"
#include "bench/ratio.h"
#include "platform/context_switch.h"
#include "tasks/critical_regions.h"
#include "tasks/scheduler.h"
#include "tasks/semaphores.h"
#include "tasks/task_messages.h"
#include "tasks/waits.h"
#include "tasks/workers.h"
#include "tests/test_platform.h"

namespace {

using benchmark::State;
using Body = std::function<void(State&)>;

constexpr uint32_t kStack = 0x4000, kMeasuringStack = 0x10000, kStackArea = 4 << 20;  // bytes
constexpr uint32_t kSleepMicros = 5000;
constexpr int kSleepers = 1000;
constexpr int kSleepRounds = 20;  // of the sleepers, in one measurement of their cost

// --- kernels ---

struct Measurement {
  const Body* body;
  State* state;
};

int32_t RunMeasuringTask(uintptr_t measurement) {
  ZRTaskCreate(
      kMeasuringStack,
      [](TCB* task) {
        const auto& [body, state] = *reinterpret_cast<Measurement*>(task->parameter);
        (*body)(*state);
      },
      measurement);
  ZRTaskLeaveCritical();
  ZRTaskYield();
  return 0;
}

// The body as a task, from the start of a kernel to its end.
Body InKernel(Body body) {
  return [body = std::move(body)](State& state) {
    Measurement measurement{&body, &state};
    const auto argument = reinterpret_cast<uintptr_t>(&measurement);
    if (ZRTaskStartKernel(kStackArea, nullptr, RunMeasuringTask, argument) != 0) {
      state.SkipWithError("no kernel");
    }
  };
}

// The same with a line of the settings file.
Body WithSetting(const char* line, Body run) {
  return [line, run = std::move(run)](State& state) {
    const std::string path = test::TempFolder() + "\\kernel.ini";
    test::WriteWholeFile(path, std::string("[QVSetup]\r\n") + line + "\r\n");
    qv::SetSettingsPath(path.c_str());
    run(state);
    qv::ResetSettingsForTest();
  };
}

// On stacks of the kernel's own.
Body InKernelWithoutFibers(Body body) { return WithSetting("Fibers=0", InKernel(std::move(body))); }

// Tasks beside the measuring one, for as long as it lives. Each has run once.
class Company {
 public:
  Company(State& state, int count, ZRTaskEntry entry, void* parameter = nullptr) {
    for (int i = 0; i < count; ++i) {
      tasks_.push_back(ZRTaskCreate(kStack, entry, reinterpret_cast<uintptr_t>(parameter)));
      if (tasks_.back() == 0) state.SkipWithError("no task");
    }
    ZRTaskYield();
  }
  ~Company() {
    for (TaskId task : tasks_) ZRTaskKill(task);
  }
  Company(const Company&) = delete;
  Company& operator=(const Company&) = delete;
  TaskId First() const { return tasks_.front(); }

 private:
  std::vector<TaskId> tasks_;
};

#ifdef QV_HAVE_BOOST_FIBER
namespace fibers = boost::fibers;
namespace this_fiber = boost::this_fiber;

class BoostCompany {
 public:
  template <typename Function>
  BoostCompany(int count, Function body) {
    for (int i = 0; i < count; ++i) {
      fibers_.emplace_back([this, body] {
        while (!stop_) body();
      });
    }
    this_fiber::yield();
  }
  ~BoostCompany() {
    stop_ = true;
    for (fibers::fiber& fiber : fibers_) fiber.join();
  }

 private:
  bool stop_ = false;
  std::vector<fibers::fiber> fibers_;
};
#endif

// --- the switch of stacks ---

struct TwoStacks {
  platform::StackContext here, there;
};

constexpr int kSwitches = 100;

// From one place on both sides, as tasks do: the processor foresees where a switch returns to.
[[gnu::noinline]] void SwitchAgainAndAgain(platform::StackContext* left,
                                           platform::StackContext* target) {
  for (int i = 0; i < kSwitches; ++i) platform::SwitchStack(left, target);
}

void SwitchBack(void* argument) {
  auto* stacks = static_cast<TwoStacks*>(argument);
  for (;;) SwitchAgainAndAgain(&stacks->there, &stacks->here);
}

void AddSwitch() {
  bench::Job job{.name = "switch of stacks",
                 .peer = "Boost.Context",
                 .target = 1.2,
                 .ours =
                     [](State& state) {
                       std::vector<char> stack(kMeasuringStack);
                       TwoStacks stacks;
                       platform::PrepareStack(&stacks.there, stack.data(), stack.size(), SwitchBack,
                                              &stacks);
                       for (auto _ : state) SwitchAgainAndAgain(&stacks.here, &stacks.there);
                     },
                 .processor_time = true,
                 .operations = 2 * kSwitches};
#ifdef QV_HAVE_BOOST_FIBER
  job.theirs = [](State& state) {
    boost::context::fiber other([](boost::context::fiber&& from) {
      for (;;) from = std::move(from).resume();
      return std::move(from);
    });
    for (auto _ : state) {
      for (int i = 0; i < kSwitches; ++i) other = std::move(other).resume();
    }
  };
#endif
  bench::Add(job);
}

// --- yields ---

// Nobody may be left out: each of the others has run once in each loop.
void CheckTurns(State& state, int64_t turns, int others) {
  const int64_t expected = static_cast<int64_t>(state.iterations()) * others;
  if (turns < expected || turns > expected + others) state.SkipWithError("turns were lost");
}

Body YieldAmong(int tasks) {
  return [tasks](State& state) {
    int64_t turns = 0;
    Company company(
        state, tasks - 1,
        [](TCB* task) {
          auto& count = *reinterpret_cast<int64_t*>(task->parameter);
          for (;;) {
            ZRTaskYield();
            ++count;
          }
        },
        &turns);
    for (auto _ : state) ZRTaskYield();
    CheckTurns(state, turns, tasks - 1);
  };
}

void AddYields(int tasks, double target) {
  bench::Job job{.name = "yield among " + std::to_string(tasks),
                 .peer = "Boost.Fiber",
                 .target = target,
                 .ours = InKernel(YieldAmong(tasks)),
                 .processor_time = true,
                 .operations = static_cast<double>(tasks)};
#ifdef QV_HAVE_BOOST_FIBER
  job.theirs = [tasks](State& state) {
    int64_t turns = 0;
    BoostCompany company(tasks - 1, [&turns] {
      this_fiber::yield();
      ++turns;
    });
    for (auto _ : state) this_fiber::yield();
    CheckTurns(state, turns, tasks - 1);
  };
#endif
  bench::Add(job);
}

// For the record: no fibers, and many tasks, ready or not.
void AddYieldsWithoutPeer() {
  for (int tasks : {2, 100}) {
    bench::Add({.name = "yield among " + std::to_string(tasks) + ", own stacks",
                .ours = InKernelWithoutFibers(YieldAmong(tasks)),
                .processor_time = true,
                .operations = static_cast<double>(tasks)});
  }
  for (int tasks : {10, 10000}) {
    bench::Add({.name = "yield among " + std::to_string(tasks),
                .ours = InKernel(YieldAmong(tasks)),
                .processor_time = true,
                .operations = static_cast<double>(tasks)});
  }
  for (int waiting : {10, 100, 1000, 10000}) {
    bench::Add({.name = "yield between 2 beside " + std::to_string(waiting) + " that wait",
                .ours = InKernel([waiting](State& state) {
                  Company company(state, waiting, [](TCB*) { ZRTaskWaitEvents(1); });
                  YieldAmong(2)(state);
                }),
                .processor_time = true,
                .operations = 2});
  }
}

// --- semaphores, messages, lives ---

struct Semaphores {
  ZRSemaphore* there = ZRTaskNewSemaphore(0);
  ZRSemaphore* back = ZRTaskNewSemaphore(0);
  ~Semaphores() {
    ZRTaskDisposeSemaphore(&there);
    ZRTaskDisposeSemaphore(&back);
  }
};

void HandOver(State& state) {
  Semaphores semaphores;
  Company company(
      state, 1,
      [](TCB* task) {
        auto* both = reinterpret_cast<Semaphores*>(task->parameter);
        while (ZRTaskGetSemaphore(both->there, 1, true)) ZRTaskRelSemaphore(both->back, 1);
      },
      &semaphores);
  for (auto _ : state) {
    ZRTaskRelSemaphore(semaphores.there, 1);
    if (!ZRTaskGetSemaphore(semaphores.back, 1, true)) return state.SkipWithError("not handed");
  }
}

void AddHandOver() {
  bench::Job job{.name = "semaphore hand-over between two tasks",
                 .peer = "Boost.Fiber mutex and condition",
                 .target = 0.4,
                 .ours = InKernel(HandOver),
                 .processor_time = true,
                 .operations = 2};
#ifdef QV_HAVE_BOOST_FIBER
  job.theirs = [](State& state) {
    fibers::mutex mutex;
    fibers::condition_variable changed;
    bool mine = true;
    auto pass = [&](bool to_me) {
      std::unique_lock hold(mutex);
      mine = to_me;
      changed.notify_one();
      changed.wait(hold, [&] { return mine != to_me; });
    };
    bool done = false;
    fibers::fiber other([&] {
      {
        std::unique_lock hold(mutex);
        changed.wait(hold, [&] { return !mine; });
      }
      while (!done) pass(true);
      std::unique_lock hold(mutex);
      mine = true;
      changed.notify_one();
    });
    for (auto _ : state) pass(false);
    done = true;
    pass(false);
    other.join();
  };
#endif
  bench::Add(job);
}

void RoundTrip(State& state) {
  Company company(state, 1, [](TCB*) {
    while (ZRTaskMessage* message = ZRTaskGetMessage(true)) ZRTaskReply(message, 7);
  });
  for (auto _ : state) {
    uint32_t reply = 0;
    if (!ZRTaskSendValue(company.First(), 1, &reply) || reply != 7) {
      return state.SkipWithError("no reply");
    }
  }
}

void CreateAndEnd(State& state) {
  uint64_t ended = 0;
  auto body = [](TCB* task) { ++*reinterpret_cast<uint64_t*>(task->parameter); };
  for (auto _ : state) {
    ZRTaskCreate(kStack, body, reinterpret_cast<uintptr_t>(&ended));
    ZRTaskYield();
  }
  if (ended != static_cast<uint64_t>(state.iterations())) state.SkipWithError("a task did not run");
}

void AddLives() {
  bench::Job job{.name = "create, run and end a task",
                 .peer = "Boost.Fiber",
                 .target = 2.0,
                 .ours = InKernel(CreateAndEnd),
                 .processor_time = true};
#ifdef QV_HAVE_BOOST_FIBER
  job.theirs = [](State& state) {
    uint64_t ended = 0;
    for (auto _ : state) {
      fibers::fiber fiber([&ended] { ++ended; });
      fiber.join();
    }
    benchmark::DoNotOptimize(ended);
  };
#endif
  bench::Add(job);
}

// --- workers ---

// The body in a kernel with the workers of a fresh program.
Body WithWorkers(Body body) {
  return InKernel([body = std::move(body)](State& state) {
    ZRWorkersStart();
    body(state);
    qv::ResetWorkersForTest();
  });
}

double Now() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration<double>(now).count();
}

struct StampedJob : ZRWorkerJob {
  double ended = 0;
};

uint64_t NapAndStamp(ZRWorkerJob* job) {
  Sleep(2);  // the kernel is idle by then
  static_cast<StampedJob*>(job)->ended = Now();
  return 1;
}

void WakeIdleKernel(State& state) {
  for (auto _ : state) {
    StampedJob job;
    if (ZRWorkerRun(&job, NapAndStamp, true, true) != 1) return state.SkipWithError("no job");
    state.SetIterationTime(Now() - job.ended);
  }
}

void JobRoundTrip(State& state) {
  for (auto _ : state) {
    ZRWorkerJob job;
    auto work = [](ZRWorkerJob*) { return uint64_t{1}; };
    if (ZRWorkerRun(&job, work, true, true) != 1) return state.SkipWithError("no job");
  }
}

// 200 tasks with a job of 50 ms each, and the measuring one, which ticks meanwhile.
struct Crowd {
  double seconds = 0, largest_gap = 0;
};

Crowd RunCrowd(State& state) {
  constexpr int kJobs = 200;
  static int left;
  left = kJobs;
  Company company(state, kJobs, [](TCB*) {
    ZRWorkerJob job;
    auto nap = [](ZRWorkerJob*) { return Sleep(50), uint64_t{0}; };
    ZRWorkerRun(&job, nap, true, true);
    --left;
  });
  Crowd crowd;
  const double start = Now();
  for (double last = start; left > 0; last = Now()) {
    ZRTaskYieldMicros(1000, false);
    crowd.largest_gap = std::max(crowd.largest_gap, Now() - last);
  }
  crowd.seconds = Now() - start;
  return crowd;
}

void AddWorkers() {
  bench::Add({.name = "a job's round trip", .ours = WithWorkers(JobRoundTrip)});
  bench::Add({.name = "a worker wakes an idle kernel, less than 1 ms",
              // It would sleep for a second.
              .ours = WithSetting("IdleSleep=1000", WithWorkers(WakeIdleKernel)),
              .own_time = true,
              .iterations = 20});
  bench::Add({.name = "200 jobs of 50 ms on 64 workers, about 200 ms",
              .ours = WithWorkers([](State& state) {
                for (auto _ : state) state.SetIterationTime(RunCrowd(state).seconds);
              }),
              .own_time = true,
              .iterations = 1});
  bench::Add({.name = "largest gap of a ticking task meanwhile, less than 5 ms",
              .ours = WithWorkers([](State& state) {
                for (auto _ : state) state.SetIterationTime(RunCrowd(state).largest_gap);
              }),
              .own_time = true,
              .iterations = 1});
}

// --- sleeps ---

double Processor() {
  timespec now;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

// Processor time for each time that a sleeper wakes, while `wait_a_while` lasts.
template <typename Wait>
void MeasureWakes(State& state, const int64_t& wakes, Wait wait_a_while) {
  for (auto _ : state) {
    const int64_t wakes_before = wakes;
    const double before = Processor();
    wait_a_while();
    if (wakes - wakes_before < kSleepers * kSleepRounds / 2) {
      return state.SkipWithError("sleepers did not wake");
    }
    state.SetIterationTime((Processor() - before) / static_cast<double>(wakes - wakes_before));
  }
}

// The parameter is the count of its wakes.
void SleepAgainAndAgain(TCB* task) {
  for (;; ++*reinterpret_cast<int64_t*>(task->parameter)) {
    ZRTaskYieldMicros(kSleepMicros, false);
  }
}

void MeasureOurWakes(State& state) {
  int64_t wakes = 0;
  Company company(state, kSleepers, SleepAgainAndAgain, &wakes);
  MeasureWakes(state, wakes, [] { ZRTaskYieldMicros(kSleepMicros * kSleepRounds, false); });
}

// An idle kernel sleeps a millisecond at a time; the second row has the sleeps that the peer needs.
void AddWakes(const char* name, const char* setting, double target) {
  bench::Job job{.name = name,
                 .peer = "Boost.Fiber",
                 .target = target,
                 .ours = WithSetting(setting, InKernel(MeasureOurWakes)),
                 .own_time = true,
                 .iterations = 2};
#ifdef QV_HAVE_BOOST_FIBER
  job.theirs = [](State& state) {
    constexpr std::chrono::microseconds kSleep(kSleepMicros);
    int64_t wakes = 0;
    BoostCompany company(kSleepers, [&wakes, kSleep] {
      this_fiber::sleep_for(kSleep);
      ++wakes;
    });
    MeasureWakes(state, wakes, [kSleep] { this_fiber::sleep_for(kSleep * kSleepRounds); });
  };
#endif
  bench::Add(job);
}

// What an application costs that has nothing to do, as it is set from the start.
void AddIdleApplication() {
  bench::Add({.name = "processor time of an idle second, 100 sleep, less than 20 ms",
              .ours = InKernel([](State& state) {
                ZRWorkersStart();
                {
                  Company company(state, 100, [](TCB*) {
                    for (;;) ZRTaskYieldMillis(500, false);
                  });
                  for (auto _ : state) {
                    const double before = Processor();
                    ZRTaskYieldMillis(1000, false);
                    state.SetIterationTime(Processor() - before);
                  }
                }
                qv::ResetWorkersForTest();
              }),
              .own_time = true,
              .iterations = 1});
}

template <typename Sleep>
void MeasureLateness(State& state, Sleep sleep) {
  using Clock = std::chrono::steady_clock;
  for (auto _ : state) {
    const auto before = Clock::now();
    sleep();
    const std::chrono::duration<double> passed = Clock::now() - before;
    state.SetIterationTime(passed.count() - kSleepMicros / 1e6);
  }
}

void AddLateness() {
  bench::Job job{.name = "lateness of a sleep of 5 ms, at most 1.2 ms",
                 .peer = "Boost.Fiber",
                 .ours = InKernel([](State& state) {
                   MeasureLateness(state, [] { ZRTaskYieldMicros(kSleepMicros, false); });
                 }),
                 .own_time = true,
                 .iterations = 10};
#ifdef QV_HAVE_BOOST_FIBER
  job.theirs = [](State& state) {
    constexpr std::chrono::microseconds kSleep(kSleepMicros);
    MeasureLateness(state, [kSleep] { this_fiber::sleep_for(kSleep); });
  };
#endif
  bench::Add(job);
}

}  // namespace

int main(int argc, char** argv) {
  test::StartWithOwnState();
  // With a second thread locks and counts are atomic, as in a real program.
  std::atomic<bool> done = false;
  std::thread second([&done] { done.wait(false); });
  AddSwitch();
  AddYields(2, 1.2);
  AddYields(100, 2.0);
  AddYields(1000, 2.0);
  AddYieldsWithoutPeer();
  AddHandOver();
  bench::Add({.name = "message and reply, there and back",
              .ours = InKernel(RoundTrip),
              .processor_time = true});
  AddLives();
  AddWorkers();
  AddWakes("processor time of a wake, 1000 sleep 5 ms", "IdleSleep=-2", 0.7);
  AddWakes("the same with an idle sleep of 5 ms", "IdleSleep=5", 0);
  AddIdleApplication();
  AddLateness();
  const int result = bench::Run(argc, argv);
  done = true;
  done.notify_one();
  second.join();
  test::RemoveOwnState();
  return result;
}
