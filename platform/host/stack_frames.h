// The switch between two stacks by itself: registers and the chain of protected blocks. Nobody is
// told (fibers.cc does that).
#pragma once

#include "platform/host/guard_chain.h"

extern "C" [[gnu::visibility("hidden")]] void qv_host_switch_stack(void** left, void* target);

namespace host {

// Lays the first frame of a stack that ends at `top`; where the stack then stands. The first switch
// to it calls start(argument), which must never return.
void* LayFirstFrame(void* top, void (*start)(void* argument), void* argument);

// A new stack starts with no open block; one that goes on puts its own back.
inline void SwitchFrames(void** left, void* target) {
  Block* const blocks = InnermostBlock();
  SetInnermostBlock(nullptr);
  qv_host_switch_stack(left, target);
  SetInnermostBlock(blocks);
}

}  // namespace host
