#include <memory>

#include "programs/qvtool/code_page_argument.h"
#include "programs/qvtool/forms.h"
#include "programs/qvtool/library_resources.h"
#include "programs/qvtool/pieces.h"
#include "programs/qvtool/url_lines.h"

namespace qvtool {
namespace {

struct Options {
  std::string code_page = "UTF-8";
  size_t set = qv::kDefaultURLEscapeSet;
  bool decode_slashes = false;

  CodePage cp() const { return CodePageOf(code_page).value(); }
};

// What is not to be converted is handed on as it is.
class ToUtf8 {
 public:
  ToUtf8(CodePage cp, const Sink& sink) : sink_(sink) {
    if (cp == kUtf8) return;
    conversion_ = std::make_unique<TextConversion>(cp, kUtf8, qv::kKeep, sink);
    if ((trouble_ = conversion_->trouble())) conversion_.reset();
  }

  // Why the bytes go on unconverted; nothing for UTF-8.
  const Trouble& trouble() const { return trouble_; }
  bool Convert(std::string_view piece) {
    return conversion_ ? conversion_->Convert(piece) : sink_(piece);
  }
  // Returns the bytes of a character that the end cut.
  uint32_t Finish(const program::Reporter& reporter) {
    if (!conversion_) return 0;
    conversion_->Finish();
    ReportLosses(conversion_->lost(), reporter);
    return conversion_->cut_bytes();
  }

 private:
  Sink sink_;
  std::unique_ptr<TextConversion> conversion_;
  Trouble trouble_;
};

Trouble Escape(const Options& options, Streams& streams) {
  if (Trouble trouble = LoadTables()) return trouble;
  LineEscaper escaper(qv::kURLEscapeSets.at(options.set),
                      [&streams](std::string_view bytes) { return streams.output.Write(bytes); });
  ToUtf8 utf8(options.cp(), [&escaper](std::string_view bytes) { return escaper.Add(bytes); });
  if (utf8.trouble())
    streams.reporter.Warn(*utf8.trouble() + ": its bytes are escaped as they are");
  const bool whole = ForEachPiece(streams.input, "escaping",
                                  [&](std::string_view piece) { return utf8.Convert(piece); });
  if (!whole) return std::nullopt;
  const uint32_t cut = utf8.Finish(streams.reporter);
  escaper.Finish();
  if (cut == 0) return std::nullopt;
  return "the input ends inside a character: " + program::Count(cut, "byte") + " left out";
}

Trouble Unescape(const Options& options, Streams& streams) {
  if (Trouble trouble = LoadTables()) return trouble;
  LineUnescaper unescaper(options.decode_slashes, options.cp());
  Trouble trouble;
  ForEachLine(streams.input, [&](const Line& line) {
    trouble = UnusableLine(line);
    if (trouble) return false;
    return streams.output.Write(unescaper.Unescape(line.text) + std::string(line.end));
  });
  return trouble;
}

}  // namespace

Work DescribeURL(const CommandPart& command) {
  const Forms<Options> forms(command);
  Options& options = forms.options();
  auto add = [&](const char* name, const char* purpose, auto run) {
    const CommandPart form = forms.Add(name, purpose, run);
    form.Add("--code-page", options.code_page,
             "The code page of the text: a number or a charset name (default: UTF-8)")
        .TakeLast()
        .Type("CP")
        .Check(WrongByteCodePage);
    return form;
  };
  add("escape", "Escape each line for a URL", Escape)
      .Add("--set", options.set,
           "What is escaped besides blanks, controls and bytes from 80 on: 0 marks and "
           "brackets; 1 (default) also # % +; 2 also / ? : &; 3 as 2 without /")
      .TakeLast()
      .Range(0, 3);
  add("unescape", "Take the escapes of each line back", Unescape)
      .AddFlag("--decode-slashes", options.decode_slashes, "%2F becomes a slash too");
  return forms.work();
}

}  // namespace qvtool
