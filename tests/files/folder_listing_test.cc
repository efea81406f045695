#include "files/folder_listing.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "files/disk_file.h"
#include "files/file_request.h"
#include "files/level_listing.h"
#include "tests/files/files_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FolderListingTest : public test::FilesTest {
 protected:
  // The names that a pattern finds, sorted, a folder's with a "\" behind; the last error in error_.
  std::vector<std::string> List(const char* pattern, uint32_t options = 0) {
    qv::FolderListing listing(false);
    qv::FolderEntry entry;
    std::vector<std::string> names;
    error_ = listing.First(folder_.c_str(), pattern, options, &entry);
    for (; error_ == 0; error_ = listing.Next(&entry)) {
      names.push_back(entry.name);
      if ((entry.attributes & qv::kEntryFolder) != 0) names.back() += "\\";
    }
    EXPECT_FALSE(listing.InProgress());
    EXPECT_STREQ(entry.name, "");
    std::sort(names.begin(), names.end());
    return names;
  }
  void MakeFolder(const std::string& name) {
    ASSERT_TRUE(CreateDirectoryA((folder_ + "\\" + name).c_str(), nullptr));
  }
  void MakeFile(const std::string& name, const std::string& bytes = "") {
    ASSERT_TRUE(test::WriteWholeFile(folder_ + "\\" + name, bytes));
  }
  ZRError error_ = 0;
};

TEST_F(FolderListingTest, PatternsAndOptions) {
  EXPECT_THAT(List("*.*"), IsEmpty());
  EXPECT_EQ(error_, ZRErrEOF);
  MakeFolder("sub");
  MakeFile("a.txt", "12345");
  MakeFile("B.TXT");
  MakeFile("noext");
  EXPECT_THAT(List("*.*"), ElementsAre("B.TXT", "a.txt", "noext", "sub\\"));
  EXPECT_THAT(List("*.txt"), ElementsAre("B.TXT", "a.txt"));
  EXPECT_THAT(List("?.t*"), ElementsAre("B.TXT", "a.txt"));
  EXPECT_THAT(List("a.txt"), ElementsAre("a.txt"));
  EXPECT_THAT(List("none*"), IsEmpty());
  EXPECT_EQ(error_, ZRErrEOF);
  EXPECT_THAT(List("*.*", qv::kListFoldersOnly), ElementsAre("sub\\"));
  EXPECT_THAT(List("a.txt", qv::kListFoldersOnly), IsEmpty());
  EXPECT_EQ(error_, ZRErrEOF);
  EXPECT_THAT(List(std::string(250, 'p').c_str()), IsEmpty());
  EXPECT_EQ(error_, ZRErrTooLong);
}

TEST_F(FolderListingTest, AnEntryHasItsFacts) {
  MakeFile("a.txt", "12345");
  SetFileAttributesA((folder_ + "\\a.txt").c_str(), FILE_ATTRIBUTE_READONLY);
  SYSTEMTIME now;
  GetLocalTime(&now);
  CDiskFile file;
  ASSERT_EQ(file.SetPath((folder_ + "\\a.txt").c_str()), ZRErrNone);
  qv::FolderEntry entry;
  entry.unused = 0x1234;
  ASSERT_EQ(file.FirstEntry(&entry, 0), ZRErrNone);
  EXPECT_EQ(entry.unused, 0x1234u);
  SetFileAttributesA((folder_ + "\\a.txt").c_str(), FILE_ATTRIBUTE_NORMAL);
  EXPECT_EQ(entry.data_size, 5u);
  EXPECT_NE(entry.attributes & qv::kEntryReadOnly, 0u);
  // Seconds of the day; a test at midnight is given the day.
  const uint32_t seconds = now.wHour * 3600u + now.wMinute * 60u + now.wSecond;
  EXPECT_LT((entry.modified + 86400 + 5 - seconds) % 86400, 60u);
  uint8_t name[64];
  EXPECT_EQ(file.NextEntryLStr(&entry, name), ZRErrEOF);
  EXPECT_EQ(name[0], 0);
}

