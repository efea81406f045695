#include "diag/system/memory_status.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

TEST(MemoryStatusTest, TheRunningSystem) {
  MemoryStatus basic{};
  ASSERT_TRUE(ZRMemoryStatus(&basic));
  EXPECT_GT(basic.available_virtual, 0u);
  EXPECT_EQ(basic.usable_total,
            std::min({basic.total_page_file, basic.total_physical, basic.total_virtual}));
  EXPECT_EQ(basic.usable_available,
            std::min({basic.available_page_file, basic.total_physical, basic.available_virtual}));

  MemoryStatusFull full{};
  ASSERT_TRUE(ZRMemoryStatusFull(&full));
  EXPECT_GT(full.total_physical, 64.0 * 1048576);
  EXPECT_LE(full.available_physical, full.total_physical);
  EXPECT_LE(full.available_virtual, full.total_virtual);
  EXPECT_EQ(full.usable_total, full.total_page_file);
  EXPECT_EQ(full.usable_available,
            std::min({full.available_page_file, full.total_physical, full.available_virtual}));

  EXPECT_FALSE(ZRMemoryStatus(nullptr));
  EXPECT_FALSE(ZRMemoryStatusFull(nullptr));
}

}  // namespace
