#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <cstdint>
#include <vector>

#include "platform/host/control.h"
#include "platform/windows_api.h"

namespace {

volatile uintptr_t lowest_touched = 0;

// Ends the process: well when the fault lies just below the last frame.
void EndAtFault(int, siginfo_t* info, void*) {
  const auto place = reinterpret_cast<uintptr_t>(info->si_addr);
  constexpr uintptr_t kNear = 0x10000;
  _exit(place < lowest_touched && lowest_touched - place < kNear ? 42 : 1);
}

void CatchFaultsOnAnotherStack() {
  static char memory[0x10000];
  stack_t stack{};
  stack.ss_sp = memory;
  stack.ss_size = sizeof memory;
  sigaltstack(&stack, nullptr);
  struct sigaction action {};
  action.sa_sigaction = EndAtFault;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK;
  for (int number : {SIGSEGV, SIGBUS}) sigaction(number, &action, nullptr);
}

[[gnu::noinline]] int Recurse(int depth) {
  volatile char frame[1024];
  frame[0] = static_cast<char>(depth);
  lowest_touched = reinterpret_cast<uintptr_t>(&frame[0]);
  const int below = depth < 100000000 ? Recurse(depth + 1) : 0;
  return below + frame[0];
}

void RunOverTheEnd() {
  CatchFaultsOnAnotherStack();
  ConvertThreadToFiber(nullptr);
  // Neighbours, so that without a guard page the run would end in one of them.
  void* fibers[3];
  for (void*& fiber : fibers) {
    fiber = CreateFiber(
        0x10000, [](LPVOID) { _exit(Recurse(0) == 0 ? 2 : 3); }, nullptr);
  }
  SwitchToFiber(fibers[1]);
  _exit(4);
}

TEST(FibersHostDeathTest, DeepRecursionFaultsAtTheGuardPage) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(RunOverTheEnd(), testing::ExitedWithCode(42), "");
}

void WINAPI DoNothing(LPVOID) {}

TEST(FibersHostTest, StacksOfDeletedFibersAreUsedAgainAndNothingIsLeft) {
  const uint32_t before = host::LiveFibers();
  ConvertThreadToFiber(nullptr);
  for (int round = 0; round < 3; ++round) {
    std::vector<void*> fibers;
    for (int i = 0; i < 400; ++i) {
      fibers.push_back(CreateFiber(i % 2 == 0 ? 0x1000 : 0x200000, DoNothing, nullptr));
      ASSERT_NE(fibers.back(), nullptr);
    }
    EXPECT_EQ(host::LiveFibers(), before + 401);
    for (void* fiber : fibers) DeleteFiber(fiber);
  }
  ConvertFiberToThread();
  EXPECT_EQ(host::LiveFibers(), before);
}

TEST(FibersHostTest, FailuresLeaveNothing) {
  const uint32_t before = host::LiveFibers();
  host::FailCall("ConvertThreadToFiber", 1, ERROR_NOT_ENOUGH_MEMORY);
  EXPECT_EQ(ConvertThreadToFiber(nullptr), nullptr);
  host::FailCall("CreateFiber", 1, 1455);
  EXPECT_EQ(CreateFiber(0, DoNothing, nullptr), nullptr);
  EXPECT_EQ(GetLastError(), 1455u);
  host::ClearFaults();
  // More than any address space has.
  EXPECT_EQ(CreateFiber(SIZE_T{1} << 62, DoNothing, nullptr), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_ENOUGH_MEMORY});
  EXPECT_EQ(host::LiveFibers(), before);
}

}  // namespace
