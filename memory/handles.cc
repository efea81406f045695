#include "memory/handles.h"

#include <cstring>

#include "memory/handle_reports.h"
#include "memory/handle_table.h"
#include "memory/memory_lock.h"
#include "memory/memory_settings.h"
#include "memory/raw_blocks.h"
#include "memory/reporting.h"

namespace qv {
namespace {

using namespace handle_layout;
using namespace handle_state;

// What a locked handle of size 0 points to. Never written.
void* EmptyBlock() {
  alignas(std::max_align_t) static constinit char block[alignof(std::max_align_t)] = {};
  return block;
}

// The free entry that comes next, growing the table when there is none; null when it cannot grow.
HandleEntry* NextFreeEntry(HandleTable& table) {
  if (table.free_head == kNoIndex && !GrowHandleTable(table)) return nullptr;
  if (table.free_head >= table.entry_count) return nullptr;
  HandleEntry& entry = table.entries[table.free_head];
  return entry.flags & kFree ? &entry : nullptr;
}

// Takes the entry at the head of the free list for a new handle.
ZRHandle TakeFreeEntry(HandleTable& table, HandleEntry& entry, void* data, uint32_t size) {
  const uint32_t index = table.free_head, stamp = table.next_stamp;
  table.free_head = entry.link_or_stamp;
  entry.allocated_size = entry.logical_size = size;
  entry.data = data;
  entry.lock_count = 0;
  entry.flags = 0;
  entry.owner = 0;
  entry.nesting = 0;
  entry.lock_site_depth = 0;
  entry.link_or_stamp = stamp;
  table.next_stamp = (stamp + 1) & kStampMask;
  ++table.live_count;
  return kTag << kTagShift | stamp << kStampShift | index;
}

// Before a lock is counted: remembers where the first one was taken, reports a further one.
void NoteLock(ZRHandle handle, HandleEntry& entry, TaskId current) {
  const MemorySettings& settings = CurrentMemorySettings();
  const bool first = entry.lock_count == 0;
  if ((first && settings.track_lockers == 0) || !CanReport()) {
    entry.lock_site_depth = 0;
  } else if (first) {
    entry.lock_site_depth =
        static_cast<int32_t>(GlobalHooks().capture_trace(1, entry.lock_site, kLockSiteLimit));
  } else if (settings.heap_locks != 0) {
    ReportLockOfLocked(handle, entry, current);
  }
}

void CountLock(HandleEntry& entry, TaskId current) {
  entry.flags |= kLocked;
  if (++entry.lock_count == 1) {
    entry.owner = current;
    entry.nesting = 0;
  }
  if (entry.owner == current) ++entry.nesting;
}

void CountUnlock(HandleEntry& entry, TaskId current) {
  if (entry.owner == current && entry.nesting > 0 && --entry.nesting == 0) {
    entry.owner = 0;
    entry.lock_site_depth = 0;
  }
  if (--entry.lock_count == 0) entry.flags &= ~uint32_t{kLocked};
}

// Gives the entry's block the new size. False, and nothing changed, when there is no memory.
bool ResizeBlock(HandleEntry& entry, uint32_t size) {
  if (size == 0) {
    GlobalRawBlocks().release(entry.data);
    entry.data = nullptr;
  } else if (entry.data == nullptr || size != entry.allocated_size) {
    void* block = GlobalRawBlocks().reallocate(entry.data, size);
    if (block == nullptr) return false;
    entry.data = block;
  }
  entry.allocated_size = entry.logical_size = size;
  return true;
}

void SetFlag(ZRHandle handle, uint32_t flag, bool on) {
  MemoryOperation operation;
  HandleEntry* entry = FindHandle(handle);
  if (entry != nullptr) entry->flags = on ? entry->flags | flag : entry->flags & ~flag;
}

int32_t HasFlag(ZRHandle handle, uint32_t flag) {
  MemoryOperation operation;
  const HandleEntry* entry = FindHandle(handle);
  return entry != nullptr && (entry->flags & flag) != 0;
}

bool CanBePurged(const HandleEntry& entry) {
  return (entry.flags & (kFree | kLocked | kPurgeable | kPurged)) == kPurgeable;
}

}  // namespace
}  // namespace qv

using namespace qv;

ZRHandle ZRNewHandle(uint32_t size) {
  MemoryOperation operation;
  HandleTable& table = TheHandleTable();
  HandleEntry* entry = NextFreeEntry(table);
  if (entry == nullptr) return 0;
  void* data = nullptr;
  if (size != 0) {
    data = GlobalRawBlocks().reallocate(nullptr, size);
    if (data == nullptr) return 0;
  }
  return TakeFreeEntry(table, *entry, data, size);
}

