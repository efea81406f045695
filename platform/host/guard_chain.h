// The chain of protected blocks of the calling thread, for who gives the thread another stack.
#pragma once

namespace host {

struct Block;

// The newest open block; null when none is open. A chain belongs to the stack it was opened on.
Block* InnermostBlock();
void SetInnermostBlock(Block* block);

}  // namespace host
