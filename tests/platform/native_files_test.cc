#include "platform/native_files.h"

#include <gtest/gtest.h>

#include "tests/test_platform.h"

namespace {

TEST(NativeFilesTest, PathsGoThereAndBack) {
  const std::string path = test::TempFolder() + "\\a file.txt";
  ASSERT_TRUE(test::WriteWholeFile(path, "x"));
  EXPECT_EQ(platform::PlatformPath(platform::NativePath(path)), path);
  EXPECT_EQ(platform::PlatformPath(""), "");
}

TEST(NativeFilesTest, RelativePathsStartAtTheCurrentFolder) {
  std::string full = platform::PlatformPath("some.txt");
  EXPECT_TRUE(full.ends_with("\\some.txt")) << full;
  EXPECT_EQ(full.substr(1, 2), ":\\");
}

}  // namespace
