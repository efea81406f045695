#include "base/event_lock.h"

#include <algorithm>

namespace qv {
namespace {

constexpr DWORD kPollMilliseconds = 1;  // between looks where there is no event

}  // namespace

EventLock::EventLock() : event_(CreateEventA(nullptr, FALSE, FALSE, nullptr)) {}

EventLock::~EventLock() {
  if (event_ != nullptr) CloseHandle(event_);
}

void EventLock::Signal() {
  if (event_ != nullptr) SetEvent(event_);
}

void EventLock::Wait() { WaitMillis(INFINITE); }

bool EventLock::WaitMicros(uint32_t micros) { return WaitMillis(micros / 1000); }

bool EventLock::WaitMillis(DWORD milliseconds) {
  Unlock();
  const DWORD result = event_ != nullptr ? WaitForSingleObject(event_, milliseconds) : WAIT_FAILED;
  if (result == WAIT_FAILED) Sleep(std::min(milliseconds, kPollMilliseconds));
  Lock();
  return result != WAIT_TIMEOUT;
}

}  // namespace qv
