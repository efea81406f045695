// Platform error numbers as framework error codes: the one place where they are translated, and
// where unusual ones are reported.
//
//   if (!DeleteFileA(path)) return ZRTranslateNativeError(GetLastError(), path);
//
// "FSERR" (section "Debug") is the level of the reports: each number has a least level in
// files/error_table.h, a number without a row is reported at every level. "FSTB" 1 adds a traceback
// to each report; "FSERRNO" is a number that is kept silent where its row allows it. The three are
// read on the first translation. Threads: any.
#pragma once

#include <cstdint>

#include "base/errors.h"

// The framework code of a platform error number; 0 for 0. The low 16 bits find the row; a
// larger number whose low 16 bits are 0 is no success and has no row. Without a row, a number from
// 4101 to 4128 is a framework code already and passes through, any other is
// ZRErrUnexpected. 1392 and 1393 (damage) also tell the user to check the disk. `path` is the file
// that the call was about, or null.
ZRError ZRTranslateNativeError(uint32_t native, const char* path = nullptr);

// Two messages: the number, and the system's text for it (empty when it has none) with the path
// when there is one. Then a traceback of the caller when that is wanted.
void ZRReportNativeError(uint32_t native, bool traceback, const char* path);

namespace qv {
// The three settings are read again.
void ResetErrorReportsForTest();
}  // namespace qv
