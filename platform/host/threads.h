// Threads, the calls that others queue for them, and interlocked words.
#pragma once

#include "platform/host/registry.h"
#include "platform/host/types.h"

#define THREAD_PRIORITY_LOWEST (-2)
#define THREAD_PRIORITY_BELOW_NORMAL (-1)
#define THREAD_PRIORITY_NORMAL 0
#define THREAD_PRIORITY_ABOVE_NORMAL 1
#define THREAD_PRIORITY_HIGHEST 2
#define THREAD_PRIORITY_TIME_CRITICAL 15
#define THREAD_PRIORITY_IDLE (-15)
#define THREAD_PRIORITY_ERROR_RETURN 0x7FFFFFFF
#define WAIT_IO_COMPLETION 0xC0
#define DUPLICATE_SAME_ACCESS 2

using LPTHREAD_START_ROUTINE = DWORD (*)(LPVOID parameter);
using PAPCFUNC = void (*)(ULONG_PTR value);

// Starts at once (flags 0 only). A stack of less than a megabyte becomes one: memory is taken as it
// is touched, and the size asked for is only what Windows commits at the start.
QV_HOST_API HANDLE CreateThread(LPSECURITY_ATTRIBUTES security, SIZE_T stack_size,
                                LPTHREAD_START_ROUTINE start, LPVOID parameter, DWORD flags,
                                LPDWORD id);
QV_HOST_API HANDLE GetCurrentThread(void);
QV_HOST_API BOOL GetExitCodeThread(HANDLE thread, LPDWORD code);
// Takes effect as far as the machine lets the process; the number reads back in any case.
QV_HOST_API BOOL SetThreadPriority(HANDLE thread, int priority);
QV_HOST_API int GetThreadPriority(HANDLE thread);
QV_HOST_API DWORD_PTR SetThreadAffinityMask(HANDLE thread, DWORD_PTR mask);
// Returns when the thread stands still.
QV_HOST_API DWORD SuspendThread(HANDLE thread);
QV_HOST_API DWORD ResumeThread(HANDLE thread);
// Within this process, with the same access.
QV_HOST_API BOOL DuplicateHandle(HANDLE source_process, HANDLE source, HANDLE target_process,
                                 HANDLE* target, DWORD access, BOOL inherit, DWORD options);
QV_HOST_API DWORD QueueUserAPC(PAPCFUNC routine, HANDLE thread, ULONG_PTR value);

inline LONG InterlockedIncrement(volatile LONG* word) {
  return __atomic_add_fetch(word, 1, __ATOMIC_SEQ_CST);
}
inline LONG InterlockedDecrement(volatile LONG* word) {
  return __atomic_sub_fetch(word, 1, __ATOMIC_SEQ_CST);
}
inline LONG InterlockedExchange(volatile LONG* word, LONG value) {
  return __atomic_exchange_n(word, value, __ATOMIC_SEQ_CST);
}
