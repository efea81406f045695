// What one file object keeps of the cache: its blocks, and the transfers that are under way.
//
//   qv::FileOperation reading(blocks, qv::FileOperation::kRead);
//   if (CacheItem* item = blocks->Find(place / kBlockBytes)) Use(item);
//
// Between tasks three fields of an item are the whole protocol:
//   - `reading`: one task reads the block, the others wait for it;
//   - `waiter`: the task that began to wait last. It remembers the one before it and
//     wakes that one when it wakes up itself, and so on: each wakes one;
//   - `free_when_done`: the file was changed meanwhile, so the reader reads once more.
//
// A task may be killed, or woken by somebody else, at any of its waits. Each transfer is therefore
// an object on the stack of its task that the file knows of, and that a kill ends (task_cleanup.h):
// a waiter then hands on whom it remembers, a reader gives its block up and wakes who waits for it,
// a writer drops the file's blocks, since its bytes may be on the disk. So counts are right, chains
// are whole, and nobody waits for a task that is gone.
//
// A file object may go while transfers are under way only where the kernel cannot switch. Their
// operations are then told (IsOrphan), and touch the file no more.
//
// Threads: the cache's (file_cache.h), but for IsEmpty, DropForChange, NoteChange and operations
// that read or write no blocks. Blocks go on the cache's thread only.
#pragma once

#include <atomic>
#include <cstdint>

#include "containers/hash_table.h"
#include "files/file_cache.h"
#include "tasks/task_cleanup.h"

namespace qv {

class FileOperation;

class FileBlocks {
 public:
  // By itself in memory: items point to it, and a file object on the stack of a task that is killed
  // vanishes without its destructor. Its blocks then stay until they are trimmed. Null without
  // memory.
  static FileBlocks* Make();
  // Ends what is under way and drops the blocks, without a yield. Null is ignored.
  static void Destroy(FileBlocks* blocks);
  FileBlocks(const FileBlocks&) = delete;
  FileBlocks& operator=(const FileBlocks&) = delete;

  bool IsEmpty() const { return table_.Count() == 0; }
  bool HasReads() const { return reads_ > 0; }
  bool HasOperations() const { return operations_ != nullptr; }
  bool HasOthersThan(const FileOperation& operation) const;
  // New transfers are refused.
  bool IsClosing() const { return closes_ > 0; }

  // Null when it is not there. The block that was found last is found without a look into the
  // table.
  CacheItem* Find(uint64_t block);
  // The item that was found last, when all of these bytes are in it and it is idle.
  CacheItem* LastWith(uint64_t place, uint32_t count) const {
    CacheItem* item = last_;
    if (item == nullptr || item->reading) return nullptr;
    const uint64_t at = place - static_cast<uint64_t>(item->file_offset);
    const auto size = static_cast<uint32_t>(item->size);
    return at < size && count <= size - at ? item : nullptr;
  }
  // Makes the item of a block that is not there, of full size and touched. Null without memory.
  CacheItem* Add(uint64_t block);
  void SetSize(CacheItem* item, uint32_t size);
  // To be called by FreeItem.
  void Forget(CacheItem* item);

  // Drops all blocks; those that are being read are marked. With an operation, yields when the task
  // has had the processor for 10 ms; the operation may be an orphan afterwards.
  void Drop(const FileOperation* may_yield);
  // A write of `length` bytes has ended: the blocks get the bytes when the disk has them all. Else
  // nobody knows what the disk has, and they are dropped. Blocks before it that ended with the file
  // are dropped too, since the file goes on behind them now.
  void Update(const void* bytes, uint32_t length, uint64_t offset, bool written);

  // The file is changed as a whole: Drop, or NoteChange by a thread that is not the cache's.
  void DropForChange(const FileOperation* may_yield);
  // The file is changed by a thread that is not the cache's: the next read drops the blocks.
  void NoteChange() { changed_.store(true, std::memory_order_relaxed); }
  bool WasChanged() const { return changed_.load(std::memory_order_relaxed); }
  void DropChanged();

  // For tests.
  bool Holds(CacheItem* item) const;
  bool IsConsistent() const;

 private:
  friend class FileOperation;
  FileBlocks();
  ~FileBlocks();
  static constexpr uint64_t kNoBlock = UINT64_MAX;

  CacheItem* LookUp(uint64_t block) const;
  FileOperation* WhoRemembers(TaskId task) const;
  void UpdateBlock(CacheItem* item, const unsigned char* bytes, uint32_t length, uint64_t offset);
  void EndShortBlocksBefore(uint64_t block);

  HashTable table_;  // of CacheItem*
  CacheItem* last_ = nullptr;
  FileOperation* operations_ = nullptr;
  uint32_t reads_ = 0, writes_ = 0, closes_ = 0;
  bool concurrent_writes_ = false;
  std::atomic<bool> changed_{false};
  // Idle blocks that are not full, and the first of them; the latter may be too low.
  uint64_t short_blocks_ = 0;
  uint64_t first_short_ = kNoBlock;
};

// A transfer that is under way, on the stack of the one that makes it.
class FileOperation : private TaskCleanup {
 public:
  enum Kind : uint8_t {
    kRead,   // through the cache: none of the file's items is freed by a trim
    kWrite,  // or another change. One that meets another drops the blocks that it writes
    kRaw,    // uses the file's handle, and learns whether the file object has gone
    kClose,  // waits for the others
  };

  // Null where the file has no blocks: nobody will know of it.
  FileOperation(FileBlocks* blocks, Kind kind);
  ~FileOperation();

  // True when the file object has gone.
  bool IsOrphan() const { return is_orphan_; }

  // The read of an item's block begins, and ends. In between others mark what becomes of it.
  void BeginRead(CacheItem* item);
  void EndRead();
  // Marked while the read ran: the file was changed, so that `size` bytes are not what it holds.
  bool IsOutdated(uint32_t size) const;

  // Waits until the read of the item's block has ended, or for less. False where this task cannot
  // wait.
  bool WaitFor(CacheItem* item);

  // A read in pieces: what was read so far may be trimmed, as far as the limit asks for.
  void TrimBetweenPieces(uint64_t items);

 private:
  friend class FileBlocks;

  void Leave();
  void LeaveChain();
  void Orphan();
  static void EndKilled(TaskCleanup* self);

  FileBlocks* blocks_;
  FileOperation* next_ = nullptr;
  FileOperation* previous_ = nullptr;
  Kind kind_;
  bool is_orphan_ = false;
  bool is_waiting_ = false;
  bool file_grew_ = false;  // behind the block that is being read
  TaskId task_ = 0;
  CacheItem* item_ = nullptr;  // that it reads, or waits for while that is being read
  TaskId remembered_ = 0;      // began to wait before this one
};

}  // namespace qv
