#include "memory/checked_blocks.h"

#include <array>
#include <cstring>
#include <utility>

#include "memory/checked_allocations.h"
#include "memory/memory_lock.h"
#include "memory/raw_blocks.h"
#include "memory/reporting.h"
#include "platform/address_limits.h"
#include "platform/windows_api.h"

namespace qv {
namespace {

// Offsets from the block's start; the footer follows the data.
constexpr uint32_t kHeaderOffset = 0, kSizeOffset = 4, kDataOffset = 8, kFooterSize = 4;
constexpr uint32_t kOverhead = kDataOffset + kFooterSize;

constexpr uint32_t kHeader = 0xBEEFFEED, kFreedHeader = 0xBAADFBEE;
constexpr uint32_t kFooter = 0xFEEDBEEF, kFreedFooter = 0xBAADFEED;

constexpr uint32_t kHeldBlocks = 64;
constexpr uint32_t kLargestHeldSize = 65536;

// Freed blocks that are still marked as such; the oldest makes room for the next.
struct HeldState {
  // Under the memory lock.
  std::array<void*, kHeldBlocks> blocks{};
  uint32_t oldest = 0;
};
HeldState& Held() {
  static constinit HeldState state;
  return state;
}

// What CheckFreeMem finds out about a block.
struct Block {
  char* start = nullptr;
  uint32_t header = 0, size = 0, footer = 0;
};

void PutWord(char* at, uint32_t word) { std::memcpy(at, &word, sizeof word); }

// Reads memory that may belong to nobody, or to somebody else. 0 where there is none.
uint32_t WordAt(const char* at) {
  uint32_t word = 0;
  ReadProcessMemory(GetCurrentProcess(), at, &word, sizeof word, nullptr);
  return word;
}

uint32_t LowWord(const void* address) {
  return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(address));
}

// The message about a block that is not released, and its argument. Null: it is released.
struct Refusal {
  const char* format;
  uint32_t argument;
};

// The tests in their order; the first that fails decides.
Refusal Verify(void* pointer, Block& block) {
  if (reinterpret_cast<intptr_t>(pointer) < static_cast<intptr_t>(platform::kLowestUserAddress)) {
    return {"CheckFreeMem: Null-like pointer (%08lX) ignored.", LowWord(pointer)};
  }
  block.start = static_cast<char*>(pointer) - kDataOffset;
  if (IsBadWritePtr(block.start, kOverhead)) {
    return {"CheckFreeMem: Bad pointer (%08lX) ignored.", LowWord(block.start)};
  }
  block.header = WordAt(block.start + kHeaderOffset);
  if (block.header == kFreedHeader) return {"CheckFreeMem: Duplicate free - ignored.", 0};
  if (block.header != kHeader) {
    return {"CheckFreeMem: Bad header signature (%08lX) ignored.", block.header};
  }
  block.size = WordAt(block.start + kSizeOffset);
  if (block.size > UINT32_MAX - kOverhead || IsBadWritePtr(block.start, block.size + kOverhead)) {
    return {"CheckFreeMem: Bad pointer allocation (%08lX) ignored.", LowWord(block.start)};
  }
  block.footer = WordAt(block.start + kDataOffset + block.size);
  if (block.footer != kFooter) {
    return {"CheckFreeMem: Bad footer signature (%08lX) ignored.", block.footer};
  }
  return {nullptr, 0};
}

void ReleaseOrHold(Block block) {
  void* leaving = block.start;
  if (block.size <= kLargestHeldSize) {
    HeldState& held = Held();
    leaving = std::exchange(held.blocks[held.oldest], block.start);
    held.oldest = (held.oldest + 1) % kHeldBlocks;
  }
  GlobalRawBlocks().release(leaving);
}

}  // namespace

void* NewCheckedBlock(uint32_t size) {
  if (size > UINT32_MAX - kOverhead - 3) return nullptr;
  const uint32_t rounded = (size + 3) & ~3u;
  auto* start = static_cast<char*>(GlobalRawBlocks().reallocate(nullptr, rounded + kOverhead));
  if (start == nullptr) return nullptr;
  PutWord(start + kHeaderOffset, kHeader);
  PutWord(start + kSizeOffset, rounded);
  PutWord(start + kDataOffset + rounded, kFooter);
  return start + kDataOffset;
}

void ReleaseHeldBlocks() {
  for (void*& block : Held().blocks) GlobalRawBlocks().release(std::exchange(block, nullptr));
  Held() = {};
}

}  // namespace qv

using namespace qv;

void CheckFreeMem(void* pointer) {
  MemoryOperation operation;
  Block block;
  const Refusal refusal = Verify(pointer, block);
  if (refusal.format != nullptr) {
    Report(refusal.format, refusal.argument);
    ReportTraceback();
    return;
  }
  PutWord(block.start + kSizeOffset, 0);
  PutWord(block.start + kHeaderOffset, kFreedHeader);
  PutWord(block.start + kDataOffset + block.size, kFreedFooter);
  ReleaseOrHold(block);
}
