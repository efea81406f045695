// What goes wrong on a disk, and names that only other systems allow.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <functional>

#include "files/disk_file.h"
#include "files/folder_tests.h"
#include "files/level_listing.h"
#include "files/transfer_request.h"
#include "files/volume_info.h"
#include "platform/host/control.h"
#include "platform/native_files.h"
#include "tests/files/files_fixture.h"

namespace {

class FileFailuresHostTest : public test::FilesTest {
 protected:
  ~FileFailuresHostTest() override {
    host::ClearFaults();
    host::RemoveAddedDrives();
  }
  // Past every rule of the calls.
  void MakeNative(const std::string& name) { std::ofstream(native_ + "/" + name) << "content"; }
  std::vector<std::string> List() {
    std::vector<std::string> names;
    qv::FolderEntry entry;
    qv::FolderListing listing(false);
    ZRError error = listing.First(folder_.c_str(), "*.*", 0, &entry);
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
    ASSERT_EQ(file.SetPath((folder_ + "\\" + name).c_str()), ZRErrNone);
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
  const std::string path = folder_ + "\\held";
  FileRequest request;
  request.operation = kFileRequestOpen;
  request.path = path.c_str();
  request.access = GENERIC_READ;
  EXPECT_EQ(ZRTranslateNativeError(qv::RunFileRequest(request, false)), ZRErrAccess);
  close(other);
  EXPECT_EQ(qv::RunFileRequest(request, false), 0u);
  CloseHandle(request.file);
}

// Each call that an operation makes fails in turn with each number; the answer is the number's
// code, nothing stays open and nothing is half made.
TEST_F(FileFailuresHostTest, EachCallFailsInTurn) {
  test::WriteWholeFile(folder_ + "\\old", "kept");
  auto path = [this](const char* name) { return folder_ + "\\" + name; };
  const struct {
    const char* call;
    std::function<ZRError()> run;
    const char* made;  // must not be there after a failure
  } kRows[] = {
      {"CreateFileA",
       [&] {
         CDiskFile f;
         f.SetPath(path("new").c_str());
         return f.Create();
       },
       "new"},
      {"CreateDirectoryA",
       [&] {
         CDiskFile f;
         f.SetPath(path("dir").c_str());
         return f.CreateFolder();
       },
       "dir"},
      {"DeleteFileA",
       [&] {
         CDiskFile f;
         f.SetPath(path("old").c_str());
         return f.Delete();
       },
       ""},
      {"RemoveDirectoryA",
       [&] {
         CDiskFile f;
         f.SetPath(path("old").c_str());
         return f.RemoveFolder();
       },
       ""},
      {"FindFirstFileExA",
       [&] {
         CDiskFile f;
         f.SetPath(folder_.c_str());
         qv::FolderEntry e;
         return f.FirstEntry(&e, 0);
       },
       ""},
      {"FindNextFileA",
       [&] {
         CDiskFile f;
         f.SetPath(folder_.c_str());
         qv::FolderEntry e;
         return f.FirstEntry(&e, qv::kListFoldersOnly);
       },
       ""},
  };
  const struct {
    DWORD native;
    ZRError code;
  } kErrors[] = {{ERROR_ACCESS_DENIED, ZRErrAccess},
                 {ERROR_DISK_FULL, ZRErrDiskFull},
                 {ERROR_WRITE_PROTECT, ZRErrWriteProtected},
                 {ERROR_NOT_ENOUGH_MEMORY, ZRErrNoMemory},
                 {59, ZRErrNetwork}};
  for (const auto& row : kRows) {
    for (const auto& error : kErrors) {
      SCOPED_TRACE(testing::Message() << row.call << " " << error.native);
      const uint32_t handles = host::OpenHandles();
      host::FailCall(row.call, 1, error.native);
      EXPECT_EQ(row.run(), error.code);
      EXPECT_EQ(host::FaultsStruck(), 1u);
      host::ClearFaults();
      EXPECT_EQ(host::OpenHandles(), handles);
      const bool half_made = *row.made != 0 && test::Exists(path(row.made));
      EXPECT_FALSE(half_made);
    }
  }
  EXPECT_EQ(test::ReadWholeFile(path("old")), "kept");
}

// A list of volumes is made whatever fails on the way, and is whole at the next look.
TEST_F(FileFailuresHostTest, VolumesOutliveEveryFailure) {
  ZRSetAppFolder(folder_.c_str());
  CreateDirectoryA((folder_ + "\\Volumes").c_str(), nullptr);
  CreateDirectoryA((folder_ + "\\Volumes\\One").c_str(), nullptr);
  for (const char* call : {"GetDriveTypeA", "GetFileAttributesA", "FindFirstFileExA",
                           "FindNextFileA", "SHGetFolderPathA", "LoadLibraryA", "GetProcAddress",
                           "FindClose", "GetModuleFileNameA", "FileTimeToLocalFileTime"}) {
    for (uint32_t n = 1;; ++n) {
      ASSERT_LT(n, 200u);
      SCOPED_TRACE(testing::Message() << call << " " << n);
      qv::ResetVolumesForTest();
      qv::ResetFileRequestsForTest();
      ASSERT_EQ(ZRSetAppFolder(folder_.c_str()), ZRErrNone);
      const uint32_t handles = host::OpenHandles();
      host::FailCall(call, n, ERROR_ACCESS_DENIED);
      uint16_t volume;
      ZRGetVolumeByIndex(0, &volume);
      const bool struck = host::FaultsStruck() > 0;
      host::ClearFaults();
      EXPECT_LE(host::OpenHandles(), handles + (std::string(call) == "FindClose" ? 1 : 0));
      ASSERT_EQ(ZRGetVolumeByIndex(0, &volume), ZRErrNone);
      EXPECT_EQ(ZRVolumeFromPath((folder_ + "\\Volumes\\One\\f").c_str(), &volume), ZRErrNone);
      char name[64];
      ASSERT_EQ(ZRGetVolumeName(volume, name, sizeof name), ZRErrNone);
      EXPECT_STREQ(name, "One");
      if (!struck) break;
    }
  }
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

// Two directions, each with its own fall-back.
TEST_F(FileFailuresHostTest, PositionedTransfersAreGivenUpPerDirection) {
  for (uint32_t refusal : {120u, 87u}) {
    for (bool reading : {true, false}) {
      SCOPED_TRACE(testing::Message() << refusal << reading);
      qv::ResetTransfersForTest();
      ASSERT_TRUE(test::WriteWholeFile(folder_ + "\\f", "0123456789"));
      const std::string path = folder_ + "\\f";
      FileRequest request;
      request.operation = kFileRequestOpen;
      request.path = path.c_str();
      request.access = GENERIC_READ | GENERIC_WRITE;
      ASSERT_EQ(qv::RunFileRequest(request, false), 0u);
      char bytes[] = "ab";
      request.operation = reading ? kFileRequestRead : kFileRequestWrite;
      request.buffer = bytes;
      request.count = 2;
      request.offset = 4;
      request.flags = kRequestHasOffset;
      host::FailCall(reading ? "ReadFile" : "WriteFile", 1, refusal);
      EXPECT_EQ(qv::RunFileRequest(request, false), 0u);
      EXPECT_EQ(request.count, 2u);
      EXPECT_EQ(qv::PositionedReads(), !reading);
      EXPECT_EQ(qv::PositionedWrites(), reading);
      CloseHandle(request.file);
      EXPECT_STREQ(bytes, reading ? "45" : "ab");
      EXPECT_EQ(test::ReadWholeFile(path), reading ? "0123456789" : "0123ab6789");
      host::ClearFaults();
    }
  }
}

TEST_F(FileFailuresHostTest, AnUnfinishedTransferIsMarked) {
  FileRequest request;
  request.operation = kFileRequestRead;
  request.flags = kRequestHasOffset;
  request.count = 5;
  host::FailCall("ReadFile", 1, ERROR_IO_PENDING);
  EXPECT_EQ(ZRFileWorkerRun(&request), uint32_t{ERROR_IO_PENDING});
  EXPECT_NE(request.flags & kRequestPending, 0u);
  EXPECT_EQ(request.count, 0u);
}

TEST_F(FileFailuresHostTest, KindsOfDrives) {
  const struct {
    char letter;
    UINT platform;
    int32_t kind;
  } kRows[] = {{'A', DRIVE_REMOVABLE, 2}, {'D', DRIVE_REMOVABLE, 3},  {'E', DRIVE_FIXED, 4},
               {'F', DRIVE_REMOTE, 5},    {'G', DRIVE_CDROM, 6},      {'H', DRIVE_RAMDISK, 7},
               {'I', DRIVE_UNKNOWN, 1},   {'J', DRIVE_NO_ROOT_DIR, 0}};
  for (const auto& row : kRows) {
    host::AddDrive(row.letter, {row.platform, "", "", 0});
    EXPECT_EQ(qv::ReadDriveKind(static_cast<uint32_t>(row.letter - 'A')), row.kind) << row.letter;
  }
  ZRSetSkipFloppies(true);
  EXPECT_EQ(qv::ReadDriveKind(0), kDriveAbsent);
  EXPECT_EQ(qv::ReadDriveKind(3), kDriveRemovable);
  EXPECT_EQ(qv::ReadDriveKind(26), kDriveAbsent);
}

TEST_F(FileFailuresHostTest, LabelsAndNetworkNames) {
  const std::string longest(171, 'n');
  const struct {
    const char* name;
    host::TestDrive drive;
    const char* label;
    std::string network;
    ZRError error;
  } kRows[] = {{"fixed", {DRIVE_FIXED, "M.Y.DISK", "", 7}, "MY.DISK", "[F:\\]", 0},
               {"no label", {DRIVE_FIXED, "", "", 7}, "F:", "[F:\\]", 0},
               {"other scripts",
                {DRIVE_FIXED, "\xD0\x9F\xE6\x97\xA5", "", 7},
                "\xD0\x9F\xE6\x97\xA5",
                "[F:\\]",
                0},
               {"remote", {DRIVE_REMOTE, "pub", "\\\\srv\\pub", 7}, "pub", "\\\\srv\\pub", 0},
               {"the longest name", {DRIVE_REMOTE, "pub", longest, 7}, "pub", longest, 0},
               {"a longer name", {DRIVE_REMOTE, "pub", longest + "n", 7}, "", "", ZRErrTooLong}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    host::AddDrive('F', row.drive);
    uint16_t volume;
    ZRGetVolumeByIndex(0, &volume);
    ASSERT_EQ(ZRVolumeFromPath("F:\\x", &volume), ZRErrNone);
    VolumeInfo info;
    EXPECT_EQ(ZRGetDriveInfo(volume, false, 0xFFFF, &info), row.error);
    EXPECT_STREQ(info.label, row.label);
    EXPECT_EQ(info.network_name, row.network);
    EXPECT_EQ(info.serial, row.error == 0 ? 7u : 0u);
    char root[8];
    EXPECT_EQ(ZRGetVolumeRoot(volume, root, sizeof root), ZRErrNotFound) << "it has no root folder";
  }
}

TEST_F(FileFailuresHostTest, NetworkCodes) {
  host::AddDrive('F', {DRIVE_REMOTE, "pub", "\\\\srv\\pub", 7});
  uint16_t volume;
  ZRGetVolumeByIndex(0, &volume);
  ASSERT_EQ(ZRVolumeFromPath("F:\\x", &volume), ZRErrNone);
  const struct {
    uint32_t nth;
    DWORD native;
    ZRError code;
  } kRows[] = {{1, 2250, ZRErrRange},  {2, 8, ZRErrNoMemory},    {2, 50, ZRErrRange},
               {2, 87, ZRErrRange},    {2, 487, ZRErrRange},     {2, 59, ZRErrIO},
               {2, 234, ZRErrTooLong}, {2, 2250, ZRErrNoVolume}, {2, 1222, ZRErrNetwork}};
  for (const auto& row : kRows) {
    host::FailCall("WNetGetConnectionW", row.nth, row.native);
    VolumeInfo info;
    EXPECT_EQ(ZRGetDriveInfo(volume, false, 0xFFFF, &info), row.code) << row.native;
    EXPECT_STREQ(info.network_name, "");
    EXPECT_STREQ(info.label, "");
    EXPECT_EQ(info.kind, kDriveRemote) << "filled before";
    host::ClearFaults();
  }
  host::FailCall("GetVolumeInformationW", 1, 21);
  VolumeInfo info;
  EXPECT_EQ(ZRGetDriveInfo(volume, false, kVolumeLabel | kVolumeKind, &info), ZRErrNone);
  EXPECT_EQ(info.kind, kDriveRemote);
  EXPECT_STREQ(info.label, "");
}

}  // namespace
