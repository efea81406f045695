// Listing a folder.
//
// The names are read when the listing starts, in the order of their upper case: a file that goes
// meanwhile is left out, one that comes is not seen. A native name that the calls cannot show is
// listed under its short name, by which it opens.
#pragma once

#include "platform/host/types.h"

struct WIN32_FIND_DATAA {
  DWORD dwFileAttributes;
  FILETIME ftCreationTime, ftLastAccessTime, ftLastWriteTime;
  DWORD nFileSizeHigh, nFileSizeLow, dwReserved0, dwReserved1;
  CHAR cFileName[MAX_PATH];
  CHAR cAlternateFileName[14];  // empty when the name itself is of that form
};
static_assert(sizeof(WIN32_FIND_DATAA) == 320);

enum FINDEX_INFO_LEVELS : int32_t { FindExInfoStandard = 0 };
// Which entries are wished. As on the systems meant, a file system may give the others too.
enum FINDEX_SEARCH_OPS : int32_t { FindExSearchNameMatch = 0, FindExSearchLimitToDirectories = 1 };

QV_HOST_API HANDLE FindFirstFileA(LPCSTR pattern, WIN32_FIND_DATAA* data);
QV_HOST_API HANDLE FindFirstFileExA(LPCSTR pattern, FINDEX_INFO_LEVELS level, LPVOID data,
                                    FINDEX_SEARCH_OPS wished, LPVOID filter, DWORD flags);
QV_HOST_API BOOL FindNextFileA(HANDLE listing, WIN32_FIND_DATAA* data);
QV_HOST_API BOOL FindClose(HANDLE listing);
