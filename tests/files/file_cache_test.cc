// The cache with one task at a time: what is read from the disk, what blocks hold after changes,
// and who goes when there are too many.
#include "files/file_cache.h"

#include <string>
#include <vector>

#include "files/disk_file.h"
#include "tests/files/file_bytes.h"
#include "tests/files/files_fixture.h"

namespace {

constexpr uint32_t kBlock = qv::kBlockBytes;

// Jobs for workers: what reads of files cost.
uint32_t& Jobs() {
  static uint32_t count;
  return count;
}

std::string& Path() {
  static auto& path = *new std::string;
  return path;
}

uint8_t ByteAt(uint64_t place) { return static_cast<uint8_t>(place * 2654435761u >> 13); }

std::string Pattern(uint64_t place, size_t count) {
  std::string text(count, '\0');
  for (char& c : text) c = static_cast<char>(ByteAt(place++));
  return text;
}

class FileCacheTest : public test::FilesTest {
 protected:
  FileCacheTest() {
    qv::GlobalHooks().run_on_worker = [](void (*job)(void*), void* argument) {
      ++Jobs();
      job(argument);
    };
  }

  // Makes a file of the pattern, and opens it.
  void Open(CDiskFile& file, size_t length) {
    test::OpenNew(file, folder_ + "\\file", Pattern(0, length));
  }

  struct Answer {
    ZRError error;
    std::string bytes;
    uint32_t reads;  // of the platform
  };
  static Answer Read(CDiskFile& file, int64_t offset, uint32_t count, uint32_t mode = kFromStart) {
    const uint32_t jobs = Jobs();
    ZRError error;
    const std::string bytes = test::ReadBytes(file, offset, count, &error, mode);
    EXPECT_TRUE(qv::FileCacheIsConsistent());
    return {error, bytes, Jobs() - jobs};
  }
  static void ExpectPattern(CDiskFile& file, int64_t offset, uint32_t count, uint32_t reads) {
    const Answer answer = Read(file, offset, count);
    EXPECT_EQ(answer.error, ZRErrNone);
    EXPECT_TRUE(answer.bytes == Pattern(static_cast<uint64_t>(offset), count));
    EXPECT_EQ(answer.reads, reads);
  }
  static uint64_t Items() {
    uint64_t size = 0;
    ZRGetFileCacheSizes(&size, nullptr);
    EXPECT_EQ(size % 65584, 0u);
    return size / 65584;
  }
};

// One after the other on one file of 70000 bytes.
TEST_F(FileCacheTest, WhatIsReadFromTheDisk) {
  CDiskFile file;
  Open(file, 70000);
  const struct {
    const char* name;
    int64_t offset;
    uint32_t count, mode;
    ZRError error;
    uint32_t delivered, reads;
  } kRows[] = {{"over a border: both blocks", 65530, 100, 0, 0, 100, 2},
               {"again", 65530, 100, 0, 0, 100, 0},
               {"past the end", 65536, 10000, 0, ZRErrEOF, 4464, 0},
               {"up to the end", 65536, 4464, 0, 0, 4464, 0},
               {"at the end", 70000, 1, 0, ZRErrEOF, 0, 0},
               {"behind the end", 131000, 1, 0, ZRErrEOF, 0, 0},
               {"in a block behind the end", 131072, 1, 0, ZRErrEOF, 0, 1},
               {"from before the end to behind it", 1000, 200000, 0, ZRErrEOF, 69000, 1},
               {"from the mark", 20, 5, kFromMark, 0, 5, 0},
               {"keeping the mark", 20, 5, kFromStartKeepMark, 0, 5, 0},
               {"nothing", 20, 0, 2, 0, 0, 0},
               {"no mode", 20, 5, 2, ZRErrParam, 0, 0},
               {"below 0", -1, 5, 0, ZRErrParam, 0, 0}};
  file.Seek(65530, kSeekStart);
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    const Answer answer = Read(file, row.offset, row.count, row.mode);
    EXPECT_EQ(answer.error, row.error);
    EXPECT_EQ(answer.reads, row.reads);
    const uint64_t place = row.offset + (row.mode == kFromMark ? 65530 : 0);
    EXPECT_TRUE(answer.bytes == Pattern(place, row.delivered));
    EXPECT_EQ(file.mark(), 65530u);
  }
  ZRFileCacheStatistics statistics;
  ZRGetFileCacheStatistics(&statistics);
  EXPECT_EQ(statistics.reads, 10);
  EXPECT_EQ(statistics.hits, 7);
  EXPECT_EQ(statistics.bytes, 100 + 100 + 4464 + 4464 + 69000 + 5 + 5);
  // Farther than blocks reach: whether there can be such a place is the platform's to say.
  const Answer answer = Read(file, INT64_MAX - 10, 5);
  EXPECT_TRUE(answer.error == ZRErrEOF || answer.error == ZRErrSeek);
  EXPECT_EQ(answer.reads, 1u);
}

