#include "diag/system/system_record.h"

#include <gtest/gtest.h>

#include "platform/windows_api.h"

namespace {

TEST(SystemRecordTest, FollowsFromTheAnswer) {
  const struct {
    const char* name;
    qv::VersionAnswer answer;
    int32_t platform;
    uint32_t version, flags;
  } kRows[] = {{"NT", {true, 2, 6, 1}, 5, 6001, 0x38},
               {"95", {true, 1, 4, 10}, 4, 4010, 0x18},
               {"Win32s", {true, 0, 3, 11}, 3, 3011, 0x18},
               {"another platform", {true, 3, 6, 1}, -1, 0, 0x08},
               {"no answer", {false, 2, 6, 1}, -1, 0, 0x08},
               {"minor of 1000", {true, 2, 4, 1000}, 5, 5000, 0x38},
               {"minor of 1001", {true, 2, 4, 1001}, 5, 4100, 0x38},
               {"minor of 123456", {true, 2, 4, 123456}, 5, 4123, 0x38}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    SystemRecord record = qv::MakeSystemRecord(row.answer, 7);
    EXPECT_EQ(record.valid, 1u);
    EXPECT_EQ(record.reserved, 0u);
    EXPECT_EQ(record.platform, row.platform);
    EXPECT_EQ(record.version, row.version);
    EXPECT_EQ(record.flags, row.flags);
    EXPECT_EQ(record.processors, 7u);
  }
}

TEST(SystemRecordTest, AccessorsTellOfTheRunningSystem) {
  SYSTEM_INFO info{};
  GetSystemInfo(&info);
  EXPECT_GE(info.dwNumberOfProcessors, 1u);
  EXPECT_EQ(ZRSystemProcessors(), info.dwNumberOfProcessors);
  EXPECT_EQ(ZRSystemValid(), 1u);
  EXPECT_EQ(ZRSystemPlatform(), kPlatformNt);
  EXPECT_GE(ZRSystemVersion(), 5000u);
  EXPECT_EQ(ZRSystemFlags(~0u), 0x38u);
  EXPECT_EQ(ZRSystemFlags(kSystemThreadsAvailable | 1), kSystemThreadsAvailable);
  EXPECT_EQ(ZRSystemFlags(0), 0u);
}

}  // namespace
