// Runs code on stacks of the caller's own: the switch behind the stand-in's fibers and behind tasks
// that do without fibers.
//
//   platform::StackContext here, task;
//   platform::PrepareStack(&task, lowest, size, Start, argument);
//   platform::SwitchStack(&here, &task);   // returns when something switches to `here`
//   platform::ForgetStack(&task);          // it does not run and never will again
//
// A switch saves what a function must not change: the callee's registers, the modes of the floating
// point units, and the thread's chain of protected blocks. All of it lies on the stack that is
// left. No system call is made.
//
// Ownership: memory and context are the caller's, and stay where they are. Threads: a stack runs on
// one thread at a time. Sanitizers: each switch tells them, in the stand-in's fibers.cc alone.
#pragma once

#include <cstddef>

namespace platform {

using StackPointer = void*;

// A stack that runs or can. That of a thread begins empty and is filled when it is left.
struct StackContext {
  StackPointer place = nullptr;  // where it stands while it does not run
  void (*start)(void* argument) = nullptr;
  void* argument = nullptr;
  // What the sanitizers know it by; nothing without them.
  const void* lowest = nullptr;
  size_t size = 0;
  void* frames = nullptr;
  void* history = nullptr;
};

// Lays the first frame of a new stack at the upper end of `size` bytes. The first switch to it
// calls start(argument), with no protected block open; it must never return.
void PrepareStack(StackContext* stack, void* lowest, size_t size, void (*start)(void* argument),
                  void* argument);

// Leaves the running stack, which becomes that of `left`, and goes on with the target.
void SwitchStack(StackContext* left, StackContext* target);

// The same for a stack that is never gone back to; another one is to forget it.
void LeaveStack(StackContext* target);

// Gives up what is kept outside the stack's memory. Not for the running one, nor a thread's own.
void ForgetStack(StackContext* stack);

// Bytes that the calling thread's stack can still grow by, 0 when that is not known.
size_t StackBytesLeft();

}  // namespace platform