// A block, or two, have been read; then the file is written; then read, from the disk or not.
TEST_F(FileCacheTest, WhatAWriteDoesToBlocks) {
  const struct {
    const char* name;
    uint32_t length;  // of the file
    int64_t offset;   // of the write
    uint32_t count, mode;
    uint32_t reads;  // of all blocks of the file afterwards, which had been read before
  } kRows[] = {
      {"inside a block", 70000, 100, 50, kFromStart, 0},
      {"over a border", 70000, 65500, 100, kFromStart, 0},
      {"from the end on", 70000, 70000, 1000, kFromStart, 0},
      {"up to a border", 70000, 70000, 61072, kFromStart, 0},
      {"over the last block's end", 70000, 69000, 100000, kFromStart, 1},
      {"behind the end, in its block: a hole", 70000, 70001, 10, kFromStart, 1},
      {"far behind the end: the last block is longer now", 70000, 140000, 10, kFromStart, 2},
      {"behind the end of a full block", 65536, 65537, 10, kFromStart, 1},
      {"whole blocks", 200000, 0, 200000, kFromStart, 0},
      {"from the mark", 70000, 100, 50, kFromMark, 2},
      {"keeping the mark", 70000, 100, 50, kFromStartKeepMark, 2},
      {"nothing", 70000, 90000, 0, kFromStart, 0}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    CDiskFile file;
    Open(file, row.length);
    Read(file, 0, row.length);
    Read(file, row.length, 1);  // a block of no bytes, when the file fills its last block
    std::string expected = Pattern(0, row.length);
    const std::string written(row.count, 'w');
    const auto end = static_cast<size_t>(row.offset) + row.count;
    if (row.count > 0 && end > expected.size()) expected.resize(end);
    if (row.count > 0) expected.replace(static_cast<size_t>(row.offset), row.count, written);
    EXPECT_EQ(file.WriteAt(written.data(), static_cast<int32_t>(row.count), row.offset, row.mode),
              ZRErrNone);
    EXPECT_TRUE(qv::FileCacheIsConsistent());
    const Answer answer = Read(file, 0, static_cast<uint32_t>(expected.size()));
    EXPECT_EQ(answer.error, ZRErrNone);
    EXPECT_TRUE(answer.bytes == expected);
    EXPECT_EQ(answer.reads, row.reads);
    EXPECT_EQ(Read(file, static_cast<int64_t>(expected.size()), 1).error, ZRErrEOF);
    file.Close();
  }
}

