#include "text/ascii_block.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace qv {
namespace {

template <class Block>
class AsciiBlockTest : public testing::Test {};

#if defined(__SSE2__)
using Blocks = testing::Types<PortableBlock, Sse2Block>;
#else
using Blocks = testing::Types<PortableBlock>;
#endif
TYPED_TEST_SUITE(AsciiBlockTest, Blocks);

TYPED_TEST(AsciiBlockTest, MasksAndStoresAgreeWithTheBytes) {
  std::mt19937 random(1);
  for (int round = 0; round < 200; ++round) {
    uint8_t bytes[17];
    for (uint8_t& byte : bytes)
      byte = static_cast<uint8_t>(random() % 4 ? random() % 16 : random());
    const auto block = TypeParam::Load(bytes + 1);  // at an odd address
    uint8_t stored[16], wide[2][32], widest[2][64];
    block.Store(stored);
    block.template StoreWide<2, false>(wide[0]);
    block.template StoreWide<2, true>(wide[1]);
    block.template StoreWide<4, false>(widest[0]);
    block.template StoreWide<4, true>(widest[1]);
    for (uint32_t i = 0; i < 16; ++i) {
      const uint8_t byte = bytes[i + 1];
      EXPECT_EQ(block.HighMask() >> i & 1, byte >= 0x80u);
      EXPECT_EQ(block.EqualMask(13) >> i & 1, byte == 13u);
      EXPECT_EQ(stored[i], byte);
      EXPECT_EQ(wide[0][2 * i] | wide[0][2 * i + 1] << 8, byte);
      EXPECT_EQ(wide[1][2 * i + 1] | wide[1][2 * i] << 8, byte);
      EXPECT_EQ(widest[0][4 * i] | widest[0][4 * i + 1] | widest[0][4 * i + 3], byte);
      EXPECT_EQ(widest[0][4 * i], byte);
      EXPECT_EQ(widest[1][4 * i] | widest[1][4 * i + 2] | widest[1][4 * i + 3], byte);
      EXPECT_EQ(widest[1][4 * i + 3], byte);
    }
    EXPECT_EQ(block.HighMask() >> 16, 0u);
  }
}

}  // namespace
}  // namespace qv
