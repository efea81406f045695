// Processes, the last error, ticks, environment and debugger output.
#pragma once

#include "platform/host/registry.h"
#include "platform/host/types.h"

#define CREATE_NEW_PROCESS_GROUP 0x200
#define STD_INPUT_HANDLE 0xFFFFFFF6u
#define CTRL_C_EVENT 0
#define CTRL_BREAK_EVENT 1
#define STILL_ACTIVE 259

struct STARTUPINFOA {
  DWORD cb;
  LPSTR lpReserved, lpDesktop, lpTitle;
  DWORD dwX, dwY, dwXSize, dwYSize, dwXCountChars, dwYCountChars, dwFillAttribute, dwFlags;
  WORD wShowWindow, cbReserved2;
  LPBYTE lpReserved2;
  HANDLE hStdInput, hStdOutput, hStdError;
};
struct PROCESS_INFORMATION {
  HANDLE hProcess, hThread;
  DWORD dwProcessId, dwThreadId;
};
using PHANDLER_ROUTINE = BOOL (*)(DWORD event);

QV_HOST_API DWORD GetLastError(void);
QV_HOST_API void SetLastError(DWORD error);
QV_HOST_API DWORD GetTickCount(void);
QV_HOST_API void GetLocalTime(SYSTEMTIME* time);
QV_HOST_API BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency);
QV_HOST_API BOOL QueryPerformanceCounter(LARGE_INTEGER* count);
QV_HOST_API void Sleep(DWORD milliseconds);
QV_HOST_API DWORD SleepEx(DWORD milliseconds, BOOL alertable);
QV_HOST_API void OutputDebugStringA(LPCSTR text);
QV_HOST_API BOOL CreateProcessA(LPCSTR application, LPSTR command_line,
                                LPSECURITY_ATTRIBUTES process_security,
                                LPSECURITY_ATTRIBUTES thread_security, BOOL inherit, DWORD flags,
                                LPVOID environment, LPCSTR folder, STARTUPINFOA* startup,
                                PROCESS_INFORMATION* process);
QV_HOST_API BOOL GetExitCodeProcess(HANDLE process, LPDWORD code);
QV_HOST_API BOOL TerminateProcess(HANDLE process, UINT code);
QV_HOST_API void ExitProcess(UINT code);
QV_HOST_API DWORD GetCurrentProcessId(void);
QV_HOST_API DWORD GetCurrentThreadId(void);
QV_HOST_API DWORD GetEnvironmentVariableA(LPCSTR name, LPSTR buffer, DWORD size);
QV_HOST_API BOOL SetEnvironmentVariableA(LPCSTR name, LPCSTR value);
// There is a console only where a test has given the process one (control.h).
QV_HOST_API HANDLE GetStdHandle(DWORD which);
QV_HOST_API BOOL GetConsoleMode(HANDLE console, LPDWORD mode);
QV_HOST_API BOOL SetConsoleMode(HANDLE console, DWORD mode);
QV_HOST_API BOOL SetConsoleCtrlHandler(PHANDLER_ROUTINE handler, BOOL add);
