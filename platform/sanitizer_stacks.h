// Tells AddressSanitizer that a thread goes on with another stack; nothing in builds without it.
// Without a word it takes the frames of the stacks that wait for frames that have returned.
//
//   void* kept = nullptr;
//   platform::TellStackLeft(&kept, target_bounds);
//   platform::SwitchStack(&here, target);
//   platform::TellStackEntered(kept);      // the first call on a new stack is with null
#pragma once

#include <cstddef>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QV_ADDRESS_SANITIZER
#endif
#endif
#ifdef __SANITIZE_ADDRESS__
#define QV_ADDRESS_SANITIZER
#endif
#ifdef QV_ADDRESS_SANITIZER
#include <sanitizer/asan_interface.h>
#include <sanitizer/common_interface_defs.h>
#endif

namespace platform {

struct StackBounds {
  const void* lowest = nullptr;
  size_t size = 0;  // bytes
};

// Before a switch. `kept` receives what TellStackEntered wants when the stack that is left goes on;
// null: it never does.
inline void TellStackLeft([[maybe_unused]] void** kept, [[maybe_unused]] StackBounds target) {
#ifdef QV_ADDRESS_SANITIZER
  __sanitizer_start_switch_fiber(kept, target.lowest, target.size);
#endif
}

// After it, on the stack that goes on. Gives the bounds of the one that was left, nothing in builds
// without the sanitizer.
inline StackBounds TellStackEntered([[maybe_unused]] void* kept) {
  StackBounds left;
#ifdef QV_ADDRESS_SANITIZER
  __sanitizer_finish_switch_fiber(kept, &left.lowest, &left.size);
#endif
  return left;
}

// The memory of a stack is about to be used anew; old frames have marked it.
inline void TellStackRenewed([[maybe_unused]] const StackBounds& stack) {
#ifdef QV_ADDRESS_SANITIZER
  __asan_unpoison_memory_region(stack.lowest, stack.size);
#endif
}

}  // namespace platform
