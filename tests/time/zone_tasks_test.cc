// Time zones asked for by the kernel's tasks, some of which are killed over it.
#include <functional>
#include <string>
#include <thread>

#include "tests/tasks/kernel_fixture.h"
#include "tests/time/zone_fixture.h"
#include "time/time_zones.h"

namespace {

using qv::TimeKind;

constexpr uint32_t kParis = 32769028, kTokyo = 68157732;
constexpr uint32_t kMoscow = 49810188;  // has several lines, between which its task is switched

// The total offset in the first seconds of the range; -1 for a caller that is refused.
int32_t TotalOf(uint32_t zone) {
  ZRZoneOffsets offsets;
  return ZRTimeZoneOffsets(5, TimeKind::kLocal, zone, &offsets) ? offsets.total : -1;
}

class ZoneTasks : public test::ZonesOf<test::KernelTest> {
 protected:
  // Runs tasks over data that are not loaded. What a killed task leaves allocated is its own.
  void RunOverNothing(const std::function<void()>& create) {
    const int32_t result = Run([&] {
      create();
      ZRTaskLeaveCritical(false);
      ZRTaskYield();
      ZRReleaseTimeZones();
    });
    EXPECT_EQ(result, 77);
  }
};

TEST_F(ZoneTasks, OtherThreadsHaveWhatTheKernelHasWorkedOut) {
  const auto ask = [](uint32_t zone) {
    int32_t answer = 0;
    std::thread([&] { answer = TotalOf(zone); }).join();
    return answer;
  };
  RunOverNothing([&] {
    Spawn("asker", [&] {
      EXPECT_EQ(ask(kTokyo), -1) << "nothing is loaded";
      EXPECT_EQ(ask(0x0ACE0004), 3600);
      EXPECT_EQ(TotalOf(kTokyo), 32400);
      EXPECT_EQ(ask(kTokyo), 32400);
      EXPECT_EQ(ask(kParis), -1) << "not worked out";
      bool reloaded = true;
      std::thread([&] { reloaded = ZRReloadTimeZones(); }).join();
      EXPECT_FALSE(reloaded);
    });
  });
}

TEST_F(ZoneTasks, OthersRunWhileOneLoadsAndWait) {
  int loads = 0, runs = 0;
  RunOverNothing([&] {
    Spawn("loader", [&] {
      EXPECT_EQ(TotalOf(kMoscow), 10800);
      ++loads;
    });
    Spawn("other", [&] {
      for (; loads == 0; ZRTaskYield()) ++runs;
    });
    Spawn("waiter", [&] {
      ZRTaskEnterCritical();
      EXPECT_EQ(TotalOf(kMoscow), -1) << "may not be switched, so it cannot wait";
      EXPECT_FALSE(ZRReloadTimeZones());
      ZRTaskLeaveCritical(false);
      EXPECT_EQ(TotalOf(kMoscow), 10800);
    });
  });
  EXPECT_GT(runs, 71 + 60000 / 5120) << "once for each zone, and for each piece of text";
}

TEST_F(ZoneTasks, ReloadsAmongThoseWhoAsk) {
  RunOverNothing([&] {
    for (const uint32_t zone : {kParis, kTokyo, kMoscow}) {
      Spawn("asker", [zone] {
        for (int i = 0; i < 20; ++i) {
          EXPECT_EQ(TotalOf(zone), zone == kParis ? 3600 : zone == kTokyo ? 32400 : 10800);
          ZRTaskYield();
        }
      });
    }
    Spawn("reloader", [] {
      for (int i = 0; i < 5; ++i) EXPECT_TRUE(ZRReloadTimeZones());
    });
  });
}

struct VictimRow {
  const char* name;
  bool loaded;  // before the victim begins
  std::function<void()> body;
};
const VictimRow kVictimRows[] = {
    {"loading", false, [] { ZRLoadTimeZones(); }},
    {"loading and working out", false, [] { TotalOf(kMoscow); }},
    {"working out", true, [] { TotalOf(kMoscow); }},
    {"reloading", true, [] { ZRReloadTimeZones(); }},
    {"waiting for the one that works out, or reloading", true,
     [] {
       TotalOf(kMoscow);
       ZRReloadTimeZones();
     }},
};

// Killed wherever it can be switched away from, while others wait or come later: each gets its
// answer, and nobody waits for ever.
TEST_F(ZoneTasks, KilledOverTheirWork) {
  for (const VictimRow& row : kVictimRows) {
    SCOPED_TRACE(row.name);
    bool ended = false;
    for (int turns = 0; !ended; turns += 1 + turns / 6) {
      RunOverNothing([&] {
        if (row.loaded) Spawn("first", [] { ZRLoadTimeZones(); });
        Spawn("killer", [&] {
          while (row.loaded && TotalOf(kParis) != 3600) ZRTaskYield();
          const TaskId victim = Spawn("victim", [&] {
            row.body();
            ended = true;
          });
          Spawn("waiter", [] { EXPECT_EQ(TotalOf(kMoscow), 10800); });
          for (int i = 0; i <= turns && !ended; ++i) ZRTaskYield();
          if (!ended) ZRTaskKill(victim);
          EXPECT_EQ(TotalOf(kTokyo), 32400);
          EXPECT_TRUE(ZRReloadTimeZones());
          EXPECT_EQ(TotalOf(kMoscow), 10800);
        });
      });
    }
  }
}

}  // namespace
