#include "app/ui/accelerators.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "base/hooks.h"

namespace {

int& Released() {
  static int released = 0;
  return released;
}

TEST(AcceleratorsTest, ClearReleasesEveryText) {
  ClearAccelerators();
  qv::GlobalHooks().release = [](void* block) {
    if (block != nullptr) ++Released();
    std::free(block);
  };
  qv::AcceleratorTable& table = qv::Accelerators();
  for (uint32_t i = 0; i < qv::kMostAccelerators; ++i) {
    qv::Accelerator& entry = table.entries[table.count++];
    entry.command = static_cast<uint16_t>(i + 1);
    if (i % 2 == 0) entry.display_text = static_cast<char*>(std::calloc(4, 1));
  }
  ClearAccelerators();
  ClearAccelerators();
  qv::ResetHooksForTest();
  EXPECT_EQ(Released(), 50);
  EXPECT_EQ(table.count, 0u);
  for (const qv::Accelerator& entry : table.entries) {
    EXPECT_EQ(entry.display_text, nullptr);
    EXPECT_EQ(entry.command, 0);
  }
}

}  // namespace
