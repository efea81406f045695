// The cache that all file objects share: pieces of files, 64 KB each, so that what is read again
// costs no call of the platform.
//
//   ZRSetFileCacheLimit(256u << 20);               // bytes; 1024 pieces to begin with
//   uint64_t size, limit;
//   ZRGetFileCacheSizes(&size, &limit);
//   ZRDropFileCache();                             // gives the memory back
//
// An item holds one block of one file: the bytes from a multiple of 64 KB on, fewer than 64 KB only
// where the file ends. All items stand on one list, the one touched last at its head. Before an
// item is made, and after each cached read, the list is trimmed from its tail towards the limit, at
// most ten steps at a time. An item that was touched much more often than the others gets a second
// chance: it goes back to the head and loses an eighth of its uses. Memory of items that went is
// kept for the next ones.
//
//   free list --AllocateItem--> in its file's table and on the list --FreeItem--> free list
//                                 idle <--[the read of its block]--> reading
//
// An item whose block is being read stays where it is, since a worker writes into it: who wants it
// gone sets `free_when_done`, and the reader reads it again. If its file object goes it is
// detached: it has no owner, and the reader frees it. What a file keeps, and the reading:
// file_blocks.h.
//
// Sizes count the header as 48 bytes on every platform.
//
// Threads: the kernel's (the hook on_kernel_thread); without a kernel one thread at a time. There
// is no lock, because no task loses the processor between two lines. On any other thread the calls
// do nothing, sizes and counts are 0, and file objects by-pass the cache. Errors: without memory
// there is no item, and the read by-passes the cache.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/hooks.h"

// Bytes, in whole items; never below 1024 items. A lower limit takes effect bit by bit, with the
// reads and writes that follow.
void ZRSetFileCacheLimit(uint64_t bytes);
// Items in use, and allowed, in bytes. Null: not wanted.
void ZRGetFileCacheSizes(uint64_t* size, uint64_t* limit);
// Frees all items, and the memory that was kept. Blocks that are being read now are read again and
// stay. A task that has had the processor for 10 ms yields.
void ZRDropFileCache();

// Since the process began.
struct ZRFileCacheStatistics {
  double reads = 0;  // that had a byte to read and an open file
  double hits = 0;   // of these, reads that called no platform
  double bytes = 0;  // delivered
};
void ZRGetFileCacheStatistics(ZRFileCacheStatistics* statistics);

namespace qv {

class FileBlocks;

constexpr uint32_t kBlockBytes = 65536;

struct CacheItem {
  FileBlocks* owner;    // null: the file object is gone
  CacheItem* next;      // towards the tail; on the free list too
  CacheItem* previous;  // towards the head
  uint64_t use_count;   // one for each touch
  int64_t file_offset;  // a multiple of kBlockBytes
  int32_t size;         // bytes that it holds
  bool reading;         // from the disk, now
  TaskId waiter;        // for that; 0: none
  bool free_when_done;  // to be read again
  // The bytes follow.

  unsigned char* data() { return reinterpret_cast<unsigned char*>(this + 1); }
  uint64_t block() const { return static_cast<uint64_t>(file_offset) / kBlockBytes; }
};
static_assert(sizeof(void*) != 4 || sizeof(CacheItem) == 48);
constexpr uint64_t kCountedItemBytes = 48 + kBlockBytes;

// Whether the calling thread is the cache's.
bool FileCacheIsHere();

// A cleared item for the owner, after a trim; counted, not on the list yet. What its bytes are is
// left undefined. Null without memory.
CacheItem* AllocateItem(FileBlocks* owner);
// Makes it the head of the list, unless it is.
void TouchItem(CacheItem* item);
// Takes it out of its file's table and off the list. One that is being read is detached instead,
// with a message and a traceback.
void FreeItem(CacheItem* item);
void TrimFileCache();
// True when a trim would have something to do.
bool FileCacheIsOverLimit();
// Items that a read may need at once.
uint64_t FileCacheLimit();

void CountCachedRead(bool hit, uint32_t bytes);

// Yields when the task has had the processor for as long as drops may take it, 10 ms.
bool YieldInDrop();

// "CachedIOLimit", read once.
uint32_t CachedReadLimit();

// Writes a dump of the process, the first time in the process.
void DumpForUnfinishedTransfers();

// Walks everything; for tests.
bool FileCacheIsConsistent();
// A limit below the least one.
void SetFileCacheItemsForTest(uint64_t items);
// As in a new process. No file may have blocks.
void ResetFileCacheForTest();

}  // namespace qv
