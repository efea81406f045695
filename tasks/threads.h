// Threads of the system: for work that must not hold up the kernel thread, and that no task can do.
//
//   DWORD id = 0;
//   HANDLE thread = ZRThreadCreate(ReadMail, &mailbox, 0x10000, 1, &id);    // 0 on failure
//   ZRThreadSetName(id, "Mailbox");
//   ...
//   uint32_t result = ZRThreadWaitExit(thread, nullptr);
//   CloseHandle(thread);
//
// Sleeps are alertable: what other threads have queued for the sleeping one runs on it and ends its
// sleep early. That is how a thread is woken, and how a thread message queue delivers.
//
// Threads: any; a message queue is assigned and waited for by its target and posted to by all.
// Ownership: the creator closes a thread's handle; a message queue owns the handle that it made of
// its own thread. Errors: the first failed creation and the first refused priority of the process
// are reported by ZRMessage, later ones are silent. "Threads" in section "Debug", read once, traces
// to the debugger from 1 on.
#pragma once

#include <cstdint>

#include "base/lock_object.h"
#include "platform/windows_api.h"
#include "tasks/kernel_thread.h"

// What a thread runs; its result is the exit code. 259 would read as "still running".
using ZRThreadRoutine = LPTHREAD_START_ROUTINE;

// Starts a thread with a stack of stack_bytes (0: the system's choice) and a priority level: 0
// below normal, 1 normal, 2 highest, 3 time critical, any other normal. Stores the thread's number
// unless id_out is null. The handle, or null with *id_out unchanged. A priority that is refused
// leaves the thread at normal.
HANDLE ZRThreadCreate(ZRThreadRoutine routine, void* context, uint32_t stack_bytes, uint32_t level,
                      DWORD* id_out);
// The name that a debugger shows for a thread; without one attached nothing happens on Windows.
// Elsewhere every tool sees its first 15 bytes.
void ZRThreadSetName(DWORD thread_id, const char* name);
// Limits a thread to the processors of the mask; 0 leaves it alone (true). False when refused.
bool ZRThreadSetAffinity(HANDLE thread, uintptr_t mask);
// Waits for the end of the thread, looking twice a second, and returns its exit code, also in
// *exit_code unless that is null. When the code cannot be read, the Windows error instead, and
// *exit_code is unchanged.
uint32_t ZRThreadWaitExit(HANDLE thread, DWORD* exit_code);

// Sleep, alertable: true when a queued call ended it. Micros are rounded up to milliseconds.
bool ZRThreadSleep(uint32_t milliseconds);
bool ZRThreadSleepMicros(uint32_t micros);
// Gives the rest of the time slice to other threads; not alertable.
void ZRThreadYield();

// Each suspension needs one resumption. True on success.
bool ZRThreadSuspend(HANDLE thread);
bool ZRThreadResume(HANDLE thread);

// The calling thread: a pseudo-handle, which means whoever uses it, and the number.
HANDLE ZRThreadCurrent();
DWORD ZRThreadCurrentId();

// The system's interlocked operations. The first two give the new value, the others the one before.
LONG ZRInterlockedIncrement(volatile LONG* word);
LONG ZRInterlockedDecrement(volatile LONG* word);
LONG ZRInterlockedExchange(volatile LONG* word, LONG value);
LONG ZRInterlockedSet(volatile LONG* word);  // to 1

// Runs on the target thread, in one of its alertable sleeps.
using ZRThreadMessageRoutine = PAPCFUNC;  // void CALLBACK (ULONG_PTR value)

// Values that other threads hand to a routine on one thread, in their order.
//
//   queue.Assign(nullptr, ShowLine);            // on the target
//   while (!done) queue.Wait(1000);
//   queue.Post(reinterpret_cast<ULONG_PTR>(line));       // on any thread
class ZRThreadMessageQueue {
 public:
  constexpr ZRThreadMessageQueue() = default;
  ~ZRThreadMessageQueue();
  ZRThreadMessageQueue(const ZRThreadMessageQueue&) = delete;
  ZRThreadMessageQueue& operator=(const ZRThreadMessageQueue&) = delete;

  // From now on the routine runs on the thread; null or the pseudo-handle is the calling thread,
  // any other handle stays the caller's and open. A null routine ends the assignment. Another
  // thread than before is reported to the debug log. False, and nothing assigned, when the calling
  // thread's handle cannot be had.
  bool Assign(HANDLE thread, ZRThreadMessageRoutine routine);
  // False when no routine is assigned, or the thread takes no calls any more.
  bool Post(ULONG_PTR value);
  // Sleeps until something arrives, on the target; 0xFFFFFFFF milliseconds or more: for ever. True
  // when something did.
  static bool Wait(uint64_t milliseconds);

 private:
  bool TargetIs(HANDLE thread, bool is_own) const;
  void CloseOwn();

  qv::LockObject lock_;
  // Under the lock.
  HANDLE thread_ = nullptr;
  DWORD own_thread_ = 0;  // the thread that thread_ was made of, by us; 0: it is the caller's
  ZRThreadMessageRoutine routine_ = nullptr;
};

namespace qv {

// "Threads" in section "Debug".
int32_t ThreadTraceLevel();
// Failures are reported again, the trace level is read again.
void ResetThreadsForTest();

}  // namespace qv
