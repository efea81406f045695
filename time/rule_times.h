// When a rule takes effect, and when a zone line ends, in a given year.
//
//   qv::RuleClock clock{3600, 0};                    // an hour east, no daylight saving
//   uint32_t time = qv::TimeOfRule(rule, 2026, clock);
//
// Times are wall-clock framework times: what a clock of the zone shows right before it is changed.
// Threads: any; no state.
#pragma once

#include <cstdint>

#include "time/tz_data.h"

namespace qv {

constexpr uint32_t kNoTime = 0xFFFFFFFF;  // later than every time

// What a clock of the zone is ahead of universal time, in seconds.
struct RuleClock {
  int32_t standard = 0, saving = 0;
};

// Universal times count from the clock's wall time, standard times from its standard time. kNoTime
// in year 0 and where the result falls into the last day before the end of the range or behind it;
// 0 for one before 1904. Fields beyond their range count on: hour 24 is the next day's hour 0.
uint32_t TimeOfRule(const RuleRecord& rule, uint32_t year, const RuleClock& clock);

// The seconds that clocks are advanced while the rule is in effect.
int32_t SavingOfRule(const RuleRecord& rule);

// The end of a zone line, read as wall-clock time whatever its option says (the text is expected to
// have been written so); kNoTime for a line without one.
uint32_t EndOfLine(const ZoneLine& line);

}  // namespace qv
