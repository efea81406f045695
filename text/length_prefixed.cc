#include "text/length_prefixed.h"

#include <algorithm>
#include <cstring>

namespace qv {
namespace {

constexpr char kBlank = ' ';

struct WordState {
  char word[kMostLStr + 1] = {};  // what NthWord gave last; one thread
};

WordState& State() {
  static constinit WordState state;
  return state;
}

size_t Clamped(int32_t limit) { return static_cast<size_t>(std::clamp(limit, 0, kMostLStr)); }

constexpr uint8_t Upper(uint8_t c) {
  return c >= 'a' && c <= 'z' ? static_cast<uint8_t>(c - 'a' + 'A') : c;
}

constexpr uint8_t Same(uint8_t c) { return c; }

void SetLength(uint8_t* text, size_t length) { text[0] = static_cast<uint8_t>(length); }

// Makes room for `added` bytes before `position` and raises the length.
void OpenGap(uint8_t* text, size_t position, size_t added) {
  uint8_t* at = text + 1 + position;
  std::memmove(at + added, at, text[0] - position);
  SetLength(text, text[0] + added);
}

using Fold = uint8_t (*)(uint8_t);

int Compare(const uint8_t* a, const uint8_t* b, Fold fold) {
  if (a == nullptr || b == nullptr) return (a != nullptr) - (b != nullptr);
  for (int i = 1; i <= std::min(a[0], b[0]); ++i) {
    if (fold(a[i]) != fold(b[i])) return fold(a[i]) < fold(b[i]) ? -1 : 1;
  }
  return (a[0] > b[0]) - (a[0] < b[0]);
}

}  // namespace

Bytes LStrBytes(const uint8_t* text) {
  return text == nullptr ? Bytes() : Bytes(text + 1, size_t{text[0]});
}

// --- between the two forms ---

void CStrToLStrInPlace(uint8_t* text) {
  if (text == nullptr) return;
  const size_t length = strnlen(reinterpret_cast<const char*>(text), kMostLStr);
  std::memmove(text + 1, text, length);
  SetLength(text, length);
}

void LStrToCStrInPlace(uint8_t* text) {
  if (text == nullptr) return;
  const size_t length = text[0];
  std::memmove(text, text + 1, length);
  text[length] = '\0';
}

void CStrToLStr(uint8_t* out, int32_t limit, const char* text) {
  const size_t length = text == nullptr ? 0 : strnlen(text, Clamped(limit));
  SetLStr(out, limit, text, static_cast<int32_t>(length));
}

void LStrToCStr(char* out, const uint8_t* text, int32_t limit) {
  if (out == nullptr) return;
  const size_t length = std::min(LStrBytes(text).size(), Clamped(limit));
  if (length > 0) std::memmove(out, text + 1, length);
  out[length] = '\0';
}

void SetLStr(uint8_t* out, int32_t limit, const void* bytes, int32_t count) {
  if (out == nullptr) return;
  const size_t length = bytes == nullptr ? 0 : std::min(Clamped(count), Clamped(limit));
  if (length > 0) std::memmove(out + 1, bytes, length);
  SetLength(out, length);
}

// --- copying and appending ---

void CopyLStr(uint8_t* out, const uint8_t* text, int32_t limit) {
  if (text != nullptr) SetLStr(out, limit, text + 1, text[0]);
}

void AppendLStr(uint8_t* out, const uint8_t* text, int32_t limit) {
  if (out == nullptr || text == nullptr) return;
  const size_t length = out[0], most = Clamped(limit);
  const size_t added = length >= most ? 0 : std::min<size_t>(text[0], most - length);
  std::memmove(out + 1 + length, text + 1, added);
  SetLength(out, length + added);
}

void AppendLStrToEnd(Str255 out, const uint8_t* text) {
  if (out == nullptr || text == nullptr) return;
  const size_t added = text[0];
  const size_t length = std::min<size_t>(out[0] + added, kMostLStr);
  std::memmove(out + 1 + length - added, text + 1, added);
  SetLength(out, length);
}

void AppendCStr(char* out, const char* text, size_t limit) {
  if (out == nullptr || text == nullptr) return;
  const size_t length = strnlen(out, limit);
  if (length >= limit) return;
  const size_t added = strnlen(text, limit - 1 - length);
  std::memmove(out + length, text, added);
  out[length + added] = '\0';
}

// --- inserting and deleting ---

bool InsertChar(uint8_t* text, int32_t position, uint8_t c, int32_t maximum) {
  if (text == nullptr || position > text[0] || text[0] >= Clamped(maximum)) return false;
  const auto at = static_cast<size_t>(std::max(position, 0));
  OpenGap(text, at, 1);
  text[1 + at] = c;
  return true;
}

bool InsertLStr(uint8_t* text, int32_t position, const uint8_t* inserted, int32_t limit, bool cut) {
  if (text == nullptr || inserted == nullptr || position > text[0]) return false;
  const size_t most = Clamped(limit);
  const size_t room = text[0] >= most ? 0 : most - text[0];
  const bool fits = inserted[0] <= room;
  if (!fits && !cut) return false;
  Str255 copy;  // of the text itself, perhaps
  SetLStr(copy, static_cast<int32_t>(room), inserted + 1, inserted[0]);
  const auto at = static_cast<size_t>(std::max(position, 0));
  OpenGap(text, at, copy[0]);
  std::memcpy(text + 1 + at, copy + 1, copy[0]);
  return fits;
}

void DeleteRun(uint8_t* text, int32_t position, int32_t count) {
  if (text == nullptr || count < 1 || position > text[0]) return;
  const auto first = static_cast<size_t>(std::max(position, 1));
  const size_t left = text[0] - (first - 1);  // from the position to the end
  const size_t deleted = std::min(static_cast<size_t>(count), left);
  std::memmove(text + first, text + first + deleted, left - deleted);
  SetLength(text, text[0] - deleted);
}

// --- comparing and finding ---

bool EqualLStr(const uint8_t* a, const uint8_t* b) { return Compare(a, b, Same) == 0; }

bool EqualLStrIgnoringCase(const uint8_t* a, const uint8_t* b) { return Compare(a, b, Upper) == 0; }

int CompareLStr(const uint8_t* a, const uint8_t* b) { return Compare(a, b, Same); }

int CompareLStrIgnoringCase(const uint8_t* a, const uint8_t* b) { return Compare(a, b, Upper); }

bool HasPrefix(const char* text, const char* prefix, bool ignore_case) {
  if (text == nullptr || prefix == nullptr) return false;
  const Fold fold = ignore_case ? Upper : Same;
  for (; *prefix != '\0'; ++text, ++prefix) {
    if (fold(static_cast<uint8_t>(*text)) != fold(static_cast<uint8_t>(*prefix))) return false;
  }
  return true;
}

int32_t FindLStr(Bytes bytes, const uint8_t* wanted) {
  if (wanted == nullptr) return -1;
  const Bytes pattern = LStrBytes(wanted);
  const auto same = [](uint8_t a, uint8_t b) { return Upper(a) == Upper(b); };
  const auto at = std::search(bytes.begin(), bytes.end(), pattern.begin(), pattern.end(), same);
  if (at == bytes.end() && !pattern.empty()) return -1;
  return static_cast<int32_t>(at - bytes.begin());
}

// --- changing characters in place ---

void UpperCaseLStr(uint8_t* text) {
  if (text != nullptr) std::transform(text + 1, text + 1 + text[0], text + 1, Upper);
}

void UpperCaseCStr(char* text) {
  if (text == nullptr) return;
  for (; *text != '\0'; ++text) *text = static_cast<char>(Upper(static_cast<uint8_t>(*text)));
}

void RemoveBlanks(uint8_t* text) {
  if (text == nullptr) return;
  const uint8_t* end = std::remove(text + 1, text + 1 + text[0], uint8_t{kBlank});
  SetLength(text, static_cast<size_t>(end - (text + 1)));
}

void TranslateLStr(uint8_t* text, const uint8_t* from, const uint8_t* to) {
  if (text == nullptr || from == nullptr || to == nullptr) return;
  const Bytes old_bytes = LStrBytes(from), new_bytes = LStrBytes(to);
  for (uint8_t* at = text + 1; at != text + 1 + text[0]; ++at) {
    const auto place =
        static_cast<size_t>(std::find(old_bytes.begin(), old_bytes.end(), *at) - old_bytes.begin());
    if (place < old_bytes.size() && place < new_bytes.size()) *at = new_bytes[place];
  }
}

const char* NthWord(const char* text, int32_t n) {
  char(&word)[kMostLStr + 1] = State().word;
  if (text == nullptr || n < 0) text = "";
  for (;; --n) {
    text += std::strspn(text, " ");
    const size_t length = std::strcspn(text, " ");
    if (n <= 0 || length == 0) {
      const size_t copied = std::min<size_t>(length, kMostLStr);
      std::memmove(word, text, copied);
      word[copied] = '\0';
      return word;
    }
    text += length;
  }
}

}  // namespace qv
