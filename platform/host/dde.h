// Dynamic data exchange (the DDEML calls) between processes, over one local socket per service.
//
// A server's callback runs on the thread that initialised the instance, out of its message loop, as
// on Windows. A connect waits a few milliseconds before it answers that nobody is there, as the
// real broadcast does.
#pragma once

#include "platform/host/types.h"

QV_HOST_DECLARE_HANDLE(HCONVLIST);
QV_HOST_DECLARE_HANDLE(HCONV);
QV_HOST_DECLARE_HANDLE(HSZ);
QV_HOST_DECLARE_HANDLE(HDDEDATA);

using PFNCALLBACK = HDDEDATA (*)(UINT type, UINT format, HCONV conversation, HSZ string1,
                                 HSZ string2, HDDEDATA data, ULONG_PTR data1, ULONG_PTR data2);
struct CONVCONTEXT;

#define CP_WINANSI 1004
#define CF_TEXT 1
#define APPCMD_CLIENTONLY 0x10
#define APPCLASS_STANDARD 0
#define DNS_REGISTER 1
#define DNS_UNREGISTER 2
#define XTYP_EXECUTE 0x4050
#define XTYP_CONNECT 0x1062
#define XTYP_DISCONNECT 0x80C2
#define DDE_FACK 0x8000
#define DDE_FNOTPROCESSED 0
#define DMLERR_NO_ERROR 0
#define DMLERR_DATAACKTIMEOUT 0x4002
#define DMLERR_DLL_NOT_INITIALIZED 0x4003
#define DMLERR_EXECACKTIMEOUT 0x4005
#define DMLERR_INVALIDPARAMETER 0x4006
#define DMLERR_MEMORY_ERROR 0x4008
#define DMLERR_NOTPROCESSED 0x4009
#define DMLERR_NO_CONV_ESTABLISHED 0x400A
#define DMLERR_SYS_ERROR 0x400F

QV_HOST_API UINT DdeInitializeA(LPDWORD instance, PFNCALLBACK callback, DWORD flags, DWORD unused);
QV_HOST_API BOOL DdeUninitialize(DWORD instance);
QV_HOST_API HSZ DdeCreateStringHandleA(DWORD instance, LPCSTR text, int code_page);
QV_HOST_API BOOL DdeFreeStringHandle(DWORD instance, HSZ string);
QV_HOST_API int DdeCmpStringHandles(HSZ a, HSZ b);
QV_HOST_API HCONV DdeConnect(DWORD instance, HSZ service, HSZ topic, CONVCONTEXT* context);
QV_HOST_API HDDEDATA DdeClientTransaction(LPBYTE data, DWORD size, HCONV conversation, HSZ item,
                                          UINT format, UINT type, DWORD timeout, LPDWORD result);
QV_HOST_API UINT DdeGetLastError(DWORD instance);
QV_HOST_API HDDEDATA DdeNameService(DWORD instance, HSZ service, HSZ unused, UINT command);
QV_HOST_API DWORD DdeGetData(HDDEDATA data, LPBYTE buffer, DWORD size, DWORD offset);
