#include <memory>

#include "platform/host/calls.h"
#include "platform/host/synchronization.h"
#include "platform/host/waitable.h"

namespace host {
namespace {

// Signalled until reset, or until one wait has taken the signal.
class Event : public Waitable {
 public:
  Event(bool stays_signalled, bool signalled)
      : stays_signalled_(stays_signalled), signalled_(signalled) {}

  void Set() {
    std::lock_guard hold(mutex_);
    signalled_ = true;
    stays_signalled_ ? changed_.notify_all() : changed_.notify_one();
  }
  void Reset() {
    std::lock_guard hold(mutex_);
    signalled_ = false;
  }

 private:
  bool TakeSignal() override {
    const bool taken = signalled_;
    if (!stays_signalled_) signalled_ = false;
    return taken;
  }

  const bool stays_signalled_;
  bool signalled_;  // under the mutex
};

}  // namespace
}  // namespace host

using host::Enter;
using host::Fail;

HANDLE CreateEventA(LPSECURITY_ATTRIBUTES, BOOL manual_reset, BOOL signalled, LPCSTR name) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, HANDLE{});
  if (name) return Fail(ERROR_NOT_SUPPORTED, HANDLE{});
  return host::AddHandle<HANDLE>(std::make_shared<host::Event>(manual_reset != 0, signalled != 0));
}

BOOL SetEvent(HANDLE handle) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  auto event = host::FindHandle<host::Event>(handle);
  if (!event) return Fail(ERROR_INVALID_HANDLE, FALSE);
  event->Set();
  return TRUE;
}

BOOL ResetEvent(HANDLE handle) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  auto event = host::FindHandle<host::Event>(handle);
  if (!event) return Fail(ERROR_INVALID_HANDLE, FALSE);
  event->Reset();
  return TRUE;
}
