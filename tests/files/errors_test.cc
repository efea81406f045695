#include "files/errors.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/files/files_fixture.h"

namespace {

using testing::_;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using ErrorsTest = test::FilesTest;
using Lines = std::vector<std::string>;

// Numbers of each code, with the ends of each run of numbers and what lies beside them.
TEST_F(ErrorsTest, TranslatesPlatformNumbers) {
  const struct {
    ZRError code;
    std::vector<uint32_t> natives;
  } kRows[] = {{ZRErrNone, {0}},
               {ZRErrParam, {1, 6, 9, 10, 87, 117, 118, 157, 159, 173, 174, 208, 209, 254, 267}},
               {ZRErrNotFound, {2, 3, 51, 55, 123, 125, 128, 136, 137, 203}},
               {ZRErrTooMany, {4, 36, 113, 214, 1450, 1454, 1816}},
               {ZRErrAccess, {5, 32, 65, 133, 135, 138, 146, 148, 150, 998, 1326, 1331, 1385}},
               {ZRErrNoMemory, {8, 14, 1455}},
               {ZRErrBadFormat, {11, 129, 182, 188, 202}},
               {ZRErrNoVolume, {15, 1005, 1231, 1785}},
               {ZRErrNotSameVolume, {17}},
               {ZRErrEOF, {18, 38, 259}},
               {ZRErrWriteProtected, {19}},
               {ZRErrIO, {20, 24, 26, 27, 30, 31, 107, 4101}},
               {ZRErrSeek, {25, 131, 132, 4128}},
               {ZRErrDiskFull, {28, 29, 39, 112}},
               {ZRErrNotSupported, {50, 119, 120}},
               {ZRErrExists, {52, 80, 85, 183}},
               {ZRErrNetwork, {53, 54, 56, 64, 66, 68, 72, 88}},
               {ZRErrCannotCreate, {82}},
               {ZRErrOpenFailed, {110}},
               {ZRErrTooLong, {111, 122, 154, 206, 275}},
               {ZRErrAccess, {0x80070005}},
               {ZRErrUnexpected,
                {34, 73, 156, 268, 999, 1325, 1332, 1449, 65535, 4113, 4100, 4129, 0x10000,
                 0x10000 + 4113}}};
  for (const auto& row : kRows) {
    for (const uint32_t native : row.natives) {
      EXPECT_EQ(ZRTranslateNativeError(native), row.code) << native;
    }
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
  // The text of the system ends without a line end; its words are the system's.
  EXPECT_THAT(test::Said(), ElementsAre("log: DEBUG ERROR 5 C:\\f\n\n",
                                        "Unexpected file system error code: 5 (00000005h)",
                                        AllOf(StartsWith("Windows error 5 is \""),
                                              EndsWith("\" C:\\f"), Not(HasSubstr("\n")))));
  EXPECT_EQ(tracebacks, 1u);
  test::Said().clear();
  ZRTranslateNativeError(32);
  EXPECT_THAT(test::Said(), ElementsAre("log: DEBUG ERROR 32 \n", _, EndsWith("\"")));
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
    EXPECT_THAT(test::Said(),
                ElementsAre("*** File system damage discovered - run CHKDSK ***", _, _));
  }
}

}  // namespace
