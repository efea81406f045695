// Many tasks with files at the same time, their requests on workers.
#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>

#include "base/clock.h"
#include "files/disk_file.h"
#include "files/file_cache.h"
#include "files/file_options.h"
#include "tests/tasks/workers_fixture.h"
#include "tests/test_platform.h"

namespace {

constexpr int kTasks = 200;

class FileTasks : public test::WorkersTest {
 protected:
  FileTasks() {
    test::EmptyFolder(folder_);
    CreateDirectoryA(folder_.c_str(), nullptr);
    qv::ResetFileCacheForTest();
  }
  ~FileTasks() override {
    qv::ResetFileOptionsForTest();
    test::EmptyFolder(folder_);
    RemoveDirectoryA(folder_.c_str());
  }

  std::string PathOf(const std::string& name) { return folder_ + "\\" + name; }

  // A file's life, and a look at the folder between.
  void UseFile(int index) {
    const std::string number = std::to_string(index);
    const std::string content(5000 + 13 * index, static_cast<char>('a' + index % 26));
    CDiskFile file, destination;
    EXPECT_EQ(file.SetPath(PathOf("first " + number).c_str()), ZRErrNone);
    EXPECT_EQ(file.Create(), ZRErrNone);
    EXPECT_EQ(file.OpenExclusive(), ZRErrNone);
    EXPECT_EQ(file.Write(content.data(), static_cast<int32_t>(content.size())), ZRErrNone);
    EXPECT_EQ(file.Close(), ZRErrNone);
    EXPECT_EQ(destination.SetPath(PathOf("then " + number).c_str()), ZRErrNone);
    EXPECT_EQ(file.MoveTo(&destination, nullptr), ZRErrNone);
    CheckListing("then " + number, index % 20 == 0);
    EXPECT_TRUE(file.Exists());
    std::string read(content.size(), '#');
    EXPECT_EQ(file.Open(kFileRead, kShareRead), ZRErrNone);
    EXPECT_EQ(file.ReadExact(read.data(), static_cast<uint32_t>(read.size()), 0), ZRErrNone);
    EXPECT_EQ(read, content);
    EXPECT_EQ(file.Close(), ZRErrNone);
    EXPECT_EQ(file.Delete(), ZRErrNone);
    ++done_;
  }

  // Lists the file alone, or all that are there.
  void CheckListing(const std::string& name, bool all) {
    CDiskFile folder;
    EXPECT_EQ(folder.SetPath(folder_.c_str()), ZRErrNone);
    EXPECT_EQ(folder.SetName(all ? nullptr : name.c_str()), ZRErrNone);
    qv::FolderEntry entry;
    int found = 0;
    ZRError error = folder.FirstEntry(&entry, 0);
    for (; error == ZRErrNone; error = folder.NextEntry(&entry)) found += name == entry.name;
    EXPECT_EQ(error, ZRErrEOF);
    EXPECT_EQ(found, 1) << name;
  }

  const std::string folder_ = test::TempFolder() + "_files";
  int done_ = 0;
};

TEST_F(FileTasks, ManyAtOnce) {
  uint64_t ticks = 0, longest = 0;
  RunWithWorkers([&] {
    ZRStartFileWorkers(true, true);
    EXPECT_TRUE(qv::FileWorkersByDefault());
    for (int i = 0; i < kTasks; ++i) {
      Spawn("file user", [this, i] { UseFile(i); });
    }
    Spawn("ticker", [&] {
      for (uint64_t last = ZRMicroseconds(true); done_ < kTasks; ++ticks) {
        ZRTaskYieldMicros(1000, true);
        const uint64_t now = ZRMicroseconds(true);
        longest = std::max(longest, now - std::exchange(last, now));
      }
      ZRDropFileCache();
    });
  });
  EXPECT_EQ(done_, kTasks);
  EXPECT_GT(ticks, 10u);
  std::printf("longest gap of a task that sleeps 1 ms: %llu us\n",
              static_cast<unsigned long long>(longest));
  test::EmptyFolder(folder_);
  RemoveDirectoryA(folder_.c_str());
}

// The end waits for what tasks have begun; a file that is used later is used on the caller.
TEST_F(FileTasks, TheEndOfTheFileLayer) {
  constexpr int kUsers = 10;
  RunWithWorkers([&] {
    ZRStartFileWorkers(true, true);
    for (int i = 1; i <= kUsers; ++i) {
      Spawn("file user", [this, i] { UseFile(i); });
    }
    Spawn("the end", [this] {
      ZRTaskYieldMicros(2000, true);
      ZRFileIOEnd();
      EXPECT_EQ(qv::GetWorkerStatistics(false).threads, 0u);
      UseFile(0);
      ZRDropFileCache();
    });
  });
  EXPECT_EQ(done_, kUsers + 1);
}

}  // namespace
