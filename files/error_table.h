// Platform error numbers of the file layer, the framework codes that they become, and when a number
// is worth a report: one sorted table.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>

#include "base/errors.h"

namespace qv {

struct ErrorReport {
  uint8_t level;       // least "FSERR" at which the number is reported
  bool with_path;      // the report names the file
  bool may_be_silent;  // not reported when "FSERRNO" is this number
};

constexpr ErrorReport kAt1{1, false, false}, kAt1OrSilent{1, false, true},
    kAt1WithPath{1, true, false}, kAt2{2, false, false}, kAt2WithPathOrSilent{2, true, true},
    kAt3{3, false, false};

struct ErrorRow {
  uint16_t first, last;  // platform error numbers
  ZRError code;
  ErrorReport report;
};

constexpr ErrorRow kErrorRows[] = {
    {1, 1, ZRErrParam, kAt1OrSilent},
    {2, 3, ZRErrNotFound, kAt3},
    {4, 4, ZRErrTooMany, kAt1OrSilent},
    {5, 5, ZRErrAccess, kAt2WithPathOrSilent},
    {6, 6, ZRErrParam, kAt1OrSilent},
    {7, 7, ZRErrParam, kAt1},
    {8, 8, ZRErrNoMemory, kAt1},
    {9, 10, ZRErrParam, kAt1},
    {11, 11, ZRErrBadFormat, kAt1},
    {12, 12, ZRErrAccess, kAt1WithPath},
    {13, 13, ZRErrParam, kAt1OrSilent},
    {14, 14, ZRErrNoMemory, kAt1},
    {15, 15, ZRErrNoVolume, kAt2},
    {16, 16, ZRErrAccess, kAt1WithPath},
    {17, 17, ZRErrNotSameVolume, kAt1},
    {18, 18, ZRErrEOF, kAt3},
    {19, 19, ZRErrWriteProtected, kAt1WithPath},
    {20, 24, ZRErrIO, kAt1WithPath},
    {25, 25, ZRErrSeek, kAt1WithPath},
    {26, 27, ZRErrIO, kAt1WithPath},
    {28, 29, ZRErrDiskFull, kAt1},
    {30, 31, ZRErrIO, kAt1WithPath},
    {32, 33, ZRErrAccess, kAt1WithPath},
    {36, 36, ZRErrTooMany, kAt1OrSilent},
    {38, 38, ZRErrEOF, kAt3},
    {39, 39, ZRErrDiskFull, kAt1},
    {50, 50, ZRErrNotSupported, kAt1},
    {51, 51, ZRErrNotFound, kAt2},
    {52, 52, ZRErrExists, kAt1},
    {53, 54, ZRErrNetwork, kAt1WithPath},
    {55, 55, ZRErrNotFound, kAt2},
    {56, 64, ZRErrNetwork, kAt1WithPath},
    {65, 65, ZRErrAccess, kAt1WithPath},
    {66, 66, ZRErrNetwork, kAt1WithPath},
    {67, 67, ZRErrNotFound, kAt2},
    {68, 72, ZRErrNetwork, kAt1WithPath},
    {80, 80, ZRErrExists, kAt2},
    {82, 82, ZRErrCannotCreate, kAt2},
    {84, 84, ZRErrTooMany, kAt1OrSilent},
    {85, 85, ZRErrExists, kAt1},
    {86, 86, ZRErrAccess, kAt1WithPath},
    {87, 87, ZRErrParam, kAt1OrSilent},
    {88, 88, ZRErrNetwork, kAt1WithPath},
    {89, 89, ZRErrTooMany, kAt1OrSilent},
    {100, 100, ZRErrTooMany, kAt1OrSilent},
    {101, 102, ZRErrAccess, kAt1WithPath},
    {103, 103, ZRErrTooMany, kAt1OrSilent},
    {104, 104, ZRErrAccess, kAt1WithPath},
    {106, 106, ZRErrTooMany, kAt1OrSilent},
    {107, 107, ZRErrIO, kAt1WithPath},
    {108, 108, ZRErrAccess, kAt1WithPath},
    {110, 110, ZRErrOpenFailed, kAt1},
    {111, 111, ZRErrTooLong, kAt1},
    {112, 112, ZRErrDiskFull, kAt1},
    {113, 113, ZRErrTooMany, kAt1OrSilent},
    {114, 114, ZRErrParam, kAt1},
    {117, 118, ZRErrParam, kAt1OrSilent},
    {119, 120, ZRErrNotSupported, kAt1},
    {121, 121, ZRErrAccess, kAt1WithPath},
    {122, 122, ZRErrTooLong, kAt1},
    {123, 123, ZRErrNotFound, kAt2},
    {124, 124, ZRErrParam, kAt1OrSilent},
    {125, 128, ZRErrNotFound, kAt2},
    {129, 129, ZRErrBadFormat, kAt1},
    {130, 130, ZRErrParam, kAt1},
    {131, 132, ZRErrSeek, kAt1WithPath},
    {133, 135, ZRErrAccess, kAt1WithPath},
    {136, 137, ZRErrNotFound, kAt2},
    {138, 146, ZRErrAccess, kAt1WithPath},
    {147, 147, ZRErrTooMany, kAt1OrSilent},
    {148, 150, ZRErrAccess, kAt1WithPath},
    {151, 151, ZRErrParam, kAt1OrSilent},
    {152, 152, ZRErrTooMany, kAt1OrSilent},
    {153, 153, ZRErrParam, kAt1OrSilent},
    {154, 154, ZRErrTooLong, kAt1},
    {155, 155, ZRErrTooMany, kAt1OrSilent},
    {157, 159, ZRErrParam, kAt1},
    {160, 160, ZRErrParam, kAt1OrSilent},
    {161, 161, ZRErrNotFound, kAt2},
    {162, 162, ZRErrAccess, kAt1WithPath},
    {164, 164, ZRErrTooMany, kAt1OrSilent},
    {167, 167, ZRErrAccess, kAt1WithPath},
    {170, 170, ZRErrAccess, kAt1WithPath},
    {173, 174, ZRErrParam, kAt1},
    {180, 180, ZRErrParam, kAt1},
    {182, 182, ZRErrBadFormat, kAt1},
    {183, 183, ZRErrExists, kAt2},
    {186, 186, ZRErrParam, kAt1OrSilent},
    {187, 187, ZRErrNotFound, kAt2},
    {188, 202, ZRErrBadFormat, kAt1},
    {203, 203, ZRErrNotFound, kAt2},
    {206, 206, ZRErrTooLong, kAt1},
    {207, 207, ZRErrAccess, kAt1WithPath},
    {208, 209, ZRErrParam, kAt1OrSilent},
    {210, 210, ZRErrAccess, kAt1WithPath},
    {212, 212, ZRErrAccess, kAt1WithPath},
    {214, 214, ZRErrTooMany, kAt1OrSilent},
    {215, 215, ZRErrParam, kAt1},
    {254, 255, ZRErrParam, kAt1OrSilent},
    {259, 259, ZRErrEOF, kAt3},
    {266, 267, ZRErrParam, kAt1OrSilent},
    {275, 275, ZRErrTooLong, kAt1},
    {277, 277, ZRErrTooMany, kAt1OrSilent},
    {298, 298, ZRErrTooMany, kAt1OrSilent},
    {998, 998, ZRErrAccess, kAt1WithPath},
    {1005, 1005, ZRErrNoVolume, kAt1},
    {1231, 1231, ZRErrNoVolume, kAt1},
    {1326, 1331, ZRErrAccess, kAt1},
    {1380, 1380, ZRErrAccess, kAt1},
    {1385, 1385, ZRErrAccess, kAt1},
    {1450, 1454, ZRErrTooMany, kAt1OrSilent},
    {1455, 1455, ZRErrNoMemory, kAt1},
    {1785, 1785, ZRErrNoVolume, kAt1},
    {1816, 1816, ZRErrTooMany, kAt1OrSilent},
};

// Sorted, and no number in two rows.
constexpr bool ErrorRowsAreSorted() {
  for (size_t i = 1; i < std::size(kErrorRows); ++i) {
    if (kErrorRows[i].first <= kErrorRows[i - 1].last) return false;
    if (kErrorRows[i].last < kErrorRows[i].first) return false;
  }
  return true;
}
static_assert(ErrorRowsAreSorted());

}  // namespace qv
