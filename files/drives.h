// Drive letters: which kind of drive each is. "SkipVol" (section "QVSetup") lists letters that
// count as absent; it is read on the first use of anything here.
//
// Threads: any.
#pragma once

#include <cstdint>

#include "base/errors.h"

constexpr uint32_t kDriveCount = 26;  // drive numbers 0 to 25 are A to Z

enum DriveKind : int32_t {
  kDriveAbsent = 0,  // also a skipped letter, or a number above 25
  kDriveUnknown = 1,
  kDriveFloppy = 2,  // removable, A or B
  kDriveRemovable = 3,
  kDriveFixed = 4,
  kDriveRemote = 5,
  kDriveCdRom = 6,
  kDriveRamDisk = 7,
};

// "X:" into 3 bytes; ZRErrRange, and an empty text, for a drive above 25.
ZRError ZRDriveName(uint32_t drive, char* out);

// On: removable drives A and B count as absent, and the platform is not asked for their contents.
// Off in a new process.
void ZRSetSkipFloppies(bool on);

namespace qv {

// Asks the platform.
DriveKind ReadDriveKind(uint32_t drive);

// The drive number of a path that begins with a letter and ":"; -1 for any other.
int32_t DriveOfPath(const char* path);

// The letters of "SkipVol" in upper case; empty when there are none.
const char* SkippedDrives();
// Reads "SkipVol" and, the first time, tells the debug output what is left out.
void AnnounceSkippedDrives();
void ResetDrivesForTest();

}  // namespace qv
