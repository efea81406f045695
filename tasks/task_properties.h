// Values that a task carries under 32-bit keys, for whoever chooses the keys.
//
// Threads: the kernel thread. A look-up is a binary search.
#pragma once

#include <cstdint>

#include "tasks/task.h"

// The key under which a task's number is kept from its creation on.
constexpr uint32_t kTaskNumberProperty = 0x544E756D;

// Puts a value in, or in place of the present one. False for an id that is not valid, and without
// memory, when the list stays as it was.
bool ZRTaskSetProperty(TaskId task, uint32_t key, uintptr_t value);
// 0 when there is none.
uintptr_t ZRTaskGetProperty(TaskId task, uint32_t key);

namespace qv {

// The same for a task that is not known by its id yet.
bool SetPropertyOf(TCB* task, uint32_t key, uintptr_t value);

}  // namespace qv
