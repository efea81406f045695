#include <gtest/gtest.h>

#include <string>

#include "files/disk_file.h"
#include "files/locations.h"
#include "platform/host/control.h"
#include "platform/windows_api.h"
#include "tests/test_platform.h"

namespace {

TEST(DiskFileHostTest, PlatformFailures) {
  CDiskFile folder;
  ASSERT_EQ(folder.GoToTempFolder(), ZRErrNone);
  ASSERT_EQ(folder.SetName("Made"), ZRErrNone);
  const struct {
    DWORD native;
    ZRError expected;
  } kRows[] = {{ERROR_ACCESS_DENIED, ZRErrAccess},
               {ERROR_DISK_FULL, ZRErrDiskFull},
               {ERROR_WRITE_PROTECT, ZRErrWriteProtected},
               {ERROR_ALREADY_EXISTS, ZRErrExists}};  // as reported, though nothing is there
  for (const auto& row : kRows) {
    host::FailCall("CreateDirectoryA", 1, row.native);
    EXPECT_EQ(folder.CreateFolder(), row.expected) << row.native;
    EXPECT_EQ(host::FaultsStruck(), 1u);
    host::ClearFaults();
    EXPECT_FALSE(folder.Exists());
  }
  EXPECT_EQ(folder.CreateFolder(), ZRErrNone);

  host::FailCall("GetTempPathA", 1, ERROR_NOT_ENOUGH_MEMORY);
  char path[300] = "before";
  EXPECT_EQ(ZRGetTempFolder(path, sizeof path), ZRErrNotFound);
  EXPECT_STREQ(path, "");
  host::FailCall("GetTempPathA", 1, ERROR_NOT_ENOUGH_MEMORY);
  EXPECT_EQ(folder.GoToTempFolder(), ZRErrNotFound);
  EXPECT_EQ(folder.SetName("x"), ZRErrNotFound) << "the old folder is gone";
  host::ClearFaults();
}

// All that a file goes through; the first error.
ZRError LiveThrough(const std::string& folder, bool use_worker) {
  ZRError first = ZRErrNone;
  const auto note = [&first](ZRError error) { first = first == ZRErrNone ? error : first; };
  CDiskFile file, destination;
  file.UseWorker(use_worker);
  note(file.SetPath((folder + "\\file").c_str()));
  note(file.Create());
  note(file.OpenExclusive());
  note(file.Write("0123456789", 10));
  note(file.WriteAt("ab", 2, 3, kFromStartKeepMark));
  if (file.Seek(0, kSeekEnd) < 0) note(ZRErrSeek);
  note(file.SetEOF(6));
  note(file.Flush());
  char bytes[6];
  note(file.ReadExact(bytes, 6, 0));
  EXPECT_TRUE(first != ZRErrNone || std::string(bytes, 6) == "012ab5");
  note(file.Close());
  const uint32_t time = 3'800'000'000;
  note(file.SetTimes(nullptr, &time));
  note(file.Rename("other"));
  note(destination.SetPath((folder + "\\third").c_str()));
  note(file.MoveTo(&destination, nullptr));
  uint8_t name[kNameSize];
  note(destination.SetName("fourth"));
  note(file.MoveTo(&destination, name));
  note(file.Delete());
  note(file.CreateUnique(false));
  note(file.Delete());
  return first;
}

// Each platform call fails at each of its times: the answer tells it, and nothing stays open.
TEST(DiskFileHostTest, EveryCallFailsInTurn) {
  const std::string folder = test::TempFolder();
  const char* const kCalls[] = {"CreateFileA",
                                "ReadFile",
                                "WriteFile",
                                "MoveFileA",
                                "SetFilePointer",
                                "SetEndOfFile",
                                "DeleteFileA",
                                "FlushFileBuffers",
                                "SetFileTime",
                                "CloseHandle",
                                "LocalFileTimeToFileTime"};
  for (const char* call : kCalls) {
    for (const bool use_worker : {false, true}) {
      uint32_t nth = 0;
      for (bool struck = true; struck;) {
        SCOPED_TRACE(testing::Message() << call << " " << ++nth << " " << use_worker);
        test::EmptyFolder(folder);
        const uint32_t handles = host::OpenHandles();
        host::FailCall(call, nth, ERROR_DISK_FULL);
        const ZRError error = LiveThrough(folder, use_worker);
        struck = host::FaultsStruck() > 0;
        host::ClearFaults();
        const bool is_seek = std::string(call) == "SetFilePointer";
        if (!struck) {
          EXPECT_EQ(error, ZRErrNone);
        } else if (!is_seek || error != ZRErrSeek) {
          EXPECT_EQ(error, ZRErrDiskFull);
        }
        // A handle that could not be closed is the platform's.
        EXPECT_TRUE(host::OpenHandles() == handles || std::string(call) == "CloseHandle");
        ASSERT_LT(nth, 30u);
      }
      // SetFilePointer sets the place of a transfer only on the caller.
      EXPECT_GT(nth, 1u) << call;
    }
  }
  test::EmptyFolder(folder);
}

}  // namespace
