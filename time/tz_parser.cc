#include "time/tz_parser.h"

#include <cstdio>

namespace qv {
namespace {

constexpr size_t kYieldBytes = 5120;
constexpr uint32_t kMonths = 12;
constexpr int32_t kWeekdays = 7;
constexpr uint32_t kSecondsPerHour = 3600, kSecondsPerMinute = 60;

// Arithmetic on values of a foreign text wraps.
int32_t Sum(int32_t a, uint32_t b) { return static_cast<int32_t>(static_cast<uint32_t>(a) + b); }

uint32_t Product(int32_t a, uint32_t b) { return static_cast<uint32_t>(a) * b; }

uint16_t Short(int32_t value) { return static_cast<uint16_t>(value); }

}  // namespace

bool TZDataParser::Parse(std::string_view text) {
  reader_ = SymbolReader(text);
  yield_mark_ = text.size() / kYieldBytes * kYieldBytes;
  failed_ = false;
  Advance();
  while (reader_.remaining() > 0) ReadItem();
  data_.Sort();
  return !failed_;
}

// --- symbols ---

void TZDataParser::Advance() {
  current_ = reader_.Next();
  if (reader_.remaining() >= yield_mark_) return;
  yield_mark_ = reader_.remaining() / kYieldBytes * kYieldBytes;
  LetOthersRun();
}

void TZDataParser::Fail(const char* text) {
  failed_ = true;
  reader_ = SymbolReader();
  current_ = Symbol();
  Report(text);
}

// The current symbol, passed over, when it has the type. Else an empty one, and an error unless the
// text has ended.
Symbol TZDataParser::Accept(SymbolType type) {
  const Symbol symbol = current_;
  if (symbol.type == type) {
    Advance();
    return symbol;
  }
  if (symbol.type != kEndOfText) {
    char text[128];
    std::snprintf(text, sizeof text,
                  "Parse failed, bad grammar.  Expected symbol type %u, encountered symbol type "
                  "%u.",
                  static_cast<unsigned>(type), static_cast<unsigned>(symbol.type));
    Fail(text);
  }
  return {};
}

bool TZDataParser::AcceptIf(SymbolType type) {
  if (current_.type != type) return false;
  Advance();
  return true;
}

int32_t TZDataParser::AcceptNumber() { return Accept(kNumber).value; }

NameRef TZDataParser::AcceptName() { return Keep(Accept(kWord).text); }

NameRef TZDataParser::Keep(std::string_view name) {
  NameRef ref = 0;
  if (!data_.names.Add(name, &ref)) name_lost_ = true;
  return ref;
}

// --- items of the file ---

void TZDataParser::ReadItem() {
  switch (current_.type) {
    case kEndOfText:
    case kLineEnd:
      return Advance();
    case kCommentStart:
      return SkipComment();
    case kRuleWord:
      return ReadRule();
    case kZoneWord:
      return ReadZone();
    default:
      return ReadLink();
  }
}

void TZDataParser::SkipComment() {
  reader_.SkipToLineEnd();
  Advance();
  AcceptIf(kLineEnd);
}

void TZDataParser::ReadLink() {
  Accept(kLinkWord);
  Accept(kWord);
  Accept(kWord);
}

// --- rules ---

void TZDataParser::ReadRule() {
  Advance();
  name_lost_ = false;
  RuleRecord rule;
  rule.name = AcceptName();
  if (current_.type == kNumber) {
    rule.from = Short(AcceptNumber());
  } else {
    Accept(kMin);
  }
  rule.to = ReadToYear(rule.from);
  const std::string_view type = Accept(kWord).text;
  if (type != "-") Fail("Rule.Type is too complex to process.");
  rule.type = Keep(type);
  rule.month = ReadMonth();
  if (!ReadDay(rule.day)) Fail("Grammar error: Expected day or week relative");
  ReadRuleTime(rule);
  rule.letters = AcceptName();
  if (!name_lost_) data_.Add(rule);
}

uint16_t TZDataParser::ReadToYear(uint16_t from) {
  if (current_.type == kNumber) return Short(AcceptNumber());
  if (AcceptIf(kOnly)) return from;
  Accept(kMax);
  return 0;
}

// at save
void TZDataParser::ReadRuleTime(RuleRecord& rule) {
  rule.hour = Short(AcceptNumber());
  Accept(kColon);
  rule.minute = Short(AcceptNumber());
  rule.option = ReadTimeOption();
  rule.save_hours = AcceptNumber();
  if (AcceptIf(kColon)) rule.save_minutes = AcceptNumber();
}

// --- zones ---

void TZDataParser::ReadZone() {
  Advance();
  name_lost_ = false;
  const NameRef name = AcceptName();
  const bool zone_lost = name_lost_;
  while (ReadZoneLine(name)) name_lost_ = zone_lost;
}

// True when another line of the zone has to follow.
bool TZDataParser::ReadZoneLine(NameRef name) {
  ZoneLine line;
  line.name = name;
  line.standard = ReadTime();
  ReadZoneRules(line);
  line.format = AcceptName();
  const bool ends = current_.type == kNumber;
  if (ends) ReadUntil(line);
  const bool past = line.until_year != 0 && line.until_year < kFirstZoneYear;
  if (!name_lost_ && !past) data_.Add(line);
  while (current_.type == kCommentStart || current_.type == kLineEnd) ReadItem();
  return ends;
}

void TZDataParser::ReadZoneRules(ZoneLine& line) {
  if (current_.type != kWord) {
    line.saving = ReadTime();
    return;
  }
  const std::string_view name = Accept(kWord).text;
  if (name == "-") return;
  line.rules_kind = ZoneLine::kNamedRules;
  line.rules = Keep(name);
}

void TZDataParser::ReadUntil(ZoneLine& line) {
  line.until_year = Short(AcceptNumber());
  if (current_.type == kMonth) line.until_month = static_cast<uint16_t>(ReadMonth());
  if (!ReadDay(line.until_day) || current_.type != kNumber) return;
  line.until_hour = Short(AcceptNumber());
  Accept(kColon);
  line.until_minute = Short(AcceptNumber());
  if (AcceptIf(kColon)) line.until_second = Short(AcceptNumber());
  line.until_option = ReadTimeOption();
}

// --- dates and times ---

uint32_t TZDataParser::ReadMonth() {
  return static_cast<uint32_t>(Accept(kMonth).value) % kMonths + 1;
}

// False, and nothing read, when there is none.
bool TZDataParser::ReadDay(DaySpecification& day) {
  switch (current_.type) {
    case kNumber:
      day.kind = DaySpecification::kDayOfMonth;
      day.day = Short(AcceptNumber());
      return true;
    case kFirst:
    case kLast:
      day.kind = DaySpecification::kWeekday;
      day.week = current_.type == kFirst ? 1 : 0;
      Advance();
      day.weekday = static_cast<uint32_t>(Accept(kWeekday).value % kWeekdays) + 1;
      return true;
    case kWeekday:
      ReadWeekdayAfter(day);
      return true;
    default:
      return false;
  }
}

// weekday ">=" number
void TZDataParser::ReadWeekdayAfter(DaySpecification& day) {
  day.kind = DaySpecification::kWeekday;
  day.weekday = static_cast<uint32_t>(Accept(kWeekday).value % kWeekdays) + 1;
  const Symbol comparison = Accept(kComparison);
  if (comparison.value != kAtLeast) {
    char text[64];
    std::snprintf(text, sizeof text, "Unsupported RelativeID: %d", comparison.value);
    Fail(text);
  }
  day.week = static_cast<int32_t>((int64_t{AcceptNumber()} - 1) / kWeekdays + 1);
}

// Wall clock where there is none.
uint32_t TZDataParser::ReadTimeOption() {
  if (current_.type != kWord) return kWallClock;
  const std::string_view option = Accept(kWord).text;
  if (option == "g" || option == "u" || option == "z") return kUniversalTime;
  if (option == "s") return kStandardTime;
  if (option != "w") {
    Fail(option.size() == 1 ? "Unknown time option" : "Bad time option length");
  }
  return kWallClock;
}

int32_t TZDataParser::ReadTime() {
  int32_t seconds = Sum(0, Product(AcceptNumber(), kSecondsPerHour));
  for (const uint32_t unit : {kSecondsPerMinute, 1u}) {
    if (!AcceptIf(kColon)) break;
    const uint32_t part = Product(AcceptNumber(), unit);
    seconds = Sum(seconds, seconds < 0 ? 0 - part : part);
  }
  return seconds;
}

}  // namespace qv
