#include "tools/resource_tool/time_zones.h"

#include "time/tz_parser.h"

namespace qvresource {
namespace {

constexpr uint32_t kMagic = 0xBAADF00D, kFormat = 1, kMostVersion = 0xFFFFFFFF;

class CheckedParser final : public qv::TZDataParser {
 public:
  using TZDataParser::TZDataParser;
  std::string error;

 private:
  void Report(const char* text) override { error = text; }
};

std::string Joined(const Line& line) {
  std::string text;
  for (const Field& field : line.fields) text += (text.empty() ? "" : " ") + field.text;
  return text;
}

ByteVector BytesOf(const std::string& text) { return {text.begin(), text.end()}; }

bool EncodeVersion(const SourceLines& source, ByteVector& record, Problem& problem) {
  uint32_t version = 0;
  if (source.lines.size() != 1 || source.lines[0].fields.size() != 1) {
    return problem.Set(source.file, "one number expected");
  }
  const Line& line = source.lines[0];
  if (!ParseDecimal(line.place, line.fields[0].text, kMostVersion, version, problem)) return false;
  for (const uint32_t value : {kMagic, kFormat, version}) AppendBig(record, value, 4);
  return true;
}

// An error of a line that stands by itself is reported where it is.
bool ParseRules(const SourceLines& source, const std::string& text, qv::TimeZoneData& data,
                Problem& problem) {
  CheckedParser whole(data);
  if (whole.Parse(text)) return true;
  for (const Line& line : source.lines) {
    const bool is_item = line.fields[0].text == "Rule" || line.fields[0].text == "Link";
    qv::TimeZoneData scratch;
    CheckedParser parser(scratch);
    if (is_item && !parser.Parse(Joined(line) + "\n")) {
      return problem.Set(line.place, parser.error);
    }
  }
  return problem.Set(source.file, whole.error);
}

}  // namespace

std::string JoinEntries(const std::vector<Line>& lines) {
  std::string text;
  for (const Line& line : lines) text += (text.empty() ? "" : ";") + Joined(line);
  return text;
}

bool EncodeTimeZones(const SourceLines& version, const SourceLines& list, const SourceLines& rules,
                     std::vector<ByteVector>& resources, Problem& problem) {
  ByteVector record;
  qv::TimeZoneData data;
  std::string text;
  for (const Line& line : rules.lines) text += Joined(line) + "\n";
  if (!EncodeVersion(version, record, problem) || !ParseRules(rules, text, data, problem)) {
    return false;
  }
  for (const Line& line : list.lines) {
    const std::string entry = Joined(line), name = entry.substr(0, entry.find('='));
    if (data.LinesOf(data.names.Find(name)).empty()) {
      return problem.Set(line.place, name + " is no zone of the rules");
    }
  }
  resources = {std::move(record), BytesOf(JoinEntries(list.lines)), BytesOf(text)};
  return true;
}

}  // namespace qvresource
