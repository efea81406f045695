// The task kernel: many tasks on one thread, switched only when a task calls in here.
//
//   int32_t Main(uintptr_t) {                       // on the calling thread: the mainline
//     TaskId copier = ZRTaskCreate(64000, CopyFiles, job);   // 0 on failure
//     ZRTaskLeaveCritical(false);                   // from here on tasks may switch
//     ZRTaskYield();                                // returns when all tasks have ended
//     return 0;
//   }
//   ZRTaskStartKernel(1 << 20, nullptr, Main, 0);
//
// A task keeps the processor until it yields, waits or ends (waits.h, task_messages.h,
// semaphores.h). Ready tasks stand on two lists: the running list of the present loop, and the next
// list, which collects. When the running list is empty the loop ends: sleepers that are due are
// woken and the lists change roles. Hot tasks stand on a list of their own and get extra turns;
// one superhot task gets the processor whenever it is ready. README.md has the loop in steps.
//
// Threads: one kernel thread, which is the one that starts the kernel; everything here is its own.
// Lifetime: keep the id, never the TCB; an id dies with its task; 0 is the current task.
// Errors: nothing throws. An id that is not valid is ignored.
// Tasks run on fibers, or without them on parts of the kernel thread's own stack ("Fibers" 0); the
// thread must then have the room. The order of runs is the same.
#pragma once

#include <cstdint>

#include "tasks/task.h"

// Largest stack of a task, bytes.
constexpr uint32_t kLargestTaskStack = 0x100000;

using ZRMainFunction = int32_t (*)(uintptr_t argument);

// Runs main with a kernel around it and returns its result, -1 when the kernel cannot start (also
// when one runs already). `stack_bytes` is the room for the stacks of all tasks, used without
// fibers. *current_parameter is set to the parameter of whichever task runs; null: not wanted.
// Tasks that are left when main returns are killed.
int32_t ZRTaskStartKernel(uint32_t stack_bytes, uintptr_t* current_parameter, ZRMainFunction main,
                          uintptr_t argument);

// The part of it that sets the kernel up on the calling thread: 0, or -1 without memory or, where
// there are no fibers, without a stack area of that many bytes.
int32_t ZRTaskInitKernel(uint32_t stack_area_bytes, uintptr_t* current_parameter);

// A task with a stack of stack_size bytes, rounded down to a multiple of 16, at the end of the next
// list. 0, and nothing left allocated, when the size is above the largest, or without memory,
// stack space (no less than 1024 bytes) or a fiber. Its number is the count of tasks with it.
TaskId ZRTaskCreate(uint32_t stack_size, ZRTaskEntry entry, uintptr_t parameter);

// Ends a task in whatever state. Who waits for its reply gets 0, its semaphore serves the next
// waiter, messages in its queue are let go, a message that it waits on is taken back. One that
// waits for a worker goes when its job is collected. The idle task stays, without which the kernel
// would end. The current task does not come back from here.
void ZRTaskKill(TaskId task);

// The block of a live id, else null; 0 is no id here.
TCB* ZRTaskFindTask(TaskId task);
bool ZRTaskIsValid(TaskId task);

// --- the steps of the kernel, called by its waits ---

// The next task of the present loop, null when it has none left (or switching is not allowed).
// Leaves the task where it stands: it runs from its place at the head of its list.
TCB* PickNextTask();
// Ends the loop and chooses the first task of the next one; the idle task when nobody is ready.
TCB* EndOfLoop();
// Gives the processor to `to` (null: back to the mainline, the end of the kernel) and returns when
// `from` has it again; at once when both are the same or switching is not allowed.
void HandleTaskSwitch(TCB* from, TCB* to);
void SwitchContext(TCB* from, TCB* to);
// A wait has ended: the task becomes ready.
void MakeReady(TCB* task);
// A running task yields and stays ready.
void ReadyAgain(TCB* task);
// Ends the current task and frees it; returns the task to run next, null for the mainline. A task
// that ends in a critical region ends the kernel, since nobody could leave the region any more.
TCB* EndTask();

// True where the caller may give up the processor: outside of critical regions, of EndTask and of
// the handling of exceptions.
bool ZRTaskSwitchingAllowed();

namespace qv {

// While one exists the kernel does not switch: the handling of exceptions. Any thread.
class SwitchingHold {
 public:
  SwitchingHold();
  ~SwitchingHold();
  SwitchingHold(const SwitchingHold&) = delete;
  SwitchingHold& operator=(const SwitchingHold&) = delete;
};

// Every list is consistent, each task is on the list that its state says and known by its id, the
// counts are true. Walks everything; for tests.
bool KernelIsConsistent();

}  // namespace qv