TEST_F(FolderListingTest, LongNamesComeInTheirShortFormAndOpen) {
  const std::string file(64, 'f'), fits(63, 'g'), folder(32, 'd'), folder_fits(31, 'e');
  MakeFile(file, "content");
  MakeFile(fits);
  MakeFolder(folder);
  MakeFolder(folder_fits);
  const auto names = List("*.*");
  ASSERT_EQ(names.size(), 4u);
  EXPECT_THAT(names, testing::Contains(fits));
  EXPECT_THAT(names, testing::Contains(folder_fits + "\\"));
  for (const std::string& name : names) {
    if (name == fits || name == folder_fits + "\\") continue;
    EXPECT_LE(name.size(), 13u);
    EXPECT_NE(GetFileAttributesA((folder_ + "\\" + name).c_str()), INVALID_FILE_ATTRIBUTES) << name;
  }
  EXPECT_EQ(List("*.*"), names) << "short names stay";
  // The split of the long path gives the same short name.
  char place[kFolderSize], name[kNameSize];
  ASSERT_EQ(ZRPathSplit((folder_ + "\\" + file).c_str(), place, name, false), ZRErrNone);
  EXPECT_THAT(names, testing::Contains(std::string(name)));
}

TEST_F(FolderListingTest, AFolderThatVanishesEndsTheListing) {
  MakeFolder("gone");
  const std::string gone = folder_ + "\\gone";
  qv::FolderListing listing(false);
  qv::FolderEntry entry;
  ASSERT_TRUE(RemoveDirectoryA(gone.c_str()));
  EXPECT_EQ(listing.First("", "*.*", 0, &entry), ZRErrBadFolder) << "not the current folder";
  EXPECT_EQ(listing.First(gone.c_str(), "*.*", 0, &entry), ZRErrEOF);
  EXPECT_EQ(listing.Next(&entry), ZRErrEOF);
}

TEST_F(FolderListingTest, OverTheLevelsEachNameComesOnce) {
  ZRSetAppFolder(folder_.c_str());
  ASSERT_EQ(ZRSetProductFolderName(qv::kProductFolder), ZRErrNone);
  const struct {
    uint32_t level;
    const char* name;
  } kFiles[] = {{3, "one"}, {3, "two"}, {4, "TWO"}, {4, "three"}, {8, "one"}, {8, "four"}};
  for (const auto& row : kFiles) {
    CDiskFile file;
    ASSERT_EQ(file.CreateAtLevel(row.level, "Levels", row.name), ZRErrNone) << row.name;
    EXPECT_EQ(file.CreateAtLevel(row.level, "Levels", row.name), ZRErrExists);
    EXPECT_EQ(file.GoToLevel(row.level, "Levels", row.name), ZRErrNone);
    EXPECT_EQ(file.GoToLevel(row.level, "Levels", "missing"), ZRErrNotFound);
  }
  qv::LevelListing listing;
  qv::FolderEntry entry;
  std::vector<std::string> found;
  ZRError error = listing.First(1, "Levels", 0, &entry);
  for (; error == 0; error = listing.Next(&entry)) {
    found.push_back(std::to_string(listing.level()) + entry.name);
  }
  EXPECT_EQ(error, ZRErrEOF);
  std::sort(found.begin(), found.end());
  EXPECT_THAT(found, ElementsAre("3one", "3two", "4three", "8four"));
  EXPECT_EQ(listing.Next(&entry), ZRErrEOF);
  for (const auto& row : kFiles) {
    CDiskFile file;
    EXPECT_EQ(file.GoToLevel(row.level, "Levels", row.name), ZRErrNone);
    EXPECT_EQ(file.Delete(), ZRErrNone);
  }
}

}  // namespace
