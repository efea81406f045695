#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/clock.h"
#include "base/deadline_timer.h"
#include "base/hooks.h"
#include "base/stopwatch.h"
#include "platform/host/control.h"

namespace {

using testing::IsEmpty;

std::vector<std::string>& Lines() {
  static std::vector<std::string> lines;
  return lines;
}

class ClockHostTest : public testing::Test {
 protected:
  ClockHostTest() {
    Lines().clear();
    qv::GlobalHooks().write_debugger_text = [](const char* text) { Lines().emplace_back(text); };
    qv::ResetClockForTest();
  }
  ~ClockHostTest() override {
    host::ThawTicks();
    qv::ResetHooksForTest();
    qv::ResetClockForTest();
  }
};

TEST_F(ClockHostTest, CountsFromASecondBeforeItsFirstReading) {
  const struct {
    const char* name;
    uint64_t now, first, later;
  } kRows[] = {{"usual", 5000000, 1000000, 1234567},
               {"a machine just started", 1000000, 0, 7},
               {"past 32 bits", 1000001, 1000000, 0xFFFFFFFF}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    qv::ResetClockForTest();
    host::FreezeMicroseconds(row.now);
    EXPECT_EQ(ZRMicroseconds(true), row.first);
    host::AdvanceMicroseconds(row.later);
    EXPECT_EQ(ZRMicroseconds(true), row.first + row.later);
    EXPECT_EQ(ZRMicroseconds32(true), static_cast<uint32_t>(row.first + row.later));
    EXPECT_EQ(ZRMilliseconds(true), (row.first + row.later) / 1000);
    EXPECT_THAT(Lines(), IsEmpty());
  }
}

TEST_F(ClockHostTest, GivesTheLastReadingWhileTasksCouldSwitch) {
  host::FreezeMicroseconds(9000000, 10);
  const uint64_t first = ZRMicroseconds(false);
  EXPECT_GT(ZRMicroseconds(false), first) << "nothing to switch to: each reading is a fresh one";
  qv::GlobalHooks().switching_allowed = [] { return true; };
  const uint64_t last = ZRMicroseconds(true);
  EXPECT_EQ(ZRMicroseconds(false), last);
  EXPECT_GT(ZRMicroseconds(true), last);
}

TEST_F(ClockHostTest, TakesTheCounterThatTheSettingsWant) {
  const struct {
    const char* name;
    qv::ClockSettings settings;
    std::vector<std::string> lines;
    bool unreadable = false;
  } kRows[] = {
      {"only exactly 1", {2, 27}, {}},
      {"fast enough: 10 MHz",
       {1, 99},
       {"ZRTask: HPET frequency 10.000000.\n", "ZRTask: HPET counter start 50000000.\n"}},
      {"not above the minimum",
       {1, 100},
       {"ZRTask: WARNING HPET frequency 10.000000. Disabled.\n"}},
      {"cannot be read", {1, 27}, {"ZRTask: WARNING HPET frequency 0.000000. Disabled.\n"}, true}};
  static qv::ClockSettings settings;
  qv::GlobalHooks().read_clock_settings = [] { return settings; };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    settings = row.settings;
    Lines().clear();
    qv::ResetClockForTest();
    if (row.unreadable) host::FailCall("QueryPerformanceFrequency", 1, 50);
    host::FreezeMicroseconds(5000000);
    const uint64_t start = ZRMicroseconds(true);
    EXPECT_EQ(host::FaultsStruck(), row.unreadable ? 1u : 0u);
    host::ClearFaults();
    // A counter starts at nothing itself.
    EXPECT_EQ(start, row.lines.size() == 2 ? 0u : 1000000u);
    host::AdvanceMicroseconds(999);
    EXPECT_EQ(ZRMicroseconds(true), start + 999);
    EXPECT_EQ(Lines(), row.lines);
  }
}

TEST_F(ClockHostTest, StopwatchesAndTimersFollowIt) {
  host::FreezeMicroseconds(5000000);
  qv::Stopwatch watch;
  const auto timer = qv::DeadlineTimer::AfterMilliseconds(2);
  const auto ticks = qv::DeadlineTimer::AfterTicks(3);
  const auto most = qv::DeadlineTimer::AfterTicks(INT32_MAX);
  EXPECT_EQ(most.MicrosecondsLeft(), qv::MicrosecondsFromTicks(35791394));
  host::AdvanceMicroseconds(2000);
  EXPECT_FALSE(timer.Expired()) << "the deadline itself is still in time";
  EXPECT_EQ(timer.MicrosecondsLeft(), 0u);
  host::AdvanceMicroseconds(1);
  EXPECT_TRUE(timer.Expired());
  EXPECT_EQ(ticks.MicrosecondsLeft(), 50000u - 2001);
  EXPECT_EQ(watch.Microseconds(), 2001u);
  EXPECT_EQ(watch.Milliseconds(), 2u);
  host::AdvanceMicroseconds(0xFFFFFFFF);
  EXPECT_EQ(watch.Microseconds(), 0xFFFFFFFFu);
  EXPECT_EQ(watch.Milliseconds(), 4294969u);
  EXPECT_EQ(watch.Ticks(), 257698u);
  EXPECT_DOUBLE_EQ(watch.Seconds(), 4294.969296);
  watch.Restart();
  EXPECT_EQ(watch.Microseconds(), 0u);
}

}  // namespace
