#include "platform/fiber_prefetch.h"

namespace platform {

void PrefetchFiber(const void*) {}

}  // namespace platform
