// Runs code on stacks of the caller's own: the switch behind the stand-in's fibers and behind tasks
// that do without fibers.
//
//   platform::StackPointer task = platform::PrepareStack(top, Start, argument);
//   platform::SwitchStack(&here, task);    // returns when something switches to `here`
//
// A switch saves what a function must not change: the callee's registers, the modes of the floating
// point units, and the thread's chain of protected blocks. All of it lies on the stack that is
// left, so a stack that does not run is its stack pointer and nothing else. No system call is made.
//
// Threads: a stack runs on one thread at a time. Sanitizers are not told here, but by who
// makes the stacks (sanitizer_stacks.h).
#pragma once

#include <cstddef>

namespace platform {

using StackPointer = void*;

// Lays the first frame of a new stack at its upper end. The first switch to the result calls
// start(argument), with no protected block open; it must never return. A few hundred bytes below
// `top` are written.
StackPointer PrepareStack(void* top, void (*start)(void* argument), void* argument);

// Leaves the running stack, stores where it stands, and goes on with the target.
void SwitchStack(StackPointer* left, StackPointer target);

// Bytes that the calling thread's stack can still grow by, 0 when that is not known.
size_t StackBytesLeft();

}  // namespace platform
