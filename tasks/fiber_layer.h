// The fibers that tasks run on, where the system has them and "Fibers" is not 0. Without them the
// kernel gives each task a part of its thread's own stack (own_stacks.h); both switch in the same
// order.
//
// Threads: the kernel thread.
#pragma once

#include <cstdint>

#include "tasks/task.h"

// Decides for one kernel: takes the system's functions by name and makes the calling thread a
// fiber, the mainline's. Returns 0. Where fibers are required and not to be had, a message box says
// so and the process ends with code 1.
int32_t ZRFibersSetUp();
// Whether tasks of the present kernel run on fibers.
bool ZRFibersUsable();
// The application does not want to run without fibers.
void ZRFibersRequire();

// Gives the task its fiber; true without fibers too. False after the reason was written.
bool ZRFiberCreate(TCB* task);
// The task's fiber is running and shall be deleted once it does not.
void ZRFiberRetire(TCB* task);
// Goes on with a task, null for the mainline, and returns when this fiber goes on. False without
// fibers: nothing done.
bool ZRFiberSwitch(TCB* from, TCB* to);
// Whether a code address lies in the first bytes of the routine that fibers start with, where
// tracebacks end.
bool ZRIsFiberStart(const void* address);

namespace qv {

// Deletes the fiber of a task that does not run.
void DeleteFiberOf(TCB* task);
// The end of the kernel, on the mainline: the thread is no fiber any more.
void ShutFibersDown();

}  // namespace qv
