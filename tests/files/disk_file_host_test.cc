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
  host::FailCall("CreateDirectoryA", 1, ERROR_ALREADY_EXISTS);
  EXPECT_EQ(folder.CreateFolder(), ZRErrExists) << "as reported, though nothing is there";
  host::FailCall("GetTempPathA", 1, ERROR_NOT_ENOUGH_MEMORY);
  char path[300] = "before";
  EXPECT_EQ(ZRGetTempFolder(path, sizeof path), ZRErrNotFound);
  EXPECT_STREQ(path, "");
  host::FailCall("GetTempPathA", 1, ERROR_NOT_ENOUGH_MEMORY);
  EXPECT_EQ(folder.GoToTempFolder(), ZRErrNotFound);
  EXPECT_EQ(folder.SetName("x"), ZRErrNotFound) << "the old folder is gone";
  host::ClearFaults();
}

// All that a file and a folder go through; the first error.
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
  note(destination.SetPath((folder + "\\made").c_str()));
  note(destination.CreateFolder());
  CDiskFile parent;
  qv::FolderEntry entry;
  note(parent.SetPath(folder.c_str()));
  note(parent.FirstEntry(&entry, qv::kListFoldersOnly));
  const ZRError at_end = parent.NextEntry(&entry);
  note(at_end == ZRErrEOF ? ZRErrNone : at_end);
  note(destination.RemoveFolder());
  note(file.Delete());
  return first;
}

// Each platform call fails at each of its times: the answer tells it, and nothing stays open.
TEST(DiskFileHostTest, EveryCallFailsInTurn) {
  const std::string folder = test::TempFolder();
  const char* const kCalls[] = {"CreateFileA",      "ReadFile",         "WriteFile",
                                "MoveFileA",        "SetFilePointer",   "SetEndOfFile",
                                "DeleteFileA",      "FlushFileBuffers", "SetFileTime",
                                "CreateDirectoryA", "RemoveDirectoryA", "FindFirstFileExA",
                                "FindNextFileA",    "CloseHandle",      "LocalFileTimeToFileTime"};
  for (const char* call : kCalls) {
    for (const bool use_worker : {false, true}) {
      uint32_t nth = 0, read_again = 0;
      const bool is_read = std::string(call) == "ReadFile";
      for (bool struck = true; struck;) {
        SCOPED_TRACE(testing::Message() << call << " " << ++nth << " " << use_worker);
        test::EmptyFolder(folder);
        const uint32_t handles = host::OpenHandles();
        host::FailCall(call, nth, ERROR_DISK_FULL);
        const ZRError error = LiveThrough(folder, use_worker);
        struck = host::FaultsStruck() > 0;
        host::ClearFaults();
        const bool is_seek = std::string(call) == "SetFilePointer";
        // Where the block of a read is not to be had the bytes are asked for by themselves.
        const bool is_read_again = error == ZRErrNone && (is_seek || is_read);
        if (!struck) {
          EXPECT_EQ(error, ZRErrNone);
        } else if ((!is_seek || error != ZRErrSeek) && !is_read_again) {
          EXPECT_EQ(error, ZRErrDiskFull);
        }
        read_again += struck && is_read_again;
        // A handle that could not be closed is the platform's.
        EXPECT_TRUE(host::OpenHandles() == handles || std::string(call) == "CloseHandle");
        ASSERT_LT(nth, 30u);
      }
      EXPECT_LE(read_again, 1u) << "the only read";
      // SetFilePointer sets the place of a transfer only on the caller.
      EXPECT_GT(nth, 1u) << call;
    }
  }
  test::EmptyFolder(folder);
}

// Where the user's copy is not to be had the refusal stays, and no half of one is left.
TEST(DiskFileHostTest, OwnCopiesThatAreNotToBeHad) {
  const std::string folder = test::TempFolder(), path = folder + "\\protected";
  ASSERT_EQ(ZRSetAppFolder(folder.c_str()), ZRErrNone);
  ASSERT_TRUE(test::WriteWholeFile(path, "shared"));
  ASSERT_TRUE(SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_READONLY));
  const struct {
    const char* call;
    uint32_t nth;
    bool from_then_on = false;
  } kRows[] = {{"CreateFileA", 2},     // makes the file; the first is the open that is refused
               {"CreateFileA", 3},     // opens the source
               {"CreateFileA", 4},     // opens the copy to fill it
               {"ReadFile", 1, true},  // of a block, then of the bytes alone
               {"WriteFile", 1},
               {"CreateFileA", 5}};  // opens the copy, which stays: it is whole
  CDiskFile file, own;
  for (const auto& row : kRows) {
    SCOPED_TRACE(testing::Message() << row.call << " " << row.nth);
    ASSERT_EQ(file.GoToLevel(8, nullptr, "protected"), ZRErrNone);
    host::FailCall(row.call, row.nth, ERROR_DISK_FULL, row.from_then_on);
    EXPECT_EQ(file.OpenExclusive(), ZRErrAccess);
    EXPECT_EQ(host::FaultsStruck(), row.from_then_on ? 2u : 1u);
    host::ClearFaults();
    EXPECT_EQ(file.level(), 8u);
    EXPECT_EQ(file.folder(), folder);
    const bool is_whole = row.nth == 5;
    EXPECT_EQ(own.GoToLevel(3, nullptr, "protected"), is_whole ? ZRErrNone : ZRErrNotFound);
  }
  EXPECT_EQ(own.Delete(), ZRErrNone);
  SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL);
  test::EmptyFolder(folder);
  qv::ResetLocationsForTest();
}

}  // namespace
