// The cache when disk or memory fail, and how long drops take the processor.
#include <cstdlib>
#include <set>
#include <string>

#include "base/clock.h"
#include "files/disk_file.h"
#include "files/file_cache.h"
#include "platform/host/control.h"
#include "tests/files/file_bytes.h"
#include "tests/files/held_requests.h"
#include "tests/tasks/kernel_fixture.h"
#include "tests/test_platform.h"

namespace {

constexpr uint32_t kBlock = qv::kBlockBytes;

class FileCacheHostTest : public test::KernelTest {
 protected:
  FileCacheHostTest() { qv::ResetFileCacheForTest(); }
  ~FileCacheHostTest() override {
    host::ClearFaults();
    host::ThawTicks();
    qv::ResetFileCacheForTest();
  }
  void RunTask(const std::function<void()>& body) {
    RunTasks([&] { Spawn("script", body); });
  }
  void Open(CDiskFile& file, size_t length, const char* name = "\\file") {
    test::OpenNew(file, test::TempFolder() + name, std::string(length, 'o'));
  }
};

using test::ReadBytes;

// Some of everything, with whatever answers.
void Use(CDiskFile& file) {
  ReadBytes(file, kBlock - 50, 100);
  file.WriteAt("first", 5, 10);
  ReadBytes(file, 0, 3 * kBlock);
  file.WriteAt("second", 6, kBlock - 3);
  file.WriteAt(std::string(kBlock, 'l').data(), kBlock, kBlock / 2);
  ReadBytes(file, 5, 10);
  file.SetEOF(2 * kBlock + 9);
  file.WriteAt("behind the end", 14, 2 * kBlock + 20);
  ReadBytes(file, 2 * kBlock, 100);
  file.WriteAt("far", 3, 5 * kBlock);
  ReadBytes(file, 0, 6 * kBlock);
  file.WriteAt("inside", 6, 20);
  file.WriteAt("at the end", 10, 5 * kBlock + 3);
}

// Each call of the platform, and each allocation, fails in turn, once or for good. Afterwards the
// object reads what the disk has.
TEST_F(FileCacheHostTest, WhatIsReadAfterFailuresIsOnTheDisk) {
  struct Fault {
    const char* call;  // null: an allocation
    bool from_then_on;
  };
  const Fault kFaults[] = {{"ReadFile", false}, {"ReadFile", true},      {"WriteFile", false},
                           {"WriteFile", true}, {"SetEndOfFile", false}, {"SetFilePointer", false},
                           {nullptr, false}};
  for (const Fault& fault : kFaults) {
    for (const bool use_worker : {false, true}) {
      uint32_t nth = 0;
      for (bool struck = true; struck && nth < 100;) {
        SCOPED_TRACE(testing::Message() << (fault.call != nullptr ? fault.call : "allocation")
                                        << ++nth << fault.from_then_on << use_worker);
        RunTask([&] {
          CDiskFile file;
          Open(file, 3 * kBlock + 100);
          file.UseWorker(use_worker);
          if (fault.call != nullptr) {
            host::FailCall(fault.call, nth, ERROR_DISK_FULL, fault.from_then_on);
          } else {
            test::FailAllocation(static_cast<int>(nth) - 1);
          }
          Use(file);
          struck = fault.call != nullptr ? host::FaultsStruck() > 0 : test::FailAllocation(-1);
          host::ClearFaults();
          EXPECT_TRUE(qv::FileCacheIsConsistent());
          for (const uint32_t offset : {0u, 7u, kBlock - 9, 2 * kBlock + 1, 5 * kBlock}) {
            ZRError error;
            EXPECT_TRUE(ReadBytes(file, offset, 6 * kBlock, &error) ==
                        test::DiskBytes(file, offset, 6 * kBlock))
                << offset;
            EXPECT_EQ(error, ZRErrEOF);
          }
          file.Close();
          ZRDropFileCache();
        });
      }
      EXPECT_TRUE(nth > 1 || (use_worker && std::string(fault.call) == "SetFilePointer"));
      EXPECT_LT(nth, 100u);
    }
  }
}

// Drops of many blocks yield every 10 ms, whatever is dropped; a kill there leaves nothing broken,
// and the file may go on growing meanwhile.
TEST_F(FileCacheHostTest, DropsYield) {
  constexpr uint32_t kBlocks = 200;
  constexpr uint64_t kStart = 5'000'000;
  const struct {
    const char* name;
    void (*drop)(CDiskFile& file);
  } kRows[] = {{"all", [](CDiskFile&) { ZRDropFileCache(); }},
               {"SetEOF", [](CDiskFile& file) { file.SetEOF(kBlocks * kBlock); }},
               {"write", [](CDiskFile& file) { file.WriteAt("o", 1, 0, kFromStartKeepMark); }},
               {"Close", [](CDiskFile& file) { file.Close(); }}};
  for (const auto& row : kRows) {
    for (const bool is_killed : {false, true}) {
      SCOPED_TRACE(testing::Message() << row.name << is_killed);
      qv::ResetClockForTest();
      host::FreezeMicroseconds(kStart);
      RunTask([&] {
        bool is_done = false;
        const test::HeldRequests held;  // no workers
        CDiskFile file;
        Open(file, 0);
        EXPECT_EQ(file.SetEOF(kBlocks * kBlock), ZRErrNone);
        char byte;
        for (uint32_t block = 0; block < kBlocks; ++block) {
          EXPECT_EQ(file.ReadExact(&byte, 1, block * kBlock), ZRErrNone);
        }
        host::FreezeMicroseconds(kStart, 1000);  // a millisecond at each look
        const TaskId dropper = Spawn("dropper", [&] {
          row.drop(file);
          is_done = true;
        });
        int yields = 0;
        for (; ZRTaskIsValid(dropper) && yields < 1000; ++yields) {
          EXPECT_TRUE(qv::FileCacheIsConsistent());
          // Others go on reading, also behind what was there.
          uint32_t count = 1;
          file.ReadAt(&byte, &count, (kBlocks + yields) * kBlock);
          if (is_killed && yields == 10) ZRTaskKill(dropper);
          ZRTaskYield();
        }
        host::ThawTicks();
        EXPECT_EQ(is_done, !is_killed);
        EXPECT_GE(yields, is_killed ? 10 : static_cast<int>(kBlocks) / 10);
        EXPECT_LT(yields, static_cast<int>(kBlocks));
        ZRDropFileCache();
        uint64_t size = 0;
        ZRGetFileCacheSizes(&size, nullptr);
        EXPECT_EQ(size, 0u);
        file.Close();
        ZRDropFileCache();
      });
    }
  }
}

std::set<void*>& Blocks() {
  static auto& blocks = *new std::set<void*>;
  return blocks;
}

// A task is killed with a file on its stack, which vanishes without its destructor. Its blocks go
// in time, like others.
TEST_F(FileCacheHostTest, AFileOnTheStackOfAKilledTask) {
  for (const char* mode : {"\\Fibers=1", "\\Fibers=0"}) {
    Set(std::string("QVSetup/") + (mode + 1));
    Run([&] {
      qv::GlobalHooks().allocate = [](size_t size) {
        return *Blocks().insert(std::malloc(size)).first;
      };
      qv::GlobalHooks().release = [](void* block) {
        Blocks().erase(block);
        std::free(block);
      };
      Spawn("script", [&] {
        qv::SetFileCacheItemsForTest(3);
        const TaskId victim = Spawn("victim", [&] {
          CDiskFile file;
          Open(file, 2 * kBlock, mode);  // the handle stays open
          ReadBytes(file, 0, 2 * kBlock);
          for (;;) ZRTaskYield();
        });
        for (uint64_t size = 0; size < 2 * 65584; ZRTaskYield())
          ZRGetFileCacheSizes(&size, nullptr);
        ZRTaskKill(victim);
        EXPECT_TRUE(qv::FileCacheIsConsistent());
        CDiskFile other;
        test::OpenNew(other, test::TempFolder() + "\\other", "");
        EXPECT_EQ(other.SetEOF(20 * kBlock), ZRErrNone);
        char byte;
        for (uint32_t block = 0; block < 20; ++block) other.ReadExact(&byte, 1, block * kBlock);
        EXPECT_TRUE(qv::FileCacheIsConsistent());
        other.Close();
        EXPECT_EQ(other.Delete(), ZRErrNone);
        uint64_t size = 1;
        ZRGetFileCacheSizes(&size, nullptr);
        EXPECT_EQ(size, 0u);
        ZRDropFileCache();
      });
      ZRTaskLeaveCritical(false);
      ZRTaskYield();
    });
    for (void* block : Blocks()) std::free(block);
    Blocks().clear();
  }
}

// What the last block has costs no call of the platform, not even of the clock.
TEST_F(FileCacheHostTest, AHitCallsNothing) {
  CDiskFile file;
  Open(file, kBlock);
  char bytes[100];
  EXPECT_EQ(file.ReadExact(bytes, 100, 0), ZRErrNone);
  host::ResetCallCounts();
  for (int i = 0; i < 1000; ++i) EXPECT_EQ(file.ReadExact(bytes, 100, i), ZRErrNone);
  for (const char* call : {"ReadFile", "SetFilePointer", "QueryPerformanceCounter", "GetTickCount",
                           "QueryInterruptTime"}) {
    EXPECT_EQ(host::CallsMade(call), 0u) << call;
  }
}

}  // namespace
