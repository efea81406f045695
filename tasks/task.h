// A task of the kernel: its control block, its states and its flags.
//
// Threads: the kernel thread only. Ownership: ZRTaskCreate allocates a block and the end of its
// task frees it; keep the id, never the address. Who moves a task from state to state: README.md.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/hooks.h"
#include "platform/context_switch.h"

struct TCB;
struct ZRTaskMessage;

// The body of a task; it ends with it. Runs on the task's own stack.
using ZRTaskEntry = void (*)(TCB* task);

constexpr uint32_t kTaskNameSize = 32;  // with the terminator

namespace qv {

class TaskCleanup;
struct TaskList;

enum class TaskState : uint32_t {
  kReady = 0,      // on the hot list or a ready list, or running
  kWaiting = 1,    // for event bits, on the wait list
  kReplyWait = 2,  // for the reply to a message, on the wait list
  kIOWait = 3,     // for a worker, on no list
  kTimedWait = 4,  // in a slot of the wheel or on a parked list
  kSemaWait = 5,   // on a semaphore's list
  kIdle = 6,       // the idle task between its runs, on no list
  kDead = 7,       // ended, about to be freed
};

// What the task list calls it.
const char* TaskStateName(TaskState state);

enum TaskFlag : uint32_t {
  kNeverHot = 0x1,
  kHotOnce = 0x2,  // until it is next given the processor, or sleeps
  kAlwaysHot = 0x8,
  kNotStarted = 0x10,
  kMayWakeEarly = 0x20,  // the present timed wait
  // The kernel's own.
  kUnitsGranted = 0x100,  // a semaphore has given it units, and it has not run since
  kKillDeferred = 0x200,  // to be killed when its job is collected
};

// Bit of a task's events that follows its message queue.
constexpr uint32_t kMessageEvent = 0x20000;

struct TaskProperty {
  uint32_t key;
  uintptr_t value;
};

constexpr uintptr_t kNoStackBase = ~uintptr_t{0};  // of a task with a fiber

}  // namespace qv

// Words that may carry an address are as wide as one. The fields up to `user` keep their order.
struct TCB {
  TCB* next = nullptr;           // on the list that the task is on
  TCB* previous = nullptr;       // null at the head
  qv::TaskList* list = nullptr;  // null when on none
  uintptr_t cookie = 0;          // the id XOR kCookieMask; 0 once dead
  TaskId id = 0;                 // the block's own address
  uint32_t events = 0;
  ZRTaskMessage* first_message = nullptr;
  ZRTaskMessage* last_message = nullptr;
  uintptr_t parameter = 0;  // published at each switch to the task
  qv::TaskState state = qv::TaskState::kReady;
  uint32_t flags = qv::kNotStarted;
  uintptr_t wait_argument = 0;  // event mask, message, job, or semaphore
  int32_t wait_units = 0;       // asked of a semaphore
  uint32_t stack_size = 0;      // bytes, a multiple of 16
  uintptr_t stack_low = 0;      // lowest stack pointer seen
  uintptr_t stack_base = 0;     // lowest address; kNoStackBase for a fiber
  ZRTaskEntry entry = nullptr;
  platform::StackPointer saved_sp = nullptr;  // without fibers; while it does not run
  void* fiber = nullptr;                      // null without fibers
  uintptr_t local_slots[kLocalSlotWords] = {};
  uint32_t last_loop = 0;  // in which it last ran
  uint32_t statistics_epoch = 0;
  uint32_t loop_runs = 0;  // in loop last_loop
  uint32_t runs_since_read = 0;
  uint32_t runs = 0;
  uint32_t io_count = 0;  // blocking operations since it last gave up the processor
  double seconds = 0;     // that it has run
  double longest = 0;     // longest single run, microseconds
  uint32_t serial = 0;    // 0 until one is assigned
  uint32_t number = 0;
  qv::TaskProperty* properties = nullptr;  // sorted by key
  uint64_t ready_time = 0;                 // microseconds; when last readied or given the processor
  uint64_t last_dropout = 0;               // microseconds of its latest run
  uintptr_t tag = 0;
  uint32_t property_count = 0;
  char name[kTaskNameSize] = {};
  uintptr_t user = 0;

  uint64_t wake_time = 0;  // microseconds; of a timed wait
  // The task whose reply it waits for, and its neighbours among those who wait for that task; and
  // those who wait for this one, oldest first.
  TCB* called = nullptr;
  TCB* next_caller = nullptr;
  TCB* previous_caller = nullptr;
  TCB* first_caller = nullptr;
  TCB* last_caller = nullptr;
  qv::TaskCleanup* cleanups = nullptr;  // innermost first (task_cleanup.h)
  platform::StackContext own_stack;     // without fibers

  static constexpr uintptr_t kCookieMask = 0x5AA55AA5;
  bool IsHot() const { return (flags & (qv::kHotOnce | qv::kAlwaysHot)) != 0; }
};
