// The handle table: entries by index, a free list, and the test that a number is a live handle.
// An inner header of this folder; everything here is called under the memory lock.
#pragma once

#include "base/hooks.h"
#include "memory/handles.h"

namespace qv {

// What the bits of a handle mean.
namespace handle_layout {
constexpr uint32_t kTag = 5, kTagShift = 28;
constexpr uint32_t kStampShift = 20, kStampMask = 0xFF;
constexpr uint32_t kIndexMask = 0xFFFFF;
}  // namespace handle_layout

constexpr uint32_t kNoIndex = handle_layout::kIndexMask;  // ends lists, never an index
constexpr uint32_t kLockSiteLimit = 4;

struct HandleEntry {
  uint32_t allocated_size;  // bytes; both sizes are always the same
  uint32_t logical_size;
  void* data;          // null for size 0, and while purged
  int32_t lock_count;  // locks by any task that were not undone
  uint32_t flags;      // handle_state
  TaskId owner;        // task of the lock that raised the count from 0; 0 for none or unknown
  uint32_t nesting;    // locks of the owner that it has not undone itself
  uintptr_t lock_site[kLockSiteLimit];  // return addresses of the first lock
  int32_t lock_site_depth;              // how many of them there are
  uint32_t link_or_stamp;               // free: index of the next free entry; live: generation
};
static_assert(sizeof(void*) != 4 || sizeof(HandleEntry) == 52);

struct HandleTable {
  HandleEntry* entries = nullptr;
  uint32_t entry_count = 0;
  uint32_t free_head = kNoIndex;  // free entries are reused last-freed first
  uint32_t next_stamp = 0;        // generation of the next new handle
  uint32_t live_count = 0;
};
HandleTable& TheHandleTable();

// Adds 2340 free entries. False when the table would grow past its limit, or there is no memory.
bool GrowHandleTable(HandleTable& table);

// The entry of a live handle. Null for every other number, which is reported. The entry may move
// when a handle is made.
HandleEntry* FindHandle(ZRHandle handle);

}  // namespace qv
