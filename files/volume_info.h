// What is known about one volume.
//
//   VolumeInfo info;
//   if (ZRGetDriveInfo(volume, true, kVolumeBytes | kVolumeLabel, &info) == 0) Show(info.label);
//
// Threads: the platform is asked on a worker when that is wished; the caller waits.
#pragma once

#include <cstdint>

#include "base/errors.h"
#include "files/file_request.h"
#include "files/volumes.h"

// Parts of the information.
constexpr uint32_t kVolumeShortName = 0x1, kVolumeLabel = 0x2, kVolumeNetworkName = 0x4,
                   kVolumeKind = 0x8, kVolumeBytes = 0x20, kVolumeSerial = 0x100;

constexpr uint32_t kVolumeLocked = 0x4 | 0x8;  // attributes of a CD-ROM

// Parts that were not asked for, or that the platform did not tell, are 0 or empty.
struct VolumeInfo {
  uint16_t volume;
  uint32_t attributes;
  int32_t kind;                      // a drive's DriveKind
  uint32_t total_bytes, free_bytes;  // cut at 0x7FFFFFFF; free to the caller
  uint8_t short_name[4];             // length-prefixed "X:"; empty for a logical volume
  char label[256];         // UTF-8 without its first "."; "X:" when it is empty; cut behind a whole
                           // character; a logical volume's name, in the system's code page
  char network_name[172];  // UTF-8: what a remote drive stands for, else "[X:\]"; a
                           // logical volume's "[Logical 7]"
  uint32_t serial;
  uint32_t reserved[2];  // 0
  char root[256];        // of a logical volume
};

// ZRErrNoVolume for no volume. A remote drive without a name of its own ends the information:
// ZRErrNoMemory, ZRErrRange, ZRErrIO, ZRErrTooLong, ZRErrNoVolume or ZRErrNetwork, with neither
// label, serial number nor network name. A drive whose label cannot be read (an empty CD-ROM) gives
// what was there before it, and 0; a remote one goes on as with an empty label. Errors are also
// traced (file_trace.h).
ZRError ZRGetDriveInfo(uint16_t volume, bool use_worker, uint32_t flags, VolumeInfo* info);

namespace qv {

// What the request behind it (file_request.h) works on, as its `buffer`. The record is a copy: the
// worker that fills the information never touches the list of volumes, which tasks may change
// meanwhile.
struct VolumeQuery {
  VolumeRecord record;
  uint32_t flags;
  VolumeInfo* info;
};
uint32_t FillVolumeInfo(FileRequest& request);

}  // namespace qv
