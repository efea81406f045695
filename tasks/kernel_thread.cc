#include "tasks/kernel_thread.h"

#include <atomic>
#include <utility>

#include "base/lock_object.h"
#include "base/never_destroyed.h"
#include "platform/windows_api.h"

namespace qv {
namespace {

struct KernelThreadState {
  std::atomic<DWORD> id{0};  // 0: none
  // Changes under the lock, which whoever uses the handle holds: it is not closed meanwhile.
  std::atomic<HANDLE> handle{nullptr};
  LockObject lock;
};

// Worker threads wake the kernel until they end, so it is never destroyed.
KernelThreadState& State() {
  static constinit NeverDestroyed<KernelThreadState> state;
  return state.value;
}

// Of the calling thread, for others; null when the system gives none.
HANDLE HandleForOthers() {
  HANDLE handle = nullptr;
  const HANDLE process = GetCurrentProcess();
  const BOOL made = DuplicateHandle(process, GetCurrentThread(), process, &handle, 0, FALSE,
                                    DUPLICATE_SAME_ACCESS);
  return made ? handle : nullptr;
}

// What arrives in the sleep that it ends.
void CALLBACK WakeUp(ULONG_PTR) {}

void Record(DWORD id, HANDLE handle) {
  KernelThreadState& state = State();
  {
    ScopedLock hold(state.lock);
    state.id.store(id, std::memory_order_release);
    handle = state.handle.exchange(handle);
  }
  if (handle != nullptr) CloseHandle(handle);
}

}  // namespace

void ForgetKernelThread() { Record(0, nullptr); }

}  // namespace qv

bool ZRIsKernelThread() {
  const DWORD thread = qv::State().id.load(std::memory_order_acquire);
  return thread == 0 || thread == GetCurrentThreadId();
}

void ZRSetKernelThread() {
  const qv::KernelThreadState& state = qv::State();
  const DWORD self = GetCurrentThreadId();
  const bool is_known = state.id.load(std::memory_order_relaxed) == self &&
                        state.handle.load(std::memory_order_relaxed) != nullptr;
  if (!is_known) qv::Record(self, qv::HandleForOthers());
}

void ZRWakeKernel() {
  qv::KernelThreadState& state = qv::State();
  qv::ScopedLock hold(state.lock);
  const HANDLE handle = state.handle.load(std::memory_order_relaxed);
  if (handle == nullptr) return;
  QueueUserAPC(qv::WakeUp, handle, 0);
}
