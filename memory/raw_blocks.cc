#include "memory/raw_blocks.h"

#include <cstdlib>

namespace qv {
namespace {

constexpr RawBlocks kCRuntime{
    .reallocate = [](void* block, uint32_t size) { return std::realloc(block, size); },
    .release = std::free,
};

}  // namespace

RawBlocks& GlobalRawBlocks() {
  static constinit RawBlocks blocks = kCRuntime;
  return blocks;
}

void ResetRawBlocksForTest() { GlobalRawBlocks() = kCRuntime; }

}  // namespace qv
