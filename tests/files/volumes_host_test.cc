// Drives and volumes of every kind, and what the platform may answer about them.
#include <gtest/gtest.h>

#include "files/volume_info.h"
#include "platform/host/control.h"
#include "tests/files/files_fixture.h"

namespace {

class VolumesHostTest : public test::FilesTest {
 protected:
  ~VolumesHostTest() override {
    host::ClearFaults();
    host::RemoveAddedDrives();
  }
  static uint16_t AddDriveF(const host::TestDrive& drive) {
    host::AddDrive('F', drive);
    uint16_t volume;
    ZRGetVolumeByIndex(0, &volume);
    EXPECT_EQ(ZRVolumeFromPath("F:\\x", &volume), ZRErrNone);
    return volume;
  }
  // The program's folder, with a volume in it.
  void MakeLogical() {
    ZRSetAppFolder(folder_.c_str());
    CreateDirectoryA((folder_ + "\\Volumes").c_str(), nullptr);
    CreateDirectoryA((folder_ + "\\Volumes\\One").c_str(), nullptr);
  }
};

// A list of volumes is made whatever fails on the way, and is whole at the next look.
TEST_F(VolumesHostTest, VolumesOutliveEveryFailure) {
  MakeLogical();
  for (const char* call :
       {"GetDriveTypeA", "GetFileAttributesA", "FindFirstFileExA", "FindNextFileA",
        "SHGetFolderPathA", "LoadLibraryA", "GetProcAddress", "FindClose"}) {
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
      if (struck) continue;
      EXPECT_GT(n, 1u) << "no fault struck";
      break;
    }
  }
}

TEST_F(VolumesHostTest, KindsOfDrives) {
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

TEST_F(VolumesHostTest, LabelsAndNetworkNames) {
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
    const uint16_t volume = AddDriveF(row.drive);
    VolumeInfo info;
    EXPECT_EQ(ZRGetDriveInfo(volume, false, 0xFFFF, &info), row.error);
    EXPECT_STREQ(info.label, row.label);
    EXPECT_EQ(info.network_name, row.network);
    EXPECT_EQ(info.serial, row.error == 0 ? 7u : 0u);
    char root[8];
    EXPECT_EQ(ZRGetVolumeRoot(volume, root, sizeof root), ZRErrNotFound) << "it has no root folder";
  }
}

TEST_F(VolumesHostTest, NetworkCodes) {
  const uint16_t volume = AddDriveF({DRIVE_REMOTE, "pub", "\\\\srv\\pub", 7});
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
  qv::GlobalHooks().allocate = [](size_t) -> void* { return nullptr; };
  VolumeInfo info;
  EXPECT_EQ(ZRGetDriveInfo(volume, false, kVolumeLabel, &info), ZRErrNoMemory);
}

TEST_F(VolumesHostTest, LabelsThatCannotBeRead) {
  const struct {
    UINT type;
    const char* label;
    const char* network;
  } kRows[] = {{DRIVE_CDROM, "", ""}, {DRIVE_REMOTE, "F:", "\\\\srv\\pub"}};
  for (const auto& row : kRows) {
    const uint16_t volume = AddDriveF({row.type, "disk", "\\\\srv\\pub", 7});
    host::FailCall("GetVolumeInformationW", 1, 21);
    VolumeInfo info;
    EXPECT_EQ(ZRGetDriveInfo(volume, false, 0xFFFF, &info), ZRErrNone);
    EXPECT_EQ(info.attributes, row.type == DRIVE_CDROM ? kVolumeLocked : 0u);
    EXPECT_STREQ(info.label, row.label);
    EXPECT_STREQ(info.network_name, row.network);
    EXPECT_EQ(info.serial, 0u);
    EXPECT_EQ(info.short_name[0], 2) << "filled before";
    host::ClearFaults();
  }
}

// While a worker looks at a volume, another task finds new ones.
TEST_F(VolumesHostTest, TheListMayChangeUnderAQuery) {
  MakeLogical();
  uint16_t volume;
  ASSERT_EQ(ZRGetVolumeByIndex(0, &volume), ZRErrNone);
  const auto logical = static_cast<uint16_t>(ZRVolumeCount());
  qv::GlobalHooks().run_on_worker = [](void (*job)(void*), void* argument) {
    for (char letter = 'D'; letter < 'Z'; ++letter) host::AddDrive(letter, {});
    uint16_t first;
    EXPECT_EQ(ZRGetVolumeByIndex(0, &first), ZRErrNone);
    job(argument);
    host::RemoveAddedDrives();
  };
  VolumeInfo info;
  EXPECT_EQ(ZRGetDriveInfo(logical, true, 0, &info), ZRErrNone);
  EXPECT_EQ(info.root, folder_ + "\\Volumes\\One");
  EXPECT_GT(ZRVolumeCount(), logical);
  EXPECT_TRUE(ZRIsVolumeOnline(logical));
}

}  // namespace
