#include <cstring>
#include <string>

#include "files/disk_file.h"
#include "files/file_options.h"
#include "tests/files/file_bytes.h"
#include "tests/files/files_fixture.h"
#include "tests/files/trace_capture.h"

namespace {

class OpenTest : public test::FilesTest {
 protected:
  OpenTest() {
    file_.UseWorker(false);
    EXPECT_EQ(file_.SetPath((folder_ + "\\file").c_str()), ZRErrNone);
  }
  void Write(const std::string& name, const std::string& text) {
    EXPECT_TRUE(test::WriteWholeFile(folder_ + "\\" + name, text));
  }
  CDiskFile file_;
};

TEST_F(OpenTest, ModesAndTheirTraces) {
  Write("file", "abc");
  const std::string start = "ZRFile: Open(\"" + folder_ + "\\file\")";
  const struct {
    uint32_t access, share;
    const char* trace;
    bool reads, writes;
    uint32_t others[3];  // shares with which a second reader, writer, and both may open
  } kRows[] = {
      {kFileRead, kShareWrite, "R/O SH-W", true, false, {0, 1, 0}},
      {kFileRead, kShareRead, "R/O SH-R", true, false, {1, 0, 0}},
      {kFileRead, kShareNone, "R/O DENYALL", true, false, {0, 0, 0}},
      {kFileWrite, kShareRead, "W/O SH-R", false, true, {1, 0, 0}},
      {kFileRead | kFileWrite, kShareAll, "R/W SH-RW", true, true, {1, 1, 1}},
      {kFileRead | kFileWrite, 77, "R/W SH-RW", true, true, {1, 1, 1}},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.trace);
    const test::TraceCapture trace(qv::kTraceOpens);
    EXPECT_EQ(file_.Open(row.access, row.share), ZRErrNone);
    EXPECT_EQ(trace.Take(), start + row.trace + " - OK (#) [+1]\n");
    EXPECT_EQ(file_.Open(row.access, row.share), ZRErrFileOpen);
    char bytes[3];
    uint32_t count = 3;
    EXPECT_EQ(file_.ReadAt(bytes, &count, 0), row.reads ? ZRErrNone : ZRErrAccess);
    EXPECT_EQ(file_.WriteAt("xyz", 3, 0), row.writes ? ZRErrNone : ZRErrAccess);
    CDiskFile other;
    EXPECT_EQ(other.SetPath((folder_ + "\\file").c_str()), ZRErrNone);
    for (uint32_t access = kFileRead; access <= (kFileRead | kFileWrite); ++access) {
      EXPECT_EQ(other.Open(access, kShareAll), row.others[access - 1] ? ZRErrNone : ZRErrAccess);
      other.Close();
    }
    trace.Take();
    EXPECT_EQ(file_.Close(), ZRErrNone);
    EXPECT_EQ(trace.Take(), "ZRFile[#]: CLOSE -- OK [+0]\n");
  }
}

TEST_F(OpenTest, WhatIsRefused) {
  const test::TraceCapture trace(qv::kTraceOpens);
  const std::string start = "ZRFile: Open(\"" + folder_ + "\\file\")";
  EXPECT_EQ(file_.Open(kFileRead, kShareNone), ZRErrNotFound);
  EXPECT_EQ(trace.Take(), start + "R/O DENYALL - error 2 (00000002h)\n");
  test::Said().clear();
  EXPECT_EQ(file_.Open(0, kShareNone), ZRErrParam);
  EXPECT_EQ(trace.Take(), start);
  EXPECT_EQ(test::Said().back(),
            "log: Assertion failed: ((AccessBits&fsRead)|(AccessBits&fsWrite)), file cdfile, "
            "line 487\n");
  EXPECT_EQ(file_.Close(), ZRErrNotOpen);
  EXPECT_EQ(file_.Flush(), ZRErrNotOpen);
  EXPECT_EQ(trace.Take(), "");

  EXPECT_EQ(file_.Create(), ZRErrNone);
  EXPECT_EQ(trace.Take(), "ZRFile: Create(\"" + folder_ + "\\file\") - OK [+0]\n");
  EXPECT_FALSE(file_.IsOpen());
  EXPECT_EQ(file_.Create(), ZRErrExists);
  file_.UseWorker(true);
  EXPECT_EQ(file_.OpenExclusive(), ZRErrNone);
  EXPECT_EQ(trace.Take(), start + "R/W DENYALL\n - OK (#) [+1]\n");
  EXPECT_EQ(file_.SetPath(folder_.c_str()), ZRErrFileOpen);
  EXPECT_EQ(file_.SetName("other"), ZRErrFileOpen);
  EXPECT_EQ(file_.EnterFolder("other", true), ZRErrFileOpen);
  EXPECT_EQ(file_.GoToTempFolder(), ZRErrFileOpen);
  EXPECT_EQ(file_.GoToLevel(8, nullptr, "other"), ZRErrFileOpen);
  EXPECT_FALSE(file_.ResetSpec());
  EXPECT_STREQ(file_.name(), "file");
  EXPECT_EQ(file_.Delete(), ZRErrAccess) << "it is in use";
  EXPECT_EQ(file_.Close(), ZRErrNone);
  EXPECT_EQ(trace.Take(), "ZRFile[#]: CLOSE -- \nOK [+0]\n");

  char name[kNameSize];
  uint8_t counted[kNameSize];
  EXPECT_EQ(file_.CopyName(name), ZRErrNone);
  EXPECT_EQ(file_.CopyNameLStr(counted), ZRErrNone);
  EXPECT_STREQ(name, "file");
  EXPECT_EQ(std::memcmp(counted, "\4file", 5), 0);
  EXPECT_EQ(file_.CopyName(nullptr), ZRErrTooLong);
  EXPECT_EQ(file_.CopyNameLStr(nullptr), ZRErrTooLong);
}

