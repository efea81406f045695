#include "tasks/threads.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/tasks/kernel_fixture.h"
#include "tests/test_platform.h"

namespace {

class ThreadsTest : public test::KernelTest {
 protected:
  ~ThreadsTest() override { qv::ResetThreadsForTest(); }
};

DWORD WINAPI RunUntilSet(LPVOID word) {
  while (ZRInterlockedExchange(static_cast<LONG*>(word), 0) == 0) ZRThreadSleep(1);
  return ZRThreadCurrentId();
}

TEST_F(ThreadsTest, LevelsArePriorities) {
  const struct {
    uint32_t level;
    int priority;
  } kRows[] = {{0, -1}, {1, 0}, {2, 2}, {3, 15}, {4, 0}, {UINT32_MAX, 0}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.level);
    LONG go = 0;
    DWORD id = 0;
    const HANDLE thread = ZRThreadCreate(RunUntilSet, &go, 0x10000, row.level, &id);
    ASSERT_NE(thread, nullptr);
    EXPECT_EQ(GetThreadPriority(thread), row.priority);
    EXPECT_TRUE(ZRThreadSetAffinity(thread, 0));
    EXPECT_EQ(ZRInterlockedSet(&go), 0);
    WaitForSingleObject(thread, INFINITE);  // or the next call sleeps half a second
    DWORD code = 0;
    EXPECT_EQ(ZRThreadWaitExit(thread, &code), id);
    EXPECT_EQ(code, id);
    CloseHandle(thread);
    EXPECT_EQ(ZRThreadWaitExit(thread, &code), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(code, id);
  }
}

std::string& Lines() {
  static std::string lines;
  return lines;
}

void CALLBACK TakeLine(ULONG_PTR value) { Lines() += static_cast<char>(value); }

TEST_F(ThreadsTest, AMessageQueueRunsItsRoutineOnTheTarget) {
  const std::string overriding = "thrdmsgq: Overriding existing thread assignment.\n";
  Lines().clear();
  ZRThreadMessageQueue queue;
  EXPECT_FALSE(queue.Post('x'));
  EXPECT_TRUE(queue.Assign(nullptr, TakeLine));
  EXPECT_TRUE(queue.Assign(ZRThreadCurrent(), TakeLine));
  EXPECT_EQ(printed, "") << "the same thread";

  test::RunOnThread(0x100000, [&] {
    for (const char c : {'a', 'b'}) EXPECT_TRUE(queue.Post(static_cast<ULONG_PTR>(c)));
  });
  EXPECT_EQ(Lines(), "");
  EXPECT_TRUE(queue.Wait(0xFFFFFFFFFF)) << "for ever, had nothing come";
  EXPECT_EQ(Lines(), "ab");
  EXPECT_FALSE(queue.Wait(1));

  test::RunOnThread(0x100000, [&] {
    EXPECT_TRUE(queue.Assign(nullptr, TakeLine));
    EXPECT_EQ(printed, overriding);
    EXPECT_TRUE(queue.Post('c'));
    EXPECT_TRUE(queue.Wait(1000));
  });
  EXPECT_EQ(Lines(), "abc");
  EXPECT_FALSE(queue.Post('d')) << "the thread has ended";
  EXPECT_TRUE(queue.Assign(nullptr, nullptr));
  EXPECT_FALSE(queue.Post('e')) << "no routine";
}

}  // namespace
