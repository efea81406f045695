// Lines of text escaped for a URL, and back. What a line becomes is told in net/url_escaping.h.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "net/url_escaping.h"
#include "programs/qvtool/lines.h"
#include "programs/qvtool/text_conversion.h"

namespace qvtool {

// Escapes UTF-8 that arrives in pieces, in constant memory and however long a line is. Line ends
// (LF, CR LF) stay; a CR anywhere else is escaped.
class LineEscaper {
 public:
  LineEscaper(const qv::URLEscapeSet& set, Sink sink) : set_(set), sink_(std::move(sink)) {}

  // False when the sink said so.
  bool Add(std::string_view bytes);
  bool Finish() { return !std::exchange(open_cr_, false) || WriteEscaped("\r"); }

 private:
  bool WriteEscaped(std::string_view bytes);

  const qv::URLEscapeSet& set_;
  Sink sink_;
  bool open_cr_ = false;  // the last byte was a CR, whose LF may follow
  std::vector<char> escaped_;
};

// Takes escapes back. A TAB or line end that an escape stands for is \t, \n or \r, so that a line
// stays one.
class LineUnescaper {
 public:
  LineUnescaper(bool decode_slashes, CodePage cp) : decode_slashes_(decode_slashes), cp_(cp) {}

  // The line must be usable (UnusableLine).
  std::string Unescape(std::string_view line);

 private:
  bool decode_slashes_;
  CodePage cp_;
  std::vector<char> text_;
};

}  // namespace qvtool
