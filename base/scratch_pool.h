// The process's pool of scratch buffers of 8000 bytes, for formatting and debug output.
//
//   qv::ScratchBlock block;
//   if (!block.data()) return 0;         // none to be had
//   FormatTextN(block.data(), 7999, ...)
//
// Buffers are reused, not cleared, and kept until ReleaseScratchPool. The pool starts with
// room for 256 buffers and grows by 256. Threads: any.
#pragma once

#include <cstdint>

#include "base/buffer_pool.h"

constexpr uint32_t kScratchBufferSize = 8000;

// The first free buffer and its index in the pool, or null and kNoBufferIndex when memory for it,
// or for a larger table, is not to be had (memory comes through the allocation hook).
char* ZRBufferGet(uint32_t* index);

// Gives a buffer back; an index that is invalid or not in use is ignored.
void ZRBufferPut(uint32_t* index);

namespace qv {

// A scratch buffer for the length of a scope, as a local variable. Up to 64 buffers stay at hand
// when their blocks end, so a block usually costs no lock.
class ScratchBlock {
 public:
  ScratchBlock();
  ~ScratchBlock();
  ScratchBlock(const ScratchBlock&) = delete;
  ScratchBlock& operator=(const ScratchBlock&) = delete;
  // kScratchBufferSize bytes, not cleared; null when none could be had.
  char* data() const { return data_; }

 private:
  uint32_t index_ = kNoBufferIndex;
  char* data_;
};

// Buffers kept at hand count as in use.
BufferPool::Figures GetScratchPoolFigures();

// Frees every buffer that is not in use, those kept at hand included, and the table when none is:
// for a library that is being unloaded while its process goes on. The pool can be used again
// afterwards.
void ReleaseScratchPool();
// The same for buffers that are in use too.
void ResetScratchPoolForTest();

}  // namespace qv