TEST_F(FileCacheTest, WhatDropsBlocks) {
  CDiskFile file;
  Open(file, 200000);
  const struct {
    const char* name;
    void (*drop)(CDiskFile& file);
    uint32_t left;   // of the file's bytes
    uint32_t reads;  // of the four blocks afterwards
  } kRows[] = {{"SetEOF", [](CDiskFile& f) { f.SetEOF(150000); }, 150000, 4},
               {"SetEOF, longer", [](CDiskFile& f) { f.SetEOF(200000); }, 150000, 4},
               {"Close",
                [](CDiskFile& f) {
                  f.Close();
                  EXPECT_EQ(Read(f, 0, 10).error, ZRErrNotOpen);
                  f.OpenExclusive();
                },
                150000, 4},
               {"ZRDropFileCache", [](CDiskFile&) { ZRDropFileCache(); }, 150000, 4},
               {"the mark", [](CDiskFile& f) { f.Seek(7, kSeekStart); }, 150000, 0}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    Read(file, 0, 200000);
    row.drop(file);
    const Answer answer = Read(file, 0, 200000);
    EXPECT_EQ(answer.reads, row.reads);
    EXPECT_TRUE(answer.bytes.substr(0, row.left) == Pattern(0, row.left));
    EXPECT_EQ(answer.bytes.find_first_not_of('\0', row.left), std::string::npos);
  }
}

// Two objects of one file have blocks of their own.
TEST_F(FileCacheTest, EachObjectHasItsBlocks) {
  CDiskFile file, other;
  Open(file, 1000);
  file.Close();
  ASSERT_EQ(other.SetPath((folder_ + "\\file").c_str()), ZRErrNone);
  ASSERT_EQ(file.Open(kFileRead, kShareAll), ZRErrNone);
  ASSERT_EQ(other.Open(kFileRead | kFileWrite, kShareAll), ZRErrNone);
  ExpectPattern(file, 0, 1000, 1);
  ExpectPattern(other, 0, 1000, 1);
  EXPECT_EQ(other.WriteAt("new", 3, 0), ZRErrNone);
  EXPECT_EQ(Read(other, 0, 3).bytes, "new");
  ExpectPattern(file, 0, 1000, 0);
  file.Close();
  ASSERT_EQ(file.Open(kFileRead, kShareAll), ZRErrNone);
  EXPECT_EQ(Read(file, 0, 3).bytes, "new");
}

TEST_F(FileCacheTest, Limits) {
  uint64_t size = 1, limit = 0;
  const struct {
    uint64_t bytes, items;
  } kRows[] = {{0, 1024}, {65584 * 1025 - 1, 1024}, {65584 * 1025, 1025}, {65536 * 5000, 4996}};
  for (const auto& row : kRows) {
    ZRSetFileCacheLimit(row.bytes);
    ZRGetFileCacheSizes(&size, &limit);
    EXPECT_EQ(limit, row.items * 65584);
    EXPECT_EQ(size, 0u);
  }
}

// What was used least lately goes; the file that is being read keeps all of its blocks.
TEST_F(FileCacheTest, TrimsFromTheTail) {
  qv::SetFileCacheItemsForTest(8);
  CDiskFile file;
  Open(file, 12 * kBlock);
  for (uint32_t block = 0; block < 8; ++block) ExpectPattern(file, block * kBlock, 10, 1);
  EXPECT_EQ(Items(), 8u);
  ExpectPattern(file, 0, 10, 0);
  ExpectPattern(file, 8 * kBlock, 10, 1);
  ExpectPattern(file, 9 * kBlock, 10, 1);
  EXPECT_EQ(Items(), 8u);
  ExpectPattern(file, 0, 10, 0);
  ExpectPattern(file, 3 * kBlock, 10, 0);
  ExpectPattern(file, 1 * kBlock, 10, 1);
  ExpectPattern(file, 0, 12 * kBlock, 12 - 6);
  EXPECT_LE(Items(), 8u + 4);
}

// A block that is used much more often than the others comes round once more.
TEST_F(FileCacheTest, SecondChance) {
  qv::SetFileCacheItemsForTest(4);
  CDiskFile file;
  Open(file, 20 * kBlock);
  for (int i = 0; i < 40; ++i) {
    Read(file, 0, 10);
    Read(file, kBlock, 10);
  }
  for (uint32_t block = 2; block < 10; ++block) Read(file, block * kBlock, 10);
  ExpectPattern(file, 0, 10, 0);
  ExpectPattern(file, kBlock, 10, 0);
  // Each round costs an eighth of its uses: at last it goes.
  for (int round = 0; round < 40; ++round) {
    for (uint32_t block = 2; block < 20; ++block) Read(file, block * kBlock, 10);
  }
  ExpectPattern(file, 0, 10, 1);
}

