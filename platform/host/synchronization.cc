#include "platform/host/synchronization.h"

#include <chrono>
#include <memory>
#include <mutex>
#include <new>

#include "platform/host/calls.h"
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

class Event : public Waitable {
 public:
  Event(bool manual, bool signalled) : manual_(manual), signalled_(signalled) {}

  void Change(bool signalled) {
    std::lock_guard hold(mutex_);
    signalled_ = signalled;
    if (signalled) changed_.notify_all();
  }

 private:
  bool TakeSignal() override {
    bool was = signalled_;
    if (!manual_) signalled_ = false;
    return was;
  }

  const bool manual_;
  bool signalled_;
};

BOOL ChangeEvent(HANDLE handle, bool signalled) {
  auto event = FindHandle<Event>(handle);
  if (!event) return Fail(ERROR_INVALID_HANDLE, FALSE);
  event->Change(signalled);
  return TRUE;
}

using SectionMutex = std::recursive_mutex;
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

// Events have no names here: nobody shares one between processes.
HANDLE CreateEventA(LPSECURITY_ATTRIBUTES, BOOL manual_reset, BOOL signalled, LPCSTR name) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, HANDLE{});
  if (name) return Fail(ERROR_NOT_SUPPORTED, HANDLE{});
  return host::AddHandle<HANDLE>(std::make_shared<host::Event>(manual_reset, signalled));
}

BOOL SetEvent(HANDLE event) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  return host::ChangeEvent(event, true);
}

BOOL ResetEvent(HANDLE event) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  return host::ChangeEvent(event, false);
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
