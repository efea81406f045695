// Volumes: the machine's drives, and folder trees that stand as volumes of their own.
//
//   uint16_t volume;
//   for (uint32_t i = 0; ZRGetVolumeByIndex(i, &volume) == 0; ++i) Show(volume);
//
// A physical volume is a drive letter that the platform reports as present; a logical one is a
// subfolder of the folder "Volumes" in the user's documents, or in the application folder when the
// documents have none. Each has a number, 1, 2, 3 ... in the order found, that is never given
// again. The list is made on the first query and again at each query of index 0; a volume that goes
// stays in it and is no longer online. A logical volume whose path passes 255 bytes is left out.
//
// Threads: tasks only; there is no lock.
// Errors: ZRErrNoVolume for a number that names no volume.
#pragma once

#include <cstdint>

#include "base/errors.h"
#include "files/drives.h"

constexpr uint16_t kNoVolume =
    0x8000;  // no number, and no drive: what a logical volume has for one

// Walks the volumes. Index 0 looks for new ones first. Past the end ZRErrEOF and kNoVolume;
// ZRErrNoMemory when a new one could not be remembered (the list stays usable).
ZRError ZRGetVolumeByIndex(uint32_t index, uint16_t* volume);
uint32_t ZRVolumeCount();

// The volume whose root is the longest beginning of the path, letter case of ASCII apart; else that
// of the drive with which the path begins (a letter and ":"). kNoVolume after a failure.
ZRError ZRVolumeFromPath(const char* path, uint16_t* volume);

// A drive that is not absent, or a logical volume whose folder is there (asked on a worker).
bool ZRIsVolumeOnline(uint16_t volume);
// Asks the platform again and keeps the answer; kDriveAbsent for no volume and for a logical one.
int32_t ZRCheckVolume(uint16_t volume);

// "X:\" or the subfolder's name; the root path, ZRErrNotFound when a drive had none when it was
// last looked at. ZRErrTooLong when it does not fit; the buffer is empty after a failure.
ZRError ZRGetVolumeName(uint16_t volume, char* buffer, uint32_t size);
ZRError ZRGetVolumeRoot(uint16_t volume, char* buffer, uint32_t size);

// Bytes that the caller may still use. Any failure of the platform is ZRErrNoVolume, with 0.
ZRError ZRGetVolumeFreeSpace(uint16_t volume, uint64_t* bytes);

// The volume of the application folder and the number of its drive; kNoVolume when there is none.
uint16_t ZRGetAppVolume();
uint16_t ZRGetAppDrive();

namespace qv {

constexpr uint32_t kVolumeTextSize = 256;  // bytes of a name or root, terminator included

struct VolumeRecord {
  uint16_t number;
  uint16_t drive;  // 0 to 25, or kNoVolume for a logical volume
  int32_t kind;    // DriveKind as last checked; not meant for a logical volume
  uint8_t root_present;
  char name[kVolumeTextSize];
  char root[kVolumeTextSize];

  bool IsLogical() const { return drive == kNoVolume; }
};

// The record, valid until the list is built again; null when there is none.
const VolumeRecord* FindVolume(uint16_t number);

void ResetVolumesForTest();

}  // namespace qv
