#include "text/text_scans.h"

#include <cstring>
#include <string_view>

#include "text/length_prefixed.h"

namespace {

// Where a scan stands between strings and comments.
class Nesting {
 public:
  bool Outside() const { return !quoted_ && depth_ == 0; }

  // Enters and leaves what the character at `text` opens or closes; returns the next one to look
  // at.
  const char* Pass(const char* text) {
    const bool inside = !Outside();
    if (*text == '\\' && inside && text[1] != '\0') return text + 2;
    if (*text == '"') {
      quoted_ = !quoted_;
    } else if (*text == '(' && !quoted_) {
      ++depth_;
    } else if (*text == ')' && !quoted_ && depth_ > 0) {
      --depth_;
    }
    return text + 1;
  }

 private:
  bool quoted_ = false;
  size_t depth_ = 0;
};

const char* FindOutside(const char* text, char character, bool last) {
  const char* found = nullptr;
  Nesting nesting;
  while (text != nullptr && *text != '\0') {
    if (*text == character && nesting.Outside()) {
      found = text;
      if (!last) break;
    }
    text = nesting.Pass(text);
  }
  return found;
}

bool IsDigit(uint8_t c) { return c >= '0' && c <= '9'; }

}  // namespace

const char* ZRFindUnquoted(const char* text, char character) {
  return FindOutside(text, character, false);
}

const char* ZRFindLastUnquoted(const char* text, char character) {
  return FindOutside(text, character, true);
}

const char* ZRSkipSpaces(const char* text) {
  while (text != nullptr && qv::IsWhitespace(*text)) ++text;
  return text;
}

void ZRTrimTrailing(char* text) {
  size_t length = text == nullptr ? 0 : std::strlen(text);
  while (length > 1 && qv::IsWhitespace(text[length - 1])) text[--length] = '\0';
}

bool ZRStripEnclosing(char* text, char first, char last) {
  const size_t length = text == nullptr ? 0 : std::strlen(text);
  if (length < 2 || text[0] != first || text[length - 1] != last) return false;
  std::memmove(text, text + 1, length - 2);
  text[length - 2] = '\0';
  return true;
}

bool ZRIsPhoneNumber(const uint8_t* text) {
  constexpr std::string_view kMarks = "#*+-() .x,;";
  bool has_digit = false;
  for (const uint8_t c : qv::LStrBytes(text)) {
    if (!IsDigit(c) && kMarks.find(static_cast<char>(c)) == std::string_view::npos) return false;
    has_digit |= IsDigit(c);
  }
  return has_digit;
}
