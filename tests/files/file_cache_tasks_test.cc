// Several tasks at the same blocks: each way in which they can meet, step by step.
#include <memory>
#include <string>
#include <vector>

#include "files/disk_file.h"
#include "files/file_cache.h"
#include "tests/files/file_bytes.h"
#include "tests/files/held_requests.h"
#include "tests/tasks/kernel_fixture.h"
#include "tests/test_platform.h"

namespace {

using test::HeldRequests;

constexpr uint32_t kBlock = qv::kBlockBytes;
constexpr uint32_t kFileLength = 4 * kBlock + 4464;

// What a task did with the file.
struct Deed {
  TaskId task = 0;
  bool done = false;
  ZRError error = 0;
  std::string bytes = {};
};

class CacheTasksTest : public test::KernelTest {
 protected:
  CacheTasksTest() {
    qv::ResetFileCacheForTest();
    test::EmptyFolder(folder_);
    CreateDirectoryA(folder_.c_str(), nullptr);
  }
  ~CacheTasksTest() override {
    test::EmptyFolder(folder_);
    RemoveDirectoryA(folder_.c_str());
  }

  // Runs a script as a task, with a file of "o"s open, in both modes of the kernel.
  void RunScript(const std::function<void()>& script) {
    RunInBothModes([&] {
      Spawn("script", [&] {
        HeldRequests requests;
        held = &requests;
        file = std::make_unique<CDiskFile>();
        test::OpenNew(*file, folder_ + "\\file", std::string(kFileLength, 'o'));
        requests.requests = 0;
        script();
        EXPECT_TRUE(qv::FileCacheIsConsistent());
        file.reset();
        deeds_.clear();
        uint64_t size = 0;
        ZRGetFileCacheSizes(&size, nullptr);
        EXPECT_EQ(size, 0u) << "nothing is left of files that have gone";
        ZRDropFileCache();
        qv::ResetFileCacheForTest();
        held = nullptr;
      });
    });
  }

  Deed& Do(const std::function<void(Deed& deed)>& what) {
    deeds_.push_back(std::make_unique<Deed>());
    Deed& deed = *deeds_.back();
    deed.task = Spawn("deed", [what, &deed] {
      what(deed);
      deed.done = true;
    });
    return deed;
  }
  Deed& StartRead(int64_t offset, uint32_t count) {
    return Do([this, offset, count](Deed& deed) {
      uint32_t read = count;
      deed.bytes.assign(count, '#');  // not on the task's stack: it may be killed
      deed.error = file->ReadAt(deed.bytes.data(), &read, offset);
      deed.bytes.resize(read);
    });
  }
  Deed& StartWrite(int64_t offset, const std::string& bytes) {
    return Do([this, offset, bytes](Deed& deed) {
      deed.error = file->WriteAt(bytes.data(), static_cast<int32_t>(bytes.size()), offset);
    });
  }
  Deed& StartCut(uint64_t length) {
    return Do([this, length](Deed& deed) { deed.error = file->SetEOF(length); });
  }
  // Starts it and stops it at a point of its request.
  Deed& Held(Deed& deed, HeldRequests::Point point) {
    held->Hold(deed.task);
    held->WaitUntilHeld(deed.task, point);
    return deed;
  }
  static void Finish(const Deed& deed) {
    EXPECT_TRUE(HeldRequests::Until([&] { return deed.done; }));
  }
  // Waits for the block that another reads.
  static void WaitUntilWaiting(const Deed& deed) {
    EXPECT_TRUE(
        HeldRequests::Until([&] { return ZRTaskGetState(deed.task) == qv::TaskState::kWaiting; }));
  }
  void ReleaseAndFinish(const Deed& deed) {
    held->Release(deed.task);
    Finish(deed);
  }
  // What the object reads, and what is on the disk.
  std::string Read(int64_t offset, uint32_t count) { return test::ReadBytes(*file, offset, count); }
  std::string OnDisk(uint64_t offset, uint32_t count) {
    return test::DiskBytes(*file, offset, count);
  }

