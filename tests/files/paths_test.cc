#include "files/paths.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

// A path in a buffer of its 256 bytes, with a guard behind.
struct PathBuffer {
  explicit PathBuffer(const std::string& path) {
    std::memset(bytes, '#', sizeof bytes);
    std::memcpy(bytes, path.c_str(), path.size() + 1);
  }
  ~PathBuffer() { EXPECT_EQ(std::string(bytes + 256, 8), "########"); }
  char bytes[264];
};

TEST(PathsTest, DriveRootAndNormalize) {
  const struct {
    const char* path;
    const char* rooted;
    const char* normalized;
  } kRows[] = {
      {"", "", ""},
      {"C", "C", "C"},
      {"C:", "C:\\", "C:\\"},
      {"C:\\", "C:\\", "C:\\"},
      {"C:\\\\", "C:\\\\", "C:\\\\"},
      {"C:\\a\\", "C:\\a\\", "C:\\a"},
      {"C:\\a", "C:\\a", "C:\\a"},
      {"C:\\ab\\\\", "C:\\ab\\\\", "C:\\ab\\"},
      {"\\\\srv\\", "\\\\srv\\", "\\\\srv"},
  };
  for (const auto& row : kRows) {
    PathBuffer rooted(row.path), normalized(row.path);
    ZRPathDriveRoot(rooted.bytes);
    ZRPathNormalize(normalized.bytes);
    EXPECT_STREQ(rooted.bytes, row.rooted) << row.path;
    EXPECT_STREQ(normalized.bytes, row.normalized) << row.path;
  }
  ZRPathDriveRoot(nullptr);
  ZRPathNormalize(nullptr);
}

TEST(PathsTest, Join) {
  const std::string folder = "C:\\" + std::string(237, 'f');  // 240 characters
  const struct {
    const char* name;
    std::string path, added, expected;  // expected "-": refused
  } kRows[] = {
      {"plain", "C:\\a", "b", "C:\\a\\b"},
      {"both have a separator", "C:\\a\\", "\\b", "C:\\a\\b"},
      {"the name has one", "C:\\a", "\\b", "C:\\a\\b"},
      {"only one is dropped", "C:\\a", "\\\\b", "C:\\a\\\\b"},
      {"a drive", "C:", "b", "C:b"},
      {"a drive and a separator", "C:", "\\b", "C:b"},
      {"a drive root", "C:\\", "b", "C:\\b"},
      {"the result is normalised", "C:\\a", "b\\", "C:\\a\\b"},
      {"no name", "C:\\a", "", "C:\\a"},
      {"no path", "", "b", "b"},
      {"no path: the name as it is", "", "\\folder\\", "\\folder\\"},
      {"254 characters", folder, std::string(13, 'n'), folder + "\\" + std::string(13, 'n')},
      {"255 characters", folder, std::string(14, 'n'), "-"},
      {"254 with a separator that goes", folder, "\\" + std::string(13, 'n'),
       folder + "\\" + std::string(13, 'n')},
      {"a long name alone", "", std::string(254, 'n'), std::string(254, 'n')},
      {"a longer name alone", "", std::string(255, 'n'), "-"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    PathBuffer path(row.path);
    const bool refused = row.expected == "-";
    EXPECT_EQ(ZRPathJoin(path.bytes, row.added.c_str()), refused ? nullptr : path.bytes);
    EXPECT_EQ(path.bytes, refused ? row.path : row.expected);
  }
  PathBuffer path("C:\\a");
  EXPECT_EQ(ZRPathJoin(path.bytes, nullptr), nullptr);
  EXPECT_EQ(ZRPathJoin(nullptr, "a"), nullptr);
}

TEST(PathsTest, Split) {
  const std::string longest(63, 'n'), deep = "C:\\" + std::string(260, 'd') + "\\x";
  const struct {
    std::string path, folder, name;
    ZRError error;
  } kRows[] = {
      {"C:\\mail\\in.box", "C:\\mail", "in.box", 0},
      {"C:\\in.box", "C:\\", "in.box", 0},
      {"C:in.box", "", "C:in.box", 0},
      {"a\\b:c", "", "a\\b:c", 0},
      {"in.box", "", "in.box", 0},
      {"\\\\srv\\share\\f", "\\\\srv\\share", "f", 0},
      {"C:\\a\\", "C:\\a", "", 0},
      {"", "", "", 0},
      {"C:\\" + longest, "C:\\", longest, 0},
      {"C:\\" + longest + "nn", "C:\\", longest, 0},  // no such file, so no short form
      {deep, "", "", ZRErrTooLong},
  };
  for (const auto& row : kRows) {
    char folder[kFolderSize], name[kNameSize];
    EXPECT_EQ(ZRPathSplit(row.path.c_str(), folder, name, false), row.error) << row.path;
    EXPECT_EQ(folder, row.folder) << row.path;
    EXPECT_EQ(name, row.name) << row.path;
  }
}

TEST(PathsTest, Below) {
  const struct {
    const char* path;
    const char* folder;
    bool expected;
  } kRows[] = {{"C:\\a\\b", "c:\\A", true}, {"C:\\a", "C:\\a", true}, {"C:\\ab", "C:\\a", false},
               {"C:\\a", "C:\\", true},     {"C:\\", "C:\\a", false}, {"C:\\a", "", false},
               {"C:\\a", "D:\\", false}};
  for (const auto& row : kRows) {
    EXPECT_EQ(qv::PathIsBelow(row.path, row.folder), row.expected) << row.path << row.folder;
  }
}

}  // namespace
