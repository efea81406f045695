#include "files/disk_file.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "files/locations.h"
#include "tests/test_platform.h"

namespace {

// Makes the test folder the user's temporary folder while it lives.
class DiskFileTest : public testing::Test {
 protected:
  DiskFileTest() : folder_(test::TempFolder()) {
    test::EmptyFolder(folder_);
    char before[MAX_PATH] = "";
    GetEnvironmentVariableA("TMP", before, sizeof before);
    before_ = before;
    SetTemporaryFolder(folder_ + "\\");
  }
  ~DiskFileTest() override {
    SetEnvironmentVariableA("TMP", before_.empty() ? nullptr : before_.c_str());
  }
  static void SetTemporaryFolder(const std::string& path) {
    ASSERT_TRUE(SetEnvironmentVariableA("TMP", path.c_str()));
  }
  static std::string PathOf(const CDiskFile& file) {
    char path[300] = "";
    EXPECT_EQ(file.GetNativePath(path, sizeof path), ZRErrNone);
    return path;
  }

  const std::string folder_;
  std::string before_;
};

TEST_F(DiskFileTest, TheTemporaryFolderHasNoTrailingSeparator) {
  char path[300];
  std::memset(path, '#', sizeof path);
  EXPECT_EQ(ZRGetTempFolder(path, sizeof path), ZRErrNone);
  EXPECT_EQ(path, folder_);
  const auto exact = static_cast<uint32_t>(folder_.size() + 1);
  EXPECT_EQ(ZRGetTempFolder(path, exact), ZRErrNone);
  std::memset(path, '#', sizeof path);
  EXPECT_EQ(ZRGetTempFolder(path, exact - 1), ZRErrTooLong);
  EXPECT_STREQ(path, "");
  EXPECT_EQ(path[1], '#');
  EXPECT_EQ(ZRGetTempFolder(path, 0), ZRErrTooLong);
  EXPECT_EQ(ZRGetTempFolder(nullptr, 10), ZRErrTooLong);
  SetTemporaryFolder("C:\\");
  EXPECT_EQ(ZRGetTempFolder(path, sizeof path), ZRErrNone);
  EXPECT_STREQ(path, "C:\\");
}

TEST_F(DiskFileTest, NamesInsideTheFolder) {
  CDiskFile file;
  EXPECT_EQ(file.SetName("early"), ZRErrNotFound) << "there is no folder yet";
  EXPECT_EQ(PathOf(file), "");
  EXPECT_FALSE(file.Exists());
  ASSERT_EQ(file.GoToTempFolder(), ZRErrNone);
  EXPECT_EQ(PathOf(file), folder_);
  const std::string longest(63, 'n');
  EXPECT_EQ(file.SetName(longest.c_str()), ZRErrNone);
  EXPECT_EQ(PathOf(file), folder_ + "\\" + longest);
  EXPECT_EQ(file.SetName(nullptr), ZRErrNone);
  EXPECT_EQ(PathOf(file), folder_);
  EXPECT_EQ(file.SetName((longest + "n").c_str()), ZRErrNotFound);
  EXPECT_EQ(PathOf(file), "") << "folder and name are emptied";
  ASSERT_EQ(file.GoToTempFolder(), ZRErrNone);
  file.SetName("name");
  ASSERT_EQ(file.GoToTempFolder(), ZRErrNone);
  EXPECT_EQ(PathOf(file), folder_) << "a new folder has no name in it";
  EXPECT_TRUE(file.ResetSpec());
  EXPECT_EQ(PathOf(file), "");
}

TEST_F(DiskFileTest, PathsThatDoNotFit) {
  CDiskFile file;
  ASSERT_EQ(file.GoToTempFolder(), ZRErrNone);
  ASSERT_EQ(file.SetName("abc"), ZRErrNone);
  const auto length = static_cast<uint32_t>(folder_.size() + 4);
  char path[300];
  for (uint32_t size : {length, static_cast<uint32_t>(folder_.size() + 1), 4u, 3u, 1u}) {
    SCOPED_TRACE(size);
    std::memset(path, '#', sizeof path);
    EXPECT_EQ(file.GetNativePath(path, size), ZRErrTooLong);
    EXPECT_STREQ(path, "");
    EXPECT_EQ(path[size], '#');
  }
  EXPECT_EQ(file.GetNativePath(path, length + 1), ZRErrNone);
  EXPECT_EQ(file.GetNativePath(path, 0), ZRErrTooLong);
  EXPECT_EQ(file.GetNativePath(nullptr, 300), ZRErrTooLong);
}

TEST_F(DiskFileTest, CreatesTheNamedFolder) {
  CDiskFile folder;
  ASSERT_EQ(folder.GoToTempFolder(), ZRErrNone);
  EXPECT_EQ(folder.CreateFolder(), ZRErrParam) << "no name";
  ASSERT_EQ(folder.SetName("Made"), ZRErrNone);
  EXPECT_FALSE(folder.Exists());
  EXPECT_EQ(folder.CreateFolder(), ZRErrNone);
  EXPECT_TRUE(folder.Exists());
  EXPECT_EQ(folder.CreateFolder(), ZRErrNone) << "it is there already";
  ASSERT_TRUE(test::WriteWholeFile(folder_ + "\\file", "x"));
  folder.SetName("file");
  EXPECT_TRUE(folder.Exists());
  EXPECT_EQ(folder.CreateFolder(), ZRErrExists) << "a file has the name";
  folder.SetName("missing\\inner");
  EXPECT_EQ(folder.CreateFolder(), ZRErrNotFound);
  folder.SetName("inv|alid");
  EXPECT_EQ(folder.CreateFolder(), ZRErrNotFound);
  test::EmptyFolder(folder_);
}

}  // namespace
