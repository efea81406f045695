// Looking at memory that may not be there, without a fault.
//
// The kernel is asked: a sanitizer sees no access of the program's, no signal is raised, and
// nothing is written. As on Windows the answer may be out of date when another thread unmaps.
#pragma once

#include "platform/host/types.h"

#define ERROR_PARTIAL_COPY 299

// TRUE when a byte of the span cannot be read (written), or the span leaves the address space.
// FALSE for a size of 0.
QV_HOST_API BOOL IsBadReadPtr(LPCVOID address, UINT_PTR size);
QV_HOST_API BOOL IsBadWritePtr(LPVOID address, UINT_PTR size);

// A value that stands for this process.
QV_HOST_API HANDLE GetCurrentProcess(void);
// This process only. `copied`, when given, says how many bytes came; FALSE with ERROR_PARTIAL_COPY
// when these are not all.
QV_HOST_API BOOL ReadProcessMemory(HANDLE process, LPCVOID address, LPVOID buffer, SIZE_T size,
                                   SIZE_T* copied);
