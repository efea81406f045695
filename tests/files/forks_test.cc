#include "files/forks.h"

#include <cstring>
#include <string>

#include "files/disk_file.h"
#include "platform/windows_api.h"
#include "tests/files/file_bytes.h"
#include "tests/files/files_fixture.h"

namespace {

class ForksTest : public test::FilesTest {
 protected:
  ForksTest() { EXPECT_TRUE(test::WriteWholeFile(path_, "data")); }
  // What ZRGetAFPInfo says, or its error.
  std::string Info() { return InfoOf(path_); }
  static std::string InfoOf(const std::string& path) {
    uint64_t size = 7;
    uint32_t type = 7, creator = 7;
    const ZRError error = ZRGetAFPInfo(path.c_str(), &size, &type, &creator);
    char text[64];
    FormatTextN(text, sizeof text - 1, "%d: %I64u %08X %08X", error, size, type, creator);
    return text;
  }
  // A file or a stream, made anew; false where there are no streams.
  static bool Write(const std::string& path, const std::string& text) {
    HANDLE file = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    DWORD done = 0;
    const bool is_written =
        WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &done, nullptr) != 0;
    CloseHandle(file);
    return is_written && done == text.size();
  }
  static std::string Read(const std::string& path) {
    HANDLE file = CreateFileA(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return "(none)";
    char bytes[100];
    DWORD done = 0;
    ReadFile(file, bytes, sizeof bytes, &done, nullptr);
    CloseHandle(file);
    return {bytes, done};
  }
  // False where a stream that was made is a file beside its file: Wine knows no others.
  bool StreamsBelongToFiles() const {
    qv::FolderListing listing(false);
    qv::FolderEntry entry;
    EXPECT_EQ(listing.First(folder_.c_str(), "*.*", 0, &entry), ZRErrNone);
    return listing.Next(&entry) == ZRErrEOF;
  }
  const std::string path_ = folder_ + "\\file";
};

TEST_F(ForksTest, AFileWithoutStreams) {
  uint64_t size = 7;
  uint32_t type = 7, creator = 7;
  EXPECT_EQ(Info(), "0: 0 00000000 00000000");
  EXPECT_EQ(ZRGetTypeCreator(path_.c_str(), &type, &creator), ZRErrNotFound);
  EXPECT_EQ(type + creator, 0u);
  EXPECT_EQ(ZRGetResourceForkSize(path_.c_str(), &size), ZRErrNotFound);
  EXPECT_EQ(size, 0u);
  CDiskFile file;
  EXPECT_EQ(file.SetPath(path_.c_str()), ZRErrNone);
  file.SetFork(kResourceFork);
  EXPECT_EQ(file.GetFork(), kResourceFork);
  EXPECT_EQ(file.Open(kFileRead, kShareAll), ZRErrNotFound);
}

TEST_F(ForksTest, PathsThatLeaveNoRoom) {
  const struct {
    size_t length;
    ZRError type_error, fork_error, fork_name_error;
  } kRows[] = {
      {262, ZRErrNotFound, ZRErrNotFound, ZRErrNone},
      {263, ZRErrNotFound, ZRErrNotFound, ZRErrNotFound},
      {264, ZRErrTooLong, ZRErrNotFound, ZRErrNotFound},
      {2000, ZRErrTooLong, ZRErrNotFound, ZRErrNotFound},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.length);
    std::string path = "C:\\" + std::string(row.length - 3, 'p');
    uint64_t size = 0;
    uint32_t type = 0, creator = 0;
    EXPECT_EQ(ZRGetTypeCreator(path.c_str(), &type, &creator), row.type_error);
    const ZRError set = ZRSetTypeCreator(path.c_str(), 1, 2);
    EXPECT_TRUE(set == ZRErrTooLong || (set != ZRErrNone && row.length < 264));
    EXPECT_EQ(ZRGetResourceForkSize(path.c_str(), &size), row.fork_error);
    if (row.length > 276) continue;
    char with_fork[276 + 4] = {};
    std::memset(with_fork + 276, '#', 4);
    std::memcpy(with_fork, path.c_str(), path.size());
    EXPECT_EQ(qv::AppendResourceForkName(with_fork, 276), row.fork_name_error);
    const char* suffix = row.fork_name_error == ZRErrNone ? ":AFP_Resource" : "";
    EXPECT_EQ(with_fork, path + suffix);
    EXPECT_EQ(std::string(with_fork + 276, 4), "####");
  }
}

