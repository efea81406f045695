// A hint that a fiber is about to run: its stack begins to come into the caches.
//
// With hundreds of fibers that run in turn each one's stack has gone cold; a switch to it then
// waits for memory once for every frame that it returns through.
#pragma once

namespace platform {

// The fiber exists and does not run. Nothing on Windows, where only the system knows its stack.
void PrefetchFiber(const void* fiber);

// The lines of a stack that does not run: from where it stands upwards what the frames of a switch
// and of the wait around it take, and one downwards, where the task's next calls may reach.
inline void PrefetchStack(const void* place) {
  constexpr int kLine = 64, kBelow = 1, kAbove = 6;
  for (int line = -kBelow; line < kAbove; ++line) {
    __builtin_prefetch(static_cast<const char*>(place) + line * kLine);
  }
}

}  // namespace platform
