// How long sleeps last, and what is said about those that are too long. On a frozen clock.
#include "base/clock.h"
#include "platform/host/control.h"
#include "tasks/semaphores.h"
#include "tests/tasks/kernel_fixture.h"
#include "tests/tasks/text_report.h"

namespace {

class SleepsTest : public test::KernelTest {
 protected:
  SleepsTest() {
    host::FreezeMicroseconds(6000000);
    qv::ResetClockForTest();
  }
  ~SleepsTest() override { host::ThawTicks(); }
};

TEST_F(SleepsTest, LastAsLongAsAsked) {
  const struct {
    const char* name;
    void (*sleep)();
    uint64_t milliseconds;  // whole ones, as the idle task looks
  } kRows[] = {
      {"microseconds", [] { ZRTaskYieldMicros(2000, false); }, 2},
      {"parts of a millisecond", [] { ZRTaskYieldMicros(1, false); }, 1},
      {"milliseconds", [] { ZRTaskYieldMillis(20, false); }, 20},
      {"ten minutes", [] { ZRTaskYieldMillis(600000, false); }, 600000},
      {"more: a minute", [] { ZRTaskYieldMillis(700000, false); }, 60000},
      {"a tick", [] { ZRTaskYieldTicks(1, false); }, 17},
      {"three ticks", [] { ZRTaskYieldTicks(3, false); }, 50},
      {"ten minutes of ticks", [] { ZRTaskYieldTicks(36000, false); }, 600000},
      {"more ticks: a minute", [] { ZRTaskYieldTicks(36001, false); }, 60000},
      {"not the superhot task", [] { ZRTaskYieldTicksUnlessSuperHot(3, false); }, 50},
      {"the superhot task, which only the idle task comes before",
       [] {
         ZRTaskSetSuperHot(true, 0);
         ZRTaskYieldTicksUnlessSuperHot(3, false);
       },
       1},
      {"4294967295 microseconds", [] { ZRTaskYieldMicros(0xFFFFFFFF, false); }, 4294968},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    RunTask([&row] {
      const uint64_t start = ZRMicroseconds(true);
      row.sleep();
      EXPECT_EQ((ZRMicroseconds(true) - start) / qv::kMicrosecondsPerMillisecond, row.milliseconds);
    });
  }
}

TEST_F(SleepsTest, FiveOfEachUnitThatAreTooLongAreReported) {
  RunTasks([this] {
    ZRTaskYieldMillis(700000, false);  // no task: not counted
    Spawn("a", [] {
      for (uint32_t i = 1; i <= 6; ++i) ZRTaskYieldMillis(600000 + i, false);
      for (uint32_t i = 1; i <= 6; ++i) ZRTaskYieldTicks(36000 + i, false);
    });
  });
  std::string expected;
  for (const char* form : {"60000%d ms", "3600%d ticks"}) {
    for (int i = 1; i <= 5; ++i) {
      char request[32];
      snprintf(request, sizeof request, form, i);
      expected += std::string("ZRTask: Invalid yield request (") + request + ") by 'a'.\n";
    }
  }
  EXPECT_EQ(printed, expected);
}

TEST_F(SleepsTest, ASliceIsOverAfterItsTime) {
  RunTasks([this] {
    EXPECT_FALSE(ZRTaskYieldIfSliceOver(0));  // no task
    Spawn("a", [this] {
      host::AdvanceMicroseconds(24999);
      EXPECT_FALSE(ZRTaskYieldIfSliceOverMillis(25));
      EXPECT_TRUE(ZRTaskYieldIfSliceOver(24999));
      EXPECT_FALSE(ZRTaskYieldIfSliceOver(1));  // began anew
      Log("a");
    });
    Spawn("b", [this] { Log("b"); });
  });
  EXPECT_EQ(log, "b a");
}

TEST_F(SleepsTest, TheSelfTestOfSemaphoresSaysWhatFails) {
  const struct {
    size_t failing_size;
    bool passes;
    const char* report;
  } kRows[] = {
      {sizeof(ZRSemaphore), false, "<error>Semaphore could not be created</error>"},
      {sizeof(TCB), true, "<error>Could not create 0th task.</error>"},
  };
  for (const auto& row : kRows) {
    RunTask([&row] {
      test::TextReport report;
      test::FailAllocation(0, row.failing_size);
      EXPECT_EQ(ZRTaskSemaphoreCheck(&report), row.passes);
      EXPECT_EQ(report.text,
                std::string("<testcase name=\"Semaphores\">") + row.report + "</testcase>");
    });
  }
}

}  // namespace
