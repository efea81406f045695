#include "tasks/kernel_thread.h"

#include <atomic>

#include "platform/windows_api.h"

namespace qv {
namespace {

std::atomic<DWORD>& KernelThread() {
  static constinit std::atomic<DWORD> thread{0};  // 0: none
  return thread;
}

}  // namespace

void ForgetKernelThread() { KernelThread().store(0, std::memory_order_release); }

}  // namespace qv

bool ZRIsKernelThread() {
  const DWORD thread = qv::KernelThread().load(std::memory_order_acquire);
  return thread == 0 || thread == GetCurrentThreadId();
}

void ZRSetKernelThread() {
  qv::KernelThread().store(GetCurrentThreadId(), std::memory_order_release);
}
