#include "net/product_urls.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string_view>

#include "net/url_escaping.h"
#include "text/length_prefixed.h"

namespace qv {
namespace {

constexpr char kScheme[] = "qvp://";
constexpr size_t kSchemeLength = sizeof kScheme - 1;
constexpr URLEscapeSet kEscaped("<>\"#%{}|\\^~[]'`?+&");

// Collects a text of bounded length.
class URLText {
 public:
  void Add(std::string_view piece) {
    complete_ = complete_ && piece.size() <= sizeof text_ - length_;
    if (!complete_) return;
    std::copy(piece.begin(), piece.end(), text_ + length_);
    length_ += piece.size();
  }
  bool complete() const { return complete_; }
  std::string_view text() const { return {text_, length_}; }

 private:
  char text_[kMostProductURL];
  size_t length_ = 0;
  bool complete_ = true;
};

std::string_view Part(const char* text) { return text == nullptr ? "" : text; }

// A part behind the mark that introduces it; nothing when it is empty.
void AddPart(URLText& url, std::string_view mark, const char* text) {
  if (Part(text).empty()) return;
  url.Add(mark);
  url.Add(text);
}

void AddUser(URLText& url, const ProductURL& parts) {
  if (Part(parts.user).empty()) {
    if (!parts.no_user) url.Add("@");
    return;
  }
  url.Add(parts.user);
  if (!Part(parts.password).empty() || parts.empty_password) url.Add(":");
  url.Add(Part(parts.password));
  url.Add("@");
}

void AddHost(URLText& url, const ProductURL& parts) {
  if (Part(parts.host).empty()) return;
  url.Add(parts.host);
  AddPart(url, ":", parts.port);
  if (!Part(parts.object).empty()) url.Add(",");
}

void AddNumber(URLText& url, int32_t number) {
  char digits[11];  // of "-2147483648"
  const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
  url.Add(",#");
  url.Add({digits, end});
}

// --- reading: each cuts a part off the text and ends the text before it ---

// The text behind the first `mark`, which ends the text; empty when there is none.
char* CutBehind(char* text, char mark) {
  char* const at = std::strchr(text, mark);
  if (at == nullptr) return text + std::strlen(text);
  *at = '\0';
  return at + 1;
}

// The text behind the '@' that ends user and password.
char* ReadUser(char* text, ProductURL& parts) {
  parts.no_user = std::strchr(text, '@') == nullptr;
  if (parts.no_user) return text;
  char* const rest = CutBehind(text, '@');
  const bool has_password = std::strchr(text, ':') != nullptr;
  parts.user = text;
  parts.password = CutBehind(text, ':');
  parts.empty_password = has_password && *parts.password == '\0';
  parts.credential_kind = HasPrefix(parts.password, "qvi", false)   ? 1
                          : HasPrefix(parts.password, "qvt", false) ? 2
                                                                    : 0;
  if (parts.credential_kind != 0) parts.credential = parts.password + 3;
  return rest;
}

// "#7"
std::optional<int32_t> ReadNumber(std::string_view segment) {
  int32_t number = 0;
  if (segment.empty() || segment[0] != '#') return std::nullopt;
  const char* const end = segment.data() + segment.size();
  const auto [stop, error] = std::from_chars(segment.data() + 1, end, number);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

// The segments behind the host; false when one has no place left.
bool ReadSegments(char* text, ProductURL& parts) {
  while (*text != '\0') {
    char* const rest = CutBehind(text, ',');
    if (const auto number = ReadNumber(text)) {
      if (parts.number) return false;
      parts.number = number;
    } else {
      if (*parts.object != '\0') return false;
      parts.object = text;
    }
    text = rest;
  }
  return true;
}

bool ReadParts(char* text, ProductURL& parts) {
  parts.name = CutBehind(text, '/');
  parts.parameters = CutBehind(text, ';');
  char* const host = ReadUser(text, parts);
  char* const segments = CutBehind(host, ',');
  parts.host = host;
  parts.port = CutBehind(host, ':');
  return ReadSegments(segments, parts);
}

}  // namespace

bool ReadProductURL(const char* url, char* work, uint32_t work_size, ProductURL* parts) {
  *parts = {};
  if (!HasPrefix(url, kScheme, true)) return false;
  url += kSchemeLength;
  const size_t length = std::strlen(url);
  if (length >= work_size) return false;
  std::memcpy(work, url, length + 1);
  parts->query = CutBehind(work, '?');
  UnescapeURL(work, work, work_size, kDefaultCodePage);
  if (ReadParts(work, *parts)) return true;
  *parts = {};
  return false;
}

}  // namespace qv

uint32_t ZRBuildQVPURL(const qv::ProductURL& parts, char* output, uint32_t size) {
  if (output == nullptr || size == 0) return 0;
  output[0] = '\0';
  qv::URLText url;
  url.Add(qv::kScheme);
  qv::AddUser(url, parts);
  qv::AddHost(url, parts);
  qv::AddPart(url, "", parts.object);
  if (parts.number) qv::AddNumber(url, *parts.number);
  qv::AddPart(url, ";", parts.parameters);
  qv::AddPart(url, "/", parts.name);
  if (!url.complete() || qv::kEscaped.EscapedSize(url.text()) >= size) return 0;
  return qv::EscapeURLBytes(url.text(), output, size, qv::kEscaped);
}
