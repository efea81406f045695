#include "programs/qvtool/url_lines.h"

namespace qvtool {
namespace {

std::string OnOneLine(std::string_view text) {
  std::string line;
  for (const char c : text) {
    switch (c) {
      case '\t':
        line += "\\t";
        break;
      case '\n':
        line += "\\n";
        break;
      case '\r':
        line += "\\r";
        break;
      default:
        line += c;
    }
  }
  return line;
}

}  // namespace

bool LineEscaper::Add(std::string_view bytes) {
  while (!bytes.empty()) {
    if (std::exchange(open_cr_, false) &&
        !(bytes.front() == '\n' ? sink_("\r") : WriteEscaped("\r"))) {
      return false;
    }
    const size_t end = bytes.find('\n');
    const bool has_end = end != bytes.npos;
    std::string_view line = bytes.substr(0, end);
    open_cr_ = !line.empty() && line.back() == '\r';
    if (open_cr_) line.remove_suffix(1);
    if (!WriteEscaped(line)) return false;
    if (!has_end) return true;
    if (!sink_(std::exchange(open_cr_, false) ? "\r\n" : "\n")) return false;
    bytes.remove_prefix(end + 1);
  }
  return true;
}

bool LineEscaper::WriteEscaped(std::string_view bytes) {
  if (bytes.empty()) return true;
  // An escape wants to have a byte left behind it.
  escaped_.resize(bytes.size() * 3 + 1);
  const uint32_t size =
      qv::EscapeURLBytes(bytes, escaped_.data(), static_cast<uint32_t>(escaped_.size()), set_);
  return sink_({escaped_.data(), size});
}

std::string LineUnescaper::Unescape(std::string_view line) {
  // No code page takes more for a byte of UTF-8: a character between two escape sequences.
  constexpr size_t kMostBytesPerByte = 8, kClosing = 16;
  const std::string text(line);
  text_.resize(text.size() * kMostBytesPerByte + kClosing);
  const uint32_t size = ZRURLUnescape(text.c_str(), qv::kNoInputLimit, text_.data(),
                                      static_cast<uint32_t>(text_.size()), decode_slashes_, cp_);
  return OnOneLine({text_.data(), size});
}

}  // namespace qvtool
