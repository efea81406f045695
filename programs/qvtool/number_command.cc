#include <charconv>
#include <limits>
#include <type_traits>

#include "format/durations.h"
#include "format/integer_text.h"
#include "format/numbers.h"
#include "programs/qvtool/forms.h"
#include "programs/qvtool/library_resources.h"
#include "text/length_prefixed.h"

namespace qvtool {
namespace {

struct Options {
  std::string text;  // of `scaled` and `parse`
  uint64_t value = 0;
  uint32_t seconds = 0, fields = qv::kAllDurationFields, scale = 1000;
  int32_t style = 0, base = 10;
  bool in_thousands = false;
};

std::string TextOf(const uint8_t* lstr) {
  return {reinterpret_cast<const char*>(lstr) + 1, lstr[0]};
}

Trouble Say(const std::string& text, Streams& streams) {
  streams.output.Write(text + "\n");
  return std::nullopt;
}

Trouble SayCount(const Options& options, Streams& streams) {
  uint8_t text[qv::kCountSize];
  ZRFormatCount(options.value, options.in_thousands, text);
  return Say(TextOf(text), streams);
}

Trouble SayGrouped(const Options& options, Streams& streams) {
  char text[qv::kGroupedSize];
  ZRFormatGrouped(options.value, text);
  return Say(text, streams);
}

std::optional<double> NumberIn(const std::string& text) {
  double value = 0;
  const char* end = text.data() + text.size();
  const auto [parsed, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || parsed != end) return std::nullopt;
  return value;
}

std::string WrongNumber(const std::string& text) {
  return NumberIn(text) ? "" : "not a number: \"" + text + "\"";
}

Trouble SayScaled(const Options& options, Streams& streams) {
  uint8_t text[256] = {0};
  ZRFormatScaled(NumberIn(options.text).value(), text, options.style, options.scale);
  if (text[0] == 0) return "no scaled form of " + options.text + ": give a number up to 10^19";
  return Say(TextOf(text), streams);
}

Trouble SayDuration(const Options& options, Streams& streams) {
  if (Trouble trouble = LoadTables()) return trouble;
  char text[256];
  const uint32_t size =
      ZRFormatDuration(options.seconds, text, sizeof text, options.style, options.fields);
  return Say({text, size}, streams);
}

Trouble SayParsed(const Options& options, Streams& streams) {
  const char* end = nullptr;
  const int64_t value = ZRParseInt64(options.text.c_str(), &end, options.base);
  if (*end != '\0') streams.reporter.Warn("read up to \"" + std::string(end) + "\"");
  return Say(std::to_string(value), streams);
}

// The command line's library would take "-1" and a number that is too large for the largest one.
template <typename Value>
std::string WrongWholeNumber(const std::string& text) {
  Value value = 0;
  const char* end = text.data() + text.size();
  const auto [parsed, error] = std::from_chars(text.data(), end, value);
  if (error == std::errc() && parsed == end) return "";
  return "not a whole number from 0 to " + std::to_string(std::numeric_limits<Value>::max()) +
         ": \"" + text + "\"";
}

template <typename Value>
program::Option AddOption(const CommandPart& form, const char* name, Value& value,
                          const char* help) {
  const program::Option option = form.Add(name, value, help);
  if constexpr (std::is_unsigned_v<Value>) option.Check(WrongWholeNumber<Value>);
  return option;
}

template <typename Value>
program::Option AddValue(const CommandPart& form, const char* name, Value& value,
                         const char* help) {
  return AddOption(form, name, value, help).Required().Type(name);
}

template <typename Value>
program::Option AddChoice(const CommandPart& form, const char* name, Value& value,
                          const char* help) {
  return AddOption(form, name, value, help).TakeLast().Type("NUMBER");
}

}  // namespace

Work DescribeNumber(const CommandPart& command) {
  const Forms<Options> forms(command);
  Options& options = forms.options();

  const CommandPart count = forms.Add("count", "A count with a unit letter: 1.5M", SayCount);
  AddValue(count, "VALUE", options.value, "A whole number");
  count.AddFlag("--thousands", options.in_thousands, "The value counts thousands");

  const CommandPart grouped = forms.Add("grouped", "Groups of three digits: 1,234,567", SayGrouped);
  AddValue(grouped, "VALUE", options.value, "A whole number");

  const CommandPart scaled =
      forms.Add("scaled", "A value in the unit that fits it: 2.50M", SayScaled);
  AddValue(scaled, "VALUE", options.text, "A number up to 10^19").Check(WrongNumber);
  AddChoice(scaled, "--style", options.style,
            "3 three digits, 4 the next smaller unit, any other four digits (default: 0)");
  AddChoice(scaled, "--base", options.scale, "What a unit is of the one before it (default: 1000)")
      .Range(uint32_t{2}, ~uint32_t{0});

  const CommandPart duration = forms.Add("duration", "A duration in words", SayDuration);
  AddValue(duration, "SECONDS", options.seconds, "A whole number");
  AddChoice(duration, "--style", options.style,
            "0 short (default), 1 long, 2 days and a clock, 3 a clock")
      .Range(0, 3);
  AddChoice(duration, "--fields", options.fields,
            "The sum of 1 weeks, 2 days, 4 hours, 8 minutes, 16 seconds (default: 31)")
      .Range(uint32_t{0}, qv::kAllDurationFields);

  const CommandPart parse = forms.Add("parse", "The integer that a text begins with", SayParsed);
  AddValue(parse, "TEXT", options.text, "Digits of the base; one - may come first");
  AddChoice(parse, "--base", options.base, "0 by the prefix, or 2 to 64 (default: 10)")
      .Range(0, 64);
  return forms.work();
}

}  // namespace qvtool
