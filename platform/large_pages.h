// A hint that a large block of memory is going to be used all over, in no order.
#pragma once

#include <cstddef>

namespace platform {

// Asks for pages of megabytes where the machine has them: fewer faults when the block is first
// used, and addresses that are found faster afterwards. The block's contents stay. Nothing on
// Windows, where such pages need a right of their own. Threads: any.
void PreferLargePages(void* block, size_t bytes);

}  // namespace platform
