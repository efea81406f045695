// The zones beside the machine's own database, read by the C library. Its release may be another
// than that of our data; docs/time-zones.md says which were compared, and lists what differs.
#include <time.h>

#include <algorithm>
#include <cstdlib>
#include <random>

#include "tests/time/zone_fixture.h"
#include "time/calendar.h"
#include "time/zone_list.h"

namespace {

constexpr int64_t kUnixEpoch = 2082844800;  // as a framework time

struct Offset {
  int total;
  bool saving;
  bool operator==(const Offset&) const = default;
};

Offset MachineOffset(int64_t universal) {
  const time_t time = universal - kUnixEpoch;
  tm fields;
  localtime_r(&time, &fields);
  return {static_cast<int>(fields.tm_gmtoff), fields.tm_isdst > 0};
}

Offset OurOffset(int64_t time, qv::TimeKind kind, uint32_t zone) {
  ZRZoneOffsets offsets;
  EXPECT_TRUE(ZRTimeZoneOffsets(static_cast<uint32_t>(time), kind, zone, &offsets));
  EXPECT_EQ(offsets.total, offsets.standard + offsets.saving);
  return {offsets.total, offsets.saving != 0};
}

// The offsets that a clock of the zone can have when it shows that time: none, one or two.
std::vector<Offset> MachineOffsetsOfLocal(int64_t local) {
  std::vector<Offset> offsets;
  for (const int64_t around : {-qv::kSecondsPerDay, qv::kSecondsPerDay}) {
    const Offset near = MachineOffset(local + around - MachineOffset(local).total);
    if (MachineOffset(local - near.total) != near) continue;
    if (std::find(offsets.begin(), offsets.end(), near) == offsets.end()) offsets.push_back(near);
  }
  return offsets;
}

// Where the answers differ for a reason, in local times.
struct Difference {
  const char* zone;
  uint32_t from, to;
};
constexpr Difference kDifferences[] = {
    // The last hour before standard time changes and daylight saving ends at once, so that clocks
    // stay: it reads as the new split of the same offset.
    {"America/Argentina/Buenos_Aires", 3034882800, 3034886400},
};

std::vector<int64_t> InstantsOf(const std::string& zone, const qv::TimeZoneData& data) {
  std::vector<int64_t> instants;
  qv::ZoneChanges changes;
  EXPECT_TRUE(qv::FindZoneChanges(data, data.names.Find(zone), changes, [] {}));
  for (const qv::OffsetChange& change : changes.all()) {
    for (const int64_t total : {0, change.standard, change.standard + change.saving}) {
      for (int64_t aside = -1; aside <= 1; ++aside) {
        for (const int64_t hour : {-3600, 0, 3600}) {
          instants.push_back(change.instant - total + aside + hour);
        }
      }
    }
  }
  std::mt19937 random(1995);
  const int64_t first = qv::DayNumber(1995, 1, 2) * qv::kSecondsPerDay;
  const int64_t last = qv::DayNumber(2038, 1, 1) * qv::kSecondsPerDay;
  for (int i = 0; i < 10000; ++i) {
    instants.push_back(std::uniform_int_distribution<int64_t>(first, last - 1)(random));
  }
  std::erase_if(instants, [=](int64_t time) { return time < first || time >= last; });
  return instants;
}

bool IsKnown(const std::string& zone, int64_t time) {
  return std::any_of(std::begin(kDifferences), std::end(kDifferences), [&](const Difference& d) {
    return zone == d.zone && time >= d.from && time < d.to;
  });
}

class MachineZones : public test::Zones {
 protected:
  ~MachineZones() override {
    unsetenv("TZ");
    tzset();
  }

  void Compare(const std::string& zone, uint32_t id, const qv::TimeZoneData& data) {
    setenv("TZ", (":" + zone).c_str(), 1);
    tzset();
    int64_t differences = 0, last = 0;
    for (const int64_t time : InstantsOf(zone, data)) {
      const bool universal = OurOffset(time, qv::TimeKind::kUniversal, id) == MachineOffset(time);
      const std::vector<Offset> theirs = MachineOffsetsOfLocal(time);
      const bool local = theirs.empty() || IsKnown(zone, time) ||
                         std::find(theirs.begin(), theirs.end(),
                                   OurOffset(time, qv::TimeKind::kLocal, id)) != theirs.end();
      ++compared_;
      unambiguous_ += theirs.size() == 1 ? 1 : 0;
      if (universal && local) continue;
      ++differences;
      last = time;
    }
    EXPECT_EQ(differences, 0) << zone << ", such as " << last;
  }

  int64_t compared_ = 0, unambiguous_ = 0;
};

TEST_F(MachineZones, AgreeAboutEveryOfferedZone) {
  qv::TimeZoneData data;
  test::KeepingParser(data).Parse(test::ShippedText(qv::kZoneRulesResource));
  const std::string list = test::ShippedText(qv::kZoneListResource);
  qv::ZoneListReader reader(list, kWesternWindows);
  qv::ZoneListEntry entry;
  int zones = 0;
  for (; reader.Next(entry); ++zones) Compare(std::string(entry.name()), entry.id, data);
  EXPECT_EQ(zones, 71);
  EXPECT_GT(unambiguous_, compared_ * 9 / 10);
  EXPECT_GT(compared_, 71 * 10000);
}

}  // namespace
