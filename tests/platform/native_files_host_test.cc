#include <gtest/gtest.h>

#include "platform/host/control.h"
#include "platform/native_files.h"

namespace {

TEST(NativeFilesHostTest, FormsOfNativeNames) {
  const struct {
    std::string native, platform;
  } kRows[] = {
      {"/", "Z:\\"},
      {"/usr/../tmp/x", "Z:\\tmp\\x"},
      {"/gr\xC3\xBC\xC3\x9F", "Z:\\gr\xC3\xBC\xC3\x9F"},
      {host::StateDirectory() + "/drive_c/Temp/x", "C:\\Temp\\x"},
      {"/back\\slash", ""},
      {"/a:b", ""},
      {"/not\xFFutf8", ""},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(platform::PlatformPath(row.native), row.platform) << row.native;
  }
  // A neighbour of the drive's folder is not on the drive.
  EXPECT_TRUE(platform::PlatformPath(host::StateDirectory() + "/drive_cx").starts_with("Z:\\"));
}

}  // namespace