  const std::string folder_ = test::TempFolder() + "_cache";
  HeldRequests* held = nullptr;
  std::unique_ptr<CDiskFile> file;

 private:
  std::vector<std::unique_ptr<Deed>> deeds_;
};

constexpr int kWaiters = 4;
constexpr int kReader = -1, kNobody = -2;

// One reads, four wait; one of the five is killed, at either side of the disk's answer, or those
// that wait are woken for nothing. All others get the bytes, with one more read where the reader
// went.
TEST_F(CacheTasksTest, AChainOfWaitersHolds) {
  for (const auto point : {HeldRequests::kBefore, HeldRequests::kAfter}) {
    for (int killed = kNobody; killed < kWaiters; ++killed) {
      for (const bool wakes_others : {false, true}) {
        SCOPED_TRACE(testing::Message() << point << " " << killed << " " << wakes_others);
        RunScript([&, point, killed, wakes_others] {
          Deed& reader = Held(StartRead(10, 100), point);
          std::vector<Deed*> waiters;
          for (int i = 0; i < kWaiters; ++i) {
            waiters.push_back(&StartRead(200 + i, 100));
            WaitUntilWaiting(*waiters.back());
          }
          if (wakes_others) {
            for (const int i : {1, 3}) {
              ZRTaskSignal(waiters[i]->task, 0x10004);
              WaitUntilWaiting(*waiters[i]);
            }
          }
          if (killed >= 0) ZRTaskKill(waiters[killed]->task);
          if (killed == kReader) ZRTaskKill(reader.task);
          if (killed != kReader) ReleaseAndFinish(reader);
          for (int i = 0; i < kWaiters; ++i) {
            if (i == killed) continue;
            Finish(*waiters[i]);
            EXPECT_EQ(waiters[i]->bytes, std::string(100, 'o'));
          }
          EXPECT_EQ(held->requests, killed == kReader ? 2 : 1);
        });
      }
    }
  }
}

// Events that a waiter had, or gets from others, are still there when its read is done.
TEST_F(CacheTasksTest, EventsOfOthersStay) {
  RunScript([&] {
    Deed& reader = Held(StartRead(0, 1), HeldRequests::kAfter);
    uint32_t events = 0;
    Deed& waiter = Do([&](Deed&) {
      Read(0, 1);
      events = ZRTaskGetEvents(false);
    });
    for (const uint32_t event : {0x4u, 0x8u}) {
      WaitUntilWaiting(waiter);
      ZRTaskSignal(waiter.task, event);
    }
    WaitUntilWaiting(waiter);
    ReleaseAndFinish(reader);
    Finish(waiter);
    EXPECT_EQ(events & 0x1000C, 0xCu);
  });
}

// A read has its answer from the disk, but the task does not know yet. What others do meanwhile
// shows in what it gets; who waited gets the same.
TEST_F(CacheTasksTest, ChangesWhileABlockIsRead) {
  const struct {
    const char* name;
    int64_t offset;  // of the read, of 10 bytes
    void (*change)(CDiskFile& file);
    std::string expected;
    int requests;  // with those of the change
  } kRows[] = {
      {"written", 4, [](CDiskFile& f) { f.WriteAt("new", 3, 5); }, "onewoooooo", 3},
      {"another block is written", 4, [](CDiskFile& f) { f.WriteAt("new", 3, kBlock + 5); },
       std::string(10, 'o'), 2},
      {"cut", 4, [](CDiskFile& f) { f.SetEOF(6); }, "oo", 3},
      {"dropped", 4, [](CDiskFile&) { ZRDropFileCache(); }, std::string(10, 'o'), 2},
      {"written with another mode", 4, [](CDiskFile& f) { f.WriteAt("new", 3, 5, kFromMark); },
       "onewoooooo", 3},
      {"the file grows behind its last block", kFileLength - 2,
       [](CDiskFile& f) { f.WriteAt("new", 3, kFileLength + 2 * kBlock); },
       "oo" + std::string(8, '\0'), 3},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    RunScript([&] {
      Deed& reader = Held(StartRead(row.offset, 10), HeldRequests::kAfter);
      Deed& waiter = StartRead(row.offset, 10);
      WaitUntilWaiting(waiter);
      row.change(*file);
      ReleaseAndFinish(reader);
      Finish(waiter);
      EXPECT_EQ(reader.bytes, row.expected);
      EXPECT_EQ(waiter.bytes, row.expected);
      EXPECT_EQ(held->requests, row.requests);
    });
  }
}

// A close waits for what is under way, and refuses the rest; one that is killed has not closed.
TEST_F(CacheTasksTest, ACloseWaits) {
  for (const bool is_killed : {false, true}) {
    RunScript([&, is_killed] {
      Deed& reader = Held(StartRead(0, 10), HeldRequests::kAfter);
      Deed& writer = Held(StartWrite(kBlock, "abc"), HeldRequests::kBefore);
      Deed& closer = Do([this](Deed& deed) { deed.error = file->Close(); });
      for (int i = 0; i < 5; ++i) ZRTaskYield();
      EXPECT_EQ(Read(0, 10), "");
      EXPECT_EQ(file->Write("x", 1), ZRErrNotOpen);
      EXPECT_EQ(file->SetEOF(0), ZRErrNotOpen);
      EXPECT_EQ(file->Close(), ZRErrNotOpen);
      EXPECT_TRUE(file->IsOpen());
      if (is_killed) ZRTaskKill(closer.task);
      ReleaseAndFinish(reader);
      ReleaseAndFinish(writer);
      EXPECT_EQ(reader.bytes, std::string(10, 'o'));
      EXPECT_EQ(writer.error, ZRErrNone);
      if (!is_killed) Finish(closer);
      EXPECT_EQ(closer.error, ZRErrNone);
      EXPECT_EQ(file->IsOpen(), is_killed);
      EXPECT_EQ(Read(kBlock, 3), is_killed ? "abc" : "");
    });
  }
}

// Two changes whose ends come in the other order than they reached the disk, with a read between:
// what is read afterwards is what the disk has.
TEST_F(CacheTasksTest, ChangesThatMeet) {
  using Start = std::function<Deed&()>;
  const Start write_first = [this]() -> Deed& { return StartWrite(5, "first"); };
  const Start write_second = [this]() -> Deed& { return StartWrite(7, "second"); };
  const Start write_far = [this]() -> Deed& { return StartWrite(2 * kBlock, "far"); };
  const Start cut_all = [this]() -> Deed& { return StartCut(0); };
  const Start cut_some = [this]() -> Deed& { return StartCut(8); };
  const struct {
    const char* name;
    Start first, second;
  } kRows[] = {
      {"writes", write_first, write_second},
      {"a write and a cut", write_first, cut_all},
      {"a write and a cut inside it", write_first, cut_some},
      {"a cut and a write", cut_all, write_first},
      {"a cut and a far write", cut_some, write_far},
  };
  for (const auto& row : kRows) {
    for (const bool is_killed : {false, true}) {
      SCOPED_TRACE(testing::Message() << row.name << " " << is_killed);
      RunScript([&] {
        Read(0, 10);
        Deed& first = Held(row.first(), HeldRequests::kAfter);
        Read(0, 10);
        Finish(row.second());
        Read(0, 10);
        if (is_killed) {
          ZRTaskKill(first.task);
        } else {
          ReleaseAndFinish(first);
        }
        for (const uint64_t offset : {uint64_t{0}, uint64_t{2 * kBlock}}) {
          EXPECT_EQ(Read(static_cast<int64_t>(offset), 20), OnDisk(offset, 20));
        }
        // Later writes are not held to meet anything.
        EXPECT_EQ(file->WriteAt("later", 5, 0), ZRErrNone);
        const int requests = held->requests;
        EXPECT_EQ(Read(0, 5), "later");
        EXPECT_EQ(held->requests, requests);
      });
    }
  }
}

// A task is killed when the disk has its change, but the blocks have not.
TEST_F(CacheTasksTest, AKilledChange) {
  const struct {
    const char* name;
    std::function<Deed&()> start;
  } kRows[] = {{"write", [this]() -> Deed& { return StartWrite(kBlock - 2, "killed"); }},
               {"cut", [this]() -> Deed& { return StartCut(5); }},
               {"with another mode", [this]() -> Deed& {
                  return Do([this](Deed&) { file->WriteAt("killed", 6, 3, kFromMark); });
                }}};
  for (const auto& row : kRows) {
    for (const auto point : {HeldRequests::kBefore, HeldRequests::kAfter}) {
      SCOPED_TRACE(testing::Message() << row.name << point);
      RunScript([&, point] {
        Read(0, 2 * kBlock);
        Deed& change = Held(row.start(), point);
        Read(0, 2 * kBlock);
        ZRTaskKill(change.task);
        EXPECT_TRUE(qv::FileCacheIsConsistent());
        EXPECT_TRUE(Read(0, 2 * kBlock) == OnDisk(0, 2 * kBlock));
      });
    }
  }
}

// A read of two blocks loses the first one while it reads the second.
TEST_F(CacheTasksTest, BlocksThatGoBeforeTheReadIsComplete) {
  RunScript([&] {
    Deed& reader = StartRead(kBlock - 5, 10);
    Held(reader, HeldRequests::kBefore);  // the first block
    held->GoToNextRequest(reader.task);
    held->WaitUntilHeld(reader.task, HeldRequests::kAfter);
    EXPECT_EQ(held->requests, 2);
    EXPECT_EQ(file->WriteAt("ab", 2, kBlock - 5, kFromMark), ZRErrNone);
    ReleaseAndFinish(reader);
    EXPECT_EQ(reader.bytes, "aboooooooo");
    EXPECT_EQ(held->requests, 5) << "both blocks again, and the write";
  });
}

// Somebody drops each block as soon as it is read, or as soon as the other one is: the read ends
// all the same.
TEST_F(CacheTasksTest, DropsWithoutEnd) {
  for (const int every : {1, 2, 4}) {
    RunScript([&, every] {
      int points = 0;
      held->at_point = [&](HeldRequests::Point) {
        if (points++ % every == 0) ZRDropFileCache();
      };
      EXPECT_EQ(Read(kBlock - 5, 10), std::string(10, 'o'));
      EXPECT_LE(held->requests, 100);
      held->at_point = nullptr;
    });
  }
}

// No waiting where the kernel cannot switch: the bytes come from the disk.
TEST_F(CacheTasksTest, InACriticalRegion) {
  RunScript([&] {
    Deed& reader = Held(StartRead(0, 10), HeldRequests::kAfter);
    ZRTaskEnterCritical();
    EXPECT_EQ(Read(0, 10), std::string(10, 'o'));
    EXPECT_EQ(held->requests, 2);
    ZRTaskLeaveCritical(false);
    ReleaseAndFinish(reader);
    EXPECT_EQ(reader.bytes, std::string(10, 'o'));
  });
}

// A file that is being read keeps its blocks; those of others go.
TEST_F(CacheTasksTest, AFileThatIsReadIsNotTrimmed) {
  RunScript([&] {
    qv::SetFileCacheItemsForTest(4);
    Deed& reader = Held(StartRead(0, 3 * kBlock), HeldRequests::kBefore);
    for (int block = 1; block < 3; ++block) held->GoToNextRequest(reader.task);
    CDiskFile other;
    test::OpenNew(other, folder_ + "\\other", "");
    EXPECT_EQ(other.SetEOF(20 * kBlock), ZRErrNone);
    char byte;
    for (uint32_t block = 0; block < 20; ++block) other.ReadExact(&byte, 1, block * kBlock);
    const int before = held->requests;
    ReleaseAndFinish(reader);
    EXPECT_EQ(held->requests, before) << "all three blocks are still there";
    EXPECT_EQ(reader.bytes, std::string(3 * kBlock, 'o'));
    uint64_t size = 0;
    ZRGetFileCacheSizes(&size, nullptr);
    EXPECT_LE(size, 8 * 65584u) << "those of the other went";
  });
}

// Destroying a file waits for what is under way, and dumps the first time.
TEST_F(CacheTasksTest, TheEndOfAFileWaits) {
  static std::vector<std::string> dumps;
  RunScript([&] {
    dumps.clear();
    qv::GlobalHooks().write_dump = [](const char* name) { dumps.push_back(name); };
    for (int round = 0; round < 2; ++round) {
      Deed& reader = Held(StartRead(0, 10), HeldRequests::kAfter);
      Deed& writer = Held(StartWrite(3, "abc"), HeldRequests::kBefore);
      Deed& end = Do([&](Deed&) { delete file.release(); });
      for (int i = 0; i < 5; ++i) ZRTaskYield();
      EXPECT_FALSE(end.done);
      ReleaseAndFinish(reader);
      EXPECT_FALSE(end.done);
      ReleaseAndFinish(writer);
      Finish(end);
      EXPECT_EQ(reader.error, ZRErrNone);
      EXPECT_EQ(writer.error, ZRErrNone);
      file = std::make_unique<CDiskFile>();
      test::OpenExclusive(*file, folder_ + "\\file");
    }
    EXPECT_EQ(dumps, std::vector<std::string>{"QVS_cdiskfile_des.dmp"});
  });
}

// Where the kernel cannot switch it goes at once. Transfers hear of it and touch it no more.
TEST_F(CacheTasksTest, AFileThatGoesUnderItsTransfers) {
  for (const bool are_killed : {false, true}) {
    RunScript([&] {
      Read(kBlock, 1);
      std::vector<Deed*> deeds = {
          &Held(StartRead(0, 10), HeldRequests::kAfter),
          &Held(StartWrite(0, "abc"), HeldRequests::kAfter),
          &Held(StartCut(100), HeldRequests::kAfter),
          &Held(Do([&](Deed& deed) {
                  uint32_t count = 10;
                  char bytes[10];
                  deed.error = file->Read(bytes, &count);
                }),
                HeldRequests::kNowhere),
      };
      deeds.push_back(&StartRead(5, 10));
      WaitUntilWaiting(*deeds.back());
      ZRTaskEnterCritical();
      printed.clear();
      delete file.release();
      ZRTaskLeaveCritical(false);
      EXPECT_NE(printed.find("FreeCacheMeta removing cache item with outstanding read.  Called "
                             "from:\n"),
                std::string::npos);
      EXPECT_TRUE(qv::FileCacheIsConsistent());
      for (Deed* deed : deeds) {
        if (are_killed) {
          ZRTaskKill(deed->task);
        } else {
          ReleaseAndFinish(*deed);
        }
        EXPECT_TRUE(qv::FileCacheIsConsistent());
      }
      if (are_killed) return;
      for (const int i : {0, 1, 3, 4}) EXPECT_EQ(deeds[i]->error, ZRErrNotOpen) << i;
    });
  }
}

// A task that only reads what is there lets others run, after so many reads, or after each.
TEST_F(CacheTasksTest, ReadsYield) {
  const struct {
    const char* settings[2];
    int reads, yields;
  } kRows[] = {{{"QVSetup/CachedIOLimit=128", "QVSetup/IOYield=0"}, 128, 0},
               {{"QVSetup/CachedIOLimit=128", "QVSetup/IOYield=0"}, 129 * 3, 3},
               {{"QVSetup/CachedIOLimit=10", "QVSetup/IOYield=0"}, 110, 10},
               {{"QVSetup/CachedIOLimit=128", "QVSetup/IOYield=1"}, 50, 50}};
  for (const auto& row : kRows) {
    for (const char* setting : row.settings) Set(setting);
    qv::ResetFileCacheForTest();
    RunScript([&] {
      Read(0, 1);
      bool is_done = false;
      int others = 0;
      Deed& other = Do([&](Deed&) {
        for (; !is_done; ++others) ZRTaskYield();
      });
      ZRTaskYield();
      const int before = others;
      for (int i = 0; i < row.reads; ++i) Read(0, 1);
      EXPECT_EQ(others - before, row.yields) << row.settings[0] << row.reads;
      is_done = true;
      Finish(other);
    });
  }
}

}  // namespace
