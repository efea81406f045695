#include "files/file_cache.h"

#include <algorithm>
#include <atomic>
#include <new>

#include "app/debug_output.h"
#include "app/settings.h"
#include "files/file_blocks.h"
#include "tasks/waits.h"

namespace qv {
namespace {

constexpr uint64_t kLeastItemLimit = 1024;
constexpr uint64_t kMostTrimSteps = 10;
constexpr uint32_t kLongestDropSlice = 10;  // milliseconds

struct FileCacheState {
  // --- the cache's thread only ---
  CacheItem* newest = nullptr;  // the list, both ends
  CacheItem* oldest = nullptr;
  CacheItem* free_items = nullptr;  // memory kept, linked through `next`
  uint64_t item_count = 0;          // without the free list
  uint64_t item_limit = kLeastItemLimit;
  uint64_t total_use_count = 0;  // of all items
  ZRFileCacheStatistics statistics;
  bool dump_written = false;

  // --- any thread ---
  std::atomic<int64_t> read_limit{-1};  // "CachedIOLimit"; -1: not read yet
};

FileCacheState& State() {
  static constinit FileCacheState state;
  return state;
}

void Link(FileCacheState& cache, CacheItem* item) {
  item->previous = nullptr;
  item->next = cache.newest;
  (cache.newest != nullptr ? cache.newest->previous : cache.oldest) = item;
  cache.newest = item;
}

// Nothing happens to an item that is not on the list.
void Unlink(FileCacheState& cache, CacheItem* item) {
  if (item->previous == nullptr && cache.newest != item) return;
  (item->previous != nullptr ? item->previous->next : cache.newest) = item->next;
  (item->next != nullptr ? item->next->previous : cache.oldest) = item->previous;
  item->next = item->previous = nullptr;
}

bool CanBeFreed(const CacheItem* item) {
  return !item->reading && (item->owner == nullptr || !item->owner->HasReads());
}

// The item at the tail has been touched so much more often than the others that it stays.
bool GetsSecondChance(const FileCacheState& cache, const CacheItem* item) {
  return item->use_count > 2 * (cache.total_use_count / cache.item_count);
}

void GiveSecondChance(FileCacheState& cache, CacheItem* item) {
  const uint64_t lost = std::min(item->use_count, item->use_count / 8 + 2);
  item->use_count -= lost;
  cache.total_use_count -= lost;
  TouchItem(item);
}

// False when there is nothing to be freed at the tail.
bool TrimOne(FileCacheState& cache) {
  if (GetsSecondChance(cache, cache.oldest)) {
    GiveSecondChance(cache, cache.oldest);
    return true;
  }
  if (!CanBeFreed(cache.oldest)) TouchItem(cache.oldest);
  if (!CanBeFreed(cache.oldest)) return false;
  FreeItem(cache.oldest);
  return true;
}

void Detach(CacheItem* item) {
  item->free_when_done = true;
  item->owner = nullptr;
  DebugPrint("FreeCacheMeta removing cache item with outstanding read.  Called from:\n");
  GlobalHooks().print_traceback(1);
}

void ReleaseFreeItems(FileCacheState& cache) {
  while (CacheItem* item = cache.free_items) {
    cache.free_items = item->next;
    GlobalHooks().release(item);
  }
}

CacheItem* TakeMemory(FileCacheState& cache) {
  if (CacheItem* item = cache.free_items) {
    cache.free_items = item->next;
    return item;
  }
  return static_cast<CacheItem*>(GlobalHooks().allocate(sizeof(CacheItem) + kBlockBytes));
}

}  // namespace

bool FileCacheIsHere() { return GlobalHooks().on_kernel_thread(); }

CacheItem* AllocateItem(FileBlocks* owner) {
  FileCacheState& cache = State();
  TrimFileCache();
  void* memory = TakeMemory(cache);
  if (memory == nullptr) return nullptr;
  ++cache.item_count;
  // Bytes behind `size` are never looked at, so only the header is cleared.
  auto* item = new (memory) CacheItem{};
  item->owner = owner;
  return item;
}

void TouchItem(CacheItem* item) {
  FileCacheState& cache = State();
  if (cache.newest == item) return;
  Unlink(cache, item);
  ++item->use_count;
  ++cache.total_use_count;
  Link(cache, item);
}

void FreeItem(CacheItem* item) {
  if (item->reading) {
    Detach(item);
    return;
  }
  FileCacheState& cache = State();
  Unlink(cache, item);
  if (item->owner != nullptr) item->owner->Forget(item);
  cache.total_use_count -= item->use_count;
  --cache.item_count;
  item->next = cache.free_items;
  cache.free_items = item;
}

bool FileCacheIsOverLimit() { return State().item_count > State().item_limit; }

uint64_t FileCacheLimit() { return State().item_limit; }

void TrimFileCache() {
  FileCacheState& cache = State();
  if (cache.item_count <= cache.item_limit) return;
  uint64_t steps = std::min(kMostTrimSteps, (cache.item_count - cache.item_limit) / 10 + 1);
  while (steps-- > 0 && cache.item_count > cache.item_limit && cache.oldest != nullptr) {
    if (!TrimOne(cache)) return;
  }
}

void CountCachedRead(bool hit, uint32_t bytes) {
  ZRFileCacheStatistics& statistics = State().statistics;
  statistics.bytes += bytes;
  statistics.reads += 1;
  if (hit) statistics.hits += 1;
}

bool YieldInDrop() { return ZRTaskYieldIfSliceOverMillis(kLongestDropSlice); }

uint32_t CachedReadLimit() {
  std::atomic<int64_t>& limit = State().read_limit;
  if (limit.load(std::memory_order_relaxed) < 0) {
    limit = static_cast<uint32_t>(ReadSetting(setting::kCachedIOLimit));
  }
  return static_cast<uint32_t>(limit.load(std::memory_order_relaxed));
}

void DumpForUnfinishedTransfers() {
  if (State().dump_written) return;
  State().dump_written = true;
  GlobalHooks().write_dump("QVS_cdiskfile_des.dmp");
}

// --- tests ---

bool FileCacheIsConsistent() {
  const FileCacheState& cache = State();
  uint64_t count = 0, uses = 0;
  const CacheItem* previous = nullptr;
  for (CacheItem* item = cache.newest; item != nullptr; previous = item, item = item->next) {
    if (item->previous != previous || ++count > cache.item_count) return false;
    uses += item->use_count;
    if (item->size < 0 || item->size > static_cast<int32_t>(kBlockBytes)) return false;
    if (item->file_offset < 0 || item->file_offset % kBlockBytes != 0) return false;
    if (!item->reading && (item->waiter != 0 || item->owner == nullptr)) return false;
    if (item->owner != nullptr && !item->owner->Holds(item)) return false;
  }
  return cache.oldest == previous && count == cache.item_count && uses == cache.total_use_count;
}

void SetFileCacheItemsForTest(uint64_t items) { State().item_limit = items; }

void ResetFileCacheForTest() {
  FileCacheState& cache = State();
  while (cache.newest != nullptr) FreeItem(cache.newest);
  ReleaseFreeItems(cache);
  cache.item_limit = kLeastItemLimit;
  cache.item_count = cache.total_use_count = 0;
  cache.statistics = {};
  cache.dump_written = false;
  cache.read_limit = -1;
}

}  // namespace qv

