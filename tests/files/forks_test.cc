#include "files/forks.h"

#include <cstring>
#include <string>

#include "files/disk_file.h"
#include "tests/files/files_fixture.h"

namespace {

class ForksTest : public test::FilesTest {
 protected:
  ForksTest() { EXPECT_TRUE(test::WriteWholeFile(path_, "data")); }
  // What ZRGetAFPInfo says, or its error.
  std::string Info() {
    uint64_t size = 7;
    uint32_t type = 7, creator = 7;
    const ZRError error = ZRGetAFPInfo(path_.c_str(), &size, &type, &creator);
    char text[64];
    FormatTextN(text, sizeof text - 1, "%d: %I64u %08X %08X", error, size, type, creator);
    return text;
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
  // Neither the stand-in nor Wine has them.
  if (!test::WriteWholeFile(path_ + ":AFP_AfpInfo", std::string(16, 0) + "TEXTQuor" + "rest")) {
    GTEST_SKIP() << "no streams here";
  }
  EXPECT_EQ(Info(), "0: 0 54455854 51756F72");
  EXPECT_EQ(ZRSetTypeCreator(path_.c_str(), 0x41424344, 0x45464748), ZRErrNone);
  EXPECT_EQ(test::ReadWholeFile(path_ + ":AFP_AfpInfo"), std::string(16, 0) + "ABCDEFGHrest");
  EXPECT_EQ(ZRSetTypeCreator(path_.c_str(), 0x54455854, 0x51756F72), ZRErrNone);
  EXPECT_TRUE(test::WriteWholeFile(path_ + ":AFP_Resource", "12345"));
  EXPECT_EQ(Info(), "0: 5 54455854 51756F72");
  CDiskFile file;
  EXPECT_EQ(file.SetPath(path_.c_str()), ZRErrNone);
  file.SetFork(kResourceFork);
  EXPECT_EQ(file.Open(kFileRead, kShareAll), ZRErrNone);
  char bytes[5];
  EXPECT_EQ(file.ReadExact(bytes, 5, 0), ZRErrNone);
  EXPECT_EQ(std::string(bytes, 5), "12345");
}

}  // namespace
