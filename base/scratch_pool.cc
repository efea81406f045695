#include "base/scratch_pool.h"

#include "base/hooks.h"
#include "base/lock_object.h"

namespace qv {
namespace {

constexpr uint32_t kGrowth = 256;        // entries added at a time
constexpr uint32_t kMostKeptBlocks = 4;  // buffers that a thread keeps for itself

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

// Buffers that stay taken from the pool, for the next scratch blocks of this thread. Without a
// destructor, so that the destructors of other thread-local objects may still use a block.
struct KeptBlocks {
  struct Block {
    char* data;
    uint32_t index;
  };
  Block blocks[kMostKeptBlocks];
  uint32_t count;
  bool thread_ended;  // from now on nothing is kept
};

KeptBlocks& Kept() {
  static thread_local constinit KeptBlocks kept{};
  return kept;
}

struct AtThreadEnd {
  ~AtThreadEnd() {
    KeptBlocks& kept = Kept();
    kept.thread_ended = true;
    while (kept.count > 0) ZRBufferPut(&kept.blocks[--kept.count].index);
  }
};

// False when the thread keeps enough already.
bool Keep(char* data, uint32_t index) {
  KeptBlocks& kept = Kept();
  if (kept.count == kMostKeptBlocks || kept.thread_ended) return false;
  static thread_local AtThreadEnd give_back;
  kept.blocks[kept.count++] = {data, index};
  return true;
}

}  // namespace

ScratchBlock::ScratchBlock() {
  KeptBlocks& kept = Kept();
  if (kept.count == 0) {
    data_ = ZRBufferGet(&index_);
    return;
  }
  const KeptBlocks::Block& last = kept.blocks[--kept.count];
  data_ = last.data;
  index_ = last.index;
}

ScratchBlock::~ScratchBlock() {
  if (data_ != nullptr && !Keep(data_, index_)) ZRBufferPut(&index_);
}

ScratchPoolFigures GetScratchPoolFigures() {
  PoolState& pool = State();
  ScopedLock hold(pool.lock);
  return {pool.capacity, pool.free};
}

void ResetScratchPoolForTest() {
  Kept().count = 0;
  PoolState& pool = State();
  ScopedLock hold(pool.lock);
  while (pool.chunks != nullptr) {
    Chunk* chunk = pool.chunks;
    pool.chunks = chunk->next;
    for (const Entry& entry : chunk->entries) GlobalHooks().release(entry.data);
    GlobalHooks().release(chunk);
  }
  pool.capacity = pool.free = pool.first_candidate = 0;
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
