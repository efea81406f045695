// Rules for paths, all in the system's code page and the form "C:\folder\name".
//
//   char folder[kFolderSize], name[kNameSize];
//   if (ZRPathSplit("C:\\mail\\in.box", folder, name, false) == 0) ...  // "C:\mail" and "in.box"
//
// A trail byte with the value of "\" is never taken for a separator. Both "\" forms only: "/" is
// left to the platform. Threads: any; nothing is kept.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/errors.h"

// Longest path that a join may give, in bytes.
constexpr size_t kLongestPath = 254;
// Buffers of a folder and of a name, in bytes, terminators included.
constexpr uint32_t kFolderSize = 256;
constexpr uint32_t kNameSize = 64;

// "X:" becomes "X:\"; the buffer holds 4 bytes at least.
void ZRPathDriveRoot(char* path);

// Removes a trailing "\" from a path of 5 characters or more, then ZRPathDriveRoot.
void ZRPathNormalize(char* path);

// Appends a name: adds "\" unless the path ends in "\" or ":", drops one leading "\" of the name,
// normalises. An empty path becomes the name. Returns path, or null, with the path unchanged, when
// the two lengths together pass 254. The buffer holds 256 bytes.
char* ZRPathJoin(char* path, const char* name);

// The last character c (a separator, or any other single byte) of the path; null when it has none.
const char* ZRLastSeparator(const char* path, char c);

// The folder (kFolderSize bytes, normalised) and the name (kNameSize bytes) of a path. They are
// parted by the last "\" behind the first ":"; without one the folder is empty and the name is all.
// A name of 64 characters or more is looked for once in the path's short form, which only a file
// that exists has; otherwise it is cut behind its last whole character within 63 bytes.
// ZRErrTooLong, both empty, when the folder does not fit. With `use_worker` the platform is asked
// on a worker.
ZRError ZRPathSplit(const char* path, char* folder, char* name, bool use_worker);

namespace qv {

// Copies a whole text: ZRErrTooLong, and an empty buffer, when it does not fit into `size` bytes or
// there is no buffer.
ZRError CopyWhole(const char* text, char* buffer, uint32_t size);

// True when `path` lies in `folder` or is it: `folder` begins it, letter case of ASCII apart, and
// ends where a part of the path ends. Both normalised.
bool PathIsBelow(const char* path, const char* folder);

}  // namespace qv
