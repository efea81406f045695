#include "files/file_request.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "files/request_statistics.h"
#include "files/transfer_request.h"
#include "tests/files/files_fixture.h"

namespace {

class FileRequestTest : public test::FilesTest {
 protected:
  FileRequestTest() { request_.path = path_.c_str(); }
  uint32_t Run(uint32_t operation) {
    request_.operation = operation;
    return ZRFileWorkerRun(&request_);
  }
  void Open(uint32_t platform_flags = 0) {
    ASSERT_EQ(Run(kFileRequestCreate), 0u);
    request_.platform_flags = platform_flags;
    request_.access = GENERIC_READ | GENERIC_WRITE;
    ASSERT_EQ(Run(kFileRequestOpen), 0u);
  }
  uint32_t Transfer(uint32_t operation, char* bytes, uint32_t count, uint64_t offset) {
    request_.buffer = bytes;
    request_.count = count;
    request_.offset = offset;
    request_.flags = kRequestHasOffset;
    return Run(operation);
  }
  const std::string path_ = folder_ + "\\f";
  FileRequest request_;
};

// Each transfer moves the place of its file, and a cut goes by that place.
TEST_F(FileRequestTest, CutsWhileAnotherThreadReads) {
  Open();
  std::atomic<bool> is_done{false};
  std::thread reader([&] {
    while (!is_done) {
      char bytes[16];
      FileRequest read = request_;
      read.operation = kFileRequestRead;
      read.flags = kRequestHasOffset;
      read.buffer = bytes;
      read.count = sizeof bytes;
      read.offset = 77;
      ZRFileWorkerRun(&read);
    }
  });
  int wrong = 0;
  for (uint32_t length = 1000; length < 6000; ++length) {
    FileRequest cut = request_;
    cut.operation = kFileRequestSetEOF;
    cut.offset = length;
    FileRequest end = request_;
    end.operation = kFileRequestSeek;
    end.origin = 2;
    const bool is_cut = ZRFileWorkerRun(&cut) == 0 && ZRFileWorkerRun(&end) == 0;
    wrong += is_cut && end.offset == length ? 0 : 1;
  }
  is_done = true;
  reader.join();
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(Run(kFileRequestClose), 0u);
}

TEST_F(FileRequestTest, AFileFromBeginningToEnd) {
  Open();
  EXPECT_EQ(Run(kFileRequestCreate), uint32_t{ERROR_FILE_EXISTS});
  char text[] = "0123456789", read[16] = {};
  EXPECT_EQ(Transfer(kFileRequestWrite, text, 10, 3), 0u);
  EXPECT_EQ(request_.count, 10u);
  EXPECT_EQ(Transfer(kFileRequestRead, read, 16, 5), 0u);
  EXPECT_EQ(std::string(read, request_.count), "23456789");
  EXPECT_EQ(Transfer(kFileRequestRead, read, 16, 13), 0u) << "the end is a success of 0 bytes";
  EXPECT_EQ(request_.count, 0u);
  request_.offset = 4;
  EXPECT_EQ(Run(kFileRequestSetEOF), 0u);
  request_.offset = static_cast<uint64_t>(-1);
  request_.origin = 2;
  EXPECT_EQ(Run(kFileRequestSeek), 0u);
  EXPECT_EQ(request_.offset, 3u);
  request_.flags = 0;
  request_.count = 16;
  EXPECT_EQ(Run(kFileRequestRead), 0u) << "goes on where the seek led";
  EXPECT_EQ(std::string(read, request_.count), "0");
  request_.origin = 3;
  EXPECT_EQ(Run(kFileRequestSeek), uint32_t{ERROR_INVALID_PARAMETER});
  EXPECT_EQ(request_.offset, 0u);
  EXPECT_EQ(Run(kFileRequestFlush), 0u);
  EXPECT_EQ(Run(kFileRequestClose), 0u);
  EXPECT_EQ(test::ReadWholeFile(path_), std::string("\0\0\0"
                                                    "0",
                                                    4));
  EXPECT_EQ(Run(kFileRequestDelete), 0u);
}

// The platform may go on with such a transfer behind the call; the request is over all the same.
TEST_F(FileRequestTest, AFileForOverlappedTransfers) {
  Open(FILE_FLAG_OVERLAPPED);
  std::string written(1 << 20, 'w'), read(1 << 20, 'r');
  EXPECT_EQ(Transfer(kFileRequestWrite, written.data(), 1 << 20, 1 << 20), 0u);
  EXPECT_EQ(request_.count, 1u << 20);
  EXPECT_EQ(Transfer(kFileRequestRead, read.data(), 1 << 20, 1 << 20), 0u);
  EXPECT_EQ(request_.count, 1u << 20);
  EXPECT_TRUE(read == written);
  EXPECT_EQ(Transfer(kFileRequestRead, read.data(), 1, 2 << 20), 0u);
  EXPECT_EQ(request_.count, 0u);
  EXPECT_EQ(Run(kFileRequestClose), 0u);
}

TEST_F(FileRequestTest, WhatIsNotCarriedOutIsCounted) {
  for (uint32_t code : {0, 9, 20, 21, 22, 23}) {
    EXPECT_EQ(Run(code), uint32_t{ZRErrNotSupported}) << code;
    EXPECT_EQ(qv::RequestStatisticsOf(code).count, 1) << code;
  }
  EXPECT_EQ(Run(24), uint32_t{ZRErrNotSupported});
  EXPECT_STREQ(qv::RequestName(24), "<Other>");
}

TEST_F(FileRequestTest, TheStatisticsReport) {
  for (double seconds : {0.002, 0.006, 0.001}) qv::CountRequest(kFileRequestFindClose, seconds);
  qv::CountRequest(0, 5);
  ZRDumpWorkerStatistics(true);
  const std::vector<std::string> expected = {
      "WORKER STATISTICS:", "   Operation:     Count  Latest  Longest  Average (ms)",
      "   FindClose:        3    1.000    6.000    3.000"};
  EXPECT_EQ(test::Said(), expected);
  test::Said().clear();
  ZRDumpWorkerStatistics(false);
  EXPECT_EQ(test::Said().size(), 2u) << "all are 0 again";
}

// The hook gets a job exactly when a worker is wished.
TEST_F(FileRequestTest, GoesThroughTheWorkersHook) {
  static int jobs;
  jobs = 0;
  qv::GlobalHooks().run_on_worker = [](void (*job)(void*), void* argument) {
    ++jobs, job(argument);
  };
  request_.operation = kFileRequestIsFolder;
  request_.path = folder_.c_str();
  EXPECT_EQ(qv::RunFileRequest(request_, false), 0u);
  EXPECT_EQ(jobs, 0);
  EXPECT_EQ(qv::RunFileRequest(request_, true), 0u);
  EXPECT_EQ(jobs, 1);
  EXPECT_TRUE(request_.answer);
}

}  // namespace
