#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "platform/host/control.h"
#include "platform/native_files.h"
#include "tests/test_platform.h"

namespace {

class FilesHostTest : public testing::Test {
 protected:
  void SetUp() override { test::EmptyFolder(test::TempFolder()); }
  void TearDown() override { host::ResetState(); }
  std::string Path(const std::string& name) const { return test::TempFolder() + "\\" + name; }
  std::string Native(const std::string& name) const { return platform::NativePath(Path(name)); }
};

TEST_F(FilesHostTest, NarrowNamesFollowTheCodePage) {
  const struct {
    UINT code_page;
    std::string ansi, utf8;
  } kRows[] = {{1252, "caf\xE9", "caf\xC3\xA9"},
               {1251, "\xCF\xF0", "\xD0\x9F\xD1\x80"},
               {932, "\x83\x5C", "\xE3\x82\xBD"},  // the second byte is a backslash
               {99999, "caf\xE9", "caf\xC3\xA9"}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.code_page);
    host::SetAnsiCodePage(row.code_page);
    ASSERT_TRUE(test::WriteWholeFile(Path("from"), "x"));
    EXPECT_TRUE(CopyFileA(Path("from").c_str(), Path(row.ansi).c_str(), FALSE));
    EXPECT_TRUE(std::filesystem::exists(Native(row.utf8)));
    EXPECT_TRUE(DeleteFileA(Path(row.ansi).c_str()));
    EXPECT_FALSE(std::filesystem::exists(Native(row.utf8)));
  }
}

TEST_F(FilesHostTest, LetterCaseBeyondAscii) {
  ASSERT_TRUE(test::WriteWholeFile(Path("\xC3\x84\xD0\x9F"), "x"));
  std::string folder = Path("");
  std::u16string lower(folder.begin(), folder.end());
  EXPECT_NE(GetFileAttributesW((lower + u"\u00E4\u043F").c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST_F(FilesHostTest, ExactNameWinsOverAnotherLetterCase) {
  ASSERT_TRUE(test::WriteWholeFile(Path("name"), "lower"));
  std::filesystem::copy_file(Native("name"),
                             std::filesystem::path(Native("name")).parent_path() / "NAME");
  EXPECT_TRUE(DeleteFileA(Path("NAME").c_str()));
  EXPECT_EQ(test::FolderEntries(test::TempFolder()), std::vector<std::string>{"name"});
}

TEST_F(FilesHostTest, OnlyDrivesCAndZ) {
  for (const char* path : {"D:\\x", "\\\\server\\share\\x", ""}) {
    EXPECT_EQ(GetFileAttributesA(path), INVALID_FILE_ATTRIBUTES) << path;
    EXPECT_FALSE(CopyFileA(path, Path("copy").c_str(), FALSE)) << path;
  }
  EXPECT_NE(GetFileAttributesA("z:\\proc\\self"), INVALID_FILE_ATTRIBUTES);
  EXPECT_NE(GetFileAttributesA("\\\\?\\C:\\Temp"), INVALID_FILE_ATTRIBUTES);
}

TEST_F(FilesHostTest, LinksShowAndWhatIsNoFileIsRefused) {
  ASSERT_TRUE(test::WriteWholeFile(Path("target"), "x"));
  std::filesystem::create_symlink(Native("target"), Native("link"));
  ASSERT_EQ(mkfifo(Native("pipe").c_str(), 0600), 0);
  EXPECT_NE(GetFileAttributesA(Path("link").c_str()) & FILE_ATTRIBUTE_REPARSE_POINT, 0u);
  for (const std::string& path : {Path("pipe"), std::string("Z:\\dev\\zero")}) {
    SCOPED_TRACE(path);
    EXPECT_FALSE(CopyFileA(path.c_str(), Path("copy").c_str(), FALSE)) << "and does not wait";
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(CreateFileA(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr),
              INVALID_HANDLE_VALUE);
  }
  EXPECT_TRUE(DeleteFileA(Path("link").c_str()));
  EXPECT_TRUE(test::Exists(Path("target"))) << "a link goes by itself";
}

// As on the real system; Wine overwrites it.
TEST_F(FilesHostTest, ReadOnlyFileIsNotCopiedOver) {
  ASSERT_TRUE(test::WriteWholeFile(Path("from"), "new"));
  ASSERT_TRUE(test::WriteWholeFile(Path("fixed"), "old"));
  chmod(Native("fixed").c_str(), 0400);
  EXPECT_FALSE(CopyFileA(Path("from").c_str(), Path("fixed").c_str(), FALSE));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
  EXPECT_EQ(test::ReadWholeFile(Path("fixed")), "old");
}

TEST_F(FilesHostTest, HardLinkToTheSourceIsTheSource) {
  ASSERT_TRUE(test::WriteWholeFile(Path("one"), "kept"));
  std::filesystem::create_hard_link(Native("one"), Native("two"));
  EXPECT_FALSE(CopyFileA(Path("one").c_str(), Path("two").c_str(), FALSE));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
  EXPECT_EQ(test::ReadWholeFile(Path("one")), "kept");
}

TEST_F(FilesHostTest, LongNamesAndFilesWithoutASize) {
  EXPECT_FALSE(CreateDirectoryA(Path(std::string(256, 'n')).c_str(), nullptr));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILENAME_EXCED_RANGE));
  EXPECT_TRUE(CopyFileA("Z:\\proc\\self\\status", Path("status").c_str(), FALSE));
  EXPECT_TRUE(test::ReadWholeFile(Path("status")).starts_with("Name:"));
}

TEST_F(FilesHostTest, FullDiskLeavesNoHalfCopy) {
  ASSERT_TRUE(test::WriteWholeFile(Path("big"), std::string(1 << 20, 'x')));
  rlimit before;
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  rlimit small = before;
  small.rlim_cur = 1 << 16;
  std::signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  BOOL copied = CopyFileA(Path("big").c_str(), Path("copy").c_str(), FALSE);
  DWORD error = GetLastError();
  setrlimit(RLIMIT_FSIZE, &before);
  EXPECT_FALSE(copied);
  EXPECT_EQ(error, static_cast<DWORD>(ERROR_DISK_FULL));
  EXPECT_FALSE(test::Exists(Path("copy")));
}

TEST_F(FilesHostTest, OnlyTemporaryFoldersOfTheSystemsFormCount) {
  char path[MAX_PATH] = {};
  ASSERT_TRUE(SetEnvironmentVariableA("TMP", "/tmp"));
  EXPECT_EQ(GetTempPathA(MAX_PATH, path), 8u);
  EXPECT_STREQ(path, "C:\\Temp\\");
  SetEnvironmentVariableA("TMP", nullptr);
}

}  // namespace