// A lower limit takes effect in steps, ten at most with each read.
TEST_F(FileCacheTest, ALowerLimitComesInSteps) {
  CDiskFile file;
  Open(file, 300 * kBlock);
  for (uint32_t block = 0; block < 300; ++block) Read(file, block * kBlock, 1);
  qv::SetFileCacheItemsForTest(100);
  EXPECT_EQ(Items(), 300u);
  for (uint64_t before = 300; before > 100;) {
    Read(file, 299 * kBlock, 1);
    const uint64_t now = Items();
    EXPECT_EQ(before - now, std::min<uint64_t>(10, (before - 100) / 10 + 1));
    before = now;
  }
}

// Longer than the cache: in pieces, and not all of it is kept.
TEST_F(FileCacheTest, AReadLargerThanTheLimit) {
  qv::SetFileCacheItemsForTest(5);
  CDiskFile file;
  Open(file, 40 * kBlock + 100);
  ExpectPattern(file, 77, 40 * kBlock, 41);
  EXPECT_LE(Items(), 10u);
  const Answer answer = Read(file, 77, 50 * kBlock);
  EXPECT_EQ(answer.error, ZRErrEOF);
  EXPECT_TRUE(answer.bytes == Pattern(77, 40 * kBlock + 23));
}

// Places that 32 bits do not hold have blocks of their own.
TEST_F(FileCacheTest, FarPlaces) {
  constexpr int64_t kFar = int64_t{65536} << 32 >> 8;
  CDiskFile file;
  Open(file, 10);
  if (file.WriteAt("far", 3, kFar) == ZRErrDiskFull) GTEST_SKIP();
  EXPECT_EQ(Read(file, kFar, 3).bytes, "far");
  ExpectPattern(file, 0, 10, 1);
  EXPECT_EQ(Read(file, kFar, 3).bytes, "far");
  EXPECT_EQ(file.WriteAt("near", 4, 0), ZRErrNone);
  EXPECT_EQ(Read(file, kFar, 3).reads, 0u);
  EXPECT_EQ(Read(file, 0, 4).bytes, "near");
}

// Off the kernel's thread nothing of the cache is touched, and blocks do not outlive a write there.
TEST_F(FileCacheTest, OffTheKernelsThread) {
  CDiskFile file;
  Open(file, 1000);
  const auto here = qv::GlobalHooks().on_kernel_thread;
  const auto elsewhere = [] { return false; };
  ZRFileCacheStatistics statistics;
  qv::GlobalHooks().on_kernel_thread = elsewhere;
  ExpectPattern(file, 0, 1000, 1);
  ExpectPattern(file, 0, 1000, 1);
  EXPECT_EQ(Read(file, 990, 20).error, ZRErrEOF);
  qv::GlobalHooks().on_kernel_thread = here;
  ZRGetFileCacheStatistics(&statistics);
  EXPECT_EQ(statistics.reads, 0);
  EXPECT_EQ(Items(), 0u);

  const struct {
    const char* name;
    ZRError (*change)(CDiskFile& file);
    const char* first;
  } kRows[] = {{"write", [](CDiskFile& f) { return f.WriteAt("abc", 3, 0); }, "abc"},
               {"cut", [](CDiskFile& f) { return f.SetEOF(2); }, "ab"},
               {"close",
                [](CDiskFile& f) {
                  f.Close();
                  test::WriteWholeFile(Path(), "xyz");
                  return f.OpenExclusive();
                },
                "xyz"}};
  Path() = folder_ + "\\file";
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    Read(file, 0, 3);
    qv::GlobalHooks().on_kernel_thread = elsewhere;
    EXPECT_EQ(row.change(file), ZRErrNone);
    qv::GlobalHooks().on_kernel_thread = here;
    EXPECT_EQ(Read(file, 0, 3).bytes, row.first);
  }
}

}  // namespace
