// The two walks of CRC-32, which give the same: sixteen bytes a step by table, on any processor,
// and folding by multiplication without carries, 64 bytes a step.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qv {

uint32_t SliceCrc32(uint32_t crc, const uint8_t* bytes, size_t count);

constexpr size_t kLeastFolded = 64;  // bytes; below, folding has no gain
// Where HasCarrylessMultiply() only, and of kLeastFolded bytes at least.
uint32_t FoldCrc32(uint32_t crc, const uint8_t* bytes, size_t count);

}  // namespace qv
