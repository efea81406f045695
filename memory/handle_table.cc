#include "memory/handle_table.h"

#include <utility>

#include "memory/memory_lock.h"
#include "memory/raw_blocks.h"
#include "memory/reporting.h"

namespace qv {
namespace {

constexpr uint32_t kGrowth = 2340;  // entries added at a time

// Why the number names no live handle: the format of the message, or null when it does.
const char* Fault(const HandleTable& table, ZRHandle handle) {
  using namespace handle_layout;
  if (handle >> kTagShift != kTag) return "Error: Attempt to use invalid handle value (%08lX).";
  const uint32_t index = handle & kIndexMask;
  if (index >= table.entry_count) return "Error: Attempt to use invalid handle index (%08lX).";
  const HandleEntry& entry = table.entries[index];
  if (entry.flags & handle_state::kFree) return "Error: Attempt to use freed handle (%08lX).";
  if ((entry.link_or_stamp ^ handle >> kStampShift) & kStampMask) {
    return "Error: Attempt to use an unowned handle (%08lX).";
  }
  return nullptr;
}

// What always holds for an entry in use.
bool LiveEntryHolds(const HandleEntry& entry) {
  using namespace handle_state;
  const bool locked = entry.flags & kLocked, purged = entry.flags & kPurged;
  if (entry.allocated_size != entry.logical_size || entry.lock_count < 0) return false;
  if (locked != (entry.lock_count > 0) || (locked && purged)) return false;
  if (entry.allocated_size == 0 ? entry.data != nullptr : entry.data == nullptr && !purged) {
    return false;
  }
  const auto depth = static_cast<uint32_t>(entry.lock_site_depth);
  return depth <= kLockSiteLimit && entry.link_or_stamp <= handle_layout::kStampMask &&
         (entry.flags & ~uint32_t{kLocked | kPurgeable | kPurged}) == 0;
}

// The length of the free list, or kNoIndex when it leaves the table, meets a live entry or a block,
// or runs in a circle.
uint32_t FreeListLength(const HandleTable& table) {
  uint32_t length = 0;
  for (uint32_t index = table.free_head; index != kNoIndex; ++length) {
    if (index >= table.entry_count || length == table.entry_count) return kNoIndex;
    const HandleEntry& entry = table.entries[index];
    if (entry.flags != handle_state::kFree || entry.data != nullptr) return kNoIndex;
    index = entry.link_or_stamp;
  }
  return length;
}

}  // namespace

HandleTable& TheHandleTable() {
  static constinit HandleTable table;
  return table;
}

bool GrowHandleTable(HandleTable& table) {
  const uint32_t old_count = table.entry_count, new_count = old_count + kGrowth;
  if (new_count >= kNoIndex) return false;
  static_assert(uint64_t{kNoIndex} * sizeof(HandleEntry) < UINT32_MAX);
  void* grown = GlobalRawBlocks().reallocate(
      table.entries, static_cast<uint32_t>(new_count * sizeof(HandleEntry)));
  if (grown == nullptr) return false;
  table.entries = static_cast<HandleEntry*>(grown);
  table.entry_count = new_count;
  for (uint32_t index = old_count; index < new_count; ++index) {
    table.entries[index] = {};
    table.entries[index].flags = handle_state::kFree;
    table.entries[index].link_or_stamp = index + 1;
  }
  table.entries[new_count - 1].link_or_stamp = kNoIndex;
  table.free_head = old_count;
  return true;
}

HandleEntry* FindHandle(ZRHandle handle) {
  HandleTable& table = TheHandleTable();
  const char* fault = Fault(table, handle);
  if (fault == nullptr) return &table.entries[handle & handle_layout::kIndexMask];
  Report(fault, handle);
  ReportTracebackIfAsked();
  return nullptr;
}

bool CheckHandleTable() {
  ScopedLock hold(MemoryLock());
  const HandleTable& table = TheHandleTable();
  uint32_t live = 0;
  for (uint32_t index = 0; index < table.entry_count; ++index) {
    const HandleEntry& entry = table.entries[index];
    if (entry.flags & handle_state::kFree) continue;
    ++live;
    if (!LiveEntryHolds(entry)) return false;
  }
  return live == table.live_count && table.next_stamp <= handle_layout::kStampMask &&
         FreeListLength(table) == table.entry_count - live;
}

void ResetHandlesForTest() {
  ScopedLock hold(MemoryLock());
  const HandleTable old = std::exchange(TheHandleTable(), HandleTable{});
  for (uint32_t index = 0; index < old.entry_count; ++index) {
    GlobalRawBlocks().release(old.entries[index].data);
  }
  GlobalRawBlocks().release(old.entries);
}

}  // namespace qv
