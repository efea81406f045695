#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>

#include "tests/test_platform.h"

namespace {

class FilesTest : public testing::Test {
 protected:
  void SetUp() override { test::EmptyFolder(test::TempFolder()); }
  void TearDown() override { test::EmptyFolder(test::TempFolder()); }

  std::string Path(const std::string& name) const { return test::TempFolder() + "\\" + name; }
  HANDLE Open(const std::string& name, DWORD access, DWORD share = 0,
              DWORD disposition = OPEN_EXISTING, DWORD attributes = FILE_ATTRIBUTE_NORMAL) const {
    return CreateFileA(Path(name).c_str(), access, share, nullptr, disposition, attributes,
                       nullptr);
  }
  void Make(const std::string& name, const std::string& text = "text") {
    ASSERT_TRUE(test::WriteWholeFile(Path(name), text)) << name;
  }
};

// The error of a call that answers a boolean, 0 for success.
DWORD ErrorOf(BOOL result) { return result ? 0 : GetLastError(); }

std::basic_string<WCHAR> Wide(const std::string& text) { return {text.begin(), text.end()}; }

TEST_F(FilesTest, OpeningByDisposition) {
  const struct {
    const char* name;
    DWORD access, disposition;
    const char* before;  // contents, null: not there
    DWORD error;
    const char* after;
  } kRows[] = {
      {"open what is there", GENERIC_READ, OPEN_EXISTING, "old", 0, "old"},
      {"open what is not", GENERIC_READ, OPEN_EXISTING, nullptr, ERROR_FILE_NOT_FOUND, nullptr},
      {"new over old", GENERIC_WRITE, CREATE_NEW, "old", ERROR_FILE_EXISTS, "old"},
      {"new", GENERIC_WRITE, CREATE_NEW, nullptr, 0, ""},
      {"always over old", GENERIC_WRITE, CREATE_ALWAYS, "old", ERROR_ALREADY_EXISTS, ""},
      {"always", GENERIC_WRITE, CREATE_ALWAYS, nullptr, 0, ""},
      {"open or create over old", GENERIC_WRITE, OPEN_ALWAYS, "old", ERROR_ALREADY_EXISTS, "old"},
      {"open or create", GENERIC_WRITE, OPEN_ALWAYS, nullptr, 0, ""},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    test::EmptyFolder(test::TempFolder());
    if (row.before) Make("f", row.before);
    SetLastError(0);
    HANDLE file = Open("f", row.access, 0, row.disposition);
    EXPECT_EQ(GetLastError(), row.error);
    if (file != INVALID_HANDLE_VALUE) {
      EXPECT_TRUE(CloseHandle(file));
    }
    EXPECT_EQ(test::Exists(Path("f")), row.after != nullptr);
    EXPECT_EQ(test::ReadWholeFile(Path("f")), row.after ? row.after : "");
  }
}

// Transfers that name their place find it, whatever another thread does with the same handle.
TEST_F(FilesTest, PlacesOfTwoThreads) {
  constexpr int kPieces = 3000;
  Make("f");
  HANDLE file = Open("f", GENERIC_READ | GENERIC_WRITE);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  int wrong[2] = {};
  const auto transfer = [&](int which) {
    for (int piece = which; piece < kPieces; piece += 2) {
      int read = -1;
      DWORD done = 0;
      OVERLAPPED at{}, again{};
      at.Offset = again.Offset = static_cast<DWORD>(piece) * sizeof piece;
      const bool is_good = WriteFile(file, &piece, sizeof piece, &done, &at) &&
                           ReadFile(file, &read, sizeof read, &done, &again) && read == piece;
      wrong[which] += is_good ? 0 : 1;
    }
  };
  std::thread other(transfer, 1);
  transfer(0);
  other.join();
  EXPECT_EQ(wrong[0] + wrong[1], 0);
  EXPECT_TRUE(CloseHandle(file));
  const std::string all = test::ReadWholeFile(Path("f"));
  ASSERT_EQ(all.size(), kPieces * sizeof(int));
  for (int piece = 0; piece < kPieces; ++piece) {
    int found;
    std::memcpy(&found, &all[piece * sizeof found], sizeof found);
    ASSERT_EQ(found, piece);
  }
}

TEST_F(FilesTest, ReadingAndWriting) {
  HANDLE file = Open("f", GENERIC_WRITE, 0, CREATE_NEW);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  DWORD done = 99;
  EXPECT_TRUE(WriteFile(file, "0123456789", 10, &done, nullptr));
  EXPECT_EQ(done, 10u);
  EXPECT_TRUE(FlushFileBuffers(file));
  LARGE_INTEGER size{};
  EXPECT_TRUE(GetFileSizeEx(file, &size));
  EXPECT_EQ(size.QuadPart, 10);
  char buffer[16] = {};
  EXPECT_EQ(ErrorOf(ReadFile(file, buffer, 1, &done, nullptr)),
            static_cast<DWORD>(ERROR_ACCESS_DENIED));
  CloseHandle(file);
  EXPECT_EQ(ErrorOf(WriteFile(file, "x", 1, &done, nullptr)),
            static_cast<DWORD>(ERROR_INVALID_HANDLE));

  file = CreateFileW(Wide(Path("f")).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                     0, nullptr);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  EXPECT_TRUE(ReadFile(file, buffer, 4, &done, nullptr));
  EXPECT_TRUE(ReadFile(file, buffer + 4, 12, &done, nullptr));
  EXPECT_EQ(done, 6u);
  EXPECT_STREQ(buffer, "0123456789");
  EXPECT_TRUE(ReadFile(file, buffer, 1, &done, nullptr)) << "the end is no error";
  EXPECT_EQ(done, 0u);
  CloseHandle(file);
}

TEST_F(FilesTest, SharingIsKept) {
  Make("f");
  const struct {
    DWORD first_access, first_share, access, share, error;
  } kRows[] = {
      {GENERIC_READ, FILE_SHARE_READ, GENERIC_READ, FILE_SHARE_READ, 0},
      {GENERIC_READ, 0, GENERIC_READ, FILE_SHARE_READ, ERROR_SHARING_VIOLATION},
      {GENERIC_READ, FILE_SHARE_READ, GENERIC_READ, 0, ERROR_SHARING_VIOLATION},
      {GENERIC_READ, FILE_SHARE_READ, GENERIC_WRITE, FILE_SHARE_READ, ERROR_SHARING_VIOLATION},
      {GENERIC_WRITE, FILE_SHARE_READ, GENERIC_READ, FILE_SHARE_READ, ERROR_SHARING_VIOLATION},
      {GENERIC_WRITE, FILE_SHARE_READ, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, 0},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(&row - kRows);
    HANDLE first = Open("f", row.first_access, row.first_share);
    ASSERT_NE(first, INVALID_HANDLE_VALUE);
    HANDLE second = Open("f", row.access, row.share);
    EXPECT_EQ(ErrorOf(second != INVALID_HANDLE_VALUE), row.error);
    EXPECT_EQ(ErrorOf(DeleteFileA(Path("f").c_str())), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
    if (second != INVALID_HANDLE_VALUE) CloseHandle(second);
    CloseHandle(first);
  }
}

TEST_F(FilesTest, NamesInTheWay) {
  Make("file");
  ASSERT_TRUE(CreateDirectoryA(Path("full").c_str(), nullptr));
  Make("full\\inside");
  ASSERT_TRUE(CreateDirectoryA(Path("empty").c_str(), nullptr));
  const std::string file = Path("file"), full = Path("full"), empty = Path("empty"),
                    missing = Path("missing"), nowhere = Path("nowhere\\x"), bad = Path("a?b");
  const struct {
    const char* name;
    DWORD error, expected;
  } kRows[] = {
      {"make a folder again", ErrorOf(CreateDirectoryA(full.c_str(), nullptr)), 183},
      {"make a folder over a file", ErrorOf(CreateDirectoryW(Wide(file).c_str(), nullptr)), 183},
      {"make a folder in none", ErrorOf(CreateDirectoryA(nowhere.c_str(), nullptr)), 3},
      {"make a folder of no name", ErrorOf(CreateDirectoryA(bad.c_str(), nullptr)), 123},
      {"remove a full folder", ErrorOf(RemoveDirectoryA(full.c_str())), 145},
      {"remove a file as a folder", ErrorOf(RemoveDirectoryA(file.c_str())), 267},
      {"remove a folder", ErrorOf(RemoveDirectoryA(empty.c_str())), 0},
      {"remove it again", ErrorOf(RemoveDirectoryA(empty.c_str())), 2},
      {"delete a folder", ErrorOf(DeleteFileA(full.c_str())), 5},
      {"delete nothing", ErrorOf(DeleteFileW(Wide(missing).c_str())), 2},
      {"delete in no folder", ErrorOf(DeleteFileA(nowhere.c_str())), 3},
      {"delete a file", ErrorOf(DeleteFileA(file.c_str())), 0},
      {"open a folder",
       ErrorOf(CreateFileA(full.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr) !=
               INVALID_HANDLE_VALUE),
       5},
      {"attributes of nothing", ErrorOf(GetFileAttributesA(missing.c_str()) + 1), 2},
      {"attributes in no folder", ErrorOf(GetFileAttributesW(Wide(nowhere).c_str()) + 1), 3},
  };
  for (const auto& row : kRows) EXPECT_EQ(row.error, row.expected) << row.name;
}

TEST_F(FilesTest, LetterCaseAndSeparatorsDoNotMatter) {
  ASSERT_TRUE(CreateDirectoryA(Path("Folder").c_str(), nullptr));
  Make("Folder\\File.TXT", "found");
  std::string other = Path("fOLDER/fILE.txt");
  EXPECT_NE(GetFileAttributesA(other.c_str()), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(ErrorOf(CreateDirectoryA(Path("FOLDER").c_str(), nullptr)), 183u);
  EXPECT_NE(GetFileAttributesA((Path("Folder") + "\\..\\folder\\.\\file.txt").c_str()),
            INVALID_FILE_ATTRIBUTES);
  EXPECT_TRUE(DeleteFileA(other.c_str()));
  EXPECT_EQ(test::FolderEntries(Path("Folder")), std::vector<std::string>{});
}

TEST_F(FilesTest, Attributes) {
  Make("file");
  DWORD attributes = GetFileAttributesA(Path("file").c_str());
  EXPECT_EQ(attributes &
                (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_REPARSE_POINT),
            0u);
  EXPECT_NE(GetFileAttributesA(test::TempFolder().c_str()) & FILE_ATTRIBUTE_DIRECTORY, 0u);
  HANDLE file = Open("fixed", GENERIC_WRITE, 0, CREATE_NEW, FILE_ATTRIBUTE_READONLY);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  CloseHandle(file);
  EXPECT_NE(GetFileAttributesA(Path("fixed").c_str()) & FILE_ATTRIBUTE_READONLY, 0u);
  EXPECT_EQ(ErrorOf(DeleteFileA(Path("fixed").c_str())), 5u);
  EXPECT_TRUE(SetFileAttributesW(Wide(Path("fixed")).c_str(), FILE_ATTRIBUTE_NORMAL));
  EXPECT_TRUE(SetFileAttributesA(Path("file").c_str(), FILE_ATTRIBUTE_READONLY));
  EXPECT_EQ(ErrorOf(DeleteFileA(Path("fixed").c_str())), 0u);
  EXPECT_EQ(ErrorOf(DeleteFileA(Path("file").c_str())), 5u);
  EXPECT_TRUE(SetFileAttributesA(Path("file").c_str(), FILE_ATTRIBUTE_ARCHIVE));
  EXPECT_EQ(ErrorOf(SetFileAttributesA(Path("fixed").c_str(), FILE_ATTRIBUTE_NORMAL)), 2u);
}

TEST_F(FilesTest, Moving) {
  Make("a", "A");
  Make("b", "B");
  auto move = [this](const char* from, const char* to, DWORD flags) {
    return ErrorOf(MoveFileExW(Wide(Path(from)).c_str(), Wide(Path(to)).c_str(), flags));
  };
  EXPECT_EQ(move("a", "b", 0), 183u);
  EXPECT_EQ(test::ReadWholeFile(Path("b")), "B");
  EXPECT_EQ(move("a", "B", MOVEFILE_REPLACE_EXISTING), 0u);
  EXPECT_EQ(test::ReadWholeFile(Path("b")), "A");
  EXPECT_FALSE(test::Exists(Path("a")));
  EXPECT_EQ(move("a", "c", 0), 2u);
  EXPECT_EQ(move("b", "nowhere\\c", 0), 3u);
}

TEST_F(FilesTest, FullPaths) {
  auto full = [](const std::string& path) {
    WCHAR buffer[300] = {};
    WCHAR* name = nullptr;
    DWORD length = GetFullPathNameW(Wide(path).c_str(), 300, buffer, &name);
    std::string text(buffer, buffer + length);
    return text + " " + std::to_string(name ? name - buffer : -1);
  };
  EXPECT_EQ(full("C:\\a\\..\\b\\.\\c.txt"), "C:\\b\\c.txt 5");
  EXPECT_EQ(full("C:/a//b"), "C:\\a\\b 5");
  EXPECT_EQ(full("C:\\..\\..\\x"), "C:\\x 3");
  EXPECT_EQ(full("C:\\a\\"), "C:\\a\\ -1");
  EXPECT_EQ(full("C:\\"), "C:\\ -1");
  EXPECT_EQ(full("C:\\a. ."), "C:\\a 3");
  WCHAR small[4];
  EXPECT_EQ(GetFullPathNameW(Wide("C:\\abc").c_str(), 4, small, nullptr), 7u);
}

TEST_F(FilesTest, TemporaryFolder) {
  char path[MAX_PATH] = {};
  DWORD length = GetTempPathA(MAX_PATH, path);
  ASSERT_GT(length, 0u);
  EXPECT_EQ(path[length - 1], '\\');
  EXPECT_NE(GetFileAttributesA(path), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(GetTempPathA(length, path), length + 1) << "no room for the terminator";
  char before[MAX_PATH] = {};
  bool was_set = GetEnvironmentVariableA("TMP", before, MAX_PATH) != 0;
  ASSERT_TRUE(SetEnvironmentVariableA("TMP", "C:\\elsewhere"));
  EXPECT_EQ(GetTempPathA(MAX_PATH, path), 13u);
  EXPECT_STREQ(path, "C:\\elsewhere\\");
  WCHAR wide[MAX_PATH] = {};
  EXPECT_EQ(GetTempPathW(MAX_PATH, wide), 13u);
  SetEnvironmentVariableA("TMP", was_set ? before : nullptr);
}

TEST_F(FilesTest, KnownFolders) {
  for (int folder : {CSIDL_PERSONAL, CSIDL_APPDATA, CSIDL_LOCAL_APPDATA, CSIDL_COMMON_APPDATA}) {
    char path[MAX_PATH] = {};
    EXPECT_EQ(SHGetFolderPathA(nullptr, folder, nullptr, 0, path), S_OK) << folder;
    EXPECT_NE(GetFileAttributesA(path) & FILE_ATTRIBUTE_DIRECTORY, 0u) << path;
  }
  char path[MAX_PATH] = {};
  EXPECT_LT(SHGetFolderPathA(nullptr, 0xFE, nullptr, 0, path), 0);
}

}  // namespace
