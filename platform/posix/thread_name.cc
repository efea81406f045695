#include "platform/thread_name.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace platform {

void ShowThreadName(DWORD thread_id, const char* name) {
  constexpr size_t kMostBytes = 15;  // of the machine's names
  char path[64];
  std::snprintf(path, sizeof path, "/proc/self/task/%u/comm", thread_id);
  const int file = open(path, O_WRONLY | O_CLOEXEC);
  if (file < 0) return;
  [[maybe_unused]] const auto written = write(file, name, std::min(std::strlen(name), kMostBytes));
  close(file);
}

}  // namespace platform
