#include "tasks/local_slots.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "base/lock_object.h"
#include "base/never_destroyed.h"

namespace qv {
namespace {

struct LocalSlotState {
  LockObject lock;
  // One bit per slot that was handed out; changed under the lock, read without it.
  std::atomic<uint32_t> taken{0};
  ThreadSlot of_threads[kLocalSlotCount];  // used outside of tasks
};
static_assert(kLocalSlotCount == 32);

// Threads use their slots until they end, so the slots are never destroyed.
LocalSlotState& State() {
  static constinit NeverDestroyed<LocalSlotState> state;
  return state.value;
}

bool IsTaken(uint32_t index) {
  return index < kLocalSlotCount &&
         (State().taken.load(std::memory_order_acquire) >> index & 1) != 0;
}

// Notes whether a task's value is a block, which its end releases.
void MarkBlock(uintptr_t* of_task, uint32_t index, bool is_block) {
  const uintptr_t bit = uintptr_t{1} << index;
  uintptr_t& blocks = of_task[kLocalSlotCount];
  blocks = is_block ? blocks | bit : blocks & ~bit;
}

// A block for a slot, stored through `set`; null when that fails.
template <typename Setter>
void* StoreNewBlock(size_t size, Setter set) {
  size = std::max<size_t>(size, 1);
  void* block = GlobalHooks().allocate(size);
  if (block == nullptr) return nullptr;
  std::memset(block, 0, size);
  if (set(reinterpret_cast<uintptr_t>(block))) return block;
  GlobalHooks().release(block);
  return nullptr;
}

// The slot of a variable that several threads may see unset: only the first allocates one.
uint32_t EnsureSlot(uint32_t* variable) {
  std::atomic_ref<uint32_t> index(*variable);
  if (IsTaken(index.load(std::memory_order_acquire))) return index.load(std::memory_order_relaxed);
  ScopedLock hold(State().lock);
  if (index.load(std::memory_order_relaxed) == kNoLocalSlot) {
    index.store(ZRLocalAlloc(), std::memory_order_release);
  }
  return index.load(std::memory_order_relaxed);
}

}  // namespace

uintptr_t ThreadSlot::Get() const {
  const DWORD index = index_.load(std::memory_order_acquire);
  if (index == TLS_OUT_OF_INDEXES) return 0;
  return reinterpret_cast<uintptr_t>(TlsGetValue(index));
}

bool ThreadSlot::Set(uintptr_t value) {
  const DWORD index = Index();
  return index != TLS_OUT_OF_INDEXES &&
         TlsSetValue(index, reinterpret_cast<LPVOID>(value)) != FALSE;
}

DWORD ThreadSlot::Index() {
  DWORD index = index_.load(std::memory_order_acquire);
  if (index != TLS_OUT_OF_INDEXES) return index;
  ScopedLock hold(State().lock);
  index = index_.load(std::memory_order_relaxed);
  if (index != TLS_OUT_OF_INDEXES) return index;
  index = TlsAlloc();
  index_.store(index, std::memory_order_release);
  return index;
}

void ThreadSlot::Clear() {
  const DWORD index = index_.exchange(TLS_OUT_OF_INDEXES);
  if (index != TLS_OUT_OF_INDEXES) TlsFree(index);
}

void* ThreadSlot::GetBuffer(size_t size) {
  if (const uintptr_t block = Get()) return reinterpret_cast<void*>(block);
  return StoreNewBlock(size, [this](uintptr_t block) { return Set(block); });
}

void ThreadSlot::ReleaseBuffer() {
  const uintptr_t block = Get();
  if (block == 0) return;
  Set(0);
  GlobalHooks().release(reinterpret_cast<void*>(block));
}

void ResetLocalSlotsForTest() {
  for (uint32_t index = 0; index < kLocalSlotCount; ++index) ZRLocalFree(index);
}

}  // namespace qv

uint32_t ZRLocalAlloc() {
  qv::LocalSlotState& slots = qv::State();
  qv::ScopedLock hold(slots.lock);
  const uint32_t taken = slots.taken.load(std::memory_order_relaxed);
  const auto index = static_cast<uint32_t>(std::countr_one(taken));
  if (index >= kLocalSlotCount) return kNoLocalSlot;
  slots.taken.store(taken | uint32_t{1} << index, std::memory_order_release);
  return index;
}

void ZRLocalFree(uint32_t index) {
  qv::LocalSlotState& slots = qv::State();
  qv::ScopedLock hold(slots.lock);
  if (!qv::IsTaken(index)) return;
  qv::GlobalHooks().clear_task_local_slot(index);
  slots.of_threads[index].Clear();
  slots.taken.fetch_and(~(uint32_t{1} << index), std::memory_order_release);
}

bool ZRLocalSet(uint32_t index, uintptr_t value) {
  if (!qv::IsTaken(index)) return false;
  uintptr_t* of_task = qv::GlobalHooks().task_local_slots();
  if (of_task == nullptr) return qv::State().of_threads[index].Set(value);
  of_task[index] = value;
  qv::MarkBlock(of_task, index, false);
  return true;
}

uintptr_t ZRLocalGet(uint32_t index) {
  if (!qv::IsTaken(index)) return 0;
  const uintptr_t* of_task = qv::GlobalHooks().task_local_slots();
  return of_task != nullptr ? of_task[index] : qv::State().of_threads[index].Get();
}

void* ZRLocalGetBuffer(uint32_t* index, size_t size) {
  if (index == nullptr) return nullptr;
  const uint32_t slot = qv::EnsureSlot(index);
  if (!qv::IsTaken(slot)) return nullptr;
  if (const uintptr_t block = ZRLocalGet(slot)) return reinterpret_cast<void*>(block);
  return qv::StoreNewBlock(size, [slot](uintptr_t block) {
    if (!ZRLocalSet(slot, block)) return false;
    uintptr_t* of_task = qv::GlobalHooks().task_local_slots();
    if (of_task != nullptr) qv::MarkBlock(of_task, slot, true);
    return true;
  });
}

void ZRLocalReleaseBuffer(uint32_t index) {
  const uintptr_t block = ZRLocalGet(index);
  if (block == 0) return;
  ZRLocalSet(index, 0);
  qv::GlobalHooks().release(reinterpret_cast<void*>(block));
}
