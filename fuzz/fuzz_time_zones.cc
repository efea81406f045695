// Any rule text and any zone list: symbols cover the text in order, parsing is repeatable and
// leaves records in order with names that are there, every zone's changes ascend, and the look-up
// answers as a walk from the last change to the first does.
#include <algorithm>
#include <string>

#include "fuzz/fuzz_support.h"
#include "tests/time/change_walk.h"
#include "time/tz_parser.h"
#include "time/zone_changes.h"
#include "time/zone_list.h"

namespace {

using qv::TimeKind;

class Parser final : public qv::TZDataParser {
 public:
  using TZDataParser::TZDataParser;
  int errors = 0;

 private:
  void Report(const char* text) override {
    FUZZ_CHECK(text[0] != '\0');
    ++errors;
  }
};

void CheckSymbols(const std::string& text) {
  qv::SymbolReader reader(text);
  uint32_t end = 0;
  for (;;) {
    const qv::Symbol symbol = reader.Next();
    FUZZ_CHECK(symbol.position >= end && symbol.text.size() <= 255);
    FUZZ_CHECK(text.find_first_not_of(" \t\v\f", end) >= symbol.position);
    if (symbol.type == qv::kEndOfText) break;
    FUZZ_CHECK(symbol.length > 0);
    end = symbol.position + symbol.length;
    FUZZ_CHECK(reader.remaining() == text.size() - end);
  }
}

void CheckZone(const qv::TimeZoneData& data, qv::NameRef zone) {
  qv::ZoneChanges changes;
  FUZZ_CHECK(qv::FindZoneChanges(data, zone, changes, [] {}));
  const auto all = changes.all();
  FUZZ_CHECK(!all.empty());
  for (size_t i = 0; i < all.size(); ++i) {
    FUZZ_CHECK(i == 0 || all[i - 1].instant <= all[i].instant);
    for (const int64_t shift : {0, all[i].standard, all[i].saving}) {
      const auto time = static_cast<uint32_t>(all[i].instant - shift);
      for (const TimeKind kind : {TimeKind::kUniversal, TimeKind::kLocal}) {
        FUZZ_CHECK(changes.At(time, kind) == test::WalkChanges(all, time, kind));
      }
    }
  }
}

void CheckList(const std::string& text, CodePage cp) {
  qv::ZoneListReader reader(text, cp);
  qv::ZoneListEntry entry;
  size_t entries = 0;
  for (; reader.Next(entry); ++entries) {
    const size_t size = entry.size;
    entry.RemoveControlCharacters();
    FUZZ_CHECK(entry.size <= size && entry.name().find('\n') == std::string::npos);
  }
  const auto most = static_cast<size_t>(std::count(text.begin(), text.end(), ';')) + 1;
  FUZZ_CHECK(entries <= most);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  CheckSymbols(text);
  CheckList(text, kWesternWindows);
  CheckList(text, 932);
  qv::TimeZoneData records, again;
  Parser parser(records);
  const bool good = parser.Parse(text);
  FUZZ_CHECK(good == (parser.errors == 0));
  FUZZ_CHECK(Parser(again).Parse(text) == good && again.lines().size() == records.lines().size() &&
             again.rules().size() == records.rules().size());
  qv::NameRef last = 0;
  for (const qv::ZoneLine& line : records.lines()) {
    FUZZ_CHECK(line.until_year == 0 || line.until_year >= qv::kFirstZoneYear);
    FUZZ_CHECK(records.names.Text(last) <= records.names.Text(line.name));
    if (line.name != last || last == 0) CheckZone(records, line.name);
    last = line.name;
  }
  return 0;
}
