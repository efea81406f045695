// Rules for paths, all in the system's code page and the form "C:\folder\name".
#pragma once

#include <cstddef>
#include <cstdint>

// Longest path that a join may give, in bytes.
constexpr size_t kLongestPath = 254;

// "X:" becomes "X:\"; the buffer holds 4 bytes at least.
void ZRPathDriveRoot(char* path);

// Removes a trailing "\" from a path of 5 characters or more, then ZRPathDriveRoot.
void ZRPathNormalize(char* path);

// Appends a name: adds "\" unless the path ends in "\" or ":", drops one leading "\" of the name,
// normalises. An empty path becomes the name. Returns path, or null, with the path unchanged, when
// the two lengths together pass 254. The buffer holds 256 bytes.
char* ZRPathJoin(char* path, const char* name);
