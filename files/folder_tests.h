// Whether a path names a folder, or anything at all. False for what does not: a missing path, a
// path that the platform refuses or may not look at, null; for the first two a file too. With
// `use_worker` the platform is asked on a worker. Threads: any.
#pragma once

bool ZRIsFolder(const char* path, bool use_worker);

// The same with the drives in mind: an absent drive is not touched and answers false; the root of
// one that is there ("X:" and "X:\") is a folder without a look at the disk.
bool ZRFolderExists(const char* path, bool use_worker);

namespace qv {

bool PathExists(const char* path, bool use_worker);

}  // namespace qv
