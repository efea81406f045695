#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/windows_api.h"
#include "tests/test_platform.h"

namespace {

struct Found {
  std::vector<std::string> names;
  DWORD error;
};

Found Find(const std::string& pattern) {
  Found found{{}, 0};
  WIN32_FIND_DATAA data;
  HANDLE listing = FindFirstFileA(pattern.c_str(), &data);
  if (listing == INVALID_HANDLE_VALUE) return {{}, GetLastError()};
  do {
    found.names.push_back(data.cFileName);
  } while (FindNextFileA(listing, &data));
  found.error = GetLastError();
  EXPECT_TRUE(FindClose(listing));
  EXPECT_FALSE(FindNextFileA(listing, &data));
  std::sort(found.names.begin(), found.names.end());
  return found;
}

TEST(FindFilesTest, Patterns) {
  const std::string folder = test::TempFolder();
  test::EmptyFolder(folder);
  for (const char* name : {"a.txt", "ab.txt", "b.dat", "c"}) {
    ASSERT_TRUE(test::WriteWholeFile(folder + "\\" + name, "12"));
  }
  using Names = std::vector<std::string>;
  const struct {
    const char* pattern;
    Names names;
  } kRows[] = {{"*", {".", "..", "a.txt", "ab.txt", "b.dat", "c"}},
               {"*.*", {".", "..", "a.txt", "ab.txt", "b.dat", "c"}},
               {"A*.TXT", {"a.txt", "ab.txt"}},
               {"?.txt", {"a.txt"}},
               {"*b*", {"ab.txt", "b.dat"}},
               {"c", {"c"}}};
  for (const auto& row : kRows) {
    const Found found = Find(folder + "\\" + row.pattern);
    EXPECT_EQ(found.names, row.names) << row.pattern;
    EXPECT_EQ(found.error, DWORD{ERROR_NO_MORE_FILES}) << row.pattern;
  }
  EXPECT_EQ(Find(folder + "\\x*").error, DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(Find(folder + "\\none\\*").error, DWORD{ERROR_PATH_NOT_FOUND});
  test::EmptyFolder(folder);
}

TEST(FindFilesTest, ShortNamesStayAndOpen) {
  const std::string folder = test::TempFolder(), name = "a name with blanks.text";
  test::EmptyFolder(folder);
  ASSERT_TRUE(test::WriteWholeFile(folder + "\\" + name, "12"));
  WIN32_FIND_DATAA data;
  HANDLE listing = FindFirstFileA((folder + "\\a*").c_str(), &data);
  ASSERT_NE(listing, INVALID_HANDLE_VALUE);
  FindClose(listing);
  EXPECT_EQ(data.cFileName, name);
  EXPECT_EQ(data.nFileSizeLow, 2u);
  const std::string other = data.cAlternateFileName;
  ASSERT_FALSE(other.empty());
  EXPECT_NE(GetFileAttributesA((folder + "\\" + other).c_str()), INVALID_FILE_ATTRIBUTES);
  char path[MAX_PATH];
  const DWORD length = GetShortPathNameA((folder + "\\" + name).c_str(), path, sizeof path);
  ASSERT_GT(length, 0u);
  EXPECT_EQ(std::string(path).substr(std::string(path).rfind('\\') + 1), other);
  EXPECT_EQ(GetShortPathNameA((folder + "\\none").c_str(), path, sizeof path), 0u);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
  test::EmptyFolder(folder);
}

// The place of a transfer, and what the end of the file is then.
TEST(FindFilesTest, PlacesInAFile) {
  const std::string path = test::TempFolder() + "\\f";
  HANDLE file = CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                            0, nullptr);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  OVERLAPPED at{};
  at.Offset = 3;
  DWORD done = 0;
  EXPECT_TRUE(WriteFile(file, "abc", 3, &done, &at));
  EXPECT_EQ(SetFilePointer(file, 0, nullptr, FILE_CURRENT), 6u) << "a transfer moves the place";
  char byte = 0;
  EXPECT_TRUE(ReadFile(file, &byte, 1, &done, nullptr));
  EXPECT_EQ(done, 0u);
  at.Offset = 6;
  EXPECT_FALSE(ReadFile(file, &byte, 1, &done, &at));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_HANDLE_EOF});
  EXPECT_EQ(SetFilePointer(file, -1, nullptr, FILE_BEGIN), DWORD{INVALID_SET_FILE_POINTER});
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NEGATIVE_SEEK});
  LONG high = 1;
  EXPECT_EQ(SetFilePointer(file, 5, &high, FILE_BEGIN), 5u);
  EXPECT_EQ(high, 1);
  EXPECT_EQ(SetFilePointer(file, 4, nullptr, FILE_BEGIN), 4u);
  EXPECT_TRUE(SetEndOfFile(file));
  CloseHandle(file);
  EXPECT_EQ(test::ReadWholeFile(path), std::string("\0\0\0a", 4));
  DeleteFileA(path.c_str());
}

}  // namespace
