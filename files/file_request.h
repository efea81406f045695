// One platform call of the file layer as a record that a worker can carry out, and how long each
// kind of call takes.
//
//   FileRequest request;
//   request.operation = kFileRequestRead;
//   request.file = handle; request.buffer = bytes; request.count = 100;
//   uint32_t native = qv::RunFileRequest(request, use_worker);   // request.count: bytes read
//
// Threads: a record belongs to its caller until the request is done. The statistics are written
// without a lock, one request's values by the thread that ran it; two requests of one kind at the
// same time may lose a count.
// Errors: platform numbers, 0 for success; ZRErrNotSupported (4110) for what is not carried out.
#pragma once

#include <cstdint>

#include "base/errors.h"

constexpr uint32_t kFileRequestCreate = 1, kFileRequestOpen = 2, kFileRequestSeek = 3,
                   kFileRequestRead = 4, kFileRequestWrite = 5, kFileRequestFlush = 6,
                   kFileRequestClose = 7, kFileRequestSetEOF = 8, kFileRequestFindFirst = 10,
                   kFileRequestFindNext = 11, kFileRequestFindClose = 12, kFileRequestForkInfo = 13,
                   kFileRequestVolumeInfo = 14, kFileRequestMakeFolder = 15,
                   kFileRequestRemoveFolder = 16, kFileRequestSetTimes = 17,
                   kFileRequestDelete = 18, kFileRequestIsFolder = 19;
constexpr uint32_t kFileRequestCodes = 24;  // 0 to 23 have names and statistics

// Flags of a request.
constexpr uint32_t kRequestHasOffset = 0x1;  // a transfer at `offset`, not where the last ended
constexpr uint32_t kRequestPending = 0x4;    // out: the platform did not finish it at once
constexpr uint32_t kRequestFoldersOnly = 0x1000;

struct FileRequest {
  uint32_t operation = 0;
  void* file = nullptr;        // platform handle; out of an open and of a find-first
  uint32_t count = 0;          // bytes to transfer; out: bytes done, 0 after a failure
  void* buffer = nullptr;      // bytes, or the record that the operation fills
  uint64_t offset = 0;         // of a transfer, a seek (signed) or an end; out of a seek
  const char* path = nullptr;  // or a listing's pattern
  uint32_t access = 0, share = 0, platform_flags = 0;  // of an open
  uint32_t origin = 0;                                 // of a seek: 0 start, 1 current place, 2 end
  uint32_t flags = 0;
  const void* times[3] = {};  // FILETIME: creation, access, write; null leaves one as it is
  bool answer = false;        // of the folder test
  uint32_t result = 0;        // platform error number
};

// Carries a request out on this thread, counts it, and gives its result.
uint32_t ZRFileWorkerRun(FileRequest* request);

// Messages: a line per code that was counted, durations in milliseconds. With `reset` all start
// again at 0.
void ZRDumpWorkerStatistics(bool reset);

namespace qv {

// Runs a job on a worker while the task waits (through the hook), or at once on the caller.
void RunFileJob(bool use_worker, void (*job)(void* argument), void* argument);

// ZRFileWorkerRun through RunFileJob.
uint32_t RunFileRequest(FileRequest& request, bool use_worker);

// Takes the find call out of the system's library again; the next listing looks it up anew.
void ReleaseFindLibrary();

// Statistics, positioned transfers and looked-up calls as in a new process.
void ResetFileRequestsForTest();

}  // namespace qv
