#include <memory>

#include "programs/qvtool/code_page_argument.h"
#include "programs/qvtool/commands.h"
#include "programs/qvtool/found_links.h"
#include "programs/qvtool/pieces.h"

namespace qvtool {
namespace {

struct Options {
  std::string code_page = "UTF-8";
  bool no_spaces = false, markup = false;
};

std::unique_ptr<FoundLinks> NewLinks(const Options& options, const Sink& sink) {
  const LinkOptions links{CodePageOf(options.code_page).value(), options.no_spaces};
  if (options.markup) return std::make_unique<LinkPage>(links, sink);
  return std::make_unique<LinkList>(links, sink);
}

Trouble FindLinks(const Options& options, Streams& streams) {
  const auto links =
      NewLinks(options, [&streams](std::string_view bytes) { return streams.output.Write(bytes); });
  const bool whole = ForEachPiece(streams.input, "searching",
                                  [&](std::string_view piece) { return links->Add(piece); });
  if (whole) links->Finish();
  return std::nullopt;
}

}  // namespace

Work DescribeLinks(const CommandPart& command) {
  auto options = std::make_shared<Options>();
  command
      .Add("--code-page", options->code_page,
           "The code page of the text: a number or a charset name (default: UTF-8)")
      .TakeLast()
      .Type("CP")
      .Check(WrongByteCodePage);
  command.AddFlag("--no-spaces", options->no_spaces, "A blank ends every link and address");
  command.AddFlag("--markup", options->markup,
                  "Write the text as HTML in which every find is a link");
  return [options](Streams& streams) { return FindLinks(*options, streams); };
}

}  // namespace qvtool
