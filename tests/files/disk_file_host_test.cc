#include <gtest/gtest.h>

#include "files/disk_file.h"
#include "files/locations.h"
#include "platform/host/control.h"
#include "platform/windows_api.h"

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

}  // namespace
