// What a task is called and what else is known of it; who is hot.
//
// Threads: the kernel thread, but for the calls that say otherwise. 0 is the current task.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tasks/task.h"

// Keeps the first 31 characters, and a word beside them. Nothing off the kernel thread.
void ZRTaskSetName(const char* name, TaskId task, uintptr_t tag);
// "<thread>" off the kernel thread, "<mainline>" when there is no such task, else the name, which
// may be empty. Good until the task ends.
const char* ZRTaskGetName(TaskId task);
// The same text, cut to fit with its terminator. Any thread.
void ZRTaskCopyName(TaskId task, char* buffer, size_t size);

// Hot modes.
constexpr int32_t kTaskAlwaysHot = -3;
constexpr int32_t kTaskNeverHot = -2;
constexpr int32_t kTaskHotReset = -1;  // none of the others
constexpr int32_t kTaskHotOnce = 1;    // from its next yield until it has the processor again
// Any other value takes kTaskHotOnce back; a task that is never hot stays so.
void ZRTaskSetHotMode(TaskId task, int32_t mode);
// One of kTaskNeverHot, kTaskAlwaysHot, kTaskHotOnce, and 0.
int32_t ZRTaskGetHotMode(TaskId task);
// Hot in some way, or superhot. Off the kernel thread: whether it is the current task.
bool ZRTaskIsHot(TaskId task);
// Makes it the superhot task in place of the present one; off, nobody is superhot any more. The one
// that was is ready like any other again.
void ZRTaskSetSuperHot(bool on, TaskId task);
bool ZRTaskIsSuperHot(TaskId task);

// 0 for an id that is not valid.
uint32_t ZRTaskGetNumber(TaskId task);
void ZRTaskSetNumber(uint32_t number);  // of the current task
// Gives the task a number that no task had before (until 32 bits are used up), never 0.
uint32_t ZRTaskAssignSerial(TaskId task);
uint32_t ZRTaskGetSerial(TaskId task);
uintptr_t ZRTaskGetTag(TaskId task);
uintptr_t ZRTaskGetUserWord(TaskId task);
void ZRTaskSetUserWord(TaskId task, uintptr_t word);
// kDead for an id that is not valid.
qv::TaskState ZRTaskGetState(TaskId task);
TaskId ZRTaskCurrent();
TaskId ZRTaskPrevious();
// The current task's parameter; for id 0 the host's variable is set too.
uintptr_t ZRTaskGetParam();
void ZRTaskSetParam(TaskId task, uintptr_t value);
