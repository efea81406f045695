// Named streams, seen from the machine's side.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "platform/host/control.h"
#include "platform/native_files.h"
#include "tests/test_platform.h"

namespace {

namespace fs = std::filesystem;

class StreamsHostTest : public testing::Test {
 protected:
  void SetUp() override { test::EmptyFolder(test::TempFolder()); }
  void TearDown() override {
    host::ClearFaults();
    test::EmptyFolder(test::TempFolder());
  }
  static std::string Path(const std::string& name) { return test::TempFolder() + "\\" + name; }
  static fs::path Native(const std::string& name) { return platform::NativePath(Path(name)); }

  static DWORD Open(const std::string& name, DWORD access, DWORD disposition) {
    HANDLE file =
        CreateFileA(Path(name).c_str(), access, FILE_SHARE_READ, nullptr, disposition, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return GetLastError();
    DWORD done = 0;
    if (access == GENERIC_WRITE) WriteFile(file, "text", 4, &done, nullptr);
    CloseHandle(file);
    return 0;
  }
  static std::vector<std::string> NativeEntries() {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(Native(""))) {
      names.push_back(entry.path().filename());
    }
    return names;
  }
};

TEST_F(StreamsHostTest, WhatCanBeNamed) {
  const struct {
    const char* name;
    DWORD access, disposition, error;
  } kRows[] = {
      {"file:one", GENERIC_READ, OPEN_EXISTING, ERROR_FILE_NOT_FOUND},
      {"file:one", GENERIC_WRITE, CREATE_NEW, 0},  // makes the file too
      {"file", GENERIC_READ, OPEN_EXISTING, 0},
      {"FILE:ONE", GENERIC_READ, OPEN_EXISTING, 0},
      {"file:one", GENERIC_WRITE, CREATE_NEW, ERROR_FILE_EXISTS},
      {"file:two", GENERIC_READ, OPEN_EXISTING, ERROR_FILE_NOT_FOUND},
      {"file:", GENERIC_WRITE, CREATE_NEW, ERROR_INVALID_NAME},
      {"file:..", GENERIC_WRITE, CREATE_NEW, ERROR_INVALID_NAME},
      {"file:a:b", GENERIC_WRITE, CREATE_NEW, ERROR_INVALID_NAME},
      {"file:a?b", GENERIC_WRITE, CREATE_NEW, ERROR_INVALID_NAME},
      {":one", GENERIC_WRITE, CREATE_NEW, ERROR_ACCESS_DENIED},  // of the folder
      {"missing\\file:one", GENERIC_WRITE, CREATE_NEW, ERROR_PATH_NOT_FOUND},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(Open(row.name, row.access, row.disposition), row.error) << row.name;
  }
  EXPECT_TRUE(SetFileAttributesA(Path("file").c_str(), FILE_ATTRIBUTE_READONLY));
  EXPECT_EQ(Open("file:one", GENERIC_READ, OPEN_EXISTING), 0u);
  EXPECT_EQ(Open("file:one", GENERIC_WRITE, OPEN_EXISTING), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_FALSE(CreateDirectoryA(Path("file:folder").c_str(), nullptr));
  EXPECT_FALSE(MoveFileA(Path("file:one").c_str(), Path("moved").c_str()));
}

TEST_F(StreamsHostTest, NothingIsLeft) {
  EXPECT_EQ(Open("file:one", GENERIC_WRITE, CREATE_NEW), 0u);
  EXPECT_EQ(Open("file:two", GENERIC_WRITE, CREATE_NEW), 0u);
  EXPECT_EQ(NativeEntries().size(), 2u);
  EXPECT_TRUE(DeleteFileA(Path("file:one").c_str()));
  EXPECT_EQ(NativeEntries().size(), 2u);
  EXPECT_TRUE(DeleteFileA(Path("file:two").c_str()));
  EXPECT_EQ(NativeEntries(), std::vector<std::string>{"file"});
  // A stream that could not be made.
  EXPECT_EQ(Open("file:a/b", GENERIC_WRITE, CREATE_NEW), DWORD{ERROR_INVALID_NAME});
  EXPECT_NE(Open("file:" + std::string(300, 's'), GENERIC_WRITE, CREATE_NEW), 0u);
  EXPECT_EQ(NativeEntries(), std::vector<std::string>{"file"});
}

// Another program takes the file away: a later one of its name has no streams, and its folder can
// go.
TEST_F(StreamsHostTest, WhatOthersLeave) {
  EXPECT_TRUE(CreateDirectoryA(Path("folder").c_str(), nullptr));
  EXPECT_EQ(Open("folder\\file:one", GENERIC_WRITE, CREATE_NEW), 0u);
  EXPECT_FALSE(RemoveDirectoryA(Path("folder").c_str()));
  EXPECT_EQ(Open("folder\\file:one", GENERIC_READ, OPEN_EXISTING), 0u) << "not emptied by it";
  fs::remove(Native("folder\\file"));
  EXPECT_EQ(Open("folder\\file:one", GENERIC_READ, OPEN_EXISTING), DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(Open("folder\\file", GENERIC_WRITE, CREATE_NEW), 0u);
  EXPECT_EQ(Open("folder\\file:one", GENERIC_READ, OPEN_EXISTING), DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(Open("folder\\file:one", GENERIC_WRITE, CREATE_NEW), 0u);
  fs::remove(Native("folder\\file"));
  EXPECT_TRUE(RemoveDirectoryA(Path("folder").c_str()));
}

// A move whose streams cannot follow is none.
TEST_F(StreamsHostTest, AMoveThatCannotTakeThemAlong) {
  EXPECT_EQ(Open("file:one", GENERIC_WRITE, CREATE_NEW), 0u);
  EXPECT_TRUE(CreateDirectoryA(Path("folder").c_str(), nullptr));
  std::ofstream(Native("folder") / ".qvsmapi-streams") << "in the way";
  EXPECT_FALSE(MoveFileA(Path("file").c_str(), Path("folder\\file").c_str()));
  EXPECT_EQ(Open("file:one", GENERIC_READ, OPEN_EXISTING), 0u);
  EXPECT_FALSE(CopyFileA(Path("file").c_str(), Path("folder\\file").c_str(), TRUE));
  EXPECT_EQ(GetFileAttributesA(Path("folder\\file").c_str()), DWORD{INVALID_FILE_ATTRIBUTES});
}

}  // namespace
