// Reading and writing the open file through the cache.
#include <algorithm>
#include <cstring>
#include <utility>

#include "app/message.h"
#include "files/disk_file.h"
#include "files/file_blocks.h"
#include "files/file_cache.h"
#include "files/file_trace.h"
#include "tasks/kernel_settings.h"
#include "tasks/waits.h"

using qv::CacheItem;
using qv::FileBlocks;
using qv::FileOperation;
using qv::kBlockBytes;
using qv::kTraceTransfers;
using qv::TraceFile;

namespace {

constexpr uint64_t kLargestPlace = INT64_MAX;
// Blocks that a read needs at once.
constexpr uint32_t kMostBlocksOfPiece = 64;
// Others may drop what was just read, or change the file while it is read, again and again. After
// so many attempts the disk is asked past the cache.
constexpr uint32_t kMostPasses = 16;
constexpr uint32_t kMostReadsOfBlock = 8;

// One cached read that the last block does not answer.
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

// The items of all pieces are not needed at once.
uint32_t CachedRead::PieceLength() const {
  const auto blocks =
      static_cast<uint32_t>(std::clamp<uint64_t>(qv::FileCacheLimit(), 1, kMostBlocksOfPiece));
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
      qv::TouchItem(item);
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
  qv::FreeItem(item);
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

// What follows each cached read, when the read is no longer under way.
void FinishRead(bool hit, uint32_t count) {
  qv::CountCachedRead(hit, count);
  ZRTaskCountIO(qv::CachedReadLimit());
  qv::TrimFileCache();
  KernelParams params;
  ZRTaskGetParams(&params);
  // The mainline's first yield would start the tasks.
  if (hit && params.io_yield != 0 && qv::GlobalHooks().current_task() != 0) ZRTaskYield();
}

}  // namespace

// --- reading ---

ZRError CDiskFile::RefuseRead(const char* message, int32_t value) const {
  char path[kPathSize];
  const bool has_path = GetNativePath(path, sizeof path) == ZRErrNone;
  ZRMessage(message, value, has_path ? path : "(unknown)");
  return ZRErrParam;
}

ZRError CDiskFile::CheckRead(int64_t offset, uint32_t mode, uint64_t* place) const {
  if (!PlaceOf(offset, mode, place)) {
    return RefuseRead("Invalid seek options (%d) reading file: %s", static_cast<int32_t>(mode));
  }
  if (mode == kFromMark && *place < static_cast<uint64_t>(offset)) return ZRErrEOF;
  if (*place > kLargestPlace) {
    return RefuseRead("Invalid offset (%d) reading file: %s", static_cast<int32_t>(*place));
  }
  return ZRErrNone;
}

ZRError CDiskFile::ReadStraight(uint64_t place, void* buffer, uint32_t* count) {
  const uint32_t wished = *count;
  const ZRError error = RawReadAt(buffer, count, place);
  return error == ZRErrNone && *count < wished ? ZRErrEOF : error;
}

// *count is above 0.
ZRError CDiskFile::ReadFrom(uint64_t place, void* buffer, uint32_t* count, bool move_mark) {
  const uint32_t wished = std::exchange(*count, 0);
  if (!IsOpen() || IsClosing()) return ZRErrNotOpen;
  if (!qv::FileCacheIsHere() || !MakeBlocks()) {
    *count = wished;
    const ZRError error = ReadStraight(place, buffer, count);
    if (move_mark) mark_ += *count;
    return error;
  }
  if (blocks_->WasChanged()) blocks_->DropChanged();
  if (CacheItem* item = blocks_->LastWith(place, wished)) {
    qv::TouchItem(item);
    std::memcpy(buffer, item->data() + place % kBlockBytes, wished);
    *count = wished;
    if (move_mark) mark_ += wished;
    FinishRead(true, wished);
    return ZRErrNone;
  }
  ZRError error = ZRErrNone;
  bool hit = false;
  {
    FileOperation operation(blocks_, FileOperation::kRead);
    CachedRead read(*this, *blocks_, operation, static_cast<char*>(buffer), wished, place);
    error = read.Run();
    *count = read.done();
    hit = !read.asked_disk();
    if (move_mark && !operation.IsOrphan()) mark_ += *count;
  }
  FinishRead(hit, *count);
  return error;
}

ZRError CDiskFile::ReadAt(void* buffer, uint32_t* count, int64_t offset, uint32_t mode) {
  const uint32_t wished = std::exchange(*count, 0);
  if (wished == 0) return ZRErrNone;
  uint64_t place = 0;
  const ZRError error = CheckRead(offset, mode, &place);
  if (error != ZRErrNone) return error;
  *count = wished;
  return ReadFrom(place, buffer, count, false);
}

ZRError CDiskFile::Read(void* buffer, uint32_t* count) {
  const uint32_t wished = std::exchange(*count, 0);
  if (wished == 0) return ZRErrNone;
  uint64_t place = 0;
  const ZRError error = CheckRead(static_cast<int64_t>(mark_), kFromStart, &place);
  if (error != ZRErrNone) return error;
  *count = wished;
  return ReadFrom(place, buffer, count, true);
}

ZRError CDiskFile::ReadExact(void* buffer, uint32_t count, int64_t offset, uint32_t mode) {
  uint32_t done = count;
  const ZRError error = ReadAt(buffer, &done, offset, mode);
  return error == ZRErrEOF || (error == ZRErrNone && done < count) ? ZRErrRange : error;
}

// --- changing ---

// False without memory: the file then has no blocks.
bool CDiskFile::MakeBlocks() {
  if (blocks_ == nullptr) blocks_ = FileBlocks::Make();
  return blocks_ != nullptr;
}

void CDiskFile::DropForChange(const FileOperation* may_yield) {
  if (blocks_ != nullptr) blocks_->DropForChange(may_yield);
}

ZRError CDiskFile::WriteAt(const void* bytes, int32_t length, int64_t offset, uint32_t mode) {
  if (!qv::FileCacheIsHere() || !MakeBlocks()) {
    const ZRError error = RawWriteAt(bytes, length, offset, mode);
    if (blocks_ != nullptr) blocks_->NoteChange();
    return error;
  }
  if (IsClosing() && length != 0) return ZRErrNotOpen;
  FileOperation operation(blocks_, FileOperation::kWrite);
  qv::TrimFileCache();
  const ZRError error = RawWriteAt(bytes, length, offset, mode);
  if (operation.IsOrphan() || length == 0) return error;
  if (length < 0 || offset < 0 || mode != kFromStart || offset > INT64_MAX - length) {
    blocks_->Drop(&operation);
  } else {
    blocks_->Update(bytes, static_cast<uint32_t>(length), static_cast<uint64_t>(offset),
                    error == ZRErrNone);
  }
  return error;
}

ZRError CDiskFile::Write(const void* bytes, int32_t length) {
  return WriteAt(bytes, length, static_cast<int64_t>(mark_), kFromStart);
}

ZRError CDiskFile::SetEOF(uint64_t length) {
  TraceFile(kTraceTransfers, "ZRFile[%p]: SETEOF %lu (%08lXh) -- ", file_,
            static_cast<uint32_t>(length), static_cast<uint32_t>(length));
  if (!IsOpen() || IsClosing()) {
    TraceFile(kTraceTransfers, "NOT OPEN!\n");
    return ZRErrNotOpen;
  }
  if (qv::FileCacheIsHere()) MakeBlocks();
  FileOperation change(blocks_, FileOperation::kWrite);
  DropForChange(&change);
  if (change.IsOrphan() || !IsOpen()) return ZRErrNotOpen;
  TraceFile(kTraceTransfers, "\n");
  const ZRError error = CutNative(length);
  if (!change.IsOrphan()) DropForChange(&change);
  if (error != ZRErrNone) {
    TraceFile(kTraceTransfers, "FAILED! (%lu, %lX)\n", error, error);
  } else {
    TraceFile(kTraceTransfers, "SUCCESS!\n");
  }
  return error;
}
