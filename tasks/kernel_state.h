// Inner: the state of the kernel and the steps that its parts share. Users include scheduler.h and
// its neighbours.
#pragma once

#include <atomic>
#include <cstdint>

#include "base/lock_object.h"
#include "containers/hash_table.h"
#include "tasks/kernel_settings.h"
#include "tasks/parked_lists.h"
#include "tasks/scheduler.h"
#include "tasks/task_lists.h"
#include "tasks/task_statistics.h"
#include "tasks/timed_wheel.h"
#include "tasks/worker_link.h"

namespace qv {

// Everything but the two counters is the kernel thread's.
struct KernelState {
  // --- from start to end ---
  bool started = false;
  HashTable* registry = nullptr;  // ids of all tasks
  KernelSettings settings;
  uintptr_t* current_parameter = nullptr;  // the host's variable, or unused_parameter
  uintptr_t unused_parameter = 0;
  Hooks hooks_before{};  // what the hooks were

  // --- who runs ---
  std::atomic<TCB*> current{nullptr};  // other threads may compare it
  TCB* previous = nullptr;
  TCB* superhot = nullptr;
  TCB* idle = nullptr;
  bool adopted = false;   // the first yield has taken a task as the current one
  bool switched = false;  // the mainline has been left; from here on `current` is who really runs
  int switches_to_prefetch = 0;  // until the stacks of the next tasks are asked for
  uint32_t task_count = 0;
  uint32_t end_nesting = 0;

  // --- whether to switch; other threads read these ---
  std::atomic<int32_t> region{0};  // above 0: allowed
  std::atomic<int32_t> exceptions{0};

  // --- lists ---
  TaskList hot, ready1, ready2, wait;
  TaskList* running = &ready1;  // of the present loop
  TaskList* next = &ready2;     // collects for the next one
  TimedWheel wheel;
  ParkedLists parked;

  // --- hot tasks ---
  int64_t hot_budget = 100;  // hot picks still allowed in this loop
  int64_t hot_budget_at_start = 100;
  uint32_t hot_countdown = 3;  // switches until the next hot pick
  uint32_t hot_cycle = 3;      // least kLeastHotCycle
  uint32_t longest_hot_list = 0;
  uint32_t insertions = 0;  // into the next list, in this loop

  // --- times, microseconds ---
  uint64_t decided_at = 0;  // the reading of the present decision; 0: none yet
  uint64_t last_switch = 0;
  bool has_last_switch = false;
  uint64_t last_loop_end = 0;
  uint64_t last_wheel_check = 0;
  uint64_t last_parked_check = 0;
  uint64_t switch_watch = 0;  // restarted at every switch

  uint32_t statistics_epoch = 0;
  KernelStatistics statistics;
};

// Other threads ask whether to switch until they end, so it is never destroyed. Every step of the
// kernel begins here: in the header, and no local static, whose first use would be looked for each
// time.
union KernelHolder {
  KernelState state;
  constexpr KernelHolder() : state() {}
  ~KernelHolder() {}
};
extern KernelHolder kernel_holder;
inline KernelState& TheKernel() { return kernel_holder.state; }

// What outlives one kernel.
struct KernelConfiguration {
  int32_t friendliness = -1;  // on unless 0
  uint32_t longest_latency = 0;
  uint16_t trace_latency = 0;
  uint16_t io_yield = 0;
  ZRIdleHook idle_hook = nullptr;
  uint32_t last_serial = 0;
};
KernelConfiguration& TheKernelConfiguration();

constexpr uint32_t kLeastHotCycle = 3;

// Whether the counters allow a switch, whatever EndTask does.
inline bool RegionAllowsSwitch(const KernelState& kernel) {
  return kernel.region.load(std::memory_order_relaxed) > 0 &&
         kernel.exceptions.load(std::memory_order_relaxed) == 0;
}
// Whether the running task may wait.
inline bool CanWait(const KernelState& kernel) {
  return kernel.end_nesting == 0 && kernel.current != nullptr && RegionAllowsSwitch(kernel);
}

// The task of an id, 0 being the current one; null when there is none.
TCB* TaskOf(TaskId id);

// PickNextTask, or EndOfLoop when that finds none.
TCB* ChooseNext();
// ChooseNext and the switch to it: the end of every wait.
void ChooseAndSwitch();

// Takes the task off whatever list it is on, the wheel's count included.
void LeaveList(TCB* task);
// Puts the task where its being hot or not says, without a look at its state.
void PutOnReadyList(TCB* task);

// Leaves a stack that will not run again for the target's (null: the mainline's).
[[noreturn]] void PassProcessorForGood(TCB* to);
// What runs on each new stack: the task from its first run to its end.
[[noreturn]] void RunTaskBody(TCB* task);

// What others know of a task that is about to go: lists, messages, semaphores.
void ReleaseTask(TCB* task);
void ReleaseMessages(TCB* task);
void ReleaseSemaphore(TCB* task);
void ReleaseProperties(TCB* task);

void ConnectKernelHooks();
void DisconnectKernelHooks();

}  // namespace qv
