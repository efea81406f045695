// A pool of reader/writer locks, which objects borrow only while they need one.
//
//   struct Document { qv::PooledLock* lock = nullptr; ... };        // the slot
//   if (ZRLockPoolAcquire(pool, &document.lock)) {                  // bound, or bound once more
//     ZRLockRead(document.lock->lock);
//     ...
//     ZRLockUnlockRead(document.lock->lock);
//     ZRLockPoolRelease(pool, &document.lock);                      // the last one clears the slot
//   }
//
// A lock keeps its figures when it goes from one slot to the next.
//
// Threads: any; the pool's lock guards its lists and every slot that is bound to it, so a slot is
// read without the lock only by a thread that has acquired it. Ownership: the pool's locks are
// given back before it is destroyed; one that is not stays allocated and usable, but cannot be
// given back any more. Memory comes through the allocation hook. Errors: null when there is none,
// nothing bound; a null pool or slot is ignored. Lock order: the pool's lock, then that of the
// debug output.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/lock_object.h"
#include "base/reader_writer_lock.h"

namespace qv {

// Memory of the pool's objects; `new` gives null when there is none.
struct FromHooks {
  static void* operator new(size_t size) noexcept;
  static void operator delete(void* block) noexcept;
};

class LockPool;

class PooledLock : public FromHooks {
 public:
  ReaderWriterLock lock;

 private:
  friend class LockPool;
  // Under the pool's lock.
  uint32_t reference_count_ = 0;  // 0: on the free list
  PooledLock* next_ = nullptr;
  PooledLock* previous_ = nullptr;
  PooledLock** owner_slot_ = nullptr;  // the variable that refers to the lock; null while free
};

// Made by ZRLockPoolNew and deleted by its owner, or a plain variable.
class LockPool : public FromHooks {
 public:
  LockPool() = default;
  virtual ~LockPool();
  LockPool(const LockPool&) = delete;
  LockPool& operator=(const LockPool&) = delete;

  // A slot that is null gets the first free lock, or a new one, with one reference; any other
  // slot's lock gets one reference more. Returns the slot's lock, null (and the slot null) without
  // memory.
  PooledLock* Acquire(PooledLock** slot);
  // Takes one reference back; the last one puts the lock on the free list and clears the slot. The
  // slot is the variable that was bound; of a copy that outlived the binding only the copy is
  // cleared.
  void Release(PooledLock** slot);
  // Writes every lock and its figures to the debug log.
  void Print();

 private:
  // Linked both ways; new ones come to the head.
  struct List {
    PooledLock* head = nullptr;
    void Push(PooledLock* item);
    void Remove(PooledLock* item);
  };
  PooledLock* TakeUnused();
  static void PrintList(const List& list, int32_t* number);

  LockObject lock_;
  // Under the lock.
  uint32_t allocated_ = 0;  // locks ever made
  List free_;
  List used_;
};

}  // namespace qv

// Null without memory. Destroyed with `delete`.
qv::LockPool* ZRLockPoolNew();
qv::PooledLock* ZRLockPoolAcquire(qv::LockPool* pool, qv::PooledLock** slot);
void ZRLockPoolRelease(qv::LockPool* pool, qv::PooledLock** slot);
void ZRLockPoolPrint(qv::LockPool* pool);
