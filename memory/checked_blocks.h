// The blocks of checked mode (checked_allocations.h shows their layout): making, verifying, and the
// few freed ones that are held back. An inner header of this folder; under the memory lock.
#pragma once

#include <cstdint>

namespace qv {

// Null when there is no memory, or the size with its signatures does not fit 32 bits.
void* NewCheckedBlock(uint32_t size);

void ReleaseHeldBlocks();

}  // namespace qv
