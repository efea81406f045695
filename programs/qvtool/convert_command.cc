#include <map>
#include <memory>

#include "programs/qvtool/code_page_argument.h"
#include "programs/qvtool/commands.h"
#include "programs/qvtool/library_resources.h"
#include "programs/qvtool/pieces.h"
#include "programs/qvtool/text_conversion.h"

namespace qvtool {
namespace {

struct Options {
  std::string from, to, line_ends = "keep";
};

int LineEndsOf(const std::string& word) {
  static const std::map<std::string, int> modes = {
      {"keep", qv::kKeep}, {"cr", qv::kCr}, {"lf", qv::kLf}, {"crlf", qv::kCrLf}};
  return modes.at(word);
}

Trouble Convert(const Options& options, Streams& streams) {
  if (Trouble trouble = LoadTables()) return trouble;
  TextConversion conversion(CodePageOf(options.from).value(), CodePageOf(options.to).value(),
                            LineEndsOf(options.line_ends), [&streams](std::string_view bytes) {
                              return streams.output.Write(bytes);
                            });
  if (Trouble trouble = conversion.trouble()) return trouble;
  const bool whole = ForEachPiece(streams.input, "converting", [&](std::string_view piece) {
    return conversion.Convert(piece);
  });
  if (!whole) return conversion.trouble();
  conversion.Finish();
  ReportLosses(conversion.lost(), streams.reporter);
  if (conversion.cut_bytes() == 0) return std::nullopt;
  return "the input ends inside a character: " + program::Count(conversion.cut_bytes(), "byte") +
         " left out";
}

}  // namespace

Work DescribeConvert(const CommandPart& command) {
  auto options = std::make_shared<Options>();
  auto add = [&](const char* name, std::string& value, const char* type, const char* help) {
    return command.Add(name, value, help).TakeLast().Type(type);
  };
  constexpr char kCodePage[] = "CP";
  add("--from", options->from, kCodePage,
      "The code page of the input: a number, or a charset or family name")
      .Required()
      .Check(WrongCodePage);
  add("--to", options->to, kCodePage, "The code page of the output")
      .Required()
      .Check(WrongCodePage);
  add("--line-ends", options->line_ends, "KIND",
      "What every line end becomes: keep (default), cr, lf or crlf")
      .OneOf({"keep", "cr", "lf", "crlf"});
  return [options](Streams& streams) { return Convert(*options, streams); };
}

}  // namespace qvtool
