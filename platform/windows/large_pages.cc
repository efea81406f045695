#include "platform/large_pages.h"

namespace platform {

void PreferLargePages(void*, size_t) {}

}  // namespace platform
