// Handles: movable blocks of memory, named by a number and reached by locking it.
//
//   ZRHandle text = ZRNewHandle(100);             // 0 when there is no memory
//   if (void* bytes = ZRLockHandle(text)) {       // valid until the unlock
//     std::memcpy(bytes, source, 100);
//     ZRUnlockHandle(text);
//   }
//   ZRError error = ZRSetHandleSize(text, 200);   // the block may move; refused while locked
//   ZRDisposeHandle(&text);                       // text is 0 now
//
// A handle holds a tag (5) in bits 28-31, the generation of its entry in bits 20-27 and the index
// of the entry in the handle table in bits 0-19. So a freed or foreign number is recognised, unless
// its entry was reused in the same generation, one chance in 256. 0 is "no handle".
//
// Locks are counted and belong to nobody in particular: any task may lock what another holds, and
// any unlock undoes one lock. The task of the first lock is remembered, for the messages.
//
// Messages: misuse is written to the debug output, with the tasks involved and, as the settings
// say (memory_settings.h), tracebacks; on threads other than the kernel's nothing is written. What
// is refused is refused silently or not. Every call except ZRLockHandle, ZRUnlockHandle,
// ZRDisposeHandle and ZRGetHandleSize reports handle 0 too.
//
// Threads: any; each call holds the memory lock (memory_lock.h). The bytes of a block are the
// caller's: the table does not order access to them.
// Errors: codes of base/errors.h; nothing throws. A refused call changes nothing.
// Ownership: who makes a handle disposes of it, once. Disposal does not look at locks, so pointers
// into the block of a locked handle are dead then too.
//
// Taken here where the rules leave a choice: the nesting of an owner is counted from 0 when it
// becomes the owner, and never goes below 0 (an unlock by a stranger would leave it askew).
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/errors.h"

using ZRHandle = uint32_t;

// A new handle with `size` bytes, not cleared (none at all for size 0), or 0 when the block or room
// in the table (1048320 handles) is not to be had; nothing is reported then.
ZRHandle ZRNewHandle(uint32_t size);
// The same, filled with zeros.
ZRHandle ZRNewHandleClear(uint32_t size);

// Frees the handle, locked or not, and sets the variable to 0. A variable that is null or holds 0
// or a handle that is not live stays as it is.
void ZRDisposeHandle(ZRHandle* variable);

// Locks the handle and returns the address of its block, which then neither moves nor is purged. A
// handle of size 0 gives an address too, of which nothing may be read or written. Null for a handle
// that is not live or was purged. `state`, when given, receives the state bits as they were before
// (see handle_state below); it is left alone when the handle is not live.
void* ZRLockHandle(ZRHandle handle, uint8_t* state = nullptr);
// Undoes one lock.
void ZRUnlockHandle(ZRHandle handle);

// The size in bytes, also of a purged handle; 0 for one that is not live.
uint32_t ZRGetHandleSize(ZRHandle handle);

// Gives the block another size; its bytes are kept as far as both sizes go, new ones are not set.
// 4801: not live; 4804: locked; 4802: no memory (also for a smaller block, should that happen).
// A purged handle gets a fresh block but still counts as purged.
ZRError ZRSetHandleSize(ZRHandle handle, uint32_t size);
// The same, and a purged handle is whole again, with bytes that the caller fills.
ZRError ZRReallocateHandle(ZRHandle handle, uint32_t size);

// Allows, or forbids, that ZRPurgeHandles takes the block while the handle is unlocked.
void ZRMarkHandlePurgeable(ZRHandle handle);
void ZRMarkHandleUnpurgeable(ZRHandle handle);
// Takes the block of every handle that is purgeable, unlocked and not yet purged. Their sizes stay.
// 1 when the sizes add up to at least `bytes_needed`, else 0.
int32_t ZRPurgeHandles(uint32_t bytes_needed);

// 1 or 0; 0 for a handle that is not live.
int32_t ZRIsHandleLocked(ZRHandle handle);
int32_t ZRIsHandlePurged(ZRHandle handle);

// Handles made and not yet disposed of.
uint32_t ZRCountHandles();
// No index reaches this one (1048575): it ends lists.
uint32_t ZRMaxHandleIndex();

namespace qv {

// The bits that ZRLockHandle reports.
namespace handle_state {
constexpr uint8_t kFree = 1, kLocked = 2, kPurgeable = 4, kPurged = 8;
}

// Walks the whole table and its free list; tests call it after every operation.
bool CheckHandleTable();
// Frees every block and the table, as in a new process. No handle is valid afterwards.
void ResetHandlesForTest();

}  // namespace qv
