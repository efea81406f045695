// The C runtime's allocator, as this folder uses it: for the blocks of handles, for the handle
// table and below the checked allocations. One replaceable pair, so that a test can make the n-th
// allocation fail and count what is released. Set before a second thread runs.
#pragma once

#include <cstdint>

namespace qv {

struct RawBlocks {
  // A block of `size` bytes (never 0) with the bytes of `block` as far as both go; null for `block`
  // makes a new one. Null when there is no memory, and `block` is as it was.
  void* (*reallocate)(void* block, uint32_t size);
  // Null is ignored.
  void (*release)(void* block);
};
RawBlocks& GlobalRawBlocks();
void ResetRawBlocksForTest();

}  // namespace qv
