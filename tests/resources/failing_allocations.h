// Makes one allocation of the test program's own code fail. Included by one file of a suite: it
// replaces the allocation functions of the whole program.
//
// Allocations of the shared libraries, the stand-in among them, are told apart by the address that
// they return to, and never fail.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <new>

extern "C" char __executable_start, etext;  // set by the linker

namespace test {

struct AllocationFault {
  uint32_t countdown = 0;  // 0: none; the allocation that brings it to 0 fails
  uint32_t struck = 0;
};
inline AllocationFault& TheAllocationFault() {
  static thread_local AllocationFault fault;
  return fault;
}

inline bool AllocationFails(const void* caller) {
  AllocationFault& fault = TheAllocationFault();
  if (fault.countdown == 0 || caller < &__executable_start || caller >= &etext) return false;
  if (--fault.countdown > 0) return false;
  ++fault.struck;
  return true;
}

}  // namespace test

void* operator new(size_t size) {
  void* block =
      test::AllocationFails(__builtin_return_address(0)) ? nullptr : std::malloc(size ? size : 1);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
  return test::AllocationFails(__builtin_return_address(0)) ? nullptr
                                                            : std::malloc(size ? size : 1);
}
[[gnu::noinline]] void operator delete(void* block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void* block, size_t) noexcept { std::free(block); }
