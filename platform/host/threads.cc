#include "platform/host/threads.h"

#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>

#include <algorithm>
#include <iterator>
#include <memory>

#include "platform/host/calls.h"
#include "platform/host/native_errors.h"
#include "platform/host/process.h"
#include "platform/host/process_memory.h"
#include "platform/host/thread_object.h"

namespace host {
namespace {

constexpr SIZE_T kLeastStack = SIZE_T{1} << 20;  // what programs of ours reserve on Windows
constexpr int kMaskBits = sizeof(DWORD_PTR) * 8;

// Priorities, and how nice the machine's thread is then.
struct Priority {
  int windows, nice;
};
constexpr Priority kPriorities[] = {
    {THREAD_PRIORITY_IDLE, 19},          {THREAD_PRIORITY_LOWEST, 10},
    {THREAD_PRIORITY_BELOW_NORMAL, 5},   {THREAD_PRIORITY_NORMAL, 0},
    {THREAD_PRIORITY_ABOVE_NORMAL, -3},  {THREAD_PRIORITY_HIGHEST, -5},
    {THREAD_PRIORITY_TIME_CRITICAL, -15}};

struct Start {
  std::shared_ptr<Thread> thread;
  LPTHREAD_START_ROUTINE routine;
  LPVOID parameter;
};

void* RunThread(void* argument) {
  const std::unique_ptr<Start> start(static_cast<Start*>(argument));
  const std::shared_ptr<Thread> thread = start->thread;
  thread->Begin();
  thread->RunCalls();
  thread->End(start->routine(start->parameter));
  return nullptr;
}

// 0, or the machine's error.
int StartNative(SIZE_T stack_size, std::unique_ptr<Start> start) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  pthread_t thread;
  int error = pthread_attr_setstacksize(&attributes, std::max(stack_size, kLeastStack));
  if (error == 0) error = pthread_create(&thread, &attributes, RunThread, start.get());
  if (error == 0) static_cast<void>(start.release());
  pthread_attr_destroy(&attributes);
  return error;
}

// The processors that a thread may use, as a mask; those that a mask has no bit for are left out.
DWORD_PTR AffinityOf(pid_t number) {
  cpu_set_t set;
  if (sched_getaffinity(number, sizeof set, &set) != 0) return 0;
  DWORD_PTR mask = 0;
  for (int i = 0; i < kMaskBits; ++i) {
    if (CPU_ISSET(i, &set)) mask |= DWORD_PTR{1} << i;
  }
  return mask;
}

bool SetAffinityOf(pid_t number, DWORD_PTR mask) {
  cpu_set_t set;
  CPU_ZERO(&set);
  for (int i = 0; i < kMaskBits; ++i) {
    if ((mask >> i & 1) != 0) CPU_SET(i, &set);
  }
  return sched_setaffinity(number, sizeof set, &set) == 0;
}

}  // namespace
}  // namespace host

using host::Enter;
using host::Fail;

HANDLE CreateThread(LPSECURITY_ATTRIBUTES, SIZE_T stack_size, LPTHREAD_START_ROUTINE start,
                    LPVOID parameter, DWORD flags, LPDWORD id) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, HANDLE{});
  if (!start || flags != 0) return Fail(ERROR_INVALID_PARAMETER, HANDLE{});
  auto thread = std::make_shared<host::Thread>();
  auto begin = std::make_unique<host::Start>(host::Start{thread, start, parameter});
  if (host::StartNative(stack_size, std::move(begin)) != 0) {
    return Fail(ERROR_NOT_ENOUGH_MEMORY, HANDLE{});
  }
  thread->WaitUntilBegun();
  if (id) *id = thread->number();
  return host::AddHandle<HANDLE>(thread);
}

HANDLE GetCurrentThread(void) { return reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-2)); }

BOOL GetExitCodeThread(HANDLE handle, LPDWORD code) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  auto thread = host::FindThread(handle);
  if (!thread) return Fail(ERROR_INVALID_HANDLE, FALSE);
  *code = thread->ExitCode();
  return TRUE;
}

BOOL SetThreadPriority(HANDLE handle, int priority) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  auto thread = host::FindThread(handle);
  if (!thread) return Fail(ERROR_INVALID_HANDLE, FALSE);
  const auto* known =
      std::find_if(std::begin(host::kPriorities), std::end(host::kPriorities),
                   [priority](const host::Priority& entry) { return entry.windows == priority; });
  if (known == std::end(host::kPriorities)) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  thread->priority = priority;
  setpriority(PRIO_PROCESS, thread->number(), known->nice);
  return TRUE;
}

int GetThreadPriority(HANDLE handle) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, THREAD_PRIORITY_ERROR_RETURN);
  auto thread = host::FindThread(handle);
  if (!thread) return Fail(ERROR_INVALID_HANDLE, THREAD_PRIORITY_ERROR_RETURN);
  return thread->priority;
}

DWORD_PTR SetThreadAffinityMask(HANDLE handle, DWORD_PTR mask) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, DWORD_PTR{0});
  auto thread = host::FindThread(handle);
  if (!thread) return Fail(ERROR_INVALID_HANDLE, DWORD_PTR{0});
  const auto number = static_cast<pid_t>(thread->number());
  const DWORD_PTR allowed = host::AffinityOf(static_cast<pid_t>(GetCurrentProcessId()));
  const DWORD_PTR before = host::AffinityOf(number);
  if (mask == 0 || (mask & ~allowed) != 0 || !host::SetAffinityOf(number, mask)) {
    return Fail(ERROR_INVALID_PARAMETER, DWORD_PTR{0});
  }
  return before;
}

DWORD SuspendThread(HANDLE handle) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, host::Thread::kRefused);
  auto thread = host::FindThread(handle);
  if (!thread) return Fail(ERROR_INVALID_HANDLE, host::Thread::kRefused);
  const DWORD before = thread->Suspend();
  return before != host::Thread::kRefused ? before : Fail(ERROR_ACCESS_DENIED, before);
}

DWORD ResumeThread(HANDLE handle) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, host::Thread::kRefused);
  auto thread = host::FindThread(handle);
  if (!thread) return Fail(ERROR_INVALID_HANDLE, host::Thread::kRefused);
  const DWORD before = thread->Resume();
  return before != host::Thread::kRefused ? before : Fail(ERROR_ACCESS_DENIED, before);
}

BOOL DuplicateHandle(HANDLE source_process, HANDLE source, HANDLE target_process, HANDLE* target,
                     DWORD, BOOL, DWORD options) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  const HANDLE here = GetCurrentProcess();
  if (source_process != here || target_process != here) return Fail(ERROR_INVALID_HANDLE, FALSE);
  if ((options & DUPLICATE_SAME_ACCESS) == 0) return Fail(ERROR_NOT_SUPPORTED, FALSE);
  std::shared_ptr<host::KernelObject> object = host::FindThread(source);
  if (!object) object = host::FindHandle<host::KernelObject>(source);
  if (!object) return Fail(ERROR_INVALID_HANDLE, FALSE);
  *target = host::AddHandle<HANDLE>(std::move(object));
  return TRUE;
}

DWORD QueueUserAPC(PAPCFUNC routine, HANDLE handle, ULONG_PTR value) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, DWORD{0});
  auto thread = host::FindThread(handle);
  if (!thread) return Fail(ERROR_INVALID_HANDLE, DWORD{0});
  return thread->Queue(routine, value) ? 1 : Fail(ERROR_GEN_FAILURE, DWORD{0});
}
