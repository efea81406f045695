// The requests of a folder listing (file_request.h): `path` is the pattern, `file` the platform's
// listing, `buffer` a WIN32_FIND_DATAA to be filled.
#pragma once

#include "files/file_request.h"

namespace qv {

// The first entry, a folder where only those are wanted. After a failure nothing is left open.
uint32_t FindFirst(FileRequest& request);
// The next one; 18 (no more files) at the end. The listing stays open.
uint32_t FindNext(FileRequest& request);

// Looks the system's call up now instead of at the first listing.
void LookUpFindCall();

}  // namespace qv
