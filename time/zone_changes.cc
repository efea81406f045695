#include "time/zone_changes.h"

#include <algorithm>
#include <new>

#include "time/calendar.h"
#include "time/growth.h"
#include "time/tz_parser.h"

namespace qv {

// --- the list ---

bool ZoneChanges::Add(const OffsetChange& change) {
  auto place = std::upper_bound(
      changes_.begin(), changes_.end(), change.instant,
      [](uint32_t instant, const OffsetChange& other) { return instant < other.instant; });
  if (place != changes_.begin()) {
    const OffsetChange& before = place[-1];
    if (before.standard == change.standard && before.saving == change.saving) return true;
  }
  const auto index = place - changes_.begin();
  if (!Append(changes_, change)) return false;
  std::rotate(changes_.begin() + index, changes_.end() - 1, changes_.end());
  return true;
}

namespace {

constexpr uint32_t kStretchBits = 25, kStretches = 1u << (32 - kStretchBits);

// `shift` is what of the change before is taken off a change's instant. False without memory.
template <typename Shift>
bool FillKeys(const std::vector<OffsetChange>& changes, Shift shift, TimeKeys& keys) {
  std::vector<uint32_t> moments;
  try {
    moments.resize(changes.size());
  } catch (const std::bad_alloc&) {
    return false;
  }
  size_t reached = changes.size();
  int64_t least = INT64_MAX;
  for (size_t i = changes.size(); i-- > 0;) {
    const int64_t moment = int64_t{changes[i].instant} - shift(changes[i == 0 ? 0 : i - 1]);
    least = std::min(least, moment);
    if (least > UINT32_MAX) {
      reached = i;
    } else {
      moments[i] = static_cast<uint32_t>(std::max<int64_t>(least, 0));
    }
  }
  return keys.Fill(std::span(moments).first(reached));
}

}  // namespace

// --- keys ---

bool TimeKeys::Fill(std::span<const uint32_t> keys) {
  try {
    words_.resize(kStretches + 1 + keys.size());
  } catch (const std::bad_alloc&) {
    return false;
  }
  auto place = keys.begin();
  for (uint32_t stretch = 0; stretch < kStretches; ++stretch) {
    place = std::lower_bound(place, keys.end(), stretch << kStretchBits);
    words_[stretch] = static_cast<uint32_t>(place - keys.begin());
  }
  words_[kStretches] = static_cast<uint32_t>(keys.size());
  std::copy(keys.begin(), keys.end(), words_.begin() + kStretches + 1);
  return true;
}

// Halves without a branch that depends on the keys.
uint32_t TimeKeys::CountReached(uint32_t time) const {
  const uint32_t* const starts = words_.data() + (time >> kStretchBits);
  const uint32_t* const keys = words_.data() + kStretches + 1;
  uint32_t at = starts[0], left = starts[1] - at;
  while (left > 1) {
    const uint32_t half = left / 2;
    at += keys[at + half - 1] <= time ? half : 0;
    left -= half;
  }
  return at + (left == 1 && keys[at] <= time ? 1 : 0);
}

// --- the look-up ---

bool ZoneChanges::Finish() {
  changes_.shrink_to_fit();
  return FillKeys(
             changes_, [](const OffsetChange& c) { return int64_t{c.standard} + c.saving; },
             universal_keys_) &&
         FillKeys(
             changes_, [](const OffsetChange& c) { return int64_t{c.saving}; }, local_keys_);
}

const OffsetChange* ZoneChanges::At(uint32_t time, TimeKind kind) const {
  if (changes_.empty()) return nullptr;
  const TimeKeys& keys = kind == TimeKind::kUniversal ? universal_keys_ : local_keys_;
  const uint32_t reached = keys.CountReached(time);
  return &changes_[reached == 0 ? 0 : reached - 1];
}

size_t ZoneChanges::bytes_held() const {
  return changes_.capacity() * sizeof(OffsetChange) + universal_keys_.bytes_held() +
         local_keys_.bytes_held();
}

// --- working it out ---

namespace {

uint32_t YearOf(uint32_t time) { return YearOfDay(time / kSecondsPerDay); }

// One zone's lines, walked from 1995 on.
class ChangeFinder {
 public:
  ChangeFinder(const TimeZoneData& data, ZoneChanges& changes) : data_(data), changes_(changes) {}

