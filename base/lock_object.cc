#include "base/lock_object.h"

namespace qv {
namespace {

// Spins before the platform blocks, with the event allocated in advance (the top bit).
constexpr DWORD kSpinCount = 0x80000000u | 4096u;

}  // namespace

LazyCriticalSection::~LazyCriticalSection() {
  if (stage_.load(std::memory_order_acquire) == kReady) DeleteCriticalSection(&section_);
}

CRITICAL_SECTION& LazyCriticalSection::Initialised() {
  unsigned char expected = kUnused;
  if (stage_.compare_exchange_strong(expected, kStarting, std::memory_order_acquire)) {
    InitializeCriticalSectionAndSpinCount(&section_, kSpinCount);
    stage_.store(kReady, std::memory_order_release);
  }
  while (stage_.load(std::memory_order_acquire) != kReady) Sleep(0);
  return section_;
}

}  // namespace qv
