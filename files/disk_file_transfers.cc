// Reading and writing the open file past the cache, and its mark.
#include <utility>

#include "app/debug_output.h"
#include "files/disk_file.h"
#include "files/errors.h"
#include "files/file_options.h"
#include "files/file_request.h"
#include "files/file_trace.h"
#include "files/transfer_request.h"

using qv::kTraceTransfers;
using qv::TraceFile;

namespace {

constexpr uint64_t kLargestPlace = INT64_MAX;

// Trace lines show the low half.
uint32_t Low(uint64_t place) { return static_cast<uint32_t>(place); }

// A transfer at a place: the worker's request carries it, the caller's own sets it first. False
// when the platform refuses the place.
bool SetPlace(FileRequest& request, bool use_worker) {
  if (use_worker) {
    request.flags |= kRequestHasOffset;
    return true;
  }
  FileRequest seek = request;
  return qv::MoveFilePointer(seek, kSeekStart) == 0;
}

}  // namespace

// --- as the platform makes them ---

ZRError CDiskFile::RawReadAt(void* buffer, uint32_t* count, uint64_t offset) {
  const uint32_t wished = std::exchange(*count, 0);
  if (!IsOpen()) return ZRErrNotOpen;
  FileRequest request;
  request.operation = kFileRequestRead;
  request.file = file_;
  request.buffer = buffer;
  request.count = wished;
  request.offset = offset;
  if (!SetPlace(request, use_worker_)) return ZRErrSeek;
  TraceFile(kTraceTransfers, "CDiskFile[%p]: READ(At) at %lu [into %p] %lu (%lXh) -- ", file_,
            Low(offset), buffer, wished, wished);
  // The file object may go while the request runs: it is not touched from here on.
  const qv::FileOperation life(blocks_, qv::FileOperation::kRaw);
  const uint32_t native = qv::RunFileRequest(request, use_worker_);
  if (native != 0) {
    TraceFile(kTraceTransfers, "FAILED! %lu (%lXh)\n", wished, wished);
    return ZRTranslateNativeError(native);
  }
  *count = request.count;
  return ZRErrNone;
}

bool CDiskFile::PlaceOf(int64_t offset, uint32_t mode, uint64_t* place) const {
  *place = static_cast<uint64_t>(offset) + (mode == kFromMark ? mark_ : 0);
  return mode == kFromStart || mode == kFromMark || mode == kFromStartKeepMark;
}

ZRError CDiskFile::FinishWrite(uint32_t native, uint32_t written, int32_t length, uint32_t mode) {
  if (native != 0) {
    const ZRError error = ZRTranslateNativeError(native);
    TraceFile(kTraceTransfers, "FAILED (%u)! %lu (%lXh)\n", error, 0, 0);
    return error;
  }
  if (mode != kFromStartKeepMark) {
    const uint64_t before = mark_;
    mark_ += written;
    if (mark_ <= before) return ZRErrTooLong;
  }
  const bool is_whole = written >= static_cast<uint32_t>(length);
  TraceFile(kTraceTransfers, is_whole ? "OK %lu (%lXh)\n" : "FAILED! %lu (%lXh)\n", written,
            written);
  return is_whole ? ZRErrNone : ZRErrDiskFull;
}

ZRError CDiskFile::RawWriteAt(const void* bytes, int32_t length, int64_t offset, uint32_t mode) {
  qv::CountWrite(length > 0 ? static_cast<uint32_t>(length) : 0);
  if (length == 0) return ZRErrNone;
  if (!IsOpen()) return ZRErrNotOpen;
  if (length < 0) {
    qv::ReportFailedCheck("len>=0L", "cdfile", 639);
    return ZRErrParam;
  }
  FileRequest request;
  request.operation = kFileRequestWrite;
  request.file = file_;
  request.buffer = const_cast<void*>(bytes);  // a write only reads it
  request.count = static_cast<uint32_t>(length);
  if (!PlaceOf(offset, mode, &request.offset)) return ZRErrParam;
  TraceFile(kTraceTransfers, "ZRFile[%p]: WRITE(At) at %lu [from %p] %lu (%lXh) -- %s", file_,
            Low(request.offset), bytes, length, length, use_worker_ ? "\n" : "");
  if (request.offset > kLargestPlace || !SetPlace(request, use_worker_)) return ZRErrSeek;
  const qv::FileOperation life(blocks_, qv::FileOperation::kRaw);
  const uint32_t native = qv::RunFileRequest(request, use_worker_);
  if (life.IsOrphan()) return ZRErrNotOpen;  // the mark has gone
  return FinishWrite(native, request.count, length, mode);
}

// --- the mark ---

int64_t CDiskFile::Sense() {
  if (!IsOpen()) {
    TraceFile(kTraceTransfers, "CDiskFile: Sense -- File NOT open!\n");
    return -1;
  }
  TraceFile(kTraceTransfers, "CDiskFile[%p]: Sense -- OK (%lu, %08lXh)\n", file_, Low(mark_),
            Low(mark_));
  return static_cast<int64_t>(mark_);
}

int64_t CDiskFile::Seek(int64_t offset, uint32_t origin) {
  uint64_t place = static_cast<uint64_t>(offset) + (origin == kSeekMark ? mark_ : 0);
  if (origin > kSeekMark) {
    TraceFile(kTraceTransfers, "ZRFile[%p]: SEEK(%lu,%s) [%08lXh] -- ", file_, Low(place), "EOF",
              Low(place));
    if (!IsOpen()) return -1;
    FileRequest request;
    request.operation = kFileRequestSeek;
    request.file = file_;
    request.offset = place;
    request.origin = origin;
    if (qv::RunFileRequest(request, use_worker_) != 0) {
      TraceFile(kTraceTransfers, "FAILED!\n");
      return -1;
    }
    place = request.offset;
  }
  if (place > kLargestPlace) return -1;
  mark_ = place;
  TraceFile(kTraceTransfers, "OK - OK (%lu, %08lXh)\n", Low(mark_), Low(mark_));
  return static_cast<int64_t>(mark_);
}

ZRError CDiskFile::CutNative(uint64_t length) {
  FileRequest request;
  request.operation = kFileRequestSetEOF;
  request.file = file_;
  request.offset = length;
  return ZRTranslateNativeError(qv::RunFileRequest(request, use_worker_));
}
