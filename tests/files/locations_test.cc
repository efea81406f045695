#include "files/locations.h"

#include <cstring>

#include "files/disk_file.h"
#include "tests/files/files_fixture.h"

namespace {

using LocationsTest = test::FilesTest;

std::string Location(uint32_t level, ZRError expected = ZRErrNone) {
  char path[kFolderSize] = "before";
  EXPECT_EQ(ZRGetLocation(level, path, sizeof path), expected) << level;
  return path;
}

TEST_F(LocationsTest, Levels) {
  ASSERT_EQ(ZRSetAppFolder((folder_ + "\\").c_str()), ZRErrNone);
  for (uint32_t level : {1, 2, 3, 4, 7}) {
    const std::string path = Location(level);
    EXPECT_NE(GetFileAttributesA(path.c_str()) & FILE_ATTRIBUTE_DIRECTORY, 0u) << level;
    EXPECT_NE(path.back(), '\\');
  }
  EXPECT_EQ(Location(7), Location(1));
  EXPECT_EQ(Location(5, ZRErrNotSupported), "");
  EXPECT_EQ(Location(6, ZRErrNotSupported), "");
  EXPECT_EQ(Location(8), folder_);
  EXPECT_EQ(Location(9), folder_);
  EXPECT_EQ(Location(10), "C:\\");
  EXPECT_EQ(Location(0, ZRErrRange), "");
  EXPECT_EQ(Location(12, ZRErrRange), "");
  ZRSetAppFolder("\\\\server\\share");
  EXPECT_EQ(Location(10), "\\\\server\\share") << "no drive letter";
}

TEST_F(LocationsTest, TheModule) {
  char folder[kFolderSize], name[kFolderSize], plain[kFolderSize], whole[MAX_PATH];
  ASSERT_EQ(ZRGetAppFolder(folder, sizeof folder), ZRErrNone);
  ASSERT_EQ(ZRGetModuleName(name, sizeof name, false), ZRErrNone);
  ASSERT_EQ(ZRGetModuleName(plain, sizeof plain, true), ZRErrNone);
  GetModuleFileNameA(nullptr, whole, sizeof whole);
  EXPECT_EQ(std::string(folder) + "\\" + name, whole);
  EXPECT_STREQ(plain, "files_tests");
  EXPECT_EQ(ZRGetModuleName(plain, 4, true), ZRErrTooLong);
  EXPECT_STREQ(plain, "");
}

TEST_F(LocationsTest, TheProductFolderName) {
  EXPECT_STREQ(ZRGetProductFolderName(), "Quorvantis");
  const std::string longest(31, 'p');
  EXPECT_EQ(ZRSetProductFolderName(longest.c_str()), ZRErrNone);
  EXPECT_EQ(ZRSetProductFolderName((longest + "p").c_str()), ZRErrTooLong);
  EXPECT_EQ(ZRGetProductFolderName(), longest);
  const uint8_t other[] = {3, 'n', 'e', 'w', 'x'};
  EXPECT_EQ(ZRSetProductFolderName(other), ZRErrNone);
  EXPECT_STREQ(ZRGetProductFolderName(), "new");
}

// The operations that only change what the object names.
TEST_F(LocationsTest, AFileObjectGoesThroughFolders) {
  ASSERT_TRUE(CreateDirectoryA((folder_ + "\\in").c_str(), nullptr));
  Set("QVSetup", "ReportMissing", "1");
  CDiskFile file;
  EXPECT_EQ(file.EnterFolder("in", false), ZRErrParam) << "no folder yet";
  EXPECT_EQ(file.SetPath(""), ZRErrParam);
  EXPECT_EQ(file.SetPath((folder_ + "\\in\\").c_str()), ZRErrNone);
  EXPECT_EQ(file.folder(), folder_ + "\\in");
  EXPECT_EQ(file.GoToParent(), ZRErrNone);
  EXPECT_EQ(file.folder(), folder_);
  EXPECT_EQ(file.EnterFolder("", false), ZRErrBadFolder);
  EXPECT_EQ(file.EnterFolder("in", false), ZRErrNone);
  EXPECT_EQ(file.SetName("a<b>c", true), ZRErrNone);
  EXPECT_STREQ(file.name(), "abc");
  EXPECT_EQ(file.EnterFolder("none", true), ZRErrNone) << "not looked for";
  test::Said().clear();
  EXPECT_EQ(file.EnterFolder("none", false), ZRErrNotFound);
  EXPECT_STREQ(file.folder(), "");
  EXPECT_EQ(file.SetPath((folder_ + "\\none\\f").c_str()), ZRErrNotFound);
  EXPECT_EQ(file.SetPath(folder_.c_str()), ZRErrNone);
  EXPECT_EQ(file.EnterFolder(std::string(64, 'n').c_str(), true), ZRErrNotFound);
  EXPECT_EQ(test::Said(), (std::vector<std::string>{
                              "log: Relative folder change (none) does not exist.\n",
                              "log: Path (" + folder_ + "\\none) is not a valid directory.\n",
                              "log: Relative folder change (" + std::string(64, 'n') +
                                  ") is not a valid directory.\n"}));
  EXPECT_EQ(file.SetPath(("C:\\" + std::string(297, 'l')).c_str()), ZRErrTooLong);
  EXPECT_EQ(file.SetPath("C:"), ZRErrNone);
  EXPECT_STREQ(file.folder(), "C:\\");
  EXPECT_EQ(file.GoToParent(), ZRErrNone);
  EXPECT_STREQ(file.folder(), "C:\\") << "a root stays";
}

TEST_F(LocationsTest, FilesAndFoldersOfTheObject) {
  CDiskFile file;
  ASSERT_EQ(file.SetPath((folder_ + "\\f").c_str()), ZRErrNone);
  EXPECT_EQ(file.Delete(), ZRErrNotFound);
  EXPECT_EQ(file.Create(), ZRErrNone);
  EXPECT_EQ(file.RemoveFolder(), ZRErrParam) << "it is a file";
  EXPECT_EQ(file.Delete(), ZRErrNone);
  file.SetName("d");
  EXPECT_EQ(file.CreateFolder(), ZRErrNone);
  EXPECT_EQ(file.EnterFolder("d", false), ZRErrNone);
  file.SetName("f");
  ASSERT_TRUE(RemoveDirectoryA((folder_ + "\\d").c_str()));
  EXPECT_EQ(file.Create(), ZRErrBadFolder) << "the folder vanished";
}

}  // namespace
