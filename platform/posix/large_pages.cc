#include "platform/large_pages.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

namespace platform {

void PreferLargePages(void* block, size_t bytes) {
#ifdef MADV_HUGEPAGE
  static const auto page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
  const auto start = (reinterpret_cast<uintptr_t>(block) + page - 1) & ~(page - 1);
  const auto end = (reinterpret_cast<uintptr_t>(block) + bytes) & ~(page - 1);
  // Refused on a machine without them, which changes nothing.
  if (end > start) madvise(reinterpret_cast<void*>(start), end - start, MADV_HUGEPAGE);
#else
  static_cast<void>(block);
  static_cast<void>(bytes);
#endif
}

}  // namespace platform
