// What is written about handles that are locked while somebody wants them, or that cannot grow.
// An inner header of this folder; everything here is called under the memory lock, and only where
// messages are written (CanReport). The entry is a copy: what writes messages may make and dispose
// of handles, and then the table moves.
#pragma once

#include "memory/handle_table.h"

namespace qv {

// Another lock of a locked handle, which is granted. Says who locked it before, and where.
void ReportLockOfLocked(ZRHandle handle, HandleEntry entry, TaskId current);

// A size change of a locked handle, which is refused.
void ReportResizeOfLocked(ZRHandle handle, HandleEntry entry, TaskId current, uint32_t new_size);

// A size change without memory for it, with what memory there is.
void ReportNoMemory(ZRHandle handle, HandleEntry entry, uint32_t new_size);

}  // namespace qv
