#include "files/volumes.h"

#include <algorithm>

#include "app/console_print.h"
#include "files/file_trace.h"
#include "files/folder_tests.h"
#include "files/volume_info.h"
#include "tests/files/files_fixture.h"

namespace {

class VolumesTest : public test::FilesTest {
 protected:
  VolumesTest() { ZRSetAppFolder(folder_.c_str()); }
  void MakeLogical(const std::string& name) {
    CreateDirectoryA((folder_ + "\\Volumes").c_str(), nullptr);
    ASSERT_TRUE(CreateDirectoryA((folder_ + "\\Volumes\\" + name).c_str(), nullptr));
  }
  // Looks at what is there now; the number of the last volume.
  static uint16_t Refresh() {
    uint16_t first;
    EXPECT_EQ(ZRGetVolumeByIndex(0, &first), ZRErrNone);
    EXPECT_EQ(first, 1);
    return static_cast<uint16_t>(ZRVolumeCount());
  }
  static uint16_t VolumeOf(const std::string& path) {
    uint16_t volume;
    const ZRError error = ZRVolumeFromPath(path.c_str(), &volume);
    EXPECT_EQ(error, volume == kNoVolume ? ZRErrNoVolume : ZRErrNone);
    return volume;
  }
  static std::string NameOf(uint16_t volume) {
    char name[256];
    EXPECT_EQ(ZRGetVolumeName(volume, name, sizeof name), ZRErrNone);
    return name;
  }
};

TEST_F(VolumesTest, DrivesAndFoldersHaveNumbers) {
  MakeLogical("Archive");
  Refresh();
  uint16_t volume;
  std::vector<std::string> names;
  uint32_t index = 0;
  while (ZRGetVolumeByIndex(index, &volume) == ZRErrNone) names.push_back(NameOf(volume)), ++index;
  EXPECT_EQ(volume, kNoVolume);
  EXPECT_EQ(ZRVolumeCount(), names.size());
  EXPECT_EQ(std::count(names.begin(), names.end(), "C:\\"), 1);
  EXPECT_EQ(names.back(), "Archive") << "logical volumes come behind the drives";
  // A new one gets a new number; a lost one keeps its own.
  MakeLogical("Second");
  RemoveDirectoryA((folder_ + "\\Volumes\\Archive").c_str());
  EXPECT_EQ(Refresh(), names.size() + 1);
  const auto archive = static_cast<uint16_t>(names.size());
  EXPECT_EQ(NameOf(archive), "Archive");
  EXPECT_FALSE(ZRIsVolumeOnline(archive));
  EXPECT_TRUE(ZRIsVolumeOnline(archive + 1));
  EXPECT_FALSE(ZRIsVolumeOnline(999));
}

// Listings shorten names above 31 bytes; a volume keeps its own.
TEST_F(VolumesTest, ALongNameStaysWhole) {
  const std::string name(100, 'v');
  MakeLogical(name);
  test::WriteWholeFile(folder_ + "\\Volumes\\file", "no volume");
  const uint16_t last = Refresh(), volume = VolumeOf(folder_ + "\\Volumes\\" + name + "\\f");
  EXPECT_EQ(NameOf(volume), name);
  EXPECT_EQ(volume, last);
}

TEST_F(VolumesTest, TheLongestRootWins) {
  MakeLogical("Archive");
  const uint16_t logical = Refresh();
  EXPECT_EQ(VolumeOf(folder_ + "\\Volumes\\Archive"), logical);
  EXPECT_EQ(VolumeOf(folder_ + "\\volumes\\ARCHIVE\\deep\\f"), logical);
  const uint16_t drive = VolumeOf("C:\\");
  EXPECT_EQ(VolumeOf(folder_ + "\\Volumes\\Archives"), drive);
  EXPECT_EQ(VolumeOf("c:file"), drive);
  EXPECT_EQ(ZRGetAppVolume(), drive);
  EXPECT_EQ(ZRGetAppDrive(), 2);
  EXPECT_EQ(VolumeOf("\\\\server\\share"), kNoVolume);
  EXPECT_EQ(VolumeOf("1:\\"), kNoVolume);
  EXPECT_EQ(VolumeOf(""), kNoVolume);
}

TEST_F(VolumesTest, Information) {
  MakeLogical("Archive");
  const uint16_t logical = Refresh();
  VolumeInfo info;
  ASSERT_EQ(ZRGetDriveInfo(logical, true, 0xFFFF, &info), ZRErrNone);
  EXPECT_EQ(info.network_name, "[Logical " + std::to_string(logical) + "]");
  EXPECT_STREQ(info.label, "Archive");
  EXPECT_EQ(info.root, folder_ + "\\Volumes\\Archive");
  EXPECT_EQ(info.kind, 0);
  const uint16_t drive = VolumeOf("C:\\");
  ASSERT_EQ(ZRGetDriveInfo(drive, false, 0xFFFF, &info), ZRErrNone);
  EXPECT_EQ(info.kind, kDriveFixed);
  EXPECT_EQ(std::string(info.short_name, info.short_name + 3),
            "\x02"
            "C:");
  EXPECT_STREQ(info.network_name, "[C:\\]");
  EXPECT_LE(info.free_bytes, info.total_bytes);
  EXPECT_GT(info.total_bytes, 0u);
  ASSERT_EQ(ZRGetDriveInfo(drive, false, 0, &info), ZRErrNone);
  EXPECT_EQ(info.volume, drive);
  EXPECT_EQ(info.total_bytes, 0u);
  EXPECT_EQ(info.short_name[0], 0);
  static std::string traced;
  traced.clear();
  qv::SetPrintHook([](const char* text) { traced += text; });
  for (uint32_t flags : {~qv::kTraceOpens, qv::kTraceOpens}) {
    EXPECT_EQ(traced, "");
    qv::SetFileTrace(flags);
    EXPECT_EQ(ZRGetDriveInfo(999, false, 0, &info), ZRErrNoVolume);
  }
  qv::SetFileTrace(0);
  qv::SetPrintHook(nullptr);
  EXPECT_EQ(traced, "Debug: ZRGetDriveInfo(999) returned error 4119.\n");
  uint64_t bytes = 1;
  EXPECT_EQ(ZRGetVolumeFreeSpace(999, &bytes), ZRErrNoVolume);
  EXPECT_EQ(bytes, 0u);
  EXPECT_EQ(ZRGetVolumeFreeSpace(drive, &bytes), ZRErrNone);
  EXPECT_GT(bytes, 0u);
}

TEST_F(VolumesTest, SkippedDrives) {
  Set("QVSetup", "SkipVol", "-");
  test::Said().clear();
  uint16_t volume;
  ASSERT_EQ(ZRGetVolumeByIndex(0, &volume), ZRErrNone);
  EXPECT_TRUE(test::Said().empty()) << "no letters";
  Set("QVSetup", "SkipVol", "zq");
  test::Said().clear();
  for (int i = 0; i < 2; ++i) ASSERT_EQ(ZRGetVolumeByIndex(0, &volume), ZRErrNone);
  EXPECT_EQ(test::Said(),
            (std::vector<std::string>{"log: INI directive to ignore (mark as offline) volumes",
                                      "log:  Z:", "log:  Q:", "log: \n"}));
  EXPECT_EQ(VolumeOf("Z:\\"), kNoVolume);
  EXPECT_FALSE(ZRFolderExists("Z:\\", false));
  EXPECT_TRUE(ZRFolderExists("C:", false));
}

TEST_F(VolumesTest, Texts) {
  char text[4];
  EXPECT_EQ(ZRDriveName(25, text), ZRErrNone);
  EXPECT_STREQ(text, "Z:");
  EXPECT_EQ(ZRDriveName(26, text), ZRErrRange);
  EXPECT_STREQ(text, "");
  const uint16_t drive = VolumeOf("C:\\");
  EXPECT_EQ(ZRGetVolumeRoot(drive, text, 4), ZRErrNone);
  EXPECT_EQ(ZRGetVolumeRoot(drive, text, 3), ZRErrTooLong);
  EXPECT_STREQ(text, "");
  EXPECT_EQ(ZRGetVolumeName(999, text, 4), ZRErrNoVolume);
  EXPECT_EQ(ZRCheckVolume(999), kDriveAbsent);
}

}  // namespace
