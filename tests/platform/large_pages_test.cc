#include "platform/large_pages.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

// Wherever a block begins and ends, it keeps what is in it, and so do its neighbours.
TEST(LargePagesTest, NoByteChanges) {
  constexpr size_t kSize = 5u << 20;
  std::vector<unsigned char> memory(kSize);
  for (size_t i = 0; i < kSize; ++i) memory[i] = static_cast<unsigned char>(i % 251);
  const struct {
    size_t start, size;
  } kRows[] = {{0, kSize}, {1, kSize - 1}, {4095, 2}, {100000, 4096}, {7, 0}};
  for (const auto& row : kRows) {
    platform::PreferLargePages(memory.data() + row.start, row.size);
    size_t changed = 0;
    for (size_t i = 0; i < kSize; ++i) changed += memory[i] != i % 251;
    EXPECT_EQ(changed, 0u) << row.start;
  }
}

}  // namespace
