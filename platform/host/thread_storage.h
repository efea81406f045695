// Values that each thread has of its own.
#pragma once

#include "platform/host/types.h"

#define TLS_OUT_OF_INDEXES 0xFFFFFFFFu

QV_HOST_API DWORD TlsAlloc(void);
QV_HOST_API BOOL TlsFree(DWORD index);
QV_HOST_API LPVOID TlsGetValue(DWORD index);
QV_HOST_API BOOL TlsSetValue(DWORD index, LPVOID value);
