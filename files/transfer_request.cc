#include "files/transfer_request.h"

#include <atomic>
#include <mutex>
#include <shared_mutex>

#include "base/never_destroyed.h"
#include "platform/windows_api.h"

namespace qv {
namespace {

struct TransferState {
  // Any thread; once off, off until the process ends.
  std::atomic<bool> positioned_reads{true}, positioned_writes{true};
  // Each transfer moves its file's own place, so one that sets it first keeps all others away.
  std::shared_mutex places;
};

// Workers use it until they end, so it is never destroyed.
TransferState& State() {
  static NeverDestroyed<TransferState> state;
  return state.value;
}

constexpr uint32_t kCallNotImplemented = 120;

using Transfer = BOOL (*)(FileRequest& request, DWORD* done, OVERLAPPED* at);

BOOL Read(FileRequest& request, DWORD* done, OVERLAPPED* at) {
  return ReadFile(request.file, request.buffer, request.count, done, at);
}

BOOL Write(FileRequest& request, DWORD* done, OVERLAPPED* at) {
  return WriteFile(request.file, request.buffer, request.count, done, at);
}

uint32_t TransferHere(FileRequest& request, Transfer transfer, DWORD* done) {
  return transfer(request, done, nullptr) ? 0 : GetLastError();
}

// The platform goes on with `at` and the buffer until the transfer is over, whoever forgets them.
uint32_t WaitForTransfer(const FileRequest& request, DWORD* done, OVERLAPPED* at) {
  uint32_t error = 0;
  do {
    error = GetOverlappedResult(request.file, at, done, TRUE) ? 0 : GetLastError();
  } while (error == ERROR_IO_INCOMPLETE);  // another transfer of the file was over
  return error;
}

uint32_t TransferThere(FileRequest& request, Transfer transfer, DWORD* done) {
  OVERLAPPED at{};
  at.Offset = static_cast<DWORD>(request.offset);
  at.OffsetHigh = static_cast<DWORD>(request.offset >> 32);
  uint32_t error = transfer(request, done, &at) ? 0 : GetLastError();
  if (error == ERROR_IO_PENDING) {
    request.flags |= kRequestPending;
    error = WaitForTransfer(request, done, &at);
  }
  // The end of the file is no failure.
  return error == ERROR_HANDLE_EOF ? 0 : error;
}

uint32_t MoveAndTransfer(FileRequest& request, Transfer transfer, DWORD* done) {
  FileRequest seek = request;
  if (uint32_t error = MoveFilePointer(seek, FILE_BEGIN)) return error;
  return TransferHere(request, transfer, done);
}

uint32_t TransferAt(FileRequest& request, Transfer transfer, std::atomic<bool>& positioned,
                    DWORD* done) {
  std::shared_mutex& places = State().places;
  if (positioned.load(std::memory_order_relaxed)) {
    const std::shared_lock hold(places);
    const uint32_t error = TransferThere(request, transfer, done);
    if (error != kCallNotImplemented && error != ERROR_INVALID_PARAMETER) return error;
  }
  const std::unique_lock hold(places);
  const uint32_t error = MoveAndTransfer(request, transfer, done);
  // A place that does not exist is refused both ways, which says nothing about others.
  if (error == 0) positioned.store(false, std::memory_order_relaxed);
  return error;
}

uint32_t Run(FileRequest& request, Transfer transfer, std::atomic<bool>& positioned) {
  DWORD done = 0;
  request.flags &= ~kRequestPending;
  const uint32_t error = (request.flags & kRequestHasOffset) != 0
                             ? TransferAt(request, transfer, positioned, &done)
                             : TransferHere(request, transfer, &done);
  request.count = error == 0 ? done : 0;
  if (error == ERROR_IO_PENDING) request.flags |= kRequestPending;
  return error;
}

}  // namespace

uint32_t ReadBytes(FileRequest& request) { return Run(request, Read, State().positioned_reads); }
uint32_t WriteBytes(FileRequest& request) { return Run(request, Write, State().positioned_writes); }

uint32_t SeekFile(FileRequest& request) {
  const uint32_t error = request.origin > FILE_END ? ERROR_INVALID_PARAMETER
                                                   : MoveFilePointer(request, request.origin);
  if (error != 0) request.offset = 0;
  return error;
}

uint32_t SetFileEnd(FileRequest& request) {
  const std::unique_lock hold(State().places);
  if (const uint32_t error = MoveFilePointer(request, FILE_BEGIN)) return error;
  return SetEndOfFile(request.file) ? 0 : GetLastError();
}

uint32_t MoveFilePointer(FileRequest& request, uint32_t origin) {
  LONG high = static_cast<LONG>(request.offset >> 32);
  const DWORD low = SetFilePointer(request.file, static_cast<LONG>(request.offset), &high, origin);
  // This low half is also that of a real place.
  if (low == INVALID_SET_FILE_POINTER) {
    if (const uint32_t error = GetLastError()) return error;
  }
  request.offset = uint64_t{static_cast<DWORD>(high)} << 32 | low;
  return 0;
}

bool PositionedReads() { return State().positioned_reads.load(std::memory_order_relaxed); }
bool PositionedWrites() { return State().positioned_writes.load(std::memory_order_relaxed); }

void ResetTransfersForTest() {
  State().positioned_reads = true;
  State().positioned_writes = true;
}

void RefusePositionsForTest() {
  State().positioned_reads = false;
  State().positioned_writes = false;
}

}  // namespace qv