  bool Walk(const ZoneLine& line) {
    clock_.standard = line.standard;
    const uint32_t end = EndOfLine(line);
    const bool done = line.rules_kind == ZoneLine::kFixedSaving
                          ? Add(current_, line.saving, line, nullptr)
                          : WalkRules(line, end);
    MoveTo(end);
    return done;
  }

 private:
  void MoveTo(uint32_t time) {
    current_ = time;
    year_ = YearOf(time);
  }

  // What is added is in effect from there on.
  bool Add(uint32_t instant, int32_t saving, const ZoneLine& line, const RuleRecord* rule) {
    clock_.saving = saving;
    return changes_.Add({instant, line.standard, saving, &line, rule});
  }

  bool WalkRules(const ZoneLine& line, uint32_t end) {
    const std::span<const RuleRecord> rules = data_.RulesOf(line.rules);
    const RuleRecord* in_effect = LastRuleBefore(rules);
    clock_.saving = in_effect == nullptr ? 0 : SavingOfRule(*in_effect);
    const uint32_t start = current_;
    for (bool first = true;; first = false) {
      uint32_t time = end;
      const RuleRecord* next = NextRule(rules, time);
      const bool starts_with_rule = next != nullptr && time == start;
      if (first && !starts_with_rule && !Add(start, clock_.saving, line, nullptr)) return false;
      if (next == nullptr) return true;
      if (!Add(time, SavingOfRule(*next), line, next)) return false;
      MoveTo(time + 1);
    }
  }

  // The rule that took effect last before now, or null.
  const RuleRecord* LastRuleBefore(std::span<const RuleRecord> rules) const {
    const RuleRecord* last = nullptr;
    uint32_t latest = 0;
    for (const RuleRecord& rule : rules) {
      const uint32_t time = TimeBefore(rule);
      if (time >= current_ || (last != nullptr && time <= latest)) continue;
      last = &rule;
      latest = time;
    }
    return last;
  }

  // When the rule took effect last; may be now or later, for a rule that has not yet.
  uint32_t TimeBefore(const RuleRecord& rule) const {
    if (rule.to != 0 && rule.to < year_) return TimeOfRule(rule, rule.to, clock_);
    if (rule.from > year_) return kNoTime;
    const uint32_t time = TimeOfRule(rule, year_, clock_);
    if (time > current_ && rule.from < year_) return TimeOfRule(rule, year_ - 1, clock_);
    return time;
  }

  // The rule that takes effect first from now on and before `time`, which becomes that moment; null
  // when there is none.
  const RuleRecord* NextRule(std::span<const RuleRecord> rules, uint32_t& time) const {
    const RuleRecord* next = nullptr;
    for (const RuleRecord& rule : rules) {
      const uint32_t candidate = TimeFrom(rule);
      if (candidate >= time) continue;
      next = &rule;
      time = candidate;
    }
    return next;
  }

  // When the rule takes effect next, now included; kNoTime for never.
  uint32_t TimeFrom(const RuleRecord& rule) const {
    if (rule.to != 0 && rule.to < year_) return kNoTime;
    for (uint32_t year = std::max<uint32_t>(rule.from, year_);; ++year) {
      const uint32_t time = TimeOfRule(rule, year, clock_);
      if (time >= current_) return time;
      if (rule.to != 0 && rule.to <= year) return kNoTime;
    }
  }

  const TimeZoneData& data_;
  ZoneChanges& changes_;
  uint32_t current_ = static_cast<uint32_t>(DayNumber(kFirstZoneYear, 1, 1) * kSecondsPerDay);
  uint32_t year_ = kFirstZoneYear;
  RuleClock clock_;
};

}  // namespace

bool FindZoneChanges(const TimeZoneData& data, NameRef zone, ZoneChanges& changes,
                     void (*yield)()) {
  ChangeFinder finder(data, changes);
  for (const ZoneLine& line : data.LinesOf(zone)) {
    if (!finder.Walk(line)) return false;
    if (line.until_year == 0) break;
    yield();
  }
  return changes.Finish();
}

}  // namespace qv
