#include "files/errors.h"

#include <algorithm>
#include <iterator>

namespace qv {
namespace {

struct Row {
  uint16_t first, last;  // platform error numbers
  ZRError code;
};

constexpr Row kRows[] = {{1, 1, ZRErrParam},
                         {2, 3, ZRErrNotFound},
                         {4, 4, ZRErrTooMany},
                         {5, 5, ZRErrAccess},
                         {6, 7, ZRErrParam},
                         {8, 8, ZRErrNoMemory},
                         {9, 10, ZRErrParam},
                         {11, 11, ZRErrBadFormat},
                         {12, 12, ZRErrAccess},
                         {13, 13, ZRErrParam},
                         {14, 14, ZRErrNoMemory},
                         {15, 15, ZRErrNoVolume},
                         {16, 16, ZRErrAccess},
                         {17, 17, ZRErrNotSameVolume},
                         {18, 18, ZRErrEOF},
                         {19, 19, ZRErrWriteProtected},
                         {20, 24, ZRErrIO},
                         {25, 25, ZRErrSeek},
                         {26, 27, ZRErrIO},
                         {28, 29, ZRErrDiskFull},
                         {30, 31, ZRErrIO},
                         {32, 33, ZRErrAccess},
                         {36, 36, ZRErrTooMany},
                         {38, 38, ZRErrEOF},
                         {39, 39, ZRErrDiskFull},
                         {50, 50, ZRErrNotSupported},
                         {51, 51, ZRErrNotFound},
                         {52, 52, ZRErrExists},
                         {53, 54, ZRErrNetwork},
                         {55, 55, ZRErrNotFound},
                         {56, 64, ZRErrNetwork},
                         {65, 65, ZRErrAccess},
                         {66, 66, ZRErrNetwork},
                         {67, 67, ZRErrNotFound},
                         {68, 72, ZRErrNetwork},
                         {80, 80, ZRErrExists},
                         {82, 82, ZRErrCannotCreate},
                         {84, 84, ZRErrTooMany},
                         {85, 85, ZRErrExists},
                         {86, 86, ZRErrAccess},
                         {87, 87, ZRErrParam},
                         {88, 88, ZRErrNetwork},
                         {89, 89, ZRErrTooMany},
                         {100, 100, ZRErrTooMany},
                         {101, 102, ZRErrAccess},
                         {103, 103, ZRErrTooMany},
                         {104, 104, ZRErrAccess},
                         {106, 106, ZRErrTooMany},
                         {107, 107, ZRErrIO},
                         {108, 108, ZRErrAccess},
                         {110, 110, ZRErrOpenFailed},
                         {111, 111, ZRErrTooLong},
                         {112, 112, ZRErrDiskFull},
                         {113, 113, ZRErrTooMany},
                         {114, 114, ZRErrParam},
                         {117, 118, ZRErrParam},
                         {119, 120, ZRErrNotSupported},
                         {121, 121, ZRErrAccess},
                         {122, 122, ZRErrTooLong},
                         {123, 123, ZRErrNotFound},
                         {124, 124, ZRErrParam},
                         {125, 128, ZRErrNotFound},
                         {129, 129, ZRErrBadFormat},
                         {130, 130, ZRErrParam},
                         {131, 132, ZRErrSeek},
                         {133, 135, ZRErrAccess},
                         {136, 137, ZRErrNotFound},
                         {138, 146, ZRErrAccess},
                         {147, 147, ZRErrTooMany},
                         {148, 150, ZRErrAccess},
                         {151, 151, ZRErrParam},
                         {152, 152, ZRErrTooMany},
                         {153, 153, ZRErrParam},
                         {154, 154, ZRErrTooLong},
                         {155, 155, ZRErrTooMany},
                         {157, 160, ZRErrParam},
                         {161, 161, ZRErrNotFound},
                         {162, 162, ZRErrAccess},
                         {164, 164, ZRErrTooMany},
                         {167, 167, ZRErrAccess},
                         {170, 170, ZRErrAccess},
                         {173, 174, ZRErrParam},
                         {180, 180, ZRErrParam},
                         {182, 182, ZRErrBadFormat},
                         {183, 183, ZRErrExists},
                         {186, 186, ZRErrParam},
                         {187, 187, ZRErrNotFound},
                         {188, 202, ZRErrBadFormat},
                         {203, 203, ZRErrNotFound},
                         {206, 206, ZRErrTooLong},
                         {207, 207, ZRErrAccess},
                         {208, 209, ZRErrParam},
                         {210, 210, ZRErrAccess},
                         {212, 212, ZRErrAccess},
                         {214, 214, ZRErrTooMany},
                         {215, 215, ZRErrParam},
                         {254, 255, ZRErrParam},
                         {259, 259, ZRErrEOF},
                         {266, 267, ZRErrParam},
                         {275, 275, ZRErrTooLong},
                         {277, 277, ZRErrTooMany},
                         {298, 298, ZRErrTooMany},
                         {998, 998, ZRErrAccess},
                         {1005, 1005, ZRErrNoVolume},
                         {1231, 1231, ZRErrNoVolume},
                         {1326, 1331, ZRErrAccess},
                         {1380, 1380, ZRErrAccess},
                         {1385, 1385, ZRErrAccess},
                         {1450, 1454, ZRErrTooMany},
                         {1455, 1455, ZRErrNoMemory},
                         {1785, 1785, ZRErrNoVolume},
                         {1816, 1816, ZRErrTooMany}};

constexpr bool IsSorted() {
  for (size_t i = 1; i < std::size(kRows); ++i) {
    if (kRows[i].first <= kRows[i - 1].last || kRows[i].last < kRows[i].first) return false;
  }
  return true;
}
static_assert(IsSorted());

}  // namespace

ZRError TranslateNativeError(uint32_t native) {
  if (native == 0) return ZRErrNone;
  const auto number = static_cast<uint16_t>(native);
  const Row* row = std::upper_bound(std::begin(kRows), std::end(kRows), number,
                                    [](uint16_t n, const Row& r) { return n <= r.last; });
  if (row != std::end(kRows) && number >= row->first) return row->code;
  const bool is_framework_code = native >= uint32_t{ZRErrIO} && native <= uint32_t{ZRErrSeek};
  return is_framework_code ? static_cast<ZRError>(native) : ZRErrUnexpected;
}

}  // namespace qv
