#include "text/code_page_search.h"

#include <cstring>

#include "text/code_page_strings.h"

namespace qv {
namespace {

struct TokenState {
  char* position = nullptr;  // of CPStrTok without a context; one thread at a time
};

TokenState& State() {
  static constinit TokenState state;
  return state;
}

int FoldCase(char c) {
  const int byte = static_cast<unsigned char>(c);
  return byte >= 'A' && byte <= 'Z' ? byte + ('a' - 'A') : byte;
}

// Bytes of one code page with the way to compare them.
struct Comparison {
  CodePage cp;
  bool ignore_case;

  // Both hold n bytes. Negative, 0 or positive by the first difference.
  int Bytes(const char* a, const char* b, size_t n) const {
    if (!ignore_case) return std::memcmp(a, b, n);
    for (size_t i = 0; i < n; ++i) {
      const int difference = FoldCase(a[i]) - FoldCase(b[i]);
      if (difference != 0) return difference;
    }
    return 0;
  }

  // As Bytes, character by character: case is ignored in single-byte characters only, and a trail
  // byte is never taken for a letter.
  int Characters(const char* a, const char* b, size_t n) const {
    for (size_t done = 0; done < n;) {
      const uint32_t size = CPCharSizeOrOne(a + done, cp);
      if (CPCharSizeOrOne(b + done, cp) != size) return 1;
      const size_t compared = size < n - done ? size : n - done;
      const int difference =
          size == 1 ? Bytes(a + done, b + done, 1) : std::memcmp(a + done, b + done, compared);
      if (difference != 0) return difference;
      done += size;
    }
    return 0;
  }

  int operator()(const char* a, const char* b, size_t n) const {
    return IsCharacterWiseCodePage(cp) ? Characters(a, b, n) : Bytes(a, b, n);
  }
};

int CompareTexts(const char* a, const char* b, size_t n, const Comparison& comparison) {
  if (a == nullptr || b == nullptr) return (a != nullptr) - (b != nullptr);
  const size_t length_a = CPStrLen(a, comparison.cp);
  const size_t length_b = CPStrLen(b, comparison.cp);
  const size_t shorter = length_a < length_b ? length_a : length_b;
  const bool too_short = n == 0 ? length_a != length_b : shorter < n;
  if (!too_short) return comparison(a, b, n == 0 ? length_a : n);
  const int difference = comparison(a, b, shorter);
  if (difference != 0) return difference;
  return length_a < length_b ? -1 : 1;
}

const char* FindText(const char* haystack, const char* needle, const Comparison& comparison) {
  if (haystack == nullptr || needle == nullptr) return nullptr;
  const bool plain = !comparison.ignore_case && !IsCharacterWiseCodePage(comparison.cp);
  if (plain) return std::strstr(haystack, needle);
  const size_t sought = CPStrLen(needle, comparison.cp);
  size_t rest = CPStrLen(haystack, comparison.cp);
  while (rest >= sought) {
    if (comparison(haystack, needle, sought) == 0) return haystack;
    const uint32_t size = CPCharSizeOrOne(haystack, comparison.cp);
    haystack += size;
    rest -= size;  // sought is not 0 here, so there was a character
  }
  return nullptr;
}

// The first, or the last, position of s with the character at c.
const char* FindCharacter(const char* s, const char* c, CodePage cp, bool last) {
  const uint32_t sought = CPCharSizeOrOne(c, cp);
  const char* found = nullptr;
  for (; !CPIsTerminator(s, cp); s += CPCharSizeOrOne(s, cp)) {
    if (CPCharSizeOrOne(s, cp) != sought || std::memcmp(s, c, sought) != 0) continue;
    found = s;
    if (!last) break;
  }
  return found;
}

bool IsOneOf(const char* character, const char* set, CodePage cp) {
  return FindCharacter(set, character, cp, false) != nullptr;
}

char* SkipDelimiters(char* s, const char* delimiters, CodePage cp) {
  while (!CPIsTerminator(s, cp) && IsOneOf(s, delimiters, cp)) s += CPCharSizeOrOne(s, cp);
  return s;
}

char* FindDelimiter(char* s, const char* delimiters, CodePage cp) {
  while (!CPIsTerminator(s, cp) && !IsOneOf(s, delimiters, cp)) s += CPCharSizeOrOne(s, cp);
  return s;
}

}  // namespace
}  // namespace qv

const char* CPStrChr(const char* s, const char* c, CodePage cp) {
  if (s == nullptr || c == nullptr) return nullptr;
  cp = qv::ResolveCodePage(cp);
  if (!qv::IsCharacterWiseCodePage(cp)) return std::strchr(s, *c);
  return qv::FindCharacter(s, c, cp, false);
}

const char* CPStrRChr(const char* s, const char* c, CodePage cp) {
  if (s == nullptr || c == nullptr) return nullptr;
  cp = qv::ResolveCodePage(cp);
  if (!qv::IsCharacterWiseCodePage(cp)) return std::strrchr(s, *c);
  return qv::FindCharacter(s, c, cp, true);
}

const char* CPStrPBrk(const char* s, const char* set, CodePage cp) {
  if (s == nullptr || set == nullptr) return nullptr;
  cp = qv::ResolveCodePage(cp);
  if (!qv::IsCharacterWiseCodePage(cp)) return std::strpbrk(s, set);
  for (; !CPIsTerminator(s, cp); s += CPCharSizeOrOne(s, cp)) {
    if (qv::IsOneOf(s, set, cp)) return s;
  }
  return nullptr;
}

int CPStrCmp(const char* a, const char* b, CodePage cp) {
  return qv::CompareTexts(a, b, 0, {qv::ResolveCodePage(cp), false});
}

int CPStrICmp(const char* a, const char* b, CodePage cp) {
  return qv::CompareTexts(a, b, 0, {qv::ResolveCodePage(cp), true});
}

int CPStrNCmp(const char* a, const char* b, uint32_t n, CodePage cp) {
  return qv::CompareTexts(a, b, n, {qv::ResolveCodePage(cp), false});
}

int CPStrNICmp(const char* a, const char* b, uint32_t n, CodePage cp) {
  return qv::CompareTexts(a, b, n, {qv::ResolveCodePage(cp), true});
}

const char* CPStrStr(const char* haystack, const char* needle, CodePage cp) {
  return qv::FindText(haystack, needle, {qv::ResolveCodePage(cp), false});
}

const char* CPStrIStr(const char* haystack, const char* needle, CodePage cp) {
  return qv::FindText(haystack, needle, {qv::ResolveCodePage(cp), true});
}

char* CPStrTok(char* s, const char* delimiters, CodePage cp, char** context) {
  char*& saved = context == nullptr ? qv::State().position : *context;
  if (s == nullptr) s = saved;
  if (s == nullptr || delimiters == nullptr) return nullptr;
  cp = qv::ResolveCodePage(cp);
  char* token = qv::SkipDelimiters(s, delimiters, cp);
  char* end = qv::FindDelimiter(token, delimiters, cp);
  saved = end;
  if (end == token) return nullptr;
  if (CPIsTerminator(end, cp)) return token;
  saved = end + CPCharSizeOrOne(end, cp);
  std::memset(end, 0, static_cast<size_t>(CPTermSize(cp)));
  return token;
}
