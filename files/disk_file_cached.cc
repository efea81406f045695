// Reading and writing the open file through the cache.
#include <cstring>
#include <utility>

#include "app/message.h"
#include "files/cached_read.h"
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
    qv::CachedRead read(*this, *blocks_, operation, static_cast<char*>(buffer), wished, place);
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