TEST_F(OpenTest, AnObjectThatGoesClosesItsFile) {
  Write("file", "abc");
  const int32_t before = ZRCountLiveObjects();
  {
    CDiskFile other;
    EXPECT_EQ(ZRCountLiveObjects(), before + 1);
    test::OpenExclusive(other, folder_ + "\\file");
    EXPECT_EQ(file_.Open(kFileRead, kShareAll), ZRErrAccess);
  }
  EXPECT_EQ(ZRCountLiveObjects(), before);
  EXPECT_EQ(file_.Open(kFileRead, kShareAll), ZRErrNone);
}

TEST_F(OpenTest, InformationAndTimes) {
  Write("file", "abc");
  qv::FolderEntry entry;
  const uint32_t created = 3'800'000'001, modified = 3'800'000'021;
  EXPECT_EQ(file_.SetTimes(&created, &modified), ZRErrNone);
  EXPECT_EQ(file_.GetInfo(&entry), ZRErrNone);
  EXPECT_STREQ(entry.name, "file");
  EXPECT_EQ(entry.data_size, 3u);
  EXPECT_EQ(entry.modified, modified);
  EXPECT_EQ(entry.fork_size + entry.type + entry.creator, 0u);
  const uint32_t later = modified + 60;
  EXPECT_EQ(file_.OpenExclusive(), ZRErrNone);
  EXPECT_EQ(file_.SetTimes(nullptr, &later), ZRErrNone);
  EXPECT_EQ(file_.Close(), ZRErrNone);
  EXPECT_EQ(file_.GetInfo(&entry), ZRErrNone);
  EXPECT_EQ(entry.modified, later);
  file_.SetName(nullptr);
  EXPECT_EQ(file_.GetInfo(&entry), ZRErrNone) << "of the folder";
  EXPECT_NE(entry.attributes & qv::kEntryFolder, 0u);
  file_.SetName("missing");
  EXPECT_EQ(file_.GetInfo(&entry), ZRErrNotFound);
  EXPECT_EQ(file_.SetTimes(nullptr, &later), ZRErrNotFound);
}

// A file of the program that its user may not write to: the user's copy is written instead.
TEST_F(OpenTest, AUsersOwnCopy) {
  ASSERT_EQ(ZRSetAppFolder(folder_.c_str()), ZRErrNone);
  const std::string path = folder_ + "\\own copy test";
  CDiskFile own;
  if (own.GoToLevel(3, nullptr, "own copy test") == ZRErrNone) own.Delete();
  Write("own copy test", "shared");
  CDiskFile holder;
  EXPECT_EQ(holder.SetPath(path.c_str()), ZRErrNone);
  EXPECT_EQ(holder.Open(kFileRead, kShareRead), ZRErrNone);
  ASSERT_EQ(file_.GoToLevel(8, nullptr, "own copy test"), ZRErrNone);
  EXPECT_EQ(file_.OpenExclusive(), ZRErrAccess) << "in use is no reason for a copy";
  EXPECT_EQ(holder.Close(), ZRErrNone);
  ASSERT_TRUE(SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_READONLY));
  CDiskFile elsewhere;
  ASSERT_EQ(elsewhere.SetPath(path.c_str()), ZRErrNone);
  const ZRError error = elsewhere.OpenExclusive();
  if (error == ZRErrNone) GTEST_SKIP() << "Wine lets an administrator write to it";
  EXPECT_EQ(error, ZRErrAccess) << "it was not reached at a level";
  for (const char* before : {"shared", "Shared"}) {
    ASSERT_EQ(file_.GoToLevel(8, nullptr, "own copy test"), ZRErrNone);
    EXPECT_EQ(file_.OpenHere(kFileRead | kFileWrite, kShareNone), ZRErrAccess);
    EXPECT_EQ(file_.Open(kFileRead, kShareAll), ZRErrNone) << "may be read where it is";
    EXPECT_EQ(file_.level(), 8u);
    EXPECT_EQ(file_.Close(), ZRErrNone);
    EXPECT_EQ(file_.OpenExclusive(), ZRErrNone);
    EXPECT_EQ(file_.level(), 3u);
    EXPECT_EQ(test::ReadBytes(file_, 0, 9), before) << "the second time the copy is there";
    EXPECT_EQ(file_.WriteAt("S", 1, 0), ZRErrNone);
    EXPECT_EQ(file_.Close(), ZRErrNone);
  }
  EXPECT_EQ(file_.Delete(), ZRErrNone);
  EXPECT_EQ(test::ReadWholeFile(path), "shared");
  SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL);
}

}  // namespace
