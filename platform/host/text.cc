#include "platform/host/text.h"

#include <locale.h>
#include <wctype.h>

#include <algorithm>

#include "platform/host/codepages.h"

namespace host {
namespace {

constexpr char16_t kReplacement = 0xFFFD;

struct Decoded {
  char32_t character;
  size_t length;  // bytes taken, at least 1
  bool valid;
};

// The character that starts at the first byte. An invalid one takes the bytes that could have begun
// a character, and stops before the one that broke it.
Decoded DecodeUtf8(std::string_view text) {
  auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
  unsigned char lead = byte(0);
  if (lead < 0x80) return {lead, 1, true};
  size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4) return {kReplacement, 1, false};
  char32_t character = lead & (0x7F >> length);
  for (size_t i = 1; i < length; ++i) {
    if (i >= text.size()) return {kReplacement, i, false};
    // The second byte of these leads has a narrower range: no overlong forms, no surrogates.
    unsigned char low = i > 1 ? 0x80 : lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    unsigned char high = i > 1 ? 0xBF : lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    if (byte(i) < low || byte(i) > high) return {kReplacement, i, false};
    character = character << 6 | (byte(i) & 0x3F);
  }
  return {character, length, true};
}

void AppendWide(std::u16string& wide, char32_t character) {
  if (character < 0x10000) {
    wide += static_cast<char16_t>(character);
    return;
  }
  character -= 0x10000;
  wide += static_cast<char16_t>(0xD800 + (character >> 10));
  wide += static_cast<char16_t>(0xDC00 + (character & 0x3FF));
}

void AppendUtf8(std::string& text, char32_t character) {
  auto tail = [&](int shift) { text += static_cast<char>(0x80 | (character >> shift & 0x3F)); };
  if (character < 0x80) {
    text += static_cast<char>(character);
  } else if (character < 0x800) {
    text += static_cast<char>(0xC0 | character >> 6);
    tail(0);
  } else if (character < 0x10000) {
    text += static_cast<char>(0xE0 | character >> 12);
    tail(6);
    tail(0);
  } else {
    text += static_cast<char>(0xF0 | character >> 18);
    tail(12);
    tail(6);
    tail(0);
  }
}

bool IsHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool IsLowSurrogate(char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

bool IsAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

char16_t UpperUnit(char16_t unit) {
  if (unit < 0x80) return unit >= u'a' && unit <= u'z' ? unit - 32 : unit;
  static const locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  if (!unicode) return unit;
  wint_t upper = towupper_l(unit, unicode);
  return upper < 0x10000 ? static_cast<char16_t>(upper) : unit;
}

}  // namespace

std::u16string WideFromUtf8(std::string_view text, bool* malformed) {
  std::u16string wide;
  wide.reserve(text.size());
  while (!text.empty()) {
    Decoded next = DecodeUtf8(text);
    if (!next.valid && malformed) *malformed = true;
    AppendWide(wide, next.character);
    text.remove_prefix(next.length);
  }
  return wide;
}

std::string Utf8FromWide(std::u16string_view wide, bool* malformed) {
  std::string text;
  text.reserve(wide.size());
  for (size_t i = 0; i < wide.size(); ++i) {
    char32_t character = wide[i];
    if (IsHighSurrogate(wide[i]) && i + 1 < wide.size() && IsLowSurrogate(wide[i + 1])) {
      character = 0x10000 + ((character - 0xD800) << 10) + (wide[++i] - 0xDC00u);
    } else if (IsHighSurrogate(wide[i]) || IsLowSurrogate(wide[i])) {
      character = kReplacement;
      if (malformed) *malformed = true;
    }
    AppendUtf8(text, character);
  }
  return text;
}

// Most names are ASCII, which every code page of a system has: those need no look at the registry.
std::u16string WideFromAnsi(std::string_view text) {
  if (IsAscii(text)) return {text.begin(), text.end()};
  return WideFromBytes(CP_ACP, text);
}

std::string AnsiFromWide(std::u16string_view wide) {
  bool ascii = std::all_of(wide.begin(), wide.end(), [](char16_t c) { return c < 0x80; });
  if (ascii) {
    std::string text(wide.size(), '\0');
    std::transform(wide.begin(), wide.end(), text.begin(),
                   [](char16_t c) { return static_cast<char>(c); });
    return text;
  }
  return BytesFromWide(CP_ACP, wide, "?");
}

std::string Utf8FromAnsi(std::string_view text) { return Utf8FromWide(WideFromAnsi(text)); }
std::string AnsiFromUtf8(std::string_view text) { return AnsiFromWide(WideFromUtf8(text)); }

std::u16string UpperCase(std::u16string_view text) {
  std::u16string upper(text);
  for (char16_t& unit : upper) unit = UpperUnit(unit);
  return upper;
}

std::string UpperCaseUtf8(std::string_view text) {
  return Utf8FromWide(UpperCase(WideFromUtf8(text)));
}

bool SameIgnoringCase(std::string_view a, std::string_view b) {
  return a == b || UpperCaseUtf8(a) == UpperCaseUtf8(b);
}

}  // namespace host
