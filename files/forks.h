// What a file carries besides its data, in named streams of the file: the resource fork, and its
// type and creator in the Finder information, as file services for Macintosh computers keep them
// on NTFS.
//
//   uint64_t size; uint32_t type, creator;
//   if (ZRGetAFPInfo("C:\\mail\\letter", &size, &type, &creator) == 0 && type == 0x54455854) ...
//
// A file object whose fork is the resource fork opens and creates that stream. Threads: any.
#pragma once

#include <cstdint>

#include "base/errors.h"

// The file's type and creator, four characters each, the first in the highest byte. ZRErrNotFound
// without the stream or with fewer than 24 bytes in it, ZRErrTooLong when the stream's path would
// pass 275 bytes. Both 0 after an error.
ZRError ZRGetTypeCreator(const char* path, uint32_t* type, uint32_t* creator);

// Writes them to the stream, which is made when it is not there; its other bytes stay. ZRErrTooLong
// as above, else the platform's error.
ZRError ZRSetTypeCreator(const char* path, uint32_t type, uint32_t creator);

// The low 32 bits of the fork's size. ZRErrNotFound without the stream or when its path would pass
// 275 bytes; ZRErrSeek.
ZRError ZRGetResourceForkSize(const char* path, uint64_t* size);

// Both; a stream that is not there is no error and leaves its values 0.
ZRError ZRGetAFPInfo(const char* path, uint64_t* fork_size, uint32_t* type, uint32_t* creator);

namespace qv {

// Makes a file's path that of its resource fork. ZRErrNotFound, and no change, when it does not fit
// into `size` bytes.
ZRError AppendResourceForkName(char* path, uint32_t size);

}  // namespace qv
