#include "memory/checked_allocations.h"

#include <utility>

#include "base/hooks.h"
#include "base/scratch_pool.h"
#include "memory/checked_blocks.h"
#include "memory/memory_lock.h"
#include "memory/memory_settings.h"
#include "memory/raw_blocks.h"
#include "memory/reporting.h"
#include "platform/address_limits.h"
#include "platform/windows_api.h"

namespace qv {
namespace {

constexpr uintptr_t kUnset = UINTPTR_MAX;
constexpr uintptr_t kMarkMargin = 65536;  // bytes around the blocks handed out
constexpr uint32_t kLeastProbe = 4;       // bytes that are tested when no size is given

// Values of "HeapChecks" from which a check is made.
constexpr int32_t kRangeLevel = 1, kReadLevel = 2, kWriteLevel = 3, kLogLevel = 5;

struct AllocatorState {
  // Under the memory lock.
  uintptr_t low_mark = kUnset;    // no block was handed out below it
  uintptr_t high_mark = kUnset;   // nor above this one
  uint32_t allocation_depth = 0;  // above 1 while a log line is written: no line about that
  uint32_t free_depth = 0;
};
AllocatorState& State() {
  static constinit AllocatorState state;
  return state;
}

bool Checked() { return CurrentMemorySettings().check_free != 0; }
bool Logged(uint32_t depth) {
  return depth == 1 && CurrentMemorySettings().heap_checks >= kLogLevel && CanReport();
}

void* NewPlainBlock(uint32_t size) {
  return GlobalRawBlocks().reallocate(nullptr, size == 0 ? 1 : size);
}

void MoveMarks(AllocatorState& state, uintptr_t address, uint32_t size) {
  const uintptr_t low = address - kMarkMargin, high = address + size + kMarkMargin;
  if (state.low_mark == kUnset || low < state.low_mark) state.low_mark = low;
  if (state.high_mark == kUnset || high > state.high_mark) state.high_mark = high;
}

bool InRange(const AllocatorState& state, uintptr_t address, uint32_t size) {
  if (address < platform::kLowestUserAddress || address > platform::kHighestUserAddress) {
    return false;
  }
  if (state.low_mark != kUnset && address < state.low_mark) return false;
  if (state.high_mark == kUnset) return true;
  return address <= state.high_mark && size <= state.high_mark - address;
}

void FreePlainBlock(void* pointer) {
  if (ZRAMEMValidPointer(pointer, 0)) {
    GlobalRawBlocks().release(pointer);
    return;
  }
  Report("Error: Attempt to free invalid pointer (%p).", pointer);
  ReportTracebackIfAsked();
}

void* AllocateForHooks(size_t size) {
  return size > UINT32_MAX ? nullptr : ZRAMEMAlloc(static_cast<uint32_t>(size));
}

}  // namespace

void InstallCheckedAllocator() {
  ReleaseScratchPool();
  GlobalHooks().allocate = AllocateForHooks;
  GlobalHooks().release = ZRAMEMFree;
}

void ResetCheckedAllocationsForTest() {
  ScopedLock hold(MemoryLock());
  ReleaseHeldBlocks();
  State() = {};
}

}  // namespace qv

using namespace qv;

void* ZRAMEMAlloc(uint32_t size) {
  MemoryOperation operation;
  void* block = Checked() ? NewCheckedBlock(size) : NewPlainBlock(size);
  if (block == nullptr) return nullptr;
  AllocatorState& state = State();
  if (Logged(++state.allocation_depth)) Report("ZRAMEM: Allocated %lu bytes at %p.", size, block);
  MoveMarks(state, reinterpret_cast<uintptr_t>(block), size);
  --state.allocation_depth;
  return block;
}

void ZRAMEMFree(void* pointer) {
  MemoryOperation operation;
  if (pointer == nullptr) return;
  AllocatorState& state = State();
  if (Logged(++state.free_depth)) Report("ZRAMEM: Freeing memory at %p.", pointer);
  if (Checked()) {
    CheckFreeMem(pointer);
  } else {
    FreePlainBlock(pointer);
  }
  --state.free_depth;
}

void ZRAMEMFreeAndClear(void** variable) {
  if (variable != nullptr) ZRAMEMFree(std::exchange(*variable, nullptr));
}

int32_t ZRAMEMValidPointer(const void* pointer, uint32_t size) {
  MemoryOperation operation;
  const int32_t level = CurrentMemorySettings().heap_checks;
  if (level >= kRangeLevel && !InRange(State(), reinterpret_cast<uintptr_t>(pointer), size)) {
    return 0;
  }
  if (size == 0) size = kLeastProbe;
  if (level >= kReadLevel && IsBadReadPtr(pointer, size)) return 0;
  return level < kWriteLevel || !IsBadWritePtr(const_cast<void*>(pointer), size);
}
