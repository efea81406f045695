#include <gtest/gtest.h>

#include "files/paths.h"
#include "platform/host/control.h"

namespace {

// The second byte of 0x95 0x5C has the value of "\".
TEST(PathsHostTest, ATrailByteIsNoSeparator) {
  host::SetAnsiCodePage(932);
  char path[256] = "C:\\a\x95\x5C";
  ZRPathNormalize(path);
  EXPECT_STREQ(path, "C:\\a\x95\x5C");
  ZRPathJoin(path, "b");
  EXPECT_STREQ(path, "C:\\a\x95\x5C\\b");
  host::SetAnsiCodePage(1252);
  char plain[256] = "C:\\a\x95\x5C";
  ZRPathNormalize(plain);
  EXPECT_STREQ(plain, "C:\\a\x95");
}

}  // namespace
