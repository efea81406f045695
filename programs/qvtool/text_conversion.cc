#include "programs/qvtool/text_conversion.h"

#include <algorithm>
#include <vector>

#include "programs/qvtool/code_page_argument.h"
#include "text/converters.h"
#include "text/east_asian_forms.h"
#include "text/unicode_engines.h"

namespace qvtool {
namespace {

constexpr uint32_t kOutputBytes = 1 << 16;

// Through the Unicode engines, which keep their state from one piece to the next.
class ThroughUnicode final : public Conversion {
 public:
  ThroughUnicode(CodePage from, CodePage to, int line_ends)
      : converter_(from, to, {line_ends, 0}), output_(kOutputBytes) {}
  bool usable() const { return converter_.usable(); }

  bool Convert(std::string_view piece, const Sink& sink) override {
    while (!piece.empty()) {
      const qv::ConversionResult result = converter_.Convert(
          piece.data(), static_cast<uint32_t>(piece.size()), output_.data(), kOutputBytes);
      if (!sink({output_.data(), result.written})) return false;
      piece.remove_prefix(result.consumed);
    }
    return true;
  }

  uint32_t Finish(const Sink& sink) override {
    while (const uint32_t written = converter_.Finish(output_.data(), kOutputBytes).written) {
      if (!sink({output_.data(), written})) break;
    }
    return converter_.cut_bytes();
  }

 private:
  qv::StreamConverter converter_;
  std::vector<char> output_;
};

bool HasEscapes(CodePage cp) { return qv::EastAsianFormOf(cp) == qv::EastAsianForm::kIso2022; }

// Through a converter of the registry, each of whose calls is a conversion by itself.
class ThroughRegistry final : public Conversion {
 public:
  ThroughRegistry(CodePage from, CodePage to, int line_ends)
      : from_(from),
        to_(to),
        line_ends_(line_ends),
        whole_lines_(from != to && (HasEscapes(from) || HasEscapes(to))) {}

  bool Convert(std::string_view piece, const Sink& sink) override {
    kept_ += piece;
    const size_t ready = Ready();
    if (ready == 0 && kept_.size() > kLongestLine) {
      trouble_ = "a line has more than " + std::to_string(kLongestLine) +
                 " bytes, too many to be converted between " + ShownCodePage(from_) + " and " +
                 ShownCodePage(to_);
      return false;
    }
    return ConvertKept(ready, sink);
  }

  uint32_t Finish(const Sink& sink) override {
    ConvertKept(kept_.size(), sink);
    return static_cast<uint32_t>(kept_.size());
  }

 private:
  // How much of what is kept can be converted before more arrives: whole lines, or all; never a CR
  // at the end, whose LF may follow.
  size_t Ready() const {
    const bool open_cr = !kept_.empty() && kept_.back() == '\r';
    const size_t size = kept_.size() - (open_cr ? 1 : 0);
    if (!whole_lines_) return size;
    const size_t line_end = std::string_view(kept_).substr(0, size).find_last_of("\r\n");
    return line_end == std::string_view::npos ? 0 : line_end + 1;
  }

  // Converts the first bytes of what is kept; what the converter leaves (a character that is cut)
  // stays.
  bool ConvertKept(size_t size, const Sink& sink) {
    if (size == 0) return true;
    // No form needs more for a byte: a half-width character between two escape sequences.
    constexpr size_t kMostBytesPerByte = 8, kClosing = 16;
    output_.resize(size * kMostBytesPerByte + kClosing);
    auto written = static_cast<uint32_t>(output_.size());
    const uint32_t consumed = ConvertText(kept_.data(), static_cast<uint32_t>(size), from_,
                                          output_.data(), &written, to_, line_ends_, 0);
    kept_.erase(0, consumed);
    return sink({output_.data(), written});
  }

  CodePage from_, to_;
  int line_ends_;
  bool whole_lines_;
  std::string kept_;
  std::vector<char> output_;
};

std::unique_ptr<Conversion> NewConversion(CodePage from, CodePage to, int line_ends) {
  const bool unicode = qv::IsUnicodeCodePage(from) || qv::IsUnicodeCodePage(to);
  if (!unicode && (from == to || qv::HasConverter(from, to))) {
    return std::make_unique<ThroughRegistry>(from, to, line_ends);
  }
  auto conversion = std::make_unique<ThroughUnicode>(from, to, line_ends);
  if (!conversion->usable()) return nullptr;
  return conversion;
}

uint64_t MoreThan(uint64_t a, uint64_t b) { return a > b ? a - b : 0; }

}  // namespace

TextConversion::TextConversion(CodePage from, CodePage to, int line_ends, Sink sink)
    : sink_(std::move(sink)),
      read_(from),
      written_(to),
      conversion_(NewConversion(from, to, line_ends)),
      from_(from),
      to_(to) {}

bool TextConversion::Convert(std::string_view piece) {
  if (conversion_ == nullptr) return false;
  read_.Add(piece);
  return conversion_->Convert(piece, [this](std::string_view bytes) { return Write(bytes); });
}

void TextConversion::Finish() {
  if (conversion_ == nullptr || conversion_->trouble()) return;
  cut_bytes_ = conversion_->Finish([this](std::string_view bytes) { return Write(bytes); });
}

program::Trouble TextConversion::trouble() const {
  if (conversion_ != nullptr) return conversion_->trouble();
  return "there is no table to convert " + ShownCodePage(from_) + " to " + ShownCodePage(to_);
}

uint64_t TextConversion::lost() const {
  if (!read_.meaningful() || !written_.meaningful()) return 0;
  return MoreThan(written_.substitutes(), read_.substitutes()) +
         MoreThan(written_.zeros(), read_.zeros());
}

bool TextConversion::Write(std::string_view bytes) {
  written_.Add(bytes);
  return sink_(bytes);
}

void ReportLosses(uint64_t lost, const program::Reporter& reporter) {
  if (lost == 0) return;
  reporter.Warn(program::Count(static_cast<size_t>(lost), "character") +
                " malformed or without a place in the target, written as 1A or 00");
}

}  // namespace qvtool
