// Well-known folders, all without a trailing "\" (but "X:\" for a drive root).
//
//   char path[kFolderSize];
//   if (ZRGetLocation(kLocationLocalData, path, sizeof path) == 0) ...
//
// Errors: ZRErrTooLong when a path does not fit into `size` bytes or there is no buffer,
// ZRErrNotFound when the system names none. The buffer is empty after a failure.
// Threads: any, once the setters have been called.
#pragma once

#include <cstdint>

#include "base/errors.h"

// Levels of ZRGetLocation. 5 and 6 answer ZRErrNotSupported, others beyond 11 ZRErrRange.
constexpr uint32_t kLocationUserDocuments = 1, kLocationLocalData = 2, kLocationRoamingData = 3,
                   kLocationCommonData = 4,  // these four must exist, else ZRErrNotFound
    kLocationDocuments = 7,                  // the application folder when there are none
    kLocationApplication = 8, kLocationApplicationToo = 9,
                   kLocationDriveRoot = 10,  // of the application folder
    kLocationTemporary = 11;
ZRError ZRGetLocation(uint32_t level, char* buffer, uint32_t size);

// A folder by the shell's number (its CSIDL); false, and an empty buffer, when it is not to be had.
bool ZRGetSpecialFolder(int32_t id, char* buffer, uint32_t size);

// The folder of the library's own file, or the one that was set instead.
ZRError ZRGetAppFolder(char* buffer, uint32_t size);
// The name of the library's own file; without its first "." and what follows when asked.
ZRError ZRGetModuleName(char* buffer, uint32_t size, bool without_extension);
ZRError ZRGetDocumentsFolder(char* buffer, uint32_t size);
ZRError ZRGetTempFolder(char* buffer, uint32_t size);

// The product's folder inside a location, 31 characters at most, else ZRErrTooLong and no change.
// "Quorvantis" in a new process. The second form is length-prefixed.
ZRError ZRSetProductFolderName(const char* name);
ZRError ZRSetProductFolderName(const uint8_t* name);
const char* ZRGetProductFolderName();

// Our own addition: the application folder is `path` (ZRErrTooLong at 255 characters); null goes
// back to the library's own.
ZRError ZRSetAppFolder(const char* path);

namespace qv {

// The name under which every level keeps the product's files.
constexpr char kProductFolder[] = "Quorvantis";

// The platform's handle of the library; the executable until it is set, at start-up.
void SetLocationsModule(void* module);
void ResetLocationsForTest();

}  // namespace qv
