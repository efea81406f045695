#include <gtest/gtest.h>

#include <string>

#include "files/file_names.h"
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

TEST(PathsHostTest, DoubleByteCharactersAreNeverSplit) {
  host::SetAnsiCodePage(932);
  char folder[kFolderSize], name[kNameSize];
  EXPECT_EQ(ZRPathSplit("C:\\a\x95\x5C\\n\x95\x5C", folder, name, false), ZRErrNone);
  EXPECT_STREQ(folder, "C:\\a\x95\x5C");
  EXPECT_STREQ(name, "n\x95\x5C");
  std::string pairs;
  for (int i = 0; i < 40; ++i) pairs += "\x95\x5C";
  EXPECT_EQ(ZRPathSplit(("C:\\" + pairs).c_str(), folder, name, false), ZRErrNone);
  EXPECT_EQ(name, pairs.substr(0, 62)) << "31 whole characters within 63 bytes";
  std::string cleaned = pairs;
  ZRSanitizeName(cleaned.data(), false);
  EXPECT_STREQ(cleaned.c_str(), pairs.substr(0, 62).c_str());
  char stripped[] = "|\x83\x7C\x95\x5C|";  // second bytes "|" and "\\"
  ZRStripName(stripped);
  EXPECT_STREQ(stripped, "\x83\x7C\x95\x5C");
  host::SetAnsiCodePage(1252);
}

}  // namespace
