// What the kernel reads from the settings file when it starts, and what an application may change
// while it runs: its sleeps, and how friendly it is to other programs.
//
// Threads: the kernel thread, or before it starts.
#pragma once

#include <cstdint>

// Milliseconds that stand for a choice.
constexpr int32_t kNeverSleep = -1;
constexpr int32_t kAutomaticSleep = -2;

struct KernelParams {
  uint32_t sleep = 0;            // at each loop end, milliseconds; kNeverSleep
  uint32_t idle_sleep = 0;       // of each run of the idle task; kNeverSleep, kAutomaticSleep
  uint32_t longest_latency = 0;  // report runs that take longer, milliseconds; 0: none
  uint16_t trace_latency = 0;    // 1: with a traceback
  uint16_t io_yield = 0;         // the file cache yields after each read that it answers
  bool operator==(const KernelParams&) const = default;
};

void ZRTaskGetParams(KernelParams* params);
// Sleeps count only below 1001, so the two choices leave what is set; so does a threshold of -2.
// Null puts the defaults of the present friendliness back, no threshold, tracebacks, and "IOYield".
void ZRTaskSetParams(const KernelParams* params);

// 0: neither the kernel nor the idle task sleeps, and idle time wakes tasks early. 2: every loop
// end sleeps a millisecond, the idle task as needed. Any other: mode 1, the idle task sleeps as
// needed. Until it is first called the mode is -1, which counts as on.
void ZRTaskSetFriendliness(int32_t mode);
int32_t ZRTaskGetFriendliness();

// Called at each run of the idle task with the clock in milliseconds. Returns the hook before.
using ZRIdleHook = void (*)(uint32_t milliseconds);
ZRIdleHook ZRTaskSetIdleHook(ZRIdleHook hook);

namespace qv {

struct KernelSettings {
  int32_t hot_limit = 100;           // least hot picks allowed in a loop
  int32_t hot_limit_per_task = 100;  // divisor of the hot cycle; 0 counts as 1
  int32_t hot_cycle = 3;             // switches before the first hot pick
  bool use_parked_lists = false;
  int32_t trace = 0;            // 0 to 6
  bool check_stacks = false;    // without fibers
  int32_t sleep = kNeverSleep;  // milliseconds, at most kLongestSleep
  int32_t idle_sleep = kAutomaticSleep;

  static constexpr int32_t kLongestSleep = 1000;
};

// Reads them, and writes the sleeps to the debug log.
KernelSettings ReadKernelSettings();

}  // namespace qv
