// Error codes of the framework: signed 32-bit values, 0 for success. They are values like any
// other; nothing is thrown across a component's surface.
#pragma once

#include <cstdint>

using ZRError = int32_t;

constexpr ZRError ZRErrNone = 0;

// Files, folders and volumes.
constexpr ZRError ZRErrIO = 4101;
constexpr ZRError ZRErrDiskFull = 4102;  // or fewer bytes written than asked
constexpr ZRError ZRErrTooLong = 4103;   // name, path, buffer or position
constexpr ZRError ZRErrNotOpen = 4104;   // file not open, or no resource map
constexpr ZRError ZRErrNotFound = 4105;  // file, folder or location
constexpr ZRError ZRErrExists = 4106;
constexpr ZRError ZRErrEOF = 4107;  // end of file, or no more items
constexpr ZRError ZRErrNoMemory = 4108;
constexpr ZRError ZRErrNotSupported = 4110;
constexpr ZRError ZRErrOpenFailed = 4111;
constexpr ZRError ZRErrCannotCreate = 4112;  // also: no unique name left
constexpr ZRError ZRErrUnexpected = 4113;    // platform error with no better translation
constexpr ZRError ZRErrFileOpen = 4115;      // refused because the file is open
constexpr ZRError ZRErrNotSameVolume = 4116;
constexpr ZRError ZRErrAccess = 4117;
constexpr ZRError ZRErrRange = 4118;
constexpr ZRError ZRErrNoVolume = 4119;
constexpr ZRError ZRErrBadFolder = 4120;
constexpr ZRError ZRErrTooMany = 4121;  // handles or system resources exhausted
constexpr ZRError ZRErrWriteProtected = 4123;
constexpr ZRError ZRErrParam = 4125;
constexpr ZRError ZRErrNetwork = 4126;
constexpr ZRError ZRErrBadFormat = 4127;
constexpr ZRError ZRErrSeek = 4128;

// Resources.
constexpr ZRError ZRErrResMemory = 4701;    // no memory for lists, names or a body
constexpr ZRError ZRErrResDamaged = 4702;   // a resource file that cannot be read as one
constexpr ZRError ZRErrResMapBad = 4703;    // a change or an update left the map inconsistent
constexpr ZRError ZRErrResTooLarge = 4704;  // more than the format's offsets, or the fork, can hold
constexpr ZRError ZRErrResNotFound = 4705;
constexpr ZRError ZRErrNoMapping = 9630;  // no kind for a file type and creator

// Memory.
constexpr ZRError ZRErrMemParam = 4800;   // no source, bad count or range, deletion without a lock
constexpr ZRError ZRErrMemHandle = 4801;  // not a live handle, or it cannot be locked
constexpr ZRError ZRErrMemFull = 4802;    // a block could not be had or grown
constexpr ZRError ZRErrMemLocked = 4804;  // a locked handle cannot be resized
