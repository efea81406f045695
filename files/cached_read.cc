#include "files/cached_read.h"

#include <algorithm>
#include <cstring>

namespace qv {
namespace {

constexpr uint64_t kLargestPlace = INT64_MAX;
// Others may drop what was just read, or change the file while it is read, again and again. After
// so many attempts the disk is asked past the cache.
constexpr uint32_t kMostPasses = 16;
constexpr uint32_t kMostReadsOfBlock = 8;

}  // namespace

// The items of all pieces are not needed at once.
uint32_t CachedRead::PieceLength() const {
  const auto blocks =
      static_cast<uint32_t>(std::clamp<uint64_t>(FileCacheLimit(), 1, kMostBlocksOfPiece));
  const auto skipped = static_cast<uint32_t>((place_ + done_) % kBlockBytes);
  return std::min(count_ - done_, blocks * kBlockBytes - skipped);
}

bool CachedRead::FitsBlocks() const { return place_ <= kLargestPlace - count_ - (kBlockBytes - 1); }

ZRError CachedRead::Run() {
  if (!FitsBlocks()) return ReadRest();
  while (done_ < count_) {
    const uint32_t length = PieceLength();
    const bool is_last = length == count_ - done_;
    const ZRError error = ReadPiece(length);
    if (error != ZRErrNone) return error;
    if (!is_last && done_ < count_) operation_.TrimBetweenPieces(kMostBlocksOfPiece);
  }
  return ZRErrNone;
}

ZRError CachedRead::ReadPiece(uint32_t length) {
  const uint64_t start = place_ + done_;
  const uint64_t first = start / kBlockBytes;
  const auto blocks = static_cast<uint32_t>((start + length - 1) / kBlockBytes - first + 1);
  switch (FillBlocks(first, blocks)) {
    case Fill::kDone:
      return Copy(length);
    case Fill::kUncached:
      return ReadRest();
    case Fill::kOrphan:
      break;
  }
  return ZRErrNotOpen;
}

// From the disk into the caller's buffer.
ZRError CachedRead::ReadRest() {
  asked_disk_ = true;
  const uint32_t wished = count_ - done_;
  uint32_t count = wished;
  const ZRError error = file_.RawReadAt(buffer_ + done_, &count, place_ + done_);
  done_ += count;
  return error == ZRErrNone && count < wished ? ZRErrEOF : error;
}

CachedRead::Fill CachedRead::FillBlocks(uint64_t first, uint32_t blocks) {
  for (uint32_t pass = 0; pass < kMostPasses; ++pass) {
    bool complete = true;
    const Fill fill = FillOnce(first, blocks, &complete);
    if (fill != Fill::kDone || complete) return fill;
  }
  return Fill::kUncached;
}

// One look at each block. Nobody else ran since the first look when the pass is complete: the items
// are there for the copy.
CachedRead::Fill CachedRead::FillOnce(uint64_t first, uint32_t blocks, bool* complete) {
  for (uint32_t i = 0; i < blocks; ++i) {
    CacheItem* item = blocks_.Find(first + i);
    if (item != nullptr && !item->reading) {
      TouchItem(item);
      items_[i] = item;
      continue;
    }
    *complete = false;
    if (item == nullptr) {
      const Fill fill = ReadBlock(first + i);
      if (fill != Fill::kDone) return fill;
    } else if (!operation_.WaitFor(item)) {
      return Fill::kUncached;
    } else if (operation_.IsOrphan()) {
      return Fill::kOrphan;
    }
  }
  return Fill::kDone;
}

CachedRead::Fill CachedRead::ReadBlock(uint64_t block) {
  asked_disk_ = true;
  CacheItem* item = blocks_.Add(block);
  if (item == nullptr) return Fill::kUncached;
  uint32_t size = 0;
  const ZRError error = ReadItem(item, &size);
  const bool is_good = error == ZRErrNone && !operation_.IsOutdated(size);
  operation_.EndRead();
  if (is_good && !operation_.IsOrphan()) {
    blocks_.SetSize(item, size);
    return Fill::kDone;
  }
  FreeItem(item);
  return operation_.IsOrphan() ? Fill::kOrphan : Fill::kUncached;
}

// Reads until nothing has changed meanwhile.
ZRError CachedRead::ReadItem(CacheItem* item, uint32_t* size) {
  ZRError error = ZRErrNone;
  for (uint32_t reads = 0; reads < kMostReadsOfBlock; ++reads) {
    operation_.BeginRead(item);
    *size = kBlockBytes;
    error = file_.RawReadAt(item->data(), size, static_cast<uint64_t>(item->file_offset));
    if (error == ZRErrEOF) error = ZRErrNone;
    if (operation_.IsOrphan() || error != ZRErrNone || !operation_.IsOutdated(*size)) break;
  }
  return error;
}

// The first block that the request passes the data of is the file's last.
ZRError CachedRead::Copy(uint32_t length) {
  const uint32_t end = done_ + length;
  for (CacheItem* const* each = items_; done_ < end; ++each) {
    CacheItem* item = *each;
    const auto at = static_cast<uint32_t>((place_ + done_) % kBlockBytes);
    const auto size = static_cast<uint32_t>(item->size);
    const uint32_t count = at < size ? std::min(size - at, end - done_) : 0;
    std::memcpy(buffer_ + done_, item->data() + at, count);
    done_ += count;
    if (done_ < end && size < kBlockBytes) return ZRErrEOF;
  }
  return ZRErrNone;
}

}  // namespace qv
