#include "programs/qvtool/found_links.h"

#include <algorithm>
#include <array>
#include <string>

namespace qvtool {
namespace {

// Empty for a byte that stands for itself.
std::string_view HtmlOf(char c) {
  switch (c) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '"':
      return "&quot;";
    default:
      return {};
  }
}

bool SameWord(std::string_view a, std::string_view lower_case) {
  return std::equal(a.begin(), a.end(), lower_case.begin(), lower_case.end(), [](char x, char y) {
    return x == y || (x >= 'A' && x <= 'Z' && (x | 0x20) == y);
  });
}

// That of "scheme://..." and of "mailto:" and "news:"; empty for "www.example.com:80".
std::string_view SchemeOf(std::string_view link) {
  const size_t end = link.find_first_of(":/?#");
  if (end == link.npos || link[end] != ':') return {};
  const std::string_view word = link.substr(0, end);
  const bool stands_alone = SameWord(word, "mailto") || SameWord(word, "news");
  return stands_alone || link.substr(end, 3) == "://" ? word : std::string_view();
}

bool RunsAsScript(std::string_view scheme) {
  constexpr std::array<std::string_view, 3> kScripts = {"javascript", "vbscript", "data"};
  return std::any_of(kScripts.begin(), kScripts.end(),
                     [scheme](std::string_view script) { return SameWord(scheme, script); });
}

}  // namespace

bool FoundLinks::Add(std::string_view piece) {
  fed_ += piece.size();
  FeedText(piece.data(), piece.size());
  return going_on_;
}

bool FoundLinks::Finish() {
  FeedText(nullptr, 0);
  return going_on_;
}

uint64_t FoundLinks::WholePosition(uint32_t position) const {
  return fed_ - (static_cast<uint32_t>(fed_) - position);
}

void LinkList::Note(uint32_t position, uint32_t length) {
  position_ = WholePosition(position);
  length_ = length;
}

void LinkList::WriteFind(const char* kind, const char* text) {
  Write(std::string(kind) + "\t" + std::to_string(position_) + "\t" + std::to_string(length_) +
        "\t" + program::OneLine(text) + "\n");
}

void LinkPage::EchoChar(uint8_t byte) {
  const char c = static_cast<char>(byte);
  WriteText({&c, 1});
}

void LinkPage::FoundURL(const char* text) {
  const std::string_view scheme = SchemeOf(text);
  if (RunsAsScript(scheme)) return WriteText(text);
  WriteLink(scheme.empty() ? "http://" : "", text);
}

void LinkPage::FoundAddress(const char* text) { WriteLink("mailto:", text); }

void LinkPage::WriteLink(std::string_view scheme, std::string_view text) {
  Write("<a href=\"");
  Write(scheme);
  WriteText(text);
  Write("\">");
  WriteText(text);
  Write("</a>");
}

void LinkPage::WriteText(std::string_view text) {
  while (!text.empty()) {
    const size_t plain = std::min(text.find_first_of("&<>\""), text.size());
    Write(text.substr(0, plain));
    text.remove_prefix(plain);
    if (text.empty()) return;
    Write(HtmlOf(text.front()));
    text.remove_prefix(1);
  }
}

}  // namespace qvtool
