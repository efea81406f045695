#include "base/scratch_pool.h"

#include <atomic>
#include <cstring>
#include <utility>

#include "base/hooks.h"
#include "base/lock_object.h"

namespace qv {
namespace {

constexpr uint32_t kGrowth = 256;  // entries added at a time
constexpr uint32_t kKeptGroups = 16;
constexpr uint32_t kKeptPerGroup = 4;

struct Entry {
  char* data;  // allocated on first use, then kept
  bool in_use;
};

// The table grows by whole chunks, so entries stay where they are and nothing is copied.
struct Chunk {
  Entry entries[kGrowth];
  Chunk* next;
};

struct PoolState {
  LockObject lock;
  // Under the lock.
  Chunk* chunks = nullptr;
  uint32_t capacity = 0;
  uint32_t free = 0;
  uint32_t first_candidate = 0;  // no entry below it is free
};

// Buffers are taken and given back by threads that outlive the destructors of the process, so the
// pool is never destroyed.
union PoolHolder {
  PoolState state;
  constexpr PoolHolder() : state() {}
  ~PoolHolder() {}
};

PoolState& State() {
  static constinit PoolHolder holder;
  return holder.state;
}

// The entry of a valid index, else null.
Entry* EntryAt(PoolState& pool, uint32_t index) {
  if (index >= pool.capacity) return nullptr;
  Chunk* chunk = pool.chunks;
  for (; index >= kGrowth; index -= kGrowth) chunk = chunk->next;
  return &chunk->entries[index];
}

bool Grow(PoolState& pool) {
  auto* chunk = static_cast<Chunk*>(GlobalHooks().allocate(sizeof(Chunk)));
  if (chunk == nullptr) return false;
  *chunk = {};
  Chunk** end = &pool.chunks;
  while (*end != nullptr) end = &(*end)->next;
  *end = chunk;
  pool.capacity += kGrowth;
  pool.free += kGrowth;
  return true;
}

// The index of the first free entry; there is one.
uint32_t FirstFree(PoolState& pool) {
  uint32_t index = pool.first_candidate;
  while (EntryAt(pool, index)->in_use) ++index;
  pool.first_candidate = index;
  return index;
}

char* Take(PoolState& pool, uint32_t* index) {
  if (pool.free == 0 && !Grow(pool)) return nullptr;
  const uint32_t found = FirstFree(pool);
  Entry& entry = *EntryAt(pool, found);
  if (entry.data == nullptr) {
    entry.data = static_cast<char*>(GlobalHooks().allocate(kScratchBufferSize));
    if (entry.data == nullptr) return nullptr;
  }
  entry.in_use = true;
  --pool.free;
  ++pool.first_candidate;
  *index = found;
  return entry.data;
}

void GiveBack(PoolState& pool, uint32_t index) {
  Entry* entry = EntryAt(pool, index);
  if (entry == nullptr || !entry->in_use) return;
  entry->in_use = false;
  ++pool.free;
  if (index < pool.first_candidate) pool.first_candidate = index;
}

// Buffers that stay taken from the pool, at hand for the next scratch blocks. A block looks in one
// group only, chosen by its own address: blocks are locals, so a thread keeps to its group and
// rarely meets another, and nothing hangs on a thread or has to be given back when it ends.
struct alignas(64) KeptGroup {
  std::atomic<char*> buffers[kKeptPerGroup];  // null: nothing kept; any thread, without a lock
};

struct KeptState {
  KeptGroup groups[kKeptGroups];
};

KeptState& Kept() {
  static constinit KeptState state{};
  return state;
}

KeptGroup& GroupOf(const ScratchBlock* block) {
  constexpr unsigned kStackGranule = 16;  // stacks are 64 KiB apart at least
  const auto stack = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(block) >> kStackGranule);
  return Kept().groups[stack * 0x9E3779B1u >> 28];
}

// A kept buffer, or null. While it is kept, a buffer holds its own index.
char* TakeKept(KeptGroup& group, uint32_t* index) {
  for (std::atomic<char*>& kept : group.buffers) {
    if (kept.load(std::memory_order_relaxed) == nullptr) continue;
    char* data = kept.exchange(nullptr, std::memory_order_acquire);
    if (data == nullptr) continue;
    std::memcpy(index, data, sizeof *index);
    return data;
  }
  return nullptr;
}

// False when the group keeps enough already.
bool Keep(KeptGroup& group, char* data, uint32_t index) {
  for (std::atomic<char*>& kept : group.buffers) {
    if (kept.load(std::memory_order_relaxed) != nullptr) continue;
    std::memcpy(data, &index, sizeof index);
    char* nothing = nullptr;
    if (kept.compare_exchange_strong(nothing, data, std::memory_order_release)) return true;
  }
  return false;
}

}  // namespace

ScratchBlock::ScratchBlock() : data_(TakeKept(GroupOf(this), &index_)) {
  if (data_ == nullptr) data_ = ZRBufferGet(&index_);
}

ScratchBlock::~ScratchBlock() {
  if (data_ != nullptr && !Keep(GroupOf(this), data_, index_)) ZRBufferPut(&index_);
}

ScratchPoolFigures GetScratchPoolFigures() {
  PoolState& pool = State();
  ScopedLock hold(pool.lock);
  return {pool.capacity, pool.free};
}

void ReleaseScratchPool() {
  PoolState& pool = State();
  ScopedLock hold(pool.lock);
  for (KeptGroup& group : Kept().groups) {
    uint32_t index;
    while (TakeKept(group, &index) != nullptr) GiveBack(pool, index);
  }
  for (Chunk* chunk = pool.chunks; chunk != nullptr; chunk = chunk->next) {
    for (Entry& entry : chunk->entries) {
      if (!entry.in_use) GlobalHooks().release(std::exchange(entry.data, nullptr));
    }
  }
  if (pool.free != pool.capacity) return;
  while (pool.chunks != nullptr) {
    GlobalHooks().release(std::exchange(pool.chunks, pool.chunks->next));
  }
  pool.capacity = pool.free = pool.first_candidate = 0;
}

void ResetScratchPoolForTest() {
  PoolState& pool = State();
  for (uint32_t index = 0; index < pool.capacity; ++index) ZRBufferPut(&index);
  ReleaseScratchPool();
}

}  // namespace qv

char* ZRBufferGet(uint32_t* index) {
  if (index == nullptr) return nullptr;
  *index = kNoBufferIndex;
  qv::PoolState& pool = qv::State();
  qv::ScopedLock hold(pool.lock);
  return qv::Take(pool, index);
}

void ZRBufferPut(uint32_t* index) {
  if (index == nullptr) return;
  qv::PoolState& pool = qv::State();
  qv::ScopedLock hold(pool.lock);
  qv::GiveBack(pool, *index);
}
