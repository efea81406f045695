#include "time/zone_changes.h"

#include <algorithm>
#include <random>
#include <string>

#include "tests/time/change_walk.h"
#include "tests/time/zone_fixture.h"
#include "time/dates.h"

namespace {

using qv::OffsetChange;
using qv::TimeKind;

std::string TimeText(uint32_t time) {
  if (time == qv::kNoTime) return "none";
  ZRDate d;
  ZRTimeToDate(time, &d);
  char text[64];
  snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", d.year, d.month, d.day, d.hour,
           d.minute, d.second);
  return text;
}

qv::TimeZoneData Parsed(const std::string& text) {
  qv::TimeZoneData data;
  test::KeepingParser parser(data);
  EXPECT_TRUE(parser.Parse(text)) << text;
  return data;
}

TEST(RuleTimes, Rows) {
  const qv::RuleClock clock{-18000, 3600};
  const struct {
    const char* rule;  // from the month to the time
    uint32_t year;
    const char* time;
  } kRows[] = {
      {"Mar 5 2:30", 2001, "2001-03-05 02:30:00"},
      {"Mar 5 2:30w", 2001, "2001-03-05 02:30:00"},
      {"Mar 5 2:30u", 2001, "2001-03-04 22:30:00"},
      {"Mar 5 2:30s", 2001, "2001-03-05 03:30:00"},
      {"Mar 0 2:00", 2001, "2001-03-01 02:00:00"},
      {"Feb 29 24:00", 2000, "2000-03-01 00:00:00"},
      {"Feb 29 0:00", 2001, "2001-03-01 00:00:00"},
      {"Apr lastSun 1:00", 2001, "2001-04-29 01:00:00"},
      {"Apr lastMon 1:00", 2001, "2001-04-30 01:00:00"},
      {"Feb lastThu 1:00", 2024, "2024-02-29 01:00:00"},
      {"Apr firstSun 1:00", 2001, "2001-04-01 01:00:00"},
      {"Apr firstSat 1:00", 2001, "2001-04-07 01:00:00"},
      {"Apr Sun>=8 1:00", 2001, "2001-04-08 01:00:00"},
      {"Apr Sat>=14 1:00", 2001, "2001-04-14 01:00:00"},
      {"Apr Sat>=15 1:00", 2001, "2001-04-21 01:00:00"},
      {"Sep Sun>=29 1:00", 2001, "2001-09-30 01:00:00"},
      {"Sep Mon>=29 1:00", 2001, "2001-10-01 01:00:00"},
      {"Mar 5 2:30", 0, "none"},
      {"Mar 5 2:30", 1900, "1904-01-01 00:00:00"},
      {"Feb 5 6:28", 2040, "2040-02-05 06:28:00"},
      {"Feb 5 6:29", 2040, "none"},
      {"Feb 7 0:00u", 2040, "none"},
      {"Feb 5 6:28s", 2040, "none"},
      {"Jan 1 0:00u", 1904, "1904-01-01 00:00:00"},
      {"Jan 1 0:00", 65535, "none"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.rule);
    const auto data = Parsed("Rule X 1 max - " + std::string(row.rule) + " 0 -\n");
    EXPECT_EQ(TimeText(TimeOfRule(data.rules()[0], row.year, clock)), row.time);
  }
}

// "INSTANT STANDARD+SAVING RULE-LETTERS" of each change.
std::string Changes(const std::string& text) {
  const qv::TimeZoneData data = Parsed(text);
  qv::ZoneChanges changes;
  EXPECT_TRUE(FindZoneChanges(data, data.names.Find("Z"), changes, [] {}));
  std::string out;
  for (const OffsetChange& change : changes.all()) {
    out += TimeText(change.instant) + " " + std::to_string(change.standard) + "+" +
           std::to_string(change.saving) + " " +
           (change.rule ? std::string(data.names.Text(change.rule->letters)) : "") + "\n";
  }
  return out;
}

