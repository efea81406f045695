// A pool of buffers of one size, reused without being cleared.
//
//   qv::BufferPool pool(8000);
//   uint32_t index;
//   char* buffer = pool.Get(&index);     // null: none to be had
//   ...
//   pool.Put(&index);
//
// The table has room for 256 buffers at first and grows by 256; a buffer is allocated when its
// entry is first used and is kept. Memory comes through the allocation hook; other sizes than 8000
// are for components with a pool of their own (base/scratch_pool.h is the process's).
//
// Threads: any; one lock, held around the table only: memory is had and given back without it,
// since the allocator may write messages under a lock of its own, and those take buffers.
// Ownership: a pool frees everything when it is destroyed, buffers in use too. Errors: an index
// that is invalid or not in use, and a pool whose magic number is gone (destroyed, or overwritten),
// are ignored.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/lock_object.h"

constexpr uint32_t kNoBufferIndex = 0xFFFFFFFF;

namespace qv {

class BufferPool {
 public:
  // `element_size`: bytes of one buffer, not less than a pointer.
  constexpr explicit BufferPool(uint32_t element_size) : element_size_(element_size) {}
  ~BufferPool();
  BufferPool(const BufferPool&) = delete;
  BufferPool& operator=(const BufferPool&) = delete;

  // The free buffer with the lowest index, and that index; null and kNoBufferIndex when memory for
  // it, or for a larger table, is not to be had.
  char* Get(uint32_t* index);
  void Put(uint32_t* index);

  struct Figures {
    uint32_t capacity;  // entries of the table
    uint32_t free;      // entries not in use
  };
  Figures GetFigures();

  // Frees every buffer that is not in use, and the table when none is in use. The pool can be used
  // again afterwards.
  void FreeUnused();
  // The same for buffers that are in use too.
  void FreeAll();

 private:
  static constexpr uint32_t kMagic = 0x6C6F6F50;  // "Pool" in memory
  static constexpr uint32_t kGrowth = 256;        // entries added at a time

  struct Entry {
    uint32_t in_use;
    char* data;  // allocated on first use, then kept
  };
  // The table grows by whole chunks, so entries stay where they are and nothing is copied.
  struct Chunk {
    Entry entries[kGrowth];
    Chunk* next;
  };

  bool IsAlive() const { return magic_ == kMagic; }
  Entry* EntryAt(uint32_t index);
  Entry* TakeEntry(uint32_t* index);
  bool Grow();
  char* UnlinkFreeBuffers();
  Chunk* UnlinkTable();
  void GiveBack(uint32_t index);

  uint32_t magic_ = kMagic;
  const uint32_t element_size_;
  LockObject lock_;
  // Under the lock.
  uint32_t capacity_ = 0;
  uint32_t free_ = 0;
  uint32_t first_candidate_ = 0;  // no entry below it is free
  Chunk* chunks_ = nullptr;
};

}  // namespace qv
