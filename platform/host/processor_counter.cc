#include "platform/host/processor_counter.h"

#include <fcntl.h>
#include <time.h>
#include <unistd.h>

#include <string_view>

namespace host {

bool ProcessorCounter::IsUsable() {
#ifdef __x86_64__
  // Linux kernel, Documentation/ABI/testing/sysfs-devices-system-clocksource.
  const int file = open("/sys/devices/system/clocksource/clocksource0/current_clocksource",
                        O_RDONLY | O_CLOEXEC);
  if (file < 0) return false;
  char name[16];
  const ssize_t size = read(file, name, sizeof name);
  close(file);
  return size > 0 && std::string_view(name, static_cast<size_t>(size)) == "tsc\n";
#else
  return false;
#endif
}

uint64_t ProcessorCounter::Nanoseconds() {
  constexpr uint64_t kPerSecond = 1000000000;
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<uint64_t>(now.tv_sec) * kPerSecond + static_cast<uint64_t>(now.tv_nsec);
}

}  // namespace host