TEST_F(ForksTest, Streams) {
  if (!Write(path_ + ":AFP_AfpInfo", std::string(16, 0) + "TEXTQuor" + "rest")) {
    ASSERT_TRUE(test::OnWindows());
    GTEST_SKIP() << "no streams on this volume";
  }
  EXPECT_EQ(Info(), "0: 0 54455854 51756F72");
  EXPECT_EQ(ZRSetTypeCreator(path_.c_str(), 0x41424344, 0x45464748), ZRErrNone);
  EXPECT_EQ(Read(path_ + ":AFP_AfpInfo"), std::string(16, 0) + "ABCDEFGHrest");
  EXPECT_EQ(ZRSetTypeCreator(path_.c_str(), 0x54455854, 0x51756F72), ZRErrNone);
  EXPECT_TRUE(Write(path_ + ":AFP_Resource", "12345"));
  EXPECT_EQ(Info(), "0: 5 54455854 51756F72");
  EXPECT_EQ(test::ReadWholeFile(path_), "data");
  CDiskFile file;
  EXPECT_EQ(file.SetPath(path_.c_str()), ZRErrNone);
  qv::FolderEntry entry;
  EXPECT_EQ(file.GetInfo(&entry), ZRErrNone);
  EXPECT_EQ(entry.fork_size, 5u);
  EXPECT_EQ(entry.type, 0x54455854u);
  EXPECT_EQ(entry.creator, 0x51756F72u);
  file.SetFork(kResourceFork);
  EXPECT_EQ(file.Open(kFileRead, kShareAll), ZRErrNone);
  EXPECT_EQ(test::ReadBytes(file, 0, 9), "12345");
  if (StreamsBelongToFiles()) {
    EXPECT_FALSE(DeleteFileA(path_.c_str())) << "its stream is open";
  }
  EXPECT_EQ(file.Close(), ZRErrNone);
}

// Streams go where their file goes, and no listing shows them.
TEST_F(ForksTest, StreamsFollowTheirFile) {
  const std::string info = std::string(16, 0) + "TEXTQuor", moved = folder_ + "\\moved";
  if (!Write(path_ + ":AFP_AfpInfo", info) || !StreamsBelongToFiles()) {
    ASSERT_TRUE(test::OnWindows());
    GTEST_SKIP() << "Wine keeps a stream as a file of that name";
  }
  EXPECT_TRUE(Write(path_ + ":AFP_Resource", "12345"));
  EXPECT_TRUE(StreamsBelongToFiles()) << "a listing shows none";
  EXPECT_TRUE(CopyFileA(path_.c_str(), moved.c_str(), TRUE));
  EXPECT_TRUE(Write(path_ + ":afp_resource", "1234567")) << "letter case does not count";
  EXPECT_EQ(InfoOf(path_), "0: 7 54455854 51756F72");
  EXPECT_EQ(InfoOf(moved), "0: 5 54455854 51756F72");
  EXPECT_TRUE(DeleteFileA((moved + ":AFP_Resource").c_str()));
  EXPECT_EQ(InfoOf(moved), "0: 0 54455854 51756F72");
  EXPECT_TRUE(DeleteFileA(moved.c_str()));
  EXPECT_TRUE(MoveFileA(path_.c_str(), moved.c_str()));
  EXPECT_EQ(InfoOf(moved), "0: 7 54455854 51756F72");
  EXPECT_TRUE(Write(path_, "anew"));
  EXPECT_EQ(Info(), "0: 0 00000000 00000000");
  // What begins anew, or went by another way, has none.
  EXPECT_TRUE(Write(moved, "anew"));
  EXPECT_EQ(InfoOf(moved), "0: 0 00000000 00000000");
  EXPECT_TRUE(Write(moved + ":AFP_AfpInfo", info));
  EXPECT_TRUE(DeleteFileA(moved.c_str()));
  EXPECT_TRUE(Write(moved, "anew"));
  EXPECT_EQ(InfoOf(moved), "0: 0 00000000 00000000");
}

}  // namespace
