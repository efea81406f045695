#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "files/disk_file.h"
#include "files/file_options.h"
#include "tests/files/file_bytes.h"
#include "tests/files/files_fixture.h"
#include "tests/files/trace_capture.h"

namespace {

class TransferTest : public test::FilesTest {
 protected:
  void Open(CDiskFile& file, bool use_worker) {
    file.UseWorker(use_worker);
    test::OpenNew(file, folder_ + "\\file", "");
  }
};

// What a file and its mark are, in plain terms.
class FileModel {
 public:
  std::string bytes;
  uint64_t mark = 0;

  static uint64_t PlaceIn(int64_t offset, uint32_t mode, uint64_t mark) {
    return static_cast<uint64_t>(offset) + (mode == kFromMark ? mark : 0);
  }
  void Put(const std::string& text, uint64_t place) {
    const auto at = static_cast<size_t>(place);
    if (at + text.size() > bytes.size()) bytes.resize(at + text.size());
    bytes.replace(at, text.size(), text);
  }
  std::string Get(uint64_t place, uint32_t count) const {
    return place >= bytes.size() ? "" : bytes.substr(static_cast<size_t>(place), count);
  }
};

class Walk {
 public:
  Walk(CDiskFile& file, uint64_t seed) : file_(file), random_(seed) {}

  void Step() {
    switch (random_() % 7) {
      case 0:
      case 1:
        return Write();
      case 2:
      case 3:
        return Read();
      case 4:
        return Seek();
      case 5:
        return Cut();
      default:
        if (random_() % 8 == 0) Reopen();
    }
  }
  void CheckContents() {
    const auto length = static_cast<uint32_t>(model_.bytes.size());
    ZRError error;
    EXPECT_EQ(test::ReadBytes(file_, 0, length + 1, &error), model_.bytes);
    EXPECT_EQ(error, ZRErrEOF);
  }

 private:
  static constexpr uint32_t kModes[] = {kFromStart, kFromMark, kFromStartKeepMark};
  uint32_t Below(uint32_t bound) { return static_cast<uint32_t>(random_() % bound); }

  void Write() {
    std::string text(1 + Below(300), '\0');
    for (char& c : text) c = static_cast<char>('a' + Below(26));
    const auto length = static_cast<int32_t>(text.size());
    if (random_() % 2 == 0) {
      EXPECT_EQ(file_.Write(text.data(), length), ZRErrNone);
      model_.Put(text, model_.mark);
      model_.mark += text.size();
      return;
    }
    const uint32_t mode = kModes[Below(3)];
    const int64_t offset = Below(2000);
    EXPECT_EQ(file_.WriteAt(text.data(), length, offset, mode), ZRErrNone);
    model_.Put(text, FileModel::PlaceIn(offset, mode, model_.mark));
    if (mode != kFromStartKeepMark) model_.mark += text.size();
  }

  void Read() {
    std::string bytes(1 + Below(400), '#');
    auto count = static_cast<uint32_t>(bytes.size());
    const bool at_mark = random_() % 2 == 0;
    const uint32_t mode = kModes[Below(3)];
    const int64_t offset = Below(3000);
    const uint64_t place = at_mark ? model_.mark : FileModel::PlaceIn(offset, mode, model_.mark);
    const std::string expected = model_.Get(place, count);
    const ZRError error = at_mark ? file_.Read(bytes.data(), &count)
                                  : file_.ReadAt(bytes.data(), &count, offset, mode);
    EXPECT_EQ(error, expected.size() < bytes.size() ? ZRErrEOF : ZRErrNone);
    EXPECT_EQ(std::string(bytes, 0, count), expected);
    if (at_mark) model_.mark += count;
  }

