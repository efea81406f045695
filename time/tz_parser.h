// The parser of the time-zone text: lines "Rule", "Zone" and "Link" of the public tz database.
//
//   class MyParser : public qv::TZDataParser { ... void Report(const char* text) override; };
//   qv::TimeZoneData data;
//   bool good = MyParser(data).Parse(text);
//
//   file    = { "#" anything | line end | rule | zone | "Link" word word }
//   rule    = "Rule" NAME from to TYPE month day at save LETTERS
//   from    = number | "min"            to = number | "only" | "max"
//   day     = number | "first" weekday | "last" weekday | weekday ">=" number
//   at      = number ":" number [option]       save = number [":" number]
//   zone    = "Zone" NAME line { line }        a line with an end is followed by another one
//   line    = time rules FORMAT [end]          rules = NAME | "-" | time
//   end     = year [month] [day [number ":" number [":" number] [option]]]
//   time    = number [":" number [":" number]]
//   option  = "g" | "u" | "z" | "s" | "w"
//
// TYPE has to be "-". Links are read and not kept. Zone lines that end before 1995 are not kept.
// Numbers are cut to the width of their field. A time's minutes and seconds count downwards when
// what stands before them is negative.
//
// Errors. The first error is reported and ends the text there: what follows in the line reads as 0
// and as empty names, its record is stored like that, and what was read before stays. So does a
// text that ends inside a line, without being an error. What then misses in a record may be
// reported too. A record, or a name of it, that finds no memory is left out; that is no error.
// Nothing throws.
//
// Threads: any; the text and the data belong to the parser during the call.
#pragma once

#include <cstdint>
#include <string_view>

#include "time/tz_data.h"
#include "time/tz_symbols.h"

namespace qv {

// Lines that end in an earlier year are not kept, and no change before it is worked out.
constexpr uint16_t kFirstZoneYear = 1995;

class TZDataParser {
 public:
  explicit TZDataParser(TimeZoneData& data) : data_(data) {}
  virtual ~TZDataParser() = default;
  TZDataParser(const TZDataParser&) = delete;
  TZDataParser& operator=(const TZDataParser&) = delete;

  // Adds what the text says to the data, which are sorted then. True when the text was read to its
  // end without an error.
  bool Parse(std::string_view text);

 protected:
  // Gets the text of each error.
  virtual void Report(const char* text) = 0;
  // Called about every 5120 bytes of text.
  virtual void LetOthersRun() {}

 private:
  void Advance();
  Symbol Accept(SymbolType type);
  bool AcceptIf(SymbolType type);
  int32_t AcceptNumber();
  NameRef AcceptName();
  NameRef Keep(std::string_view name);
  void Fail(const char* text);

  void ReadItem();
  void SkipComment();
  void ReadRule();
  uint16_t ReadToYear(uint16_t from);
  void ReadRuleTime(RuleRecord& rule);
  void ReadZone();
  bool ReadZoneLine(NameRef name);
  void ReadZoneRules(ZoneLine& line);
  void ReadUntil(ZoneLine& line);
  void ReadLink();
  uint32_t ReadMonth();
  bool ReadDay(DaySpecification& day);
  void ReadWeekdayAfter(DaySpecification& day);
  uint32_t ReadTimeOption();
  int32_t ReadTime();

  TimeZoneData& data_;
  SymbolReader reader_;
  Symbol current_;
  size_t yield_mark_ = 0;  // the next yield comes when less than this is left
  bool failed_ = false;
  bool name_lost_ = false;  // a name of the line in progress found no memory
};

}  // namespace qv
