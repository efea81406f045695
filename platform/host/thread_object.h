// A thread as its handles, its callers and the sleeps of its own see it.
//
// Threads that CreateThread did not make get an object when a call first needs one.
#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>

#include "platform/host/process.h"
#include "platform/host/threads.h"
#include "platform/host/waitable.h"

namespace host {

class Thread : public Waitable, public std::enable_shared_from_this<Thread> {
 public:
  // The calling thread's.
  static std::shared_ptr<Thread> Current();
  // The same, null when the thread has none yet: nobody can have queued anything for it.
  static Thread* CurrentIfAny();

  // Begins and ends the life of the calling thread as this object.
  void Begin();
  void End(DWORD exit_code);
  void WaitUntilBegun();

  DWORD ExitCode();
  DWORD number() const { return number_.load(std::memory_order_acquire); }

  // Calls for the thread, in their order. False when it has ended, or without memory.
  bool Queue(PAPCFUNC routine, ULONG_PTR value);
  // On the thread itself: runs what was queued, also by these calls themselves. True when any ran.
  bool RunCalls();
  // Until a call is queued or the time is over.
  void WaitForCalls(DWORD milliseconds);

  // The count before, kRefused when the thread has ended.
  static constexpr DWORD kRefused = 0xFFFFFFFF;
  DWORD Suspend();
  DWORD Resume();

  std::atomic<int> priority{THREAD_PRIORITY_NORMAL};

 private:
  struct Call {
    PAPCFUNC routine;
    ULONG_PTR value;
  };

  bool TakeSignal() override { return ended_.load(); }
  bool SendSuspension();
  void WaitUntilStill();
  static void StandStill(int signal);

  std::atomic<DWORD> number_{0};  // 0: not begun
  std::atomic<bool> ended_{false};
  DWORD exit_code_ = STILL_ACTIVE;  // under mutex_

  std::mutex calls_mutex_;
  std::condition_variable arrived_;
  std::deque<Call> calls_;              // under calls_mutex_
  std::atomic<bool> has_calls_{false};  // not before the first is there; changes under calls_mutex_

  std::mutex life_mutex_;  // while it is held the thread does not end
  // Words that threads sleep at.
  std::atomic<uint32_t> suspensions_{0};
  std::atomic<uint32_t> still_{0};  // 1: the thread stands in its suspension
};

// Of a handle or the calling thread's pseudo-handle; null for anything else.
std::shared_ptr<Thread> FindThread(HANDLE handle);

// What SleepEx does when it is alertable.
DWORD SleepAlertably(DWORD milliseconds);

}  // namespace host

// Runs the calls that are queued for the calling thread. Found by name in "NTDLL.DLL".
QV_HOST_API LONG NtTestAlert(void);