ZRHandle ZRNewHandleClear(uint32_t size) {
  MemoryOperation operation;
  const ZRHandle handle = ZRNewHandle(size);
  if (handle != 0 && size != 0) {
    std::memset(TheHandleTable().entries[handle & kIndexMask].data, 0, size);
  }
  return handle;
}

void ZRDisposeHandle(ZRHandle* variable) {
  if (variable == nullptr || *variable == 0) return;
  MemoryOperation operation;
  HandleEntry* entry = FindHandle(*variable);
  if (entry == nullptr) return;
  HandleTable& table = TheHandleTable();
  entry->link_or_stamp = table.free_head;
  table.free_head = *variable & kIndexMask;
  entry->flags = kFree;
  GlobalRawBlocks().release(entry->data);
  entry->data = nullptr;
  *variable = 0;
  --table.live_count;
}

void* ZRLockHandle(ZRHandle handle, uint8_t* state) {
  const TaskId current = GlobalHooks().current_task();
  MemoryOperation operation;
  HandleEntry* entry = handle == 0 ? nullptr : FindHandle(handle);
  if (entry == nullptr) return nullptr;
  if (state != nullptr) *state = static_cast<uint8_t>(entry->flags);
  if (entry->flags & kPurged) {
    Report("Error: Attempt to lock purged handle (%08lX).", handle);
    ReportTracebackIfAsked();
    return nullptr;
  }
  NoteLock(handle, *entry, current);
  HandleEntry& locked = TheHandleTable().entries[handle & kIndexMask];  // a message may move it
  CountLock(locked, current);
  return locked.data == nullptr ? EmptyBlock() : locked.data;
}

void ZRUnlockHandle(ZRHandle handle) {
  const TaskId current = GlobalHooks().current_task();
  if (handle == 0) return;
  MemoryOperation operation;
  HandleEntry* entry = FindHandle(handle);
  if (entry == nullptr) {
    Report("Error: Attempt to unlock invalid handle (%08lX).", handle);
    ReportTracebackIfAsked();
  } else if (entry->lock_count < 1) {
    Report("Error: Attempt to unlock handle (%08lX) with bad refcount (%d).", handle,
           entry->lock_count);
    ReportTracebackIfAsked();
  } else {
    CountUnlock(*entry, current);
  }
}

uint32_t ZRGetHandleSize(ZRHandle handle) {
  if (handle == 0) return 0;
  MemoryOperation operation;
  const HandleEntry* entry = FindHandle(handle);
  return entry == nullptr ? 0 : entry->logical_size;
}

ZRError ZRSetHandleSize(ZRHandle handle, uint32_t size) {
  const TaskId current = GlobalHooks().current_task();
  MemoryOperation operation;
  HandleEntry* entry = FindHandle(handle);
  if (entry == nullptr) return ZRErrMemHandle;
  if (entry->flags & kLocked) {
    if (CanReport()) ReportResizeOfLocked(handle, *entry, current, size);
    return ZRErrMemLocked;
  }
  if (ResizeBlock(*entry, size)) return ZRErrNone;
  if (CanReport()) ReportNoMemory(handle, *entry, size);
  return ZRErrMemFull;
}

ZRError ZRReallocateHandle(ZRHandle handle, uint32_t size) {
  MemoryOperation operation;
  const ZRError error = ZRSetHandleSize(handle, size);
  if (error == ZRErrNone) SetFlag(handle, kPurged, false);
  return error;
}

void ZRMarkHandlePurgeable(ZRHandle handle) { SetFlag(handle, kPurgeable, true); }
void ZRMarkHandleUnpurgeable(ZRHandle handle) { SetFlag(handle, kPurgeable, false); }

int32_t ZRPurgeHandles(uint32_t bytes_needed) {
  MemoryOperation operation;
  HandleTable& table = TheHandleTable();
  uint64_t total = 0;
  for (uint32_t index = 0; index < table.entry_count; ++index) {
    HandleEntry& entry = table.entries[index];
    if (!CanBePurged(entry)) continue;
    GlobalRawBlocks().release(entry.data);
    entry.data = nullptr;
    entry.flags |= kPurged;
    total += entry.allocated_size;
  }
  return total >= bytes_needed;
}

int32_t ZRIsHandleLocked(ZRHandle handle) { return HasFlag(handle, kLocked); }
int32_t ZRIsHandlePurged(ZRHandle handle) { return HasFlag(handle, kPurged); }

uint32_t ZRCountHandles() {
  MemoryOperation operation;
  return TheHandleTable().live_count;
}

uint32_t ZRMaxHandleIndex() { return kNoIndex; }
