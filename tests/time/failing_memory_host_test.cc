// Every allocation fails once, on the way from the text to the answer.
#include <algorithm>
#include <string>

#include "tests/resources/failing_allocations.h"
#include "tests/time/zone_fixture.h"

namespace {

// Runs `attempt` with the first allocation failing, then the second, until none does; after each
// `check` hears whether one did.
template <typename Attempt, typename Check>
void FailEachAllocation(Attempt attempt, Check check) {
  uint32_t faults = 0;
  for (bool struck = true; struck; faults += struck ? 1 : 0) {
    test::TheAllocationFault() = {faults + 1, 0};
    attempt();
    struck = test::TheAllocationFault().struck > 0;
    test::TheAllocationFault() = {};
    check(struck);
  }
  EXPECT_GT(faults, 3u);
}

// Records as "NAME YEAR", those of rules first.
std::vector<std::string> Records(const qv::TimeZoneData& data) {
  std::vector<std::string> records;
  for (const auto& rule : data.rules()) {
    records.push_back(std::string(data.names.Text(rule.name)) + " " + std::to_string(rule.from));
  }
  for (const auto& line : data.lines()) {
    records.push_back(std::string(data.names.Text(line.name)) + " " +
                      std::to_string(line.until_year));
  }
  return records;
}

TEST(TzParserMemory, ARecordWithoutIsLeftOut) {
  std::string text;
  for (int i = 0; i < 40; ++i) {
    const std::string name = "Name_longer_than_a_short_string_" + std::to_string(i);
    text += "Rule " + name + " 1990 only - Apr 1 2:00 1:00 D\nZone " + name + " 1 " + name + " f\n";
  }
  qv::TimeZoneData data;
  test::KeepingParser(data).Parse(text);
  const std::vector<std::string> all = Records(data);
  ASSERT_EQ(all.size(), 80u);
  FailEachAllocation(
      [&] {
        data.Clear();
        EXPECT_TRUE(test::KeepingParser(data).Parse(text));
      },
      [&](bool struck) {
        const std::vector<std::string> some = Records(data);
        EXPECT_TRUE(struck || some == all);
        EXPECT_GE(some.size() + 1, all.size()) << "one at most";
        EXPECT_TRUE(std::includes(all.begin(), all.begin() + 40, some.begin(), some.begin() + 39));
      });
}

class ZonesMemory : public test::Zones {
 protected:
  bool IsRight() {
    ZRZoneOffsets offsets;
    return ZRTimeZoneOffsets(3882643200, qv::TimeKind::kLocal, 78645288, &offsets) &&
           offsets.total == 39600;
  }
};

TEST_F(ZonesMemory, DataAreWholeAfterAReload) {
  FailEachAllocation(
      [&] {
        ZRReleaseTimeZones();
        EXPECT_TRUE(ZRLoadTimeZones());
      },
      [&](bool struck) {
        EXPECT_TRUE(!struck || ZRReloadTimeZones());
        EXPECT_TRUE(IsRight());
      });
}

TEST_F(ZonesMemory, ChangesAreWorkedOutAgain) {
  uint32_t refused = 0;
  for (uint32_t n = 1; n < 10; ++n) {
    EXPECT_TRUE(ZRReloadTimeZones());
    test::TheAllocationFault() = {n, 0};
    const bool right = IsRight();
    EXPECT_TRUE(right || test::TheAllocationFault().struck > 0);
    refused += right ? 0 : 1;
    test::TheAllocationFault() = {};
    EXPECT_TRUE(IsRight());
  }
  EXPECT_GT(refused, 3u);
}

}  // namespace
