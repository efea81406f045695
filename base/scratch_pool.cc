#include "base/scratch_pool.h"

#include <atomic>
#include <cstring>

#include "base/never_destroyed.h"

namespace qv {
namespace {

constexpr uint32_t kKeptGroups = 16;
constexpr uint32_t kKeptPerGroup = 4;

// Buffers are taken and given back by threads that outlive the destructors of the process, so the
// pool is never destroyed.
BufferPool& Pool() {
  static constinit NeverDestroyed<BufferPool> pool(kScratchBufferSize);
  return pool.value;
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

BufferPool::Figures GetScratchPoolFigures() { return Pool().GetFigures(); }

void ReleaseScratchPool() {
  for (KeptGroup& group : Kept().groups) {
    uint32_t index;
    while (TakeKept(group, &index) != nullptr) Pool().Put(&index);
  }
  Pool().FreeUnused();
}

void ResetScratchPoolForTest() {
  ReleaseScratchPool();
  Pool().FreeAll();
}

}  // namespace qv

char* ZRBufferGet(uint32_t* index) { return qv::Pool().Get(index); }

void ZRBufferPut(uint32_t* index) { qv::Pool().Put(index); }
