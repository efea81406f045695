// The allocation hooks, counted, with a chosen allocation that fails.
#pragma once

#include <cstdint>
#include <cstdlib>

#include "base/hooks.h"

namespace test {

struct MemoryCounts {
  int64_t blocks = 0;  // in use
  uint32_t allocated = 0, released = 0;
  uint64_t largest = 0;    // bytes of the largest block
  uint32_t countdown = 0;  // 1: the next allocation fails; 0: none
  bool from_then_on = false;
  uint32_t struck = 0;
};
inline MemoryCounts& Memory() {
  static MemoryCounts counts;
  return counts;
}

// While one lives the hooks count, from zero.
class CountedMemory {
 public:
  CountedMemory() {
    Memory() = {};
    qv::GlobalHooks().allocate = Allocate;
    qv::GlobalHooks().release = Release;
  }
  ~CountedMemory() { qv::ResetHooksForTest(); }
  CountedMemory(const CountedMemory&) = delete;
  CountedMemory& operator=(const CountedMemory&) = delete;

 private:
  static void* Allocate(size_t size) {
    MemoryCounts& counts = Memory();
    if (counts.countdown == 1) {
      if (!counts.from_then_on) counts.countdown = 0;
      ++counts.struck;
      return nullptr;
    }
    if (counts.countdown > 0) --counts.countdown;
    ++counts.blocks;
    ++counts.allocated;
    if (size > counts.largest) counts.largest = size;
    return std::malloc(size);
  }
  static void Release(void* block) {
    if (block == nullptr) return;
    --Memory().blocks;
    ++Memory().released;
    std::free(block);
  }
};

}  // namespace test
