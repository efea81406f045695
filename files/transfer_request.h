// The requests that move bytes and the place in a file (file_request.h).
//
// A transfer with an offset gives the offset to the platform with the call. Where the platform
// refuses that (numbers 120 and 87) and takes the same place by itself, it is switched off for this
// direction in the whole process, and the place is set before each transfer, one transfer at a
// time. A transfer that the platform does not finish at once (997) is waited for; kRequestPending
// tells that it was so.
#pragma once

#include "files/file_request.h"

namespace qv {

uint32_t ReadBytes(FileRequest& request);
uint32_t WriteBytes(FileRequest& request);

// The new place comes back in `offset`, 0 after an error. An origin above 2 is refused (87).
uint32_t SeekFile(FileRequest& request);

// Ends the file at `offset`. No transfer on a worker moves the file's place meanwhile: the file
// would be cut there.
uint32_t SetFileEnd(FileRequest& request);

// Sets the place to `offset` from an origin; the place comes back in `offset`.
uint32_t MoveFilePointer(FileRequest& request, uint32_t origin);

// Whether the offset goes with the call.
bool PositionedReads();
bool PositionedWrites();
void ResetTransfersForTest();
// As if the platform had refused both.
void RefusePositionsForTest();

}  // namespace qv
