#include <gtest/gtest.h>

#include <atomic>
#include <string>

#include "platform/windows_api.h"

namespace {

std::string& Trail() {
  static std::string trail;
  return trail;
}

void CALLBACK Note(ULONG_PTR letter) { Trail() += static_cast<char>(letter); }

void Queue(HANDLE thread, const char* letters) {
  for (; *letters != '\0'; ++letters) EXPECT_NE(QueueUserAPC(Note, thread, *letters), 0u);
}

void CALLBACK QueueAnother(ULONG_PTR) { Queue(GetCurrentThread(), "x"); }
void CALLBACK WakeUp(ULONG_PTR) {}

std::string TakeTrail() { return std::exchange(Trail(), {}); }

// A thread that runs a function without captures on a word.
class Worker {
 public:
  using Body = DWORD (*)(std::atomic<uint32_t>* word);
  explicit Worker(Body body) : body_(body) {
    handle = CreateThread(nullptr, 0x10000, Run, this, 0, &id);
    EXPECT_NE(handle, nullptr);
  }
  ~Worker() {
    Join();
    CloseHandle(handle);
  }
  void Join() const { EXPECT_EQ(WaitForSingleObject(handle, INFINITE), DWORD{WAIT_OBJECT_0}); }

  std::atomic<uint32_t> word{0};
  HANDLE handle = nullptr;
  DWORD id = 0;

 private:
  static DWORD WINAPI Run(LPVOID self) {
    auto* worker = static_cast<Worker*>(self);
    return worker->body_(&worker->word);
  }
  Body body_;
};

TEST(ThreadsTest, OneRunsBesideUsAndLeavesItsCode) {
  Worker worker([](std::atomic<uint32_t>* word) {
    while (*word != 1) Sleep(1);
    *word = GetCurrentThreadId();
    return DWORD{42};
  });
  DWORD code = 0;
  EXPECT_TRUE(GetExitCodeThread(worker.handle, &code));
  EXPECT_EQ(code, DWORD{STILL_ACTIVE});
  EXPECT_EQ(WaitForSingleObject(worker.handle, 0), DWORD{WAIT_TIMEOUT});
  worker.word = 1;
  worker.Join();
  EXPECT_TRUE(GetExitCodeThread(worker.handle, &code));
  EXPECT_EQ(code, 42u);
  EXPECT_EQ(worker.word, worker.id);
  EXPECT_NE(worker.id, GetCurrentThreadId());
}

TEST(ThreadsTest, QueuedCallsRunInAlertableSleepsOnly) {
  Queue(GetCurrentThread(), "abc");
  EXPECT_EQ(SleepEx(1, FALSE), 0u);
  EXPECT_EQ(TakeTrail(), "");
  EXPECT_EQ(SleepEx(INFINITE, TRUE), DWORD{WAIT_IO_COMPLETION});
  EXPECT_EQ(TakeTrail(), "abc");
  EXPECT_EQ(SleepEx(0, TRUE), 0u);

  // What a call queues runs in the same sleep.
  EXPECT_NE(QueueUserAPC(QueueAnother, GetCurrentThread(), 0), 0u);
  EXPECT_EQ(SleepEx(0, TRUE), DWORD{WAIT_IO_COMPLETION});
  EXPECT_EQ(TakeTrail(), "x");
}

// A call from another thread ends a sleep without limit; a lost one would hang here. The handle is
// a duplicate of a pseudo-handle, which means this thread wherever it is used.
TEST(ThreadsTest, ADuplicateOfThePseudoHandleWakesItsThread) {
  static HANDLE main = nullptr;
  const HANDLE process = GetCurrentProcess();
  ASSERT_TRUE(DuplicateHandle(process, GetCurrentThread(), process, &main, 0, FALSE,
                              DUPLICATE_SAME_ACCESS));
  {
    Worker worker([](std::atomic<uint32_t>* word) {
      for (uint32_t round = 0; round < 300; ++round) {
        QueueUserAPC(WakeUp, main, 0);
        while (*word == round) Sleep(0);
      }
      return DWORD{0};
    });
    for (int round = 0; round < 300; ++round) {
      EXPECT_EQ(SleepEx(INFINITE, TRUE), DWORD{WAIT_IO_COMPLETION});
      ++worker.word;
    }
  }
  CloseHandle(main);
}

TEST(ThreadsTest, ASuspendedOneStandsStillUntilResumedAsOften) {
  Worker worker([](std::atomic<uint32_t>* word) {
    while (*word != UINT32_MAX) {
      uint32_t count = *word;
      if (count != UINT32_MAX) word->compare_exchange_strong(count, count + 1);
    }
    return DWORD{0};
  });
  EXPECT_EQ(SuspendThread(worker.handle), 0u);
  EXPECT_EQ(SuspendThread(worker.handle), 1u);
  EXPECT_EQ(ResumeThread(worker.handle), 2u);
  Sleep(5);  // on Windows it may still run for a moment
  const uint32_t count = worker.word;
  Sleep(20);
  EXPECT_EQ(worker.word, count);
  EXPECT_EQ(ResumeThread(worker.handle), 1u);
  EXPECT_EQ(ResumeThread(worker.handle), 0u);
  while (worker.word == count) Sleep(0);
  worker.word = UINT32_MAX;
  worker.Join();
  EXPECT_EQ(SuspendThread(worker.handle), static_cast<DWORD>(-1));
  EXPECT_EQ(QueueUserAPC(Note, worker.handle, 'a'), 0u) << "it has ended";
}

TEST(ThreadsTest, PrioritiesAndProcessors) {
  const struct {
    int priority;
    BOOL taken;
  } kRows[] = {{THREAD_PRIORITY_BELOW_NORMAL, TRUE},
               {THREAD_PRIORITY_HIGHEST, TRUE},
               {THREAD_PRIORITY_TIME_CRITICAL, TRUE},
               {99, FALSE},
               {THREAD_PRIORITY_NORMAL, TRUE}};
  Worker worker([](std::atomic<uint32_t>* word) {
    while (*word == 0) Sleep(1);
    return DWORD{0};
  });
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.priority);
    EXPECT_EQ(SetThreadPriority(worker.handle, row.priority), row.taken);
    EXPECT_EQ(GetThreadPriority(worker.handle) == row.priority, row.taken != 0);
  }
  const DWORD_PTR before = SetThreadAffinityMask(worker.handle, 1);
  EXPECT_NE(before, DWORD_PTR{0});
  EXPECT_EQ(SetThreadAffinityMask(worker.handle, before), DWORD_PTR{1});
  EXPECT_EQ(SetThreadAffinityMask(worker.handle, 0), DWORD_PTR{0});
  worker.word = 1;
}

}  // namespace
