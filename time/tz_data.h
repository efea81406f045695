// What the time-zone text becomes: records of rules and of zone lines, and the names in them.
//
//   Rule EU 1996 max - Oct lastSun 1:00u 0 -
//     name "EU", from 1996, to 0 (for ever), month 10, day {weekday, week 0, Sunday},
//     1:00 universal time, saving 0, letters "-"
//   Zone Europe/Paris 1:00 EU CE%sT
//     name "Europe/Paris", standard offset 3600, rules "EU", format "CE%sT", no until
//
// The parser (tz_parser.h) fills it; zone_changes.h works out when a zone's offset changes. Nothing
// here throws: what finds no memory is not added. Threads: one fills it, any may then read.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace qv {

// A name of a pool; 0 is the empty one.
using NameRef = uint32_t;

// Names of at most 255 bytes, each stored once, so that equal names are equal references.
class NamePool {
 public:
  // A longer name is cut. False, and *ref is 0, when there is no memory.
  bool Add(std::string_view name, NameRef* ref);
  // The reference of a name that is there, else 0.
  NameRef Find(std::string_view name) const;
  std::string_view Text(NameRef ref) const;

  void Clear();
  void Shrink();
  size_t bytes_held() const;

 private:
  size_t SlotOf(std::string_view name) const;
  bool GrowSlots();

  std::vector<char> bytes_;     // a byte that belongs to nobody, then length bytes and texts
  std::vector<NameRef> slots_;  // hash table, 0 for a free slot; its size is a power of 2
  size_t used_ = 0;
};

struct DaySpecification {
  enum Kind : uint32_t { kDayOfMonth, kWeekday };
  uint32_t kind = kDayOfMonth;
  uint16_t day = 0;  // of the month; 0 counts as 1
  // 1 and more: the first such weekday from day (week - 1) * 7 + 1 on; else the month's last one.
  int32_t week = 0;
  uint32_t weekday = 0;  // 1 Sunday to 7 Saturday
};

// What clock a time of day is read from.
enum TimeOption : uint32_t { kWallClock, kUniversalTime, kStandardTime };

struct RuleRecord {
  NameRef name = 0;
  uint16_t from = 0;  // 0: since ever
  uint16_t to = 0;    // 0: for ever
  NameRef type = 0;
  uint32_t month = 0;  // 1 to 12
  DaySpecification day;
  uint16_t hour = 0, minute = 0;
  uint32_t option = kWallClock;
  int32_t save_hours = 0, save_minutes = 0;  // minutes count the way the hours do
  NameRef letters = 0;
};

struct ZoneLine {
  enum RulesKind : uint32_t { kFixedSaving, kNamedRules };
  NameRef name = 0;
  int32_t standard = 0;  // seconds
  uint32_t rules_kind = kFixedSaving;
  int32_t saving = 0;  // seconds, of kFixedSaving
  NameRef rules = 0;   // of kNamedRules
  NameRef format = 0;
  // The line's end; year 0: none.
  uint16_t until_year = 0, until_month = 0;
  DaySpecification until_day;
  uint16_t until_hour = 0, until_minute = 0, until_second = 0;
  uint32_t until_option = kWallClock;
};

// The data set. Both arrays are sorted by name after Sort, records of one name in the order in
// which they were added.
class TimeZoneData {
 public:
  // False when there is no memory; nothing is added then.
  bool Add(const RuleRecord& rule);
  bool Add(const ZoneLine& line);
  void Sort();
  // Gives back what the arrays do not need.
  void Shrink();
  void Clear();

  std::span<const RuleRecord> rules() const { return rules_; }
  std::span<const ZoneLine> lines() const { return lines_; }
  // Those of one name, after Sort.
  std::span<const RuleRecord> RulesOf(NameRef name) const;
  std::span<const ZoneLine> LinesOf(NameRef name) const;

  size_t bytes_held() const;

  NamePool names;

 private:
  std::vector<RuleRecord> rules_;
  std::vector<ZoneLine> lines_;
};

}  // namespace qv
