#include <gtest/gtest.h>

#include <cfenv>
#include <vector>

#include "platform/context_switch.h"
#include "platform/guarded_call.h"
#include "platform/windows_api.h"

namespace {

// Wine does not refuse to convert a fiber back twice.
TEST(FibersTest, AThreadIsConvertedOnce) {
  ASSERT_NE(ConvertThreadToFiber(nullptr), nullptr);
  EXPECT_EQ(ConvertThreadToFiber(nullptr), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_FIBER});
  EXPECT_TRUE(ConvertFiberToThread());
}

// A protected block belongs to the fiber that opened it: a fault in another one leaves it alone.
struct Blocks {
  void* main = nullptr;
  void* other = nullptr;
  bool outer_filtered = false, inner_ended = true, outer_ended = false;
};
Blocks& TheBlocks() {
  static Blocks blocks;
  return blocks;
}

volatile uintptr_t nowhere = 0x28;
void ReadNowhere(void*) { nowhere = *reinterpret_cast<volatile uintptr_t*>(nowhere); }

void WINAPI FaultInABlock(LPVOID) {
  TheBlocks().inner_ended = platform::GuardedCall(ReadNowhere, platform::CatchEveryFault, nullptr);
  SwitchToFiber(TheBlocks().main);
}

TEST(FibersTest, EachHasItsOwnProtectedBlocks) {
  Blocks& blocks = TheBlocks();
  blocks = {};
  blocks.main = ConvertThreadToFiber(nullptr);
  blocks.other = CreateFiber(0x10000, FaultInABlock, nullptr);
  blocks.outer_ended = platform::GuardedCall([](void*) { SwitchToFiber(TheBlocks().other); },
                                             [](EXCEPTION_POINTERS*, void*) -> LONG {
                                               TheBlocks().outer_filtered = true;
                                               return EXCEPTION_EXECUTE_HANDLER;
                                             },
                                             nullptr);
  EXPECT_FALSE(blocks.inner_ended);
  EXPECT_TRUE(blocks.outer_ended);
  EXPECT_FALSE(blocks.outer_filtered);
  DeleteFiber(blocks.other);
  ConvertFiberToThread();
}

// --- the switch by itself, on a stack of our own ---

struct OwnStack {
  platform::StackContext here, there;
  uintptr_t misaligned = 1;
  int rounding = -1;
  std::vector<int> values;
};

void CountUp(void* argument) {
  auto& own = *static_cast<OwnStack*>(argument);
  alignas(16) volatile char mark = 0;
  own.misaligned = reinterpret_cast<uintptr_t>(&mark) % 16;
  std::fesetround(FE_UPWARD);
  for (int i = 0;; ++i) {
    own.values.push_back(i);
    own.rounding = std::fegetround();
    platform::SwitchStack(&own.there, &own.here);
  }
}

TEST(ContextSwitchTest, KeepsLocalsAlignmentAndFloatingPointModes) {
  std::vector<char> memory(1 << 18);
  OwnStack own;
  platform::PrepareStack(&own.there, memory.data(), memory.size() - 5, CountUp, &own);
  for (int i = 0; i < 3; ++i) {
    platform::SwitchStack(&own.here, &own.there);
    EXPECT_EQ(std::fegetround(), FE_TONEAREST);
    EXPECT_EQ(own.rounding, FE_UPWARD);
  }
  platform::ForgetStack(&own.there);
  EXPECT_EQ(own.misaligned, 0u);
  EXPECT_EQ(own.values, (std::vector<int>{0, 1, 2}));
}

[[gnu::noinline]] size_t RoomBelow(int depth) {
  volatile char frame[1024];
  frame[0] = 1;
  const size_t room = depth == 0 ? platform::StackBytesLeft() : RoomBelow(depth - 1);
  return room + frame[0] - 1;
}

TEST(ContextSwitchTest, StackRoomShrinksWithTheStack) {
  const size_t room = RoomBelow(1);
  EXPECT_GT(room, 0x10000u);
  EXPECT_LT(RoomBelow(20), room - 19 * 1024);
}

}  // namespace
