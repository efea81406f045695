// One read through the cache: what the last block of the file does not answer by itself.
//
//   qv::FileOperation operation(blocks, qv::FileOperation::kRead);
//   qv::CachedRead read(file, *blocks, operation, buffer, count, place);
//   ZRError error = read.Run();              // read.done(): bytes that arrived
//
// A long read is made in pieces. For each, passes over its blocks go on until one pass finds all of
// them there and idle; nobody else runs between that pass and the copy. Where a block is not to be
// had, for want of memory, because the disk refuses it, because this task cannot wait for another,
// or because others drop or change it again and again, the rest is read past the cache.
//
// Threads: the cache's. The file object may go meanwhile: the operation is then an orphan, the
// answer ZRErrNotOpen, and the file is touched no more.
#pragma once

#include "files/disk_file.h"
#include "files/file_blocks.h"

namespace qv {

class CachedRead {
 public:
  CachedRead(CDiskFile& file, FileBlocks& blocks, FileOperation& operation, char* buffer,
             uint32_t count, uint64_t place)
      : file_(file),
        blocks_(blocks),
        operation_(operation),
        buffer_(buffer),
        count_(count),
        place_(place) {}

  ZRError Run();
  uint32_t done() const { return done_; }
  bool asked_disk() const { return asked_disk_; }

 private:
  // Blocks that are needed at once.
  static constexpr uint32_t kMostBlocksOfPiece = 64;
  enum class Fill { kDone, kUncached, kOrphan };

  uint32_t PieceLength() const;
  bool FitsBlocks() const;
  ZRError ReadPiece(uint32_t length);
  ZRError ReadRest();
  Fill FillBlocks(uint64_t first, uint32_t blocks);
  Fill FillOnce(uint64_t first, uint32_t blocks, bool* complete);
  Fill ReadBlock(uint64_t block);
  ZRError ReadItem(CacheItem* item, uint32_t* size);
  ZRError Copy(uint32_t length);

  CDiskFile& file_;
  FileBlocks& blocks_;
  FileOperation& operation_;
  char* buffer_;
  uint32_t count_;
  uint64_t place_;
  uint32_t done_ = 0;
  bool asked_disk_ = false;
  CacheItem* items_[kMostBlocksOfPiece];  // of the present piece
};

}  // namespace qv
