// A fork inside a file object: from `start` to the file's end, or a range of a given length. Places
// count from the start of the fork.
//
//   qv::ForkFile fork;
//   fork.file = &file;                       // open; not owned
//   uint64_t size;
//   ZRError error = fork.Measure(&size);
//   if (error == ZRErrNone) error = fork.Read(bytes, 16, 0);
//
// Errors: those of the file object. Nothing outside a given range is read or written.
// Threads: as the file object.
#pragma once

#include <cstdint>

#include "base/errors.h"

class CDiskFile;

namespace qv {

struct ForkFile {
  CDiskFile* file = nullptr;
  int64_t start = 0;
  int64_t length = -1;  // below 0: to the end of the file

  bool HasGivenLength() const { return length >= 0; }
  // What is there of the fork: it may be less than a given length, and 0 for a start behind the
  // end.
  ZRError Measure(uint64_t* size) const;
  // All the bytes; ZRErrEOF when the fork ends before.
  ZRError Read(void* bytes, uint32_t count, uint64_t at) const;
  // ZRErrParam, and nothing written, for a place outside a given range.
  ZRError Write(const void* bytes, uint32_t count, uint64_t at) const;
  ZRError Flush() const;
  // Ends the file where the fork is to end. Nothing happens to a range of a given length.
  ZRError Cut(uint64_t size) const;
};

// The length in front of the body at `place`, where the fork has `fork_size` bytes. ZRErrResDamaged
// when the body is not wholly in it.
ZRError ReadBodyLength(const ForkFile& fork, uint64_t fork_size, uint64_t place, uint32_t* length);

}  // namespace qv