void ZRSetFileCacheLimit(uint64_t bytes) {
  if (!qv::FileCacheIsHere()) return;
  qv::State().item_limit = std::max(qv::kLeastItemLimit, bytes / qv::kCountedItemBytes);
}

void ZRGetFileCacheSizes(uint64_t* size, uint64_t* limit) {
  const bool is_here = qv::FileCacheIsHere();
  const qv::FileCacheState& cache = qv::State();
  if (size != nullptr) *size = is_here ? cache.item_count * qv::kCountedItemBytes : 0;
  if (limit != nullptr) *limit = is_here ? cache.item_limit * qv::kCountedItemBytes : 0;
}

void ZRDropFileCache() {
  if (!qv::FileCacheIsHere()) return;
  qv::FileCacheState& cache = qv::State();
  // Others may go on reading while this yields; they do not keep it from ending.
  uint64_t yields_left = cache.item_count;
  for (qv::CacheItem* item = cache.oldest; item != nullptr;) {
    qv::CacheItem* newer = item->previous;
    if (item->reading) {
      item->free_when_done = true;
    } else {
      qv::FreeItem(item);
    }
    const bool yielded = yields_left > 0 && qv::YieldInDrop();
    if (yields_left > 0) --yields_left;
    item = yielded ? cache.oldest : newer;
  }
  qv::ReleaseFreeItems(cache);
}

void ZRGetFileCacheStatistics(ZRFileCacheStatistics* statistics) {
  *statistics = qv::FileCacheIsHere() ? qv::State().statistics : ZRFileCacheStatistics{};
}
