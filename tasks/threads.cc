#include "tasks/threads.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <limits>

#include "app/debug_output.h"
#include "app/message.h"
#include "app/settings.h"
#include "platform/thread_name.h"

namespace qv {
namespace {

constexpr int32_t kUnread = std::numeric_limits<int32_t>::min();
constexpr uint32_t kExitPoll = 500;  // milliseconds

// Any thread.
struct ThreadsState {
  std::atomic<bool> creation_reported{false};
  std::atomic<bool> priority_reported{false};
  std::atomic<int32_t> trace{kUnread};  // two threads may read the same setting
};

ThreadsState& State() {
  static constinit ThreadsState state;
  return state;
}

int PriorityOf(uint32_t level) {
  constexpr int kPriorities[] = {THREAD_PRIORITY_BELOW_NORMAL, THREAD_PRIORITY_NORMAL,
                                 THREAD_PRIORITY_HIGHEST, THREAD_PRIORITY_TIME_CRITICAL};
  return level < std::size(kPriorities) ? kPriorities[level] : THREAD_PRIORITY_NORMAL;
}

bool SleepAlertably(DWORD milliseconds) {
  return SleepEx(milliseconds, TRUE) == WAIT_IO_COMPLETION;
}

}  // namespace

// Without a settings file nothing is kept, since one may yet be named.
int32_t ThreadTraceLevel() {
  std::atomic<int32_t>& trace = State().trace;
  if (trace == kUnread) {
    if (*SettingsPath() == '\0') return 0;
    trace = ReadSetting(setting::kThreadTrace);
  }
  return trace;
}

void ResetThreadsForTest() {
  State().creation_reported = State().priority_reported = false;
  State().trace = kUnread;
}

}  // namespace qv

HANDLE ZRThreadCreate(ZRThreadRoutine routine, void* context, uint32_t stack_bytes, uint32_t level,
                      DWORD* id_out) {
  DWORD id = 0;
  const HANDLE thread = CreateThread(nullptr, stack_bytes, routine, context, 0, &id);
  if (thread == nullptr) {
    const DWORD error = GetLastError();
    if (!qv::State().creation_reported.exchange(true)) {
      ZRMessage("Windows error 0x%08lX creating new thread.\n", error);
    }
    return nullptr;
  }
  if (!SetThreadPriority(thread, qv::PriorityOf(level)) &&
      !qv::State().priority_reported.exchange(true)) {
    ZRMessage("Error: Could not set thread priority.\n");
  }
  if (qv::ThreadTraceLevel() >= 1) {
    DebugPrintf("ZRThread: Thread %lu created (level %lu).\n", id, level);
  }
  if (id_out != nullptr) *id_out = id;
  return thread;
}

void ZRThreadSetName(DWORD thread_id, const char* name) {
  if (name != nullptr) platform::ShowThreadName(thread_id, name);
}

bool ZRThreadSetAffinity(HANDLE thread, uintptr_t mask) {
  return mask == 0 || SetThreadAffinityMask(thread, mask) != 0;
}

uint32_t ZRThreadWaitExit(HANDLE thread, DWORD* exit_code) {
  DWORD code = STILL_ACTIVE;
  for (;;) {
    if (!GetExitCodeThread(thread, &code)) return GetLastError();
    if (code != STILL_ACTIVE) break;
    SleepEx(qv::kExitPoll, TRUE);
  }
  if (exit_code != nullptr) *exit_code = code;
  return code;
}

bool ZRThreadSleep(uint32_t milliseconds) { return qv::SleepAlertably(milliseconds); }

bool ZRThreadSleepMicros(uint32_t micros) {
  return qv::SleepAlertably(static_cast<DWORD>((uint64_t{micros} + 999) / 1000));
}

void ZRThreadYield() { Sleep(0); }

bool ZRThreadSuspend(HANDLE thread) { return SuspendThread(thread) != static_cast<DWORD>(-1); }

bool ZRThreadResume(HANDLE thread) { return ResumeThread(thread) != static_cast<DWORD>(-1); }

HANDLE ZRThreadCurrent() { return GetCurrentThread(); }

DWORD ZRThreadCurrentId() { return GetCurrentThreadId(); }

LONG ZRInterlockedIncrement(volatile LONG* word) { return InterlockedIncrement(word); }

LONG ZRInterlockedDecrement(volatile LONG* word) { return InterlockedDecrement(word); }

LONG ZRInterlockedExchange(volatile LONG* word, LONG value) {
  return InterlockedExchange(word, value);
}

LONG ZRInterlockedSet(volatile LONG* word) { return InterlockedExchange(word, 1); }

// --- the message queue of a thread ---

ZRThreadMessageQueue::~ZRThreadMessageQueue() { CloseOwn(); }

bool ZRThreadMessageQueue::TargetIs(HANDLE thread, bool is_own) const {
  return is_own ? own_thread_ == GetCurrentThreadId() : thread == thread_;
}

void ZRThreadMessageQueue::CloseOwn() {
  if (own_thread_ != 0) CloseHandle(thread_);
  thread_ = nullptr;
  own_thread_ = 0;
}

bool ZRThreadMessageQueue::Assign(HANDLE thread, ZRThreadMessageRoutine routine) {
  const bool is_own = thread == nullptr || thread == GetCurrentThread();
  qv::ScopedLock hold(lock_);
  if (!TargetIs(thread, is_own)) {
    HANDLE target = thread;
    const HANDLE process = GetCurrentProcess();
    if (is_own && !DuplicateHandle(process, GetCurrentThread(), process, &target, 0, FALSE,
                                   DUPLICATE_SAME_ACCESS)) {
      return false;
    }
    if (routine_ != nullptr) DebugPrint("thrdmsgq: Overriding existing thread assignment.\n");
    CloseOwn();
    thread_ = target;
    own_thread_ = is_own ? GetCurrentThreadId() : 0;
  }
  routine_ = routine;
  return true;
}

bool ZRThreadMessageQueue::Post(ULONG_PTR value) {
  qv::ScopedLock hold(lock_);
  return routine_ != nullptr && QueueUserAPC(routine_, thread_, value) != 0;
}

bool ZRThreadMessageQueue::Wait(uint64_t milliseconds) {
  constexpr uint64_t kForEver = INFINITE;
  return qv::SleepAlertably(static_cast<DWORD>(std::min(milliseconds, kForEver)));
}
