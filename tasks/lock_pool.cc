#include "tasks/lock_pool.h"

#include <utility>

#include "app/debug_output.h"
#include "base/hooks.h"

namespace qv {
namespace {

constexpr struct {
  const char* label;
  uint32_t LockStatistics::*figure;
} kRows[] = {
    {"Read Locks\t", &LockStatistics::read_locks},
    {"Write Locks\t", &LockStatistics::write_locks},
    {"Maximum Readers\t", &LockStatistics::maximum_readers},
    {"Upgraded Locks", &LockStatistics::upgraded_locks},
    {"Longest Read Wait", &LockStatistics::longest_read_wait},
    {"Longest Write Wait", &LockStatistics::longest_write_wait},
    {"Longest Upgrade Wait", &LockStatistics::longest_upgrade_wait},
};

void PrintFigures(const LockStatistics& figures, int32_t number) {
  DebugPrint("\nLock pool item %d. \n", number);
  DebugPrint("=================\n");
  for (const auto& row : kRows) {
    DebugPrint("%s: \t\t%I64d\n", row.label, int64_t{figures.*row.figure});
  }
}

}  // namespace

void* FromHooks::operator new(size_t size) noexcept { return GlobalHooks().allocate(size); }
void FromHooks::operator delete(void* block) noexcept { GlobalHooks().release(block); }

void LockPool::List::Push(PooledLock* item) {
  item->previous_ = nullptr;
  item->next_ = head;
  if (head != nullptr) head->previous_ = item;
  head = item;
}

void LockPool::List::Remove(PooledLock* item) {
  (item->previous_ != nullptr ? item->previous_->next_ : head) = item->next_;
  if (item->next_ != nullptr) item->next_->previous_ = item->previous_;
  item->next_ = item->previous_ = nullptr;
}

LockPool::~LockPool() {
  while (free_.head != nullptr) delete std::exchange(free_.head, free_.head->next_);
}

PooledLock* LockPool::Acquire(PooledLock** slot) {
  if (slot == nullptr) return nullptr;
  ScopedLock hold(lock_);
  if (*slot != nullptr) {
    ++(*slot)->reference_count_;
    return *slot;
  }
  PooledLock* item = TakeUnused();
  if (item == nullptr) return nullptr;
  used_.Push(item);
  item->owner_slot_ = slot;
  item->reference_count_ = 1;
  return *slot = item;
}

PooledLock* LockPool::TakeUnused() {
  PooledLock* item = free_.head;
  if (item != nullptr) {
    free_.Remove(item);
    return item;
  }
  item = new PooledLock;
  if (item != nullptr) ++allocated_;
  return item;
}

void LockPool::Release(PooledLock** slot) {
  if (slot == nullptr) return;
  ScopedLock hold(lock_);
  PooledLock* item = *slot;
  if (item == nullptr) return;
  const bool is_stale = item->reference_count_ == 0;
  if (!is_stale && --item->reference_count_ > 0) return;
  *slot = nullptr;
  if (is_stale) return;
  used_.Remove(item);
  item->owner_slot_ = nullptr;
  free_.Push(item);
}

void LockPool::PrintList(const List& list, int32_t* number) {
  for (PooledLock* item = list.head; item != nullptr; item = item->next_) {
    PrintFigures(item->lock.Statistics(), ++*number);
  }
}

void LockPool::Print() {
  ScopedLock hold(lock_);
  int32_t number = 0;
  DebugPrint("\n\nLock pool allocated %d locks.\n", allocated_);
  DebugPrint("Free list\n");
  PrintList(free_, &number);
  if (used_.head == nullptr) return;
  DebugPrint("\nUsed list\n");
  PrintList(used_, &number);
}

}  // namespace qv

qv::LockPool* ZRLockPoolNew() { return new qv::LockPool; }

qv::PooledLock* ZRLockPoolAcquire(qv::LockPool* pool, qv::PooledLock** slot) {
  return pool != nullptr ? pool->Acquire(slot) : nullptr;
}

void ZRLockPoolRelease(qv::LockPool* pool, qv::PooledLock** slot) {
  if (pool != nullptr) pool->Release(slot);
}

void ZRLockPoolPrint(qv::LockPool* pool) {
  if (pool != nullptr) pool->Print();
}
