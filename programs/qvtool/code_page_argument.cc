#include "programs/qvtool/code_page_argument.h"

#include <algorithm>
#include <charconv>

#include "text/charset_names.h"

namespace qvtool {

std::optional<CodePage> CodePageOf(const std::string& argument) {
  CodePage cp = CharsetCodePage(argument.c_str());
  if (cp != kDefaultCodePage) return cp;
  const char* end = argument.data() + argument.size();
  const auto [parsed, error] = std::from_chars(argument.data(), end, cp);
  if (error != std::errc() || parsed != end || cp == 0 || cp == kDefaultCodePage) {
    return std::nullopt;
  }
  return cp;
}

std::string WrongCodePage(const std::string& argument) {
  if (CodePageOf(argument)) return "";
  return "unknown character set \"" + argument +
         "\": give a code page's number or a name such as UTF-8 or windows-1252";
}

std::string WrongByteCodePage(const std::string& argument) {
  const auto cp = CodePageOf(argument);
  if (!cp || CPTermSize(*cp) == 1) return WrongCodePage(argument);
  return ShownCodePage(*cp) + " has no lines of bytes: convert the text to UTF-8 first";
}

std::string ShownCodePage(CodePage cp) {
  const char* name = CharsetName(cp);
  return std::to_string(cp) + (name == nullptr ? "" : " (" + std::string(name) + ")");
}

}  // namespace qvtool