TEST(ZoneChanges, AreWorkedOutLineByLine) {
  const struct {
    const char *name, *in, *out;
  } kRows[] = {
      {"no lines", "Zone Y 1 - x\n", ""},
      {"a fixed line", "Zone Z 1 0:30 x\n", "1995-01-01 00:00:00 3600+1800 \n"},
      {"lines, the last without a change", "Zone Z 1 - x 2000\n 2 - y 2001 Mar 5 1:00\n 2 0 z\n",
       "1995-01-01 00:00:00 3600+0 \n2000-01-01 00:00:00 7200+0 \n"},
      {"no such rules", "Zone Z 1 R x\n", "1995-01-01 00:00:00 3600+0 \n"},
      {"rules that begin and end",
       "Rule R 1999 2000 - Mar 1 2:00 1:00 S\nRule R 1999 2000 - Oct 1 3:00 0 W\nZone Z 1 R x\n",
       "1995-01-01 00:00:00 3600+0 \n1999-03-01 02:00:00 3600+3600 S\n"
       "1999-10-01 03:00:00 3600+0 W\n2000-03-01 02:00:00 3600+3600 S\n2000-10-01 03:00:00 3600+0 "
       "W\n"},
      {"what was in effect before 1995", "Rule R 1980 only - Mar 1 2:00 1:00 S\nZone Z 1 R x\n",
       "1995-01-01 00:00:00 3600+3600 \n"},
      {"the latest of several",
       "Rule R 1980 max - Mar 1 2:00 1:00 S\nRule R 1980 1996 - Oct 1 2:00 0:20 W\n"
       "Zone Z 1 R x 1997\n 2 - y\n",
       "1995-01-01 00:00:00 3600+1200 \n1995-03-01 02:00:00 3600+3600 S\n"
       "1995-10-01 02:00:00 3600+1200 W\n1996-03-01 02:00:00 3600+3600 S\n"
       "1996-10-01 02:00:00 3600+1200 W\n1997-01-01 00:00:00 7200+0 \n"},
      {"a rule at the very start", "Rule R 1995 only - Jan 1 0:00 1:00 S\nZone Z 1 R x\n",
       "1995-01-01 00:00:00 3600+3600 S\n"},
      {"a line that begins in summer",
       "Rule R 1980 1999 - Mar 1 2:00 1:00 S\nRule R 1980 1999 - Oct 1 2:00 0 W\n"
       "Zone Z 1 - x 1999 Jun 1\n 2 R y\n",
       "1995-01-01 00:00:00 3600+0 \n1999-06-01 00:00:00 7200+3600 \n1999-10-01 02:00:00 7200+0 "
       "W\n"},
      {"universal time follows the saving",
       "Rule R 1999 only - Mar 1 1:00u 1:00 S\nRule R 1999 only - Oct 1 1:00u 0 W\nZone Z 1 R x\n",
       "1995-01-01 00:00:00 3600+0 \n1999-03-01 02:00:00 3600+3600 S\n1999-10-01 03:00:00 3600+0 "
       "W\n"},
      {"an end is wall-clock time", "Zone Z 1 - x 2000 Mar 1 1:00u\n 3 - y\n",
       "1995-01-01 00:00:00 3600+0 \n2000-03-01 01:00:00 10800+0 \n"},
      {"lines whose ends go back", "Zone Z 1 - x 2001\n 2 - y 2000\n 3 - z\n",
       "1995-01-01 00:00:00 3600+0 \n2000-01-01 00:00:00 10800+0 \n2001-01-01 00:00:00 7200+0 \n"},
      {"around new year far west",
       "Rule R 1999 2001 - Jan 1 0:00u 1:00 S\nRule R 1999 2001 - Jul 1 0:00 0 W\n"
       "Zone Z -12 R x\n",
       "1995-01-01 00:00:00 -43200+0 \n1998-12-31 12:00:00 -43200+3600 S\n"
       "1999-07-01 00:00:00 -43200+0 W\n1999-12-31 12:00:00 -43200+3600 S\n"
       "2000-07-01 00:00:00 -43200+0 W\n2000-12-31 12:00:00 -43200+3600 S\n"
       "2001-07-01 00:00:00 -43200+0 W\n"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Changes(row.in), row.out);
  }
}

void CompareWithWalk(const qv::ZoneChanges& changes, std::mt19937& random) {
  std::vector<uint32_t> times = {0, 0xFFFFFFFF};
  for (const OffsetChange& change : changes.all()) {
    for (const int64_t shift :
         {0, change.saving, change.standard, change.standard + change.saving}) {
      for (int aside = -1; aside <= 1; ++aside) {
        times.push_back(static_cast<uint32_t>(change.instant - shift + aside));
      }
    }
    times.push_back(static_cast<uint32_t>(random()));
  }
  for (const uint32_t time : times) {
    for (const TimeKind kind : {TimeKind::kUniversal, TimeKind::kLocal}) {
      ASSERT_EQ(changes.At(time, kind), test::WalkChanges(changes.all(), time, kind)) << time;
    }
  }
}

TEST(ZoneChanges, AreFoundAsAWalkFindsThem) {
  std::mt19937 random(7);
  for (int round = 0; round < 2000; ++round) {
    // From real offsets, which keep moments in order, to those of an enemy.
    const uint32_t spread = 1u << random() % 32, most_offset = 1u << random() % 31;
    qv::ZoneChanges changes;
    EXPECT_EQ(changes.At(5, TimeKind::kLocal), nullptr);
    auto instant = static_cast<uint32_t>(random());
    for (auto count = random() % 40; count > 0; --count) {
      const auto offset = [&] {
        return static_cast<int32_t>(random() % (2 * most_offset)) -
               static_cast<int32_t>(most_offset);
      };
      instant += static_cast<uint32_t>(random() % spread);
      ASSERT_TRUE(changes.Add({instant, offset(), offset(), nullptr, nullptr}));
    }
    ASSERT_TRUE(changes.Finish());
    const auto all = changes.all();
    ASSERT_TRUE(std::is_sorted(all.begin(), all.end(),
                               [](const auto& a, const auto& b) { return a.instant < b.instant; }));
    CompareWithWalk(changes, random);
  }
}

}  // namespace
