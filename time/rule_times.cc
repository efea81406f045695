#include "time/rule_times.h"

#include <algorithm>

#include "time/calendar.h"

namespace qv {
namespace {

constexpr int64_t kMostTime = kNoTime - kSecondsPerDay;

int64_t TimeOfDay(uint32_t hour, uint32_t minute, uint32_t second) {
  return hour * kSecondsPerHour + minute * kSecondsPerMinute + second;
}

// The day of that month that is meant.
int64_t DayOf(uint32_t year, uint32_t month, const DaySpecification& day) {
  month = std::max(month, 1u);
  if (day.kind == DaySpecification::kDayOfMonth) {
    return DayNumber(year, month, std::max<int64_t>(day.day, 1));
  }
  const bool forwards = day.week >= 1;
  const int64_t from = forwards ? DayNumber(year, month, (int64_t{day.week} - 1) * kDaysPerWeek + 1)
                                : DayNumber(year, month, DaysInMonth(year, month));
  const uint32_t weekday = WeekdayOfDay(from);
  const auto ahead = [](uint32_t to, uint32_t of) {
    return (to + kDaysPerWeek - of) % kDaysPerWeek;
  };
  return forwards ? from + ahead(day.weekday, weekday) : from - ahead(weekday, day.weekday);
}

uint32_t Framework(int64_t seconds) {
  if (seconds > kMostTime) return kNoTime;
  return static_cast<uint32_t>(std::max<int64_t>(seconds, 0));
}

}  // namespace

uint32_t TimeOfRule(const RuleRecord& rule, uint32_t year, const RuleClock& clock) {
  if (year == 0) return kNoTime;
  int64_t time =
      DayOf(year, rule.month, rule.day) * kSecondsPerDay + TimeOfDay(rule.hour, rule.minute, 0);
  if (time > kMostTime) return kNoTime;
  if (rule.option == kUniversalTime) time += int64_t{clock.standard} + clock.saving;
  if (rule.option == kStandardTime) time += clock.saving;
  return Framework(time);
}

int32_t SavingOfRule(const RuleRecord& rule) {
  const int64_t minutes = int64_t{rule.save_minutes} * kSecondsPerMinute;
  return static_cast<int32_t>(rule.save_hours * kSecondsPerHour +
                              (rule.save_hours < 0 ? -minutes : minutes));
}

uint32_t EndOfLine(const ZoneLine& line) {
  if (line.until_year == 0) return kNoTime;
  return Framework(DayOf(line.until_year, line.until_month, line.until_day) * kSecondsPerDay +
                   TimeOfDay(line.until_hour, line.until_minute, line.until_second));
}

}  // namespace qv
