// What requests tell of the platform's failures.
#include <gtest/gtest.h>

#include "files/transfer_request.h"
#include "platform/host/control.h"
#include "tests/files/files_fixture.h"

namespace {

class FileRequestHostTest : public test::FilesTest {
 protected:
  FileRequestHostTest() { EXPECT_TRUE(test::WriteWholeFile(path_, "0123456789")); }
  ~FileRequestHostTest() override { host::ClearFaults(); }
  // A request with the file opened.
  FileRequest Open() {
    FileRequest request;
    request.operation = kFileRequestOpen;
    request.path = path_.c_str();
    request.access = GENERIC_READ | GENERIC_WRITE;
    EXPECT_EQ(ZRFileWorkerRun(&request), 0u);
    return request;
  }
  const std::string path_ = folder_ + "\\f";
};

// Each platform call of each request fails in turn; the request tells the platform's own number.
TEST_F(FileRequestHostTest, EachRequestFailsWithThePlatformsNumber) {
  const struct {
    uint32_t operation;
    const char* call;
  } kRows[] = {{kFileRequestCreate, "CreateFileA"},
               {kFileRequestOpen, "CreateFileA"},
               {kFileRequestSeek, "SetFilePointer"},
               {kFileRequestRead, "ReadFile"},
               {kFileRequestWrite, "WriteFile"},
               {kFileRequestFlush, "FlushFileBuffers"},
               {kFileRequestClose, "CloseHandle"},
               {kFileRequestSetEOF, "SetFilePointer"},
               {kFileRequestSetEOF, "SetEndOfFile"},
               {kFileRequestFindFirst, "FindFirstFileExA"},
               {kFileRequestFindNext, "FindNextFileA"},
               {kFileRequestFindClose, "FindClose"},
               {kFileRequestMakeFolder, "CreateDirectoryA"},
               {kFileRequestRemoveFolder, "RemoveDirectoryA"},
               {kFileRequestSetTimes, "SetFileTime"},
               {kFileRequestDelete, "DeleteFileA"}};
  WIN32_FIND_DATAA found;
  const FileRequest opened = Open();
  for (const auto& row : kRows) {
    SCOPED_TRACE(testing::Message() << row.operation << " " << row.call);
    FileRequest request = opened;
    request.operation = row.operation;
    request.buffer = &found;
    request.count = 5;
    request.offset = 3;
    host::FailCall(row.call, 1, ERROR_DISK_FULL);
    EXPECT_EQ(ZRFileWorkerRun(&request), uint32_t{ERROR_DISK_FULL});
    EXPECT_EQ(host::FaultsStruck(), 1u);
    host::ClearFaults();
    const bool moves = row.operation == kFileRequestRead || row.operation == kFileRequestWrite;
    EXPECT_EQ(request.count, moves ? 0u : 5u);
    EXPECT_EQ(request.offset, row.operation == kFileRequestSeek ? 0u : 3u);
  }
  EXPECT_TRUE(CloseHandle(opened.file));
  EXPECT_EQ(test::ReadWholeFile(path_), "0123456789");
}

// A place set before a transfer can fail too, once the platform takes no offsets.
TEST_F(FileRequestHostTest, APlaceThatCannotBeSet) {
  FileRequest request;
  request.operation = kFileRequestWrite;
  request.flags = kRequestHasOffset;
  host::FailCall("WriteFile", 1, ERROR_INVALID_PARAMETER);
  host::FailCall("SetFilePointer", 1, ERROR_NEGATIVE_SEEK);
  EXPECT_EQ(ZRFileWorkerRun(&request), uint32_t{ERROR_NEGATIVE_SEEK});
  EXPECT_EQ(host::FaultsStruck(), 2u);
}

// Two directions, each with its own fall-back.
TEST_F(FileRequestHostTest, PositionedTransfersAreGivenUpPerDirection) {
  for (uint32_t refusal : {120u, 87u}) {
    for (bool reading : {true, false}) {
      SCOPED_TRACE(testing::Message() << refusal << reading);
      qv::ResetTransfersForTest();
      ASSERT_TRUE(test::WriteWholeFile(path_, "0123456789"));
      FileRequest request = Open();
      char bytes[] = "ab";
      request.operation = reading ? kFileRequestRead : kFileRequestWrite;
      request.buffer = bytes;
      request.count = 2;
      request.offset = 4;
      request.flags = kRequestHasOffset;
      host::FailCall(reading ? "ReadFile" : "WriteFile", 1, refusal);
      EXPECT_EQ(qv::RunFileRequest(request, false), 0u);
      EXPECT_EQ(request.count, 2u);
      EXPECT_EQ(qv::PositionedReads(), !reading);
      EXPECT_EQ(qv::PositionedWrites(), reading);
      CloseHandle(request.file);
      EXPECT_STREQ(bytes, reading ? "45" : "ab");
      EXPECT_EQ(test::ReadWholeFile(path_), reading ? "0123456789" : "0123ab6789");
      host::ClearFaults();
    }
  }
}

// A transfer at a place is waited for, whatever the wait answers; one without cannot be.
TEST_F(FileRequestHostTest, AnUnfinishedTransfer) {
  const struct {
    uint32_t flags;
    DWORD wait;  // what the wait answers
    uint32_t result, waits;
  } kRows[] = {{kRequestHasOffset, 0, 0, 1},
               {kRequestHasOffset, ERROR_IO_INCOMPLETE, 0, 2},
               {kRequestHasOffset, ERROR_HANDLE_EOF, 0, 1},
               {kRequestHasOffset, 1117, 1117, 1},
               {0, 0, ERROR_IO_PENDING, 0}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.wait);
    FileRequest request = Open();
    char bytes[5];
    request.operation = kFileRequestRead;
    request.buffer = bytes;
    request.count = sizeof bytes;
    request.flags = row.flags;
    host::ResetCallCounts();
    host::FailCall("ReadFile", 1, ERROR_IO_PENDING);
    if (row.wait != 0) host::FailCall("GetOverlappedResult", 1, row.wait);
    EXPECT_EQ(ZRFileWorkerRun(&request), row.result);
    EXPECT_EQ(host::CallsMade("GetOverlappedResult"), row.waits);
    EXPECT_NE(request.flags & kRequestPending, 0u);
    EXPECT_EQ(request.count, 0u);
    host::ClearFaults();
    EXPECT_EQ(ZRFileWorkerRun(&request), 0u);
    EXPECT_EQ(request.flags & kRequestPending, 0u) << "of each transfer alone";
    CloseHandle(request.file);
  }
}

}  // namespace
