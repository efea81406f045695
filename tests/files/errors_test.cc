#include "files/errors.h"

#include <gtest/gtest.h>

namespace {

// One number of each kind, and those beside a run of numbers.
TEST(ErrorsTest, TranslatesPlatformNumbers) {
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
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(ZRTranslateNativeError(row.native), row.expected) << row.native;
  }
}

}  // namespace
