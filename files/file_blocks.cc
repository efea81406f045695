#include "files/file_blocks.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "base/hooks.h"

namespace qv {
namespace {

constexpr uint64_t kBuckets = 500;
constexpr uint16_t kLoadLimit = 100;  // percent

// Entries and keys are pointers to items, which are told apart by their blocks.
uint64_t BlockOf(const void* entry) {
  const CacheItem* item;
  std::memcpy(&item, entry, sizeof item);
  return item->block();
}

uint64_t HashBlock(const void* data, uint32_t, uintptr_t, uint32_t) { return BlockOf(data); }

bool CompareBlocks(const void* data, uint32_t, const void* stored, uint32_t, uintptr_t, uint32_t) {
  return BlockOf(data) == BlockOf(stored);
}

bool IsShort(const CacheItem* item) {
  return !item->reading && item->size < static_cast<int32_t>(kBlockBytes);
}

// A walk that a kill ends, since the table knows of its iterator.
struct DropWalk : TaskCleanup {
  DropWalk() : TaskCleanup([](TaskCleanup* self) { static_cast<DropWalk*>(self)->each.End(); }) {}
  HashIterator each;
};

}  // namespace

FileBlocks::FileBlocks()
    : table_(sizeof(CacheItem*), kBuckets - 1, kLoadLimit, HashBlock, CompareBlocks, 0) {}

FileBlocks::~FileBlocks() {
  while (operations_ != nullptr) operations_->Orphan();
  if (IsEmpty()) return;
  HashIterator each;
  CacheItem* item = nullptr;
  for (each.Begin(table_); each.Next(&item, sizeof item);) {
    item->waiter = 0;
    FreeItem(item);
  }
}

FileBlocks* FileBlocks::Make() {
  void* memory = GlobalHooks().allocate(sizeof(FileBlocks));
  return memory != nullptr ? new (memory) FileBlocks : nullptr;
}

void FileBlocks::Destroy(FileBlocks* blocks) {
  if (blocks == nullptr) return;
  blocks->~FileBlocks();
  GlobalHooks().release(blocks);
}

CacheItem* FileBlocks::LookUp(uint64_t block) const {
  CacheItem wanted{};
  wanted.file_offset = static_cast<int64_t>(block * kBlockBytes);
  const CacheItem* key = &wanted;
  CacheItem* item = nullptr;
  table_.Lookup(&key, sizeof key, &item, sizeof item);
  return item;
}

CacheItem* FileBlocks::Find(uint64_t block) {
  if (last_ != nullptr && last_->block() == block) return last_;
  CacheItem* item = LookUp(block);
  if (item != nullptr) last_ = item;
  return item;
}

CacheItem* FileBlocks::Add(uint64_t block) {
  CacheItem* item = AllocateItem(this);
  if (item == nullptr) return nullptr;
  item->size = kBlockBytes;
  item->file_offset = static_cast<int64_t>(block * kBlockBytes);
  TouchItem(item);
  if (!table_.Insert(&item, sizeof item)) {
    FreeItem(item);
    return nullptr;
  }
  last_ = item;
  return item;
}

void FileBlocks::SetSize(CacheItem* item, uint32_t size) {
  if (IsShort(item)) --short_blocks_;
  item->size = static_cast<int32_t>(size);
  if (IsShort(item)) {
    ++short_blocks_;
    first_short_ = std::min(first_short_, item->block());
  }
  if (short_blocks_ == 0) first_short_ = kNoBlock;
}

void FileBlocks::Forget(CacheItem* item) {
  SetSize(item, kBlockBytes);
  if (last_ == item) last_ = nullptr;
  table_.Remove(&item, sizeof item);
}

void FileBlocks::Drop(const FileOperation* may_yield) {
  DropWalk walk;
  CacheItem* item = nullptr;
  // The iterator ends with the table, should that go during a yield.
  for (walk.each.Begin(table_); walk.each.Next(&item, sizeof item);) {
    if (item->reading) {
      item->free_when_done = true;
    } else {
      FreeItem(item);
    }
    if (may_yield != nullptr) YieldInDrop();
  }
}

void FileBlocks::DropForChange(const FileOperation* may_yield) {
  if (!FileCacheIsHere()) {
    NoteChange();
  } else if (!IsEmpty()) {
    Drop(may_yield);
  }
}

void FileBlocks::DropChanged() {
  changed_.store(false, std::memory_order_relaxed);
  Drop(nullptr);
}

// --- what a write does to the blocks ---

void FileBlocks::UpdateBlock(CacheItem* item, const unsigned char* bytes, uint32_t length,
                             uint64_t offset) {
  const auto start = static_cast<uint64_t>(item->file_offset);
  const bool begins_here = offset >= start;
  const auto at = static_cast<uint32_t>(begins_here ? offset - start : 0);
  const uint64_t skipped = begins_here ? 0 : start - offset;
  const auto count = static_cast<uint32_t>(std::min<uint64_t>(kBlockBytes - at, length - skipped));
  if (at > static_cast<uint32_t>(item->size)) {
    FreeItem(item);  // a hole between its end and the write
    return;
  }
  std::memcpy(item->data() + at, bytes + skipped, count);
  if (at + count > static_cast<uint32_t>(item->size)) SetSize(item, at + count);
}

void FileBlocks::EndShortBlocksBefore(uint64_t block) {
  for (FileOperation* each = operations_; each != nullptr; each = each->next_) {
    if (each->item_ != nullptr && each->item_->block() < block) each->file_grew_ = true;
  }
  if (first_short_ >= block) return;
  first_short_ = kNoBlock;
  HashIterator each;
  CacheItem* item = nullptr;
  for (each.Begin(table_); each.Next(&item, sizeof item);) {
    if (!IsShort(item)) continue;
    if (item->block() < block) {
      FreeItem(item);
    } else {
      first_short_ = std::min(first_short_, item->block());
    }
  }
}

void FileBlocks::Update(const void* bytes, uint32_t length, uint64_t offset, bool written) {
  if (IsEmpty() || length == 0) return;
  const uint64_t first = offset / kBlockBytes, last = (offset + length - 1) / kBlockBytes;
  for (uint64_t block = first; block <= last && !IsEmpty(); ++block) {
    CacheItem* item = LookUp(block);
    if (item == nullptr) continue;
    if (item->reading) {
      item->free_when_done = true;
    } else if (concurrent_writes_ || !written) {
      FreeItem(item);
    } else {
      UpdateBlock(item, static_cast<const unsigned char*>(bytes), length, offset);
    }
  }
  EndShortBlocksBefore(first);
}

// --- tests ---

bool FileBlocks::Holds(CacheItem* item) const { return LookUp(item->block()) == item; }

bool FileBlocks::IsConsistent() const {
  uint32_t counts[4] = {};
  for (const FileOperation* each = operations_; each != nullptr; each = each->next_) {
    ++counts[each->kind_];
    if (each->blocks_ != this) return false;
  }
  return table_.CheckInvariants() && counts[FileOperation::kRead] == reads_ &&
         counts[FileOperation::kWrite] == writes_ && counts[FileOperation::kClose] == closes_ &&
         (writes_ > 0 || !concurrent_writes_);
}

}  // namespace qv
