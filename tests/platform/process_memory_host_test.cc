#include <gtest/gtest.h>
#include <sys/mman.h>

#include <atomic>
#include <cstring>
#include <thread>

#include "platform/host/control.h"
#include "platform/windows_api.h"

namespace {

constexpr size_t kPage = 4096;

// Four pages: read and write, read only, neither, read and write.
class ProcessMemoryHostTest : public testing::Test {
 protected:
  ProcessMemoryHostTest()
      : pages_(static_cast<char*>(
            mmap(nullptr, 4 * kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
    mprotect(pages_ + kPage, kPage, PROT_READ);
    mprotect(pages_ + 2 * kPage, kPage, PROT_NONE);
  }
  ~ProcessMemoryHostTest() override {
    munmap(pages_, 4 * kPage);
    host::ClearFaults();
  }

  char* const pages_;
};

TEST_F(ProcessMemoryHostTest, EachPageOfASpanCounts) {
  const struct {
    size_t start, size;
    bool bad_to_read, bad_to_write;
  } kRows[] = {{0, kPage, false, false},         {0, kPage + 1, false, true},
               {kPage - 1, 1, false, false},     {kPage - 1, 2, false, true},
               {0, 2 * kPage, false, true},      {0, 2 * kPage + 1, true, true},
               {2 * kPage, 1, true, true},       {3 * kPage - 1, 2, true, true},
               {3 * kPage, kPage, false, false}, {0, 4 * kPage, true, true}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(testing::Message() << row.start << ", " << row.size);
    EXPECT_EQ(IsBadReadPtr(pages_ + row.start, row.size) != 0, row.bad_to_read);
    EXPECT_EQ(IsBadWritePtr(pages_ + row.start, row.size) != 0, row.bad_to_write);
  }
  char copy[8];
  SIZE_T copied;
  EXPECT_FALSE(ReadProcessMemory(GetCurrentProcess(), pages_ + 2 * kPage - 4, copy, 8, &copied));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_PARTIAL_COPY});
  EXPECT_EQ(copied, 4u);
}

// The question whether memory can be written does not undo what another thread writes meanwhile.
TEST_F(ProcessMemoryHostTest, WhatOthersWriteStays) {
  auto& counter = *new (pages_) std::atomic<uint32_t>(0);
  std::thread writer([&counter] {
    for (int i = 0; i < 200000; ++i) counter.fetch_add(1, std::memory_order_relaxed);
  });
  while (counter.load(std::memory_order_relaxed) < 200000) {
    ASSERT_FALSE(IsBadWritePtr(pages_, 16));
  }
  writer.join();
  EXPECT_EQ(counter.load(), 200000u);
}

TEST_F(ProcessMemoryHostTest, FaultsLookLikeMissingMemory) {
  for (const char* call : {"IsBadReadPtr", "IsBadWritePtr", "ReadProcessMemory"}) {
    host::FailCall(call, 1, ERROR_PARTIAL_COPY);
  }
  char byte;
  EXPECT_TRUE(IsBadReadPtr(pages_, 1));
  EXPECT_TRUE(IsBadWritePtr(pages_, 1));
  EXPECT_FALSE(ReadProcessMemory(GetCurrentProcess(), pages_, &byte, 1, nullptr));
  EXPECT_FALSE(ReadProcessMemory(nullptr, pages_, &byte, 1, nullptr));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}

}  // namespace
