#include "platform/host/synchronization.h"

#include <chrono>
#include <memory>
#include <mutex>
#include <new>

#include "platform/host/calls.h"
#include "platform/host/reentrant_lock.h"
#include "platform/host/waitable.h"

namespace host {

bool Waitable::Wait(DWORD milliseconds) {
  std::unique_lock hold(mutex_);
  auto signalled = [this] { return TakeSignal(); };
  if (milliseconds == INFINITE) {
    changed_.wait(hold, signalled);
    return true;
  }
  return changed_.wait_for(hold, std::chrono::milliseconds(milliseconds), signalled);
}

namespace {

#ifdef __SANITIZE_THREAD__
using SectionMutex = std::recursive_mutex;
#else
using SectionMutex = ReentrantLock;
#endif
static_assert(sizeof(SectionMutex) <= sizeof(CRITICAL_SECTION::state));

SectionMutex& MutexOf(CRITICAL_SECTION* section) {
  return *std::launder(reinterpret_cast<SectionMutex*>(section->state));
}

}  // namespace
}  // namespace host

using host::Enter;
using host::Fail;

BOOL CloseHandle(HANDLE handle) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  if (!host::CloseHandleOf<host::KernelObject>(handle)) return Fail(ERROR_INVALID_HANDLE, FALSE);
  return TRUE;
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, WAIT_FAILED);
  auto object = host::FindHandle<host::Waitable>(handle);
  if (!object) return Fail(ERROR_INVALID_HANDLE, WAIT_FAILED);
  return object->Wait(milliseconds) ? WAIT_OBJECT_0 : WAIT_TIMEOUT;
}

BOOL InitializeCriticalSectionAndSpinCount(CRITICAL_SECTION* section, DWORD) {
  new (section->state) host::SectionMutex;
  return TRUE;
}

void EnterCriticalSection(CRITICAL_SECTION* section) { host::MutexOf(section).lock(); }

BOOL TryEnterCriticalSection(CRITICAL_SECTION* section) {
  return host::MutexOf(section).try_lock();
}

void LeaveCriticalSection(CRITICAL_SECTION* section) { host::MutexOf(section).unlock(); }

void DeleteCriticalSection(CRITICAL_SECTION* section) { std::destroy_at(&host::MutexOf(section)); }
