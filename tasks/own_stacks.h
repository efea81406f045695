// Inner: the stacks of tasks without fibers, cut from one area of the kernel thread's own stack.
//
// Space is taken from the top down and never given back. The area lies in the frame of the function
// that starts the kernel, so the mainline's frames are below it and stay clear of the tasks'.
#pragma once

#include <cstdint>

#include "tasks/task.h"

namespace qv {

// Bytes at the top of the area that no task gets.
constexpr uint32_t kMainlineStackBytes = 8192;
// Less is no stack to start on.
constexpr uint32_t kLeastOwnStack = 1024;

// The lowest address of an area for the next kernel; null: there is none.
void OfferStackArea(char* lowest);
// From here on stacks come from that area, which has `size` bytes; false when none was offered.
bool OpenStackArea(uint32_t size);

// Gives the task a stack of its stack_size; false when the area has less left.
bool TakeOwnStack(TCB* task);
// Fills a new stack with a pattern and marks its end, for the checks.
void MarkOwnStack(const TCB* task);

// Leaves the mainline's stack (for the first time), a task's, or one that will not run again, and
// goes on with a task's, null for the mainline's. When the settings say so the stack that was left
// is checked: the lowest stack pointer is kept and an overflow reported; from the next stack, since
// the one that overflowed has no room for that.
enum class Leaving { kMainline, kTask, kForGood };
void SwitchOwnStack(Leaving leaving, TCB* from, TCB* to);

// The running task ends: its stack is forgotten by the next one that runs.
void RetireOwnStack(TCB* task);
// A task ends that does not run.
void ForgetOwnStack(TCB* task);

}  // namespace qv