  void Seek() {
    const uint32_t origin = Below(3);
    const int64_t offset = static_cast<int64_t>(Below(3000)) - 1500;
    const uint64_t base = origin == kSeekStart  ? 0
                          : origin == kSeekMark ? model_.mark
                                                : model_.bytes.size();
    const int64_t place = static_cast<int64_t>(base) + offset;
    EXPECT_EQ(file_.Seek(offset, origin), place < 0 ? -1 : place);
    if (place >= 0) model_.mark = static_cast<uint64_t>(place);
    EXPECT_EQ(file_.Sense(), static_cast<int64_t>(model_.mark));
  }

  void Cut() {
    const uint32_t length = Below(4000);
    EXPECT_EQ(file_.SetEOF(length), ZRErrNone);
    model_.bytes.resize(length);
  }

  void Reopen() {
    EXPECT_EQ(file_.Flush(), ZRErrNone);
    EXPECT_EQ(file_.Close(), ZRErrNone);
    EXPECT_EQ(file_.OpenExclusive(), ZRErrNone);
    model_.mark = 0;
  }

  CDiskFile& file_;
  std::mt19937_64 random_;
  FileModel model_;
};

// On the caller and on a worker's way, with and without both options: the file is what a plain
// model of it says.
TEST_F(TransferTest, RandomStepsFollowTheModel) {
  const uint64_t seed = std::random_device{}();
  std::printf("seed %llu\n", static_cast<unsigned long long>(seed));
  for (unsigned options = 0; options < 4; ++options) {
    const ZRFileIOOptions given = {static_cast<uint16_t>(options & 1),
                                   static_cast<uint16_t>(options & 2)};
    ZRSetFileIOOptions(&given);
    for (const bool use_worker : {false, true}) {
      SCOPED_TRACE(testing::Message() << options << use_worker);
      test::EmptyFolder(folder_);
      CDiskFile file;
      Open(file, use_worker);
      Walk walk(file, seed);
      for (int i = 0; i < 300 && !HasFailure(); ++i) walk.Step();
      walk.CheckContents();
    }
  }
  ZRSetFileIOOptions(nullptr);
}

TEST_F(TransferTest, TraceLines) {
  CDiskFile file;
  Open(file, false);
  const test::TraceCapture trace(qv::kTraceTransfers);
  char bytes[10];
  const auto traced = [&trace](auto call) {
    call();
    return trace.Take();
  };
  const struct {
    std::string line;
    std::string expected;
  } kRows[] = {
      {traced([&] { file.WriteAt("abcde", 5, 20); }),
       "ZRFile[#]: WRITE(At) at 20 [from #] 5 (5h) -- OK 5 (5h)\n"},
      {traced([&] {
         uint32_t count = 10;
         file.RawReadAt(bytes, &count, 17);
         file.ReadAt(bytes, &count, 17);
         file.ReadAt(bytes, &count, 17);
       }),
       "CDiskFile[#]: READ(At) at 17 [into #] 10 (Ah) -- "
       "CDiskFile[#]: READ(At) at 0 [into #] 65536 (10000h) -- "},
      {traced([&] { file.Sense(); }), "CDiskFile[#]: Sense -- OK (5, 00000005h)\n"},
      {traced([&] { file.Seek(26, kSeekMark); }), "OK - OK (31, 0000001Fh)\n"},
      {traced([&] { file.Seek(-5, kSeekEnd); }),
       "ZRFile[#]: SEEK(4294967291,EOF) [FFFFFFFBh] -- OK - OK (20, 00000014h)\n"},
      {traced([&] { file.Seek(-50, kSeekEnd); }),
       "ZRFile[#]: SEEK(4294967246,EOF) [FFFFFFCEh] -- FAILED!\n"},
      {traced([&] { file.SetEOF(10); }), "ZRFile[#]: SETEOF 10 (0000000Ah) -- \nSUCCESS!\n"},
      {traced([&] {
         file.UseWorker(true);
         file.WriteAt("x", 1, 0);
       }),
       "ZRFile[#]: WRITE(At) at 0 [from #] 1 (1h) -- \nOK 1 (1h)\n"},
      {traced([&] {
         file.Close();
         file.Sense();
         file.SetEOF(1);
       }),
       "CDiskFile: Sense -- File NOT open!\n"
       "ZRFile[#]: SETEOF 1 (00000001h) -- NOT OPEN!\n"},
  };
  for (const auto& row : kRows) EXPECT_EQ(row.line, row.expected);
}

TEST_F(TransferTest, WhatIsRefused) {
  CDiskFile file;
  char bytes[10] = {};
  uint32_t count = 10;
  EXPECT_EQ(file.Seek(10, kSeekStart), 10) << "needs no open file";
  EXPECT_EQ(file.mark(), 10u);
  EXPECT_EQ(file.Seek(5, kSeekEnd), -1);
  EXPECT_EQ(file.Sense(), -1);
  EXPECT_EQ(file.ReadAt(bytes, &count, 0), ZRErrNotOpen);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(file.WriteAt("x", 1, 0), ZRErrNotOpen);
  EXPECT_EQ(file.WriteAt("x", 0, 0), ZRErrNone) << "no bytes";

  Open(file, false);
  file.Seek(0, kSeekStart);
  EXPECT_EQ(file.WriteAt("abc", 3, 0), ZRErrNone);
  test::Said().clear();
  EXPECT_EQ(file.WriteAt("x", -1, 0), ZRErrParam);
  count = 4;
  EXPECT_EQ(file.ReadAt(bytes, &count, 0, 2), ZRErrParam);
  EXPECT_EQ(count, 0u);
  count = 4;
  EXPECT_EQ(file.ReadAt(bytes, &count, -7), ZRErrParam);
  ASSERT_EQ(test::Said().size(), 3u);
  EXPECT_EQ(test::Said()[0], "log: Assertion failed: len>=0L, file cdfile, line 639\n");
  EXPECT_EQ(test::Said()[1], "Invalid seek options (2) reading file: " + folder_ + "\\file");
  EXPECT_EQ(test::Said()[2], "Invalid offset (-7) reading file: " + folder_ + "\\file");
  EXPECT_EQ(file.WriteAt("x", 1, 0, 2), ZRErrParam);
  EXPECT_EQ(file.WriteAt("x", 1, -7), ZRErrSeek);
  EXPECT_EQ(file.Seek(-4, kSeekMark), -1);
  EXPECT_EQ(file.Seek(0, 3), -1) << "no origin";
  EXPECT_EQ(file.mark(), 3u);
  EXPECT_EQ(file.ReadExact(bytes, 4, 0), ZRErrRange);
  EXPECT_EQ(file.ReadExact(bytes, 3, 0), ZRErrNone);
  EXPECT_EQ(std::string(bytes, 3), "abc");
  const qv::FileWriteCounts writes = qv::GetFileWriteCounts();
  EXPECT_GT(writes.calls, writes.empty);
}

// Places that 32 bits do not hold. The file has a hole, so it needs no room.
TEST_F(TransferTest, LargeFiles) {
  constexpr int64_t kFarPlace = (int64_t{5} << 30) + 11;
  for (const bool use_worker : {false, true}) {
    CDiskFile file;
    Open(file, use_worker);
    if (file.WriteAt("far", 3, kFarPlace, kFromStartKeepMark) == ZRErrDiskFull) GTEST_SKIP();
    EXPECT_EQ(file.Seek(0, kSeekEnd), kFarPlace + 3);
    EXPECT_EQ(test::ReadBytes(file, kFarPlace, 3), "far");
    qv::FolderEntry entry;
    EXPECT_EQ(file.GetInfo(&entry), ZRErrNone);
    EXPECT_EQ(entry.data_size, static_cast<uint64_t>(kFarPlace) + 3);
    EXPECT_EQ(file.SetEOF(0), ZRErrNone);
  }
}

}  // namespace
