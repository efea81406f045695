// Handles, waits, events and critical sections.
#pragma once

#include "platform/host/registry.h"
#include "platform/host/types.h"

#define INFINITE 0xFFFFFFFFu
#define WAIT_OBJECT_0 0
#define WAIT_TIMEOUT 258
#define WAIT_FAILED 0xFFFFFFFFu

// Re-entrant; room for the state that the implementation keeps in it.
struct CRITICAL_SECTION {
  alignas(16) unsigned char state[64];
};

QV_HOST_API BOOL CloseHandle(HANDLE handle);
// Events without a name only.
QV_HOST_API HANDLE CreateEventA(LPSECURITY_ATTRIBUTES security, BOOL manual_reset, BOOL signalled,
                                LPCSTR name);
QV_HOST_API BOOL SetEvent(HANDLE event);
QV_HOST_API BOOL ResetEvent(HANDLE event);
QV_HOST_API DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds);
QV_HOST_API BOOL InitializeCriticalSectionAndSpinCount(CRITICAL_SECTION* section, DWORD spins);
QV_HOST_API void EnterCriticalSection(CRITICAL_SECTION* section);
QV_HOST_API BOOL TryEnterCriticalSection(CRITICAL_SECTION* section);
QV_HOST_API void LeaveCriticalSection(CRITICAL_SECTION* section);
QV_HOST_API void DeleteCriticalSection(CRITICAL_SECTION* section);
