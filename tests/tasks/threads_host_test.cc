// Threads that the system refuses, and what the machine shows of them.
#include <fstream>

#include "platform/host/control.h"
#include "tasks/threads.h"
#include "tests/tasks/kernel_fixture.h"

namespace {

DWORD WINAPI DoNothing(LPVOID) { return 7; }

class ThreadsHostTest : public test::KernelTest {
 protected:
  ~ThreadsHostTest() override {
    host::ClearFaults();
    host::ThawTicks();
    qv::ResetThreadsForTest();
  }
};

TEST_F(ThreadsHostTest, FailuresAreReportedOnceEach) {
  const uint32_t handles = host::OpenHandles();
  DWORD id = 99;
  host::FailCall("CreateThread", 1, ERROR_NOT_ENOUGH_MEMORY, true);
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(ZRThreadCreate(DoNothing, nullptr, 0, 1, &id), nullptr);
  }
  EXPECT_EQ(id, 99u);
  host::ClearFaults();
  host::FailCall("SetThreadPriority", 1, ERROR_ACCESS_DENIED, true);
  for (int round = 0; round < 3; ++round) {
    const HANDLE thread = ZRThreadCreate(DoNothing, nullptr, 0, 3, &id);
    WaitForSingleObject(thread, INFINITE);
    EXPECT_EQ(ZRThreadWaitExit(thread, nullptr), 7u);
    CloseHandle(thread);
  }
  // A message gets a line end of its own.
  EXPECT_EQ(printed,
            "Windows error 0x00000008 creating new thread.\n\n"
            "Error: Could not set thread priority.\n\n");
  EXPECT_EQ(host::OpenHandles(), handles);
}

TEST_F(ThreadsHostTest, NamesShowWithoutADebugger) {
  static std::atomic<bool> done;
  done = false;
  DWORD id = 0;
  const HANDLE thread = ZRThreadCreate(
      [](LPVOID) -> DWORD {
        while (!done) Sleep(1);
        return 0;
      },
      nullptr, 0, 1, &id);
  ZRThreadSetName(id, "Dedicated IO: 12/64");
  ZRThreadSetName(UINT32_MAX, "nobody");
  std::string name;
  std::getline(std::ifstream("/proc/self/task/" + std::to_string(id) + "/comm"), name);
  EXPECT_EQ(name, "Dedicated IO: 1") << "15 bytes of it";
  done = true;
  ZRThreadWaitExit(thread, nullptr);
  CloseHandle(thread);
}

TEST_F(ThreadsHostTest, MicrosecondsAreRoundedUp) {
  const struct {
    uint32_t micros;
    DWORD milliseconds;
  } kRows[] = {{0, 0}, {1, 1}, {1000, 1}, {1001, 2}, {UINT32_MAX, 4294968}};
  for (const auto& row : kRows) {
    host::FreezeTicks(5);
    EXPECT_FALSE(ZRThreadSleepMicros(row.micros));
    EXPECT_EQ(GetTickCount() - 5, row.milliseconds);
  }
}

TEST_F(ThreadsHostTest, AQueueWithoutAHandleTakesNothing) {
  ZRThreadMessageQueue queue;
  host::FailCall("DuplicateHandle", 1, ERROR_ACCESS_DENIED);
  EXPECT_FALSE(queue.Assign(nullptr, [](ULONG_PTR) {}));
  EXPECT_FALSE(queue.Post(1));
}

}  // namespace
