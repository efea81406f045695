#include <charconv>
#include <functional>
#include <optional>
#include <set>
#include <vector>

#include "platform/windows_api.h"
#include "programs/common/reporter.h"
#include "programs/qvtool/forms.h"
#include "programs/qvtool/lines.h"
#include "programs/qvtool/pieces.h"
#include "resources/module_source.h"
#include "text/length_prefixed.h"
#include "time/iso_time.h"
#include "time/time_zones.h"
#include "time/tz_parser.h"
#include "time/zone_names.h"

namespace qvtool {
namespace {

constexpr size_t kMostRules = 64 << 20;  // bytes of a rule text

struct Options {};

// --- lines of numbers ---

std::vector<std::string_view> Words(std::string_view line) {
  std::vector<std::string_view> words;
  for (size_t at = 0; (at = line.find_first_not_of(" \t", at)) != std::string_view::npos;) {
    const size_t end = std::min(line.find_first_of(" \t", at), line.size());
    words.push_back(line.substr(at, end - at));
    at = end;
  }
  return words;
}

std::optional<uint32_t> NumberIn(std::string_view word) {
  uint32_t value = 0;
  const char* end = word.data() + word.size();
  const auto [parsed, error] = std::from_chars(word.data(), end, value);
  return error == std::errc() && parsed == end ? std::optional(value) : std::nullopt;
}

// What a line says: numbers, and behind them a word where the form has one.
struct Request {
  std::vector<uint32_t> numbers;
  std::string_view word;
};

// Answers each line of the form with a line; the first of another form ends the work.
Trouble AnswerLines(Streams& streams, size_t numbers, const std::set<std::string_view>& words,
                    const char* form, const std::function<std::string(const Request&)>& answer) {
  ZRInitModuleResources(GetModuleHandleA(nullptr));
  Trouble trouble;
  ForEachLine(streams.input, [&](const Line& line) {
    const std::vector<std::string_view> parts = Words(line.text);
    Request request;
    bool good = !line.too_long && parts.size() == numbers + (words.empty() ? 0 : 1);
    for (size_t i = 0; good && i < numbers; ++i) {
      const auto number = NumberIn(parts[i]);
      good = number.has_value();
      request.numbers.push_back(number.value_or(0));
    }
    if (good && !words.empty()) good = words.count(request.word = parts.back()) > 0;
    if (good) return streams.output.Write(answer(request) + "\n");
    trouble = "line " + std::to_string(line.number) + " is not \"" + form + "\"";
    return false;
  });
  return trouble;
}

Trouble SayOffsets(const Options&, Streams& streams) {
  return AnswerLines(
      streams, 2, {"universal", "local"}, "ID TIME universal|local",
      [](const Request& request) -> std::string {
        const auto kind = request.word == "local" ? qv::TimeKind::kLocal : qv::TimeKind::kUniversal;
        ZRZoneOffsets offsets;
        if (!ZRTimeZoneOffsets(request.numbers[1], kind, request.numbers[0], &offsets)) {
          return "-";
        }
        return std::to_string(offsets.total) + " " + std::to_string(offsets.standard) + " " +
               std::to_string(offsets.saving);
      });
}

Trouble SayConverted(const Options&, Streams& streams) {
  return AnswerLines(streams, 3, {}, "TIME FROM-ID TO-ID", [](const Request& request) {
    const auto& [time, from, to] =
        std::tie(request.numbers[0], request.numbers[1], request.numbers[2]);
    return std::to_string(ZRConvertZoneTime(time, from, to));
  });
}

Trouble SayISO(const Options&, Streams& streams) {
  return AnswerLines(streams, 2, {}, "TIME ID", [](const Request& request) {
    char text[qv::kISOTimeSize];
    ZRFormatISOTime(request.numbers[0], request.numbers[1], text, sizeof text);
    return std::string(text);
  });
}

// --- the zones, and rules of other people ---

Trouble SayList(const Options&, Streams& streams) {
  ZRInitModuleResources(GetModuleHandleA(nullptr));
  uint32_t zone = 0;
  size_t index = 0;
  for (; qv::GetOfferedZone(index, &zone); ++index) {
    Str255 name;
    ZRTimeZoneNameOrUnknown(name, sizeof name, zone, qv::ZoneNameForm::kBest);
    const std::string text(name + 1, name + 1 + name[0]);
    if (!streams.output.Write(std::to_string(zone) + "\t" + program::OneLine(text) + "\n")) break;
  }
  return index > 0 ? Trouble() : "there are no time-zone data in this program";
}

class Parser final : public qv::TZDataParser {
 public:
  using TZDataParser::TZDataParser;
  std::string error;  // the first

 private:
  void Report(const char* text) override {
    if (error.empty()) error = text;
  }
};

Trouble ParseRules(const Options&, Streams& streams) {
  std::string text;
  const bool whole = ForEachPiece(streams.input, "reading", [&](std::string_view piece) {
    text += piece;
    return text.size() <= kMostRules;
  });
  if (text.size() > kMostRules) return "the text has more than 64 MiB";
  if (!whole) return std::nullopt;
  qv::TimeZoneData data;
  Parser parser(data);
  if (!parser.Parse(text)) return parser.error;
  std::set<qv::NameRef> zones;
  for (const qv::ZoneLine& line : data.lines()) zones.insert(line.name);
  streams.output.Write("rules " + std::to_string(data.rules().size()) + " zones " +
                       std::to_string(zones.size()) + "\n");
  return std::nullopt;
}

}  // namespace

Work DescribeZone(const CommandPart& command) {
  const Forms<Options> forms(command);
  forms.Add("list", "Every offered zone: its id and its name", SayList);
  forms.Add("offset", "Lines \"ID TIME universal|local\": total, standard and saving seconds, or -",
            SayOffsets);
  forms.Add("convert", "Lines \"TIME FROM-ID TO-ID\": the time in the other zone", SayConverted);
  forms.Add("iso", "Lines \"TIME ID\": the time in ISO 8601 form, universal", SayISO);
  forms.Add("parse", "Check a text of time-zone rules; counts its rules and its zones", ParseRules);
  return forms.work();
}

}  // namespace qvtool
