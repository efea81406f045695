// Inner: the task that runs when nobody else is ready.
#pragma once

#include "tasks/task.h"

namespace qv {

constexpr uint32_t kIdleTaskStack = 61440;

// Creates it, off all lists; false when it cannot be had.
bool CreateIdleTask();

}  // namespace qv

// Its body: sleeps as the settings say and looks for work, until it is alone; then the kernel ends.
void ZRTaskIdleTask(TCB* task);
