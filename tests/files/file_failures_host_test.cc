// What goes wrong on a disk, and names that only other systems allow.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

#include "files/disk_file.h"
#include "files/folder_tests.h"
#include "files/level_listing.h"
#include "platform/host/control.h"
#include "platform/native_files.h"
#include "tests/files/file_bytes.h"
#include "tests/files/files_fixture.h"

namespace {

class FileFailuresHostTest : public test::FilesTest {
 protected:
  ~FileFailuresHostTest() override { host::ClearFaults(); }
  // Past every rule of the calls.
  void MakeNative(const std::string& name) { std::ofstream(native_ + "/" + name) << "content"; }
  std::vector<std::string> List() { return List(folder_, 0); }
  static std::vector<std::string> List(const std::string& folder, uint32_t options) {
    std::vector<std::string> names;
    qv::FolderEntry entry;
    qv::FolderListing listing(false);
    ZRError error = listing.First(folder.c_str(), "*.*", options, &entry);
    for (; error == 0; error = listing.Next(&entry)) names.push_back(entry.name);
    EXPECT_EQ(error, ZRErrEOF);
    return names;
  }
  const std::string native_ = platform::NativePath(folder_);
};

// Every entry is listed, by a name that fits and opens it.
TEST_F(FileFailuresHostTest, NamesThatOnlyOtherSystemsAllow) {
  const std::string kNames[] = {"a:b",
                                "what?.txt",
                                "back\\slash",
                                std::string(200, 'l'),
                                "\xD0\x9F\xD0\xB8\xD1\x81\xD1\x8C\xD0\xBC\xD0\xBE.eml",
                                "\xE6\x97\xA5\xE6\x9C\xAC",
                                "bad\xFFutf8",
                                "tab\there"};
  for (const std::string& name : kNames) MakeNative(name);
  const auto names = List();
  ASSERT_EQ(names.size(), std::size(kNames));
  for (const std::string& name : names) {
    EXPECT_EQ(test::ReadWholeFile(folder_ + "\\" + name), "content") << name;
    CDiskFile file;
    test::OpenExclusive(file, folder_ + "\\" + name);
    EXPECT_EQ(test::ReadBytes(file, 0, 9), "content");
    EXPECT_EQ(file.Close(), ZRErrNone);
    EXPECT_EQ(file.Delete(), ZRErrNone) << name;
  }
  EXPECT_THAT(test::FolderEntries(folder_), testing::IsEmpty());
}

TEST_F(FileFailuresHostTest, AFolderOfMany) {
  constexpr size_t kMany = 100000;
  for (size_t i = 0; i < kMany; ++i) {
    const std::string path = native_ + "/entry" + std::to_string(i);
    close(open(path.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
  }
  auto names = List();
  EXPECT_EQ(names.size(), kMany);
  std::sort(names.begin(), names.end());
  EXPECT_EQ(std::unique(names.begin(), names.end()), names.end());
}

TEST_F(FileFailuresHostTest, AFileThatAnotherProcessHolds) {
  MakeNative("held");
  const int other = open((native_ + "/held").c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(flock(other, LOCK_EX | LOCK_NB), 0);
  CDiskFile file;
  ASSERT_EQ(file.SetPath((folder_ + "\\held").c_str()), ZRErrNone);
  for (uint32_t access : {kFileRead, kFileWrite, kFileRead | kFileWrite}) {
    EXPECT_EQ(file.Open(access, kShareAll), ZRErrAccess);
    EXPECT_FALSE(file.IsOpen());
  }
  close(other);
  EXPECT_EQ(file.OpenExclusive(), ZRErrNone);
  EXPECT_EQ(file.Close(), ZRErrNone);
}

// Puts a disk of 64 KB in the folder's place, for this process alone.
bool MountSmallDisk(const std::string& native_folder) {
  const bool is_alone = unshare(CLONE_NEWNS) == 0 || unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0;
  return is_alone && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         mount("small", native_folder.c_str(), "tmpfs", 0, "size=64k") == 0;
}

// Fills the disk, makes room, goes on. 0, or the number of the step that went wrong.
int FillDisk(const std::string& folder) {
  const std::string text(10000, 't');
  const auto length = static_cast<int32_t>(text.size());
  CDiskFile file, other;
  if (file.SetPath((folder + "\\filler").c_str()) != 0 || file.Create() != 0) return 1;
  if (other.SetPath((folder + "\\other").c_str()) != 0 || other.Create() != 0) return 2;
  if (file.OpenExclusive() != 0 || other.OpenExclusive() != 0) return 3;
  if (other.Write(text.data(), length) != 0) return 4;
  int pieces = 0;
  ZRError error = 0;
  while (pieces < 100 && (error = file.Write(text.data(), length)) == 0) ++pieces;
  if (error != ZRErrDiskFull || pieces == 0 || pieces > 6) return 5;
  if (file.Sense() < pieces * length) return 6;
  // What was there is there still, also what is written over without growing.
  std::string read(text.size(), '#');
  if (other.ReadExact(read.data(), static_cast<uint32_t>(length), 0) != 0 || read != text) return 7;
  if (other.WriteAt("new", 3, 5) != 0) return 8;
  for (int piece = 0; piece < pieces; ++piece) {
    if (file.ReadExact(read.data(), static_cast<uint32_t>(length), int64_t{piece} * length) != 0 ||
        read != text) {
      return 9;
    }
  }
  if (other.Close() != 0 || other.Delete() != 0) return 10;
  if (file.WriteAt(text.data(), length, int64_t{pieces} * length) != 0) return 11;
  return file.Close() == 0 ? 0 : 12;
}

TEST_F(FileFailuresHostTest, AFullDisk) {
  constexpr int kNotAllowed = 99;
  const pid_t child = fork();
  if (child == 0) {
    _exit(MountSmallDisk(native_) ? FillDisk(folder_) : kNotAllowed);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status)) << status;
  if (WEXITSTATUS(status) == kNotAllowed) GTEST_SKIP() << "no disk may be made here";
  EXPECT_EQ(WEXITSTATUS(status), 0) << "the step that failed";
}

// The machine itself refuses: nobody may make anything in this folder.
TEST_F(FileFailuresHostTest, AReadOnlyFolder) {
  const auto refused = testing::AnyOf(ZRErrAccess, ZRErrWriteProtected);
  CDiskFile file;
  ASSERT_EQ(file.SetPath("Z:\\sys\\quorvantis"), ZRErrNone);
  EXPECT_THAT(file.CreateFolder(), refused);
  EXPECT_THAT(file.Create(), refused);
  EXPECT_FALSE(file.Exists());
}

// What is too long for the platform is refused before it is asked, or is simply not there.
TEST_F(FileFailuresHostTest, PathsOf300Characters) {
  const std::string path = "C:\\" + std::string(146, 'd') + "\\" + std::string(150, 'n');
  CDiskFile file;
  EXPECT_EQ(file.SetPath(path.c_str()), ZRErrTooLong);
  EXPECT_STREQ(file.folder(), "");
  EXPECT_FALSE(ZRFolderExists(path.c_str(), false));
  uint16_t volume;
  EXPECT_EQ(ZRVolumeFromPath(path.c_str(), &volume), ZRErrNone) << "its drive is known";
  qv::FolderListing listing(false);
  qv::FolderEntry entry;
  EXPECT_EQ(listing.First(path.c_str(), "*.*", 0, &entry), ZRErrTooLong);
  EXPECT_EQ(ZRSetAppFolder(path.c_str()), ZRErrTooLong);
  EXPECT_EQ(ZRTranslateNativeError(999, path.c_str()), ZRErrUnexpected);
  EXPECT_THAT(test::Said().back(), testing::HasSubstr(path)) << "a report has it whole";
}

// An entry that lies too deep for a path of its own is listed, but not when more is asked about it.
TEST_F(FileFailuresHostTest, EntriesThatLieTooDeep) {
  std::string deep = folder_;
  while (deep.size() < 200) deep += "\\ddddddddd", mkdir(platform::NativePath(deep).c_str(), 0700);
  const std::string fits(254 - deep.size() - 1, 'f');
  for (const std::string& name : {fits, fits + "g"}) {
    std::ofstream(platform::NativePath(deep) + "/" + name) << "content";
  }
  EXPECT_THAT(List(deep, 0), testing::ElementsAre(fits, fits + "g"));
  EXPECT_THAT(List(deep, qv::kListForkInfo), testing::ElementsAre(fits));
}

TEST_F(FileFailuresHostTest, NamesInTheSystemsCodePage) {
  MakeNative("\xE6\x97\xA5\xE6\x9C\xAC");
  host::SetAnsiCodePage(932);
  EXPECT_THAT(List(), testing::ElementsAre("\x93\xFA\x96\x7B"));
  CDiskFile file;
  EXPECT_EQ(file.SetPath((folder_ + "\\\x93\xFA\x96\x7B").c_str()), ZRErrNone);
  EXPECT_EQ(file.Delete(), ZRErrNone);
  host::SetAnsiCodePage(1252);
}

TEST_F(FileFailuresHostTest, AnOlderSystemsFindCall) {
  MakeNative("file");
  ASSERT_EQ(mkdir((native_ + "/folder").c_str(), 0700), 0);
  host::ResetCallCounts();
  host::FailCall("GetProcAddress", 1, ERROR_PROC_NOT_FOUND);
  qv::FolderListing listing(false);
  qv::FolderEntry entry;
  EXPECT_EQ(listing.First(folder_.c_str(), "*.*", qv::kListFoldersOnly, &entry), ZRErrNone);
  EXPECT_STREQ(entry.name, "folder");
  EXPECT_EQ(listing.Next(&entry), ZRErrEOF);
  EXPECT_EQ(host::CallsMade("FindFirstFileA"), 1u);
  EXPECT_EQ(host::CallsMade("FindFirstFileExA"), 0u);
}

// A level whose listing fails, at its start or on its way, is passed over.
TEST_F(FileFailuresHostTest, ALevelThatCannotBeListed) {
  ZRSetAppFolder(folder_.c_str());
  for (uint32_t level : {3, 8}) {
    CDiskFile file;
    ASSERT_EQ(file.CreateAtLevel(level, "Levels", std::to_string(level).c_str()), ZRErrNone);
  }
  for (const char* call : {"FindFirstFileExA", "FindNextFileA"}) {
    const uint32_t handles = host::OpenHandles();
    host::FailCall(call, 1, ERROR_ACCESS_DENIED);
    {
      qv::LevelListing listing;
      qv::FolderEntry entry;
      EXPECT_EQ(listing.First(3, "Levels", 0, &entry), ZRErrNone);
      EXPECT_STREQ(entry.name, "8");
      EXPECT_EQ(listing.Next(&entry), ZRErrEOF);
    }
    host::ClearFaults();
    EXPECT_EQ(host::OpenHandles(), handles);
  }
  CDiskFile file;
  ASSERT_EQ(file.GoToLevel(3, "Levels", "3"), ZRErrNone);
  EXPECT_EQ(file.Delete(), ZRErrNone);
}

TEST_F(FileFailuresHostTest, SpecialFoldersTheOldWay) {
  char expected[kFolderSize], path[kFolderSize];
  ASSERT_TRUE(ZRGetSpecialFolder(CSIDL_APPDATA, expected, sizeof expected));
  qv::ResetLocationsForTest();
  host::FailCall("LoadLibraryA", 1, ERROR_MOD_NOT_FOUND, true);
  EXPECT_TRUE(ZRGetSpecialFolder(CSIDL_APPDATA, path, sizeof path));
  EXPECT_STREQ(path, expected);
  host::FailCall("SHGetSpecialFolderLocation", 1, ERROR_FILE_NOT_FOUND, true);
  EXPECT_FALSE(ZRGetSpecialFolder(CSIDL_APPDATA, path, sizeof path));
  EXPECT_STREQ(path, "");
  ZRSetAppFolder(folder_.c_str());
  EXPECT_EQ(ZRGetDocumentsFolder(path, sizeof path), ZRErrNone);
  EXPECT_EQ(path, folder_);
  EXPECT_EQ(ZRGetLocation(1, path, sizeof path), ZRErrNotFound);
}

}  // namespace
