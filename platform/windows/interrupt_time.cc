#include "platform/interrupt_time.h"

#include <cstdint>

namespace platform {
namespace {

// The page that the system shares with every process, at a fixed address.
constexpr uintptr_t kSharedUserData = 0x7FFE0000;
constexpr uintptr_t kInterruptTimeOffset = 8;

// The system writes the second high part first and the first one last.
struct SystemTime {
  volatile uint32_t low;
  volatile int32_t high1;
  volatile int32_t high2;
};

}  // namespace

uint64_t InterruptTime() {
  const auto* time = reinterpret_cast<const SystemTime*>(kSharedUserData + kInterruptTimeOffset);
  int32_t high;
  uint32_t low;
  do {
    high = time->high1;
    low = time->low;
  } while (high != time->high2);
  return static_cast<uint64_t>(static_cast<uint32_t>(high)) << 32 | low;
}

}  // namespace platform
