#include <memory>

#include "programs/common/reporter.h"
#include "programs/qvtool/commands.h"
#include "text/length_prefixed.h"
#include "time/clock_time.h"

namespace qvtool {
namespace {

struct Options {
  std::string text;
  bool twenty_four = false;
  int32_t threshold = 7;
};

// hours TAB minutes TAB the text as it is better written
Trouble ReadClock(const Options& options, Streams& streams) {
  if (options.twenty_four) qv::SetClockHours(qv::ClockHours::kTwentyFour);
  Str255 text;
  qv::CStrToLStr(text, kMostLStr, options.text.c_str());
  int32_t hours = 0, minutes = 0;
  if (options.text.size() > kMostLStr ||
      ZRParseClockTime(text, &hours, &minutes, true, qv::kReadClockTime, options.threshold) ==
          qv::kClockInvalid) {
    return "no clock time: \"" + program::OneLine(options.text) + "\"";
  }
  const std::string written(text + 1, text + 1 + text[0]);
  streams.output.Write(std::to_string(hours) + "\t" + std::to_string(minutes) + "\t" +
                       program::OneLine(written) + "\n");
  return std::nullopt;
}

}  // namespace

Work DescribeClock(const CommandPart& command) {
  auto options = std::make_shared<Options>();
  command.Add("TEXT", options->text, "A clock time such as 9:30, 9.30p or 21:30")
      .Required()
      .Type("TEXT");
  command.AddFlag("--24-hour", options->twenty_four,
                  "A 24-hour clock, whatever the user's settings say");
  command
      .Add("--threshold", options->threshold,
           "On a 12-hour clock, hours from this one on are in the morning where the text "
           "does not say (default: 7)")
      .TakeLast()
      .Type("H")
      .Range(0, 12);
  return [options](Streams& streams) { return ReadClock(*options, streams); };
}

}  // namespace qvtool
