#include "files/errors.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/files/files_fixture.h"

namespace {

using testing::ElementsAre;
using ErrorsTest = test::FilesTest;
using Lines = std::vector<std::string>;

// One number of each kind, and those beside a run of numbers.
TEST_F(ErrorsTest, TranslatesPlatformNumbers) {
  const struct {
    uint32_t native;
    ZRError expected;
  } kRows[] = {
      {0, ZRErrNone},
      {1, ZRErrParam},
      {2, ZRErrNotFound},
      {3, ZRErrNotFound},
      {4, ZRErrTooMany},
      {5, ZRErrAccess},
      {8, ZRErrNoMemory},
      {11, ZRErrBadFormat},
      {15, ZRErrNoVolume},
      {17, ZRErrNotSameVolume},
      {18, ZRErrEOF},
      {19, ZRErrWriteProtected},
      {20, ZRErrIO},
      {24, ZRErrIO},
      {25, ZRErrSeek},
      {26, ZRErrIO},
      {32, ZRErrAccess},
      {38, ZRErrEOF},
      {50, ZRErrNotSupported},
      {52, ZRErrExists},
      {53, ZRErrNetwork},
      {55, ZRErrNotFound},
      {64, ZRErrNetwork},
      {65, ZRErrAccess},
      {80, ZRErrExists},
      {82, ZRErrCannotCreate},
      {87, ZRErrParam},
      {110, ZRErrOpenFailed},
      {112, ZRErrDiskFull},
      {123, ZRErrNotFound},
      {183, ZRErrExists},
      {188, ZRErrBadFormat},
      {202, ZRErrBadFormat},
      {203, ZRErrNotFound},
      {206, ZRErrTooLong},
      {1331, ZRErrAccess},
      {1454, ZRErrTooMany},
      {1455, ZRErrNoMemory},
      {1816, ZRErrTooMany},
      {999, ZRErrUnexpected},
      {1332, ZRErrUnexpected},
      {65535, ZRErrUnexpected},
      {0x80070005, ZRErrAccess},
      {4113, 4113},
      {4101, 4101},
      {4128, 4128},
      {4129, ZRErrUnexpected},
      {4100, ZRErrUnexpected},
      {0x10000 + 4113, ZRErrUnexpected},
      {0x10000, ZRErrUnexpected},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(ZRTranslateNativeError(row.native), row.expected) << row.native;
  }
}

// One number of each kind of row; the system's text is not looked at here.
TEST_F(ErrorsTest, ReportsFromTheLevelOfTheRow) {
  const struct {
    uint32_t native;
    int first_level;  // "FSERR"
    bool with_path;
    bool can_be_silent;  // by "FSERRNO"
  } kRows[] = {{0, 9, false, false},   {1, 1, false, true},    {7, 1, false, false},
               {2, 3, false, false},   {123, 2, false, false}, {4, 1, false, true},
               {5, 2, true, true},     {32, 1, true, false},   {1326, 1, false, false},
               {112, 1, false, false}, {18, 3, false, false},  {19, 1, true, false},
               {53, 1, true, false},   {999, 0, true, false},  {4113, 9, false, false}};
  for (const auto& row : kRows) {
    for (int level = 0; level <= 3; ++level) {
      for (bool silent : {false, true}) {
        SCOPED_TRACE(testing::Message() << row.native << " at " << level << (silent ? " S" : ""));
        Set("Debug", "FSERR", std::to_string(level).c_str());
        Set("Debug", "FSERRNO", silent ? std::to_string(row.native).c_str() : "0");
        test::Said().clear();
        ZRTranslateNativeError(row.native, "C:\\f");
        Lines messages;
        for (const std::string& line : test::Said()) {
          if (line.compare(0, 4, "log:") != 0) messages.push_back(line);
        }
        const bool reported = level >= row.first_level && !(silent && row.can_be_silent);
        ASSERT_EQ(messages.size(), reported ? 2u : 0u);
        if (!reported) continue;
        EXPECT_EQ(messages[1].substr(messages[1].size() - 4) == "C:\\f", row.with_path);
      }
    }
  }
}

TEST_F(ErrorsTest, TheTextsOfAReport) {
  static uint32_t tracebacks;
  tracebacks = 0;
  qv::GlobalHooks().print_traceback = [](uint32_t) { ++tracebacks; };
  Set("Debug", "FSERR", "2");
  Set("Debug", "FSTB", "1");
  test::Said().clear();
  EXPECT_EQ(ZRTranslateNativeError(5, "C:\\f"), ZRErrAccess);
  const std::string number = "Unexpected file system error code: 5 (00000005h)";
  ASSERT_EQ(test::Said().size(), 3u);
  EXPECT_EQ(test::Said()[0], "log: DEBUG ERROR 5 C:\\f\n\n");
  EXPECT_EQ(test::Said()[1], number);
  // The text of the system ends without a line end; its words are the system's.
  EXPECT_THAT(test::Said()[2], testing::MatchesRegex("Windows error 5 is \"[^\r\n]*\" C:.f"));
  EXPECT_EQ(tracebacks, 1u);
  test::Said().clear();
  ZRTranslateNativeError(32);
  ASSERT_EQ(test::Said().size(), 3u);
  EXPECT_EQ(test::Said()[0], "log: DEBUG ERROR 32 \n");
  EXPECT_EQ(test::Said()[2].back(), '"');
  for (uint32_t everyday : {0, 2, 18, 38}) {
    test::Said().clear();
    ZRTranslateNativeError(everyday, "x");
    EXPECT_EQ(test::Said(), Lines{}) << everyday;
  }
}

TEST_F(ErrorsTest, ADamagedDiskIsAlwaysSaid) {
  for (uint32_t native : {1392u, 1393u}) {
    test::Said().clear();
    EXPECT_EQ(ZRTranslateNativeError(native, "C:\\f"), ZRErrUnexpected);
    ASSERT_EQ(test::Said().size(), 3u);
    EXPECT_EQ(test::Said()[0], "*** File system damage discovered - run CHKDSK ***");
  }
}

}  // namespace
