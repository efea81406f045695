#include <memory>

#include "programs/qvtool/code_page_argument.h"
#include "programs/qvtool/commands.h"
#include "text/charset_names.h"

namespace qvtool {
namespace {

// code page TAB charset name (empty where there is none) TAB family name TAB locale name
std::string NamesOf(CodePage cp) {
  const char* charset = CharsetName(cp);
  char locale[64];
  LocaleName(cp, locale, sizeof locale);
  return std::to_string(cp) + "\t" + (charset == nullptr ? "" : charset) + "\t" +
         CharsetFamilyName(cp) + "\t" + locale + "\n";
}

Trouble ShowNames(const std::string& argument, Streams& streams) {
  const auto cp = CodePageOf(argument);
  if (!cp) return WrongCodePage(argument);
  streams.output.Write(NamesOf(*cp));
  return std::nullopt;
}

}  // namespace

Work DescribeCharset(const CommandPart& command) {
  auto argument = std::make_shared<std::string>();
  command.Add("code-page", *argument, "A charset name, a family name, or a code page's number")
      .Required()
      .Type("NAME-OR-CP");
  return [argument](Streams& streams) { return ShowNames(*argument, streams); };
}

}  // namespace qvtool
