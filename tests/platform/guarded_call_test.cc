#include "platform/guarded_call.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

using platform::CatchEveryFault;
using platform::GuardedCall;

// What the blocks of one test do, and what happened.
struct Job {
  LONG verdict = EXCEPTION_EXECUTE_HANDLER;
  volatile int reached = 0;
  volatile DWORD code = 0;
  volatile ULONG_PTR address = 0;
  volatile ULONG_PTR writing = 99;
  volatile int filtered = 0;
  volatile bool inner_ended = false;
  volatile int* target = nullptr;
  int storage = 0;
};

Job& In(void* context) { return *static_cast<Job*>(context); }

// No memory is there. Not a constant, or the compiler would see through it.
constexpr ULONG_PTR kNowhereAddress = 0x28;
volatile ULONG_PTR nowhere = kNowhereAddress;
volatile int* Nowhere() { return reinterpret_cast<volatile int*>(nowhere); }

void ReadNowhere(void* context) {
  In(context).reached = 1;
  In(context).reached = *Nowhere();
}
void WriteNowhere(void*) { *Nowhere() = 1; }
void DoNothing(void* context) { In(context).reached = 7; }

LONG Remember(EXCEPTION_POINTERS* fault, void* context) {
  Job& job = In(context);
  job.filtered = job.filtered + 1;
  job.code = fault->ExceptionRecord->ExceptionCode;
  job.writing = fault->ExceptionRecord->ExceptionInformation[0];
  job.address = fault->ExceptionRecord->ExceptionInformation[1];
  return job.verdict;
}

TEST(GuardedCallTest, FaultAbandonsTheFunctionAndIsDescribed) {
  const struct {
    platform::GuardedFunction function;
    ULONG_PTR writing;
  } kRows[] = {{ReadNowhere, 0}, {WriteNowhere, 1}};
  for (const auto& row : kRows) {
    Job job;
    EXPECT_FALSE(GuardedCall(row.function, Remember, &job));
    EXPECT_EQ(job.filtered, 1);
    EXPECT_EQ(job.code, static_cast<DWORD>(EXCEPTION_ACCESS_VIOLATION));
    EXPECT_EQ(job.address, kNowhereAddress);
    EXPECT_EQ(job.writing, row.writing);
  }
}

void InnerBlock(void* context) {
  Job inner;
  inner.verdict = In(context).verdict;
  GuardedCall(ReadNowhere, Remember, &inner);
  In(context).inner_ended = true;
  In(context).filtered = inner.filtered;
}

TEST(GuardedCallTest, FaultGoesFromTheInnerBlockOutward) {
  Job caught_inside;
  EXPECT_TRUE(GuardedCall(InnerBlock, CatchEveryFault, &caught_inside));
  EXPECT_TRUE(caught_inside.inner_ended);
  Job passed_on;
  passed_on.verdict = EXCEPTION_CONTINUE_SEARCH;
  EXPECT_FALSE(GuardedCall(InnerBlock, CatchEveryFault, &passed_on));
  EXPECT_FALSE(passed_on.inner_ended);
}

void FaultAfterABlock(void* context) {
  GuardedCall(DoNothing, CatchEveryFault, context);
  ReadNowhere(context);
}

TEST(GuardedCallTest, ClosedBlockIsNoLongerAsked) {
  Job job;
  EXPECT_FALSE(GuardedCall(FaultAfterABlock, Remember, &job));
  EXPECT_EQ(job.filtered, 1);
}

void WriteTarget(void* context) {
  Job& job = In(context);
  *job.target = 5;
  job.reached = 1;
}

LONG PutRight(EXCEPTION_POINTERS*, void* context) {
  Job& job = In(context);
  job.filtered = job.filtered + 1;
  if (job.filtered == 1) return EXCEPTION_CONTINUE_EXECUTION;  // tries the same once more
  return EXCEPTION_EXECUTE_HANDLER;
}

TEST(GuardedCallTest, ContinuedExecutionRepeatsTheInstruction) {
  Job job;
  job.target = Nowhere();
  EXPECT_FALSE(GuardedCall(WriteTarget, PutRight, &job));
  EXPECT_EQ(job.filtered, 2);
  EXPECT_EQ(job.reached, 0);
}

TEST(GuardedCallTest, EachThreadHasItsOwnBlocks) {
  std::thread threads[4];
  for (std::thread& thread : threads) {
    thread = std::thread([] {
      for (int i = 0; i < 200; ++i) {
        Job job;
        EXPECT_FALSE(GuardedCall(ReadNowhere, CatchEveryFault, &job));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
