#include <gtest/gtest.h>

#include "tests/test_platform.h"

namespace {

class CopyFileTest : public testing::Test {
 protected:
  void SetUp() override {
    test::EmptyFolder(test::TempFolder());
    ASSERT_TRUE(test::WriteWholeFile(Path("from"), "new contents"));
    ASSERT_TRUE(test::WriteWholeFile(Path("old"), "the old contents, which are longer"));
    ASSERT_TRUE(CreateDirectoryA(Path("folder").c_str(), nullptr));
  }
  std::string Path(const std::string& name) const { return test::TempFolder() + "\\" + name; }
  DWORD Copy(const std::string& from, const std::string& to, BOOL fail_if_exists = FALSE) {
    SetLastError(0);
    return CopyFileA(Path(from).c_str(), Path(to).c_str(), fail_if_exists) ? 0 : GetLastError();
  }
};

TEST_F(CopyFileTest, ResultsAndErrors) {
  const struct {
    const char* name;
    std::string from, to;
    BOOL fail_if_exists;
    DWORD error;
  } kRows[] = {
      {"to a new file", "from", "copy", FALSE, 0},
      {"over an old file", "from", "old", FALSE, 0},
      {"over an old file, not wanted", "from", "folder\\..\\old", TRUE, ERROR_FILE_EXISTS},
      {"onto itself", "from", "from", FALSE, ERROR_SHARING_VIOLATION},
      {"onto itself, in other letters", "from", "FROM", FALSE, ERROR_SHARING_VIOLATION},
      {"from nothing", "missing", "copy2", FALSE, ERROR_FILE_NOT_FOUND},
      {"from no folder", "nowhere\\x", "copy2", FALSE, ERROR_PATH_NOT_FOUND},
      {"into no folder", "from", "nowhere\\x", FALSE, ERROR_PATH_NOT_FOUND},
      {"a folder", "folder", "copy2", FALSE, ERROR_ACCESS_DENIED},
      {"over a folder", "from", "folder", FALSE, ERROR_ACCESS_DENIED},
      {"to no name", "from", "a\"b", FALSE, ERROR_INVALID_NAME},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Copy(row.from, row.to, row.fail_if_exists), row.error);
    EXPECT_EQ(test::ReadWholeFile(Path("from")), "new contents") << "the source never changes";
    if (row.error == 0) {
      EXPECT_EQ(test::ReadWholeFile(Path(row.to)), "new contents");
    }
    EXPECT_FALSE(test::Exists(Path("copy2"))) << "nothing half done stays";
  }
}

TEST_F(CopyFileTest, AllBytesOfAllSizes) {
  for (size_t size : {size_t{0}, size_t{1}, size_t{4096}, size_t{65537}, size_t{5} << 20}) {
    SCOPED_TRACE(size);
    std::string bytes(size, '\0');
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 2654435761u >> 13);
    ASSERT_TRUE(test::WriteWholeFile(Path("bytes"), bytes));
    EXPECT_EQ(Copy("bytes", "copy"), 0u);
    EXPECT_TRUE(test::ReadWholeFile(Path("copy")) == bytes);
  }
}

TEST_F(CopyFileTest, FilesInUse) {
  HANDLE file = CreateFileA(Path("from").c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                            OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  EXPECT_EQ(Copy("from", "copy"), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
  EXPECT_EQ(Copy("old", "from"), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
  CloseHandle(file);
  EXPECT_EQ(Copy("old", "from"), 0u);
}

}  // namespace
