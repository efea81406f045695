#include "programs/common/text.h"

#include <algorithm>

namespace program {
namespace {

constexpr char32_t kReplacementCharacter = 0xFFFD;

bool IsSurrogate(char32_t c) { return c >= 0xD800 && c <= 0xDFFF; }

// Bytes of the sequence that a first byte announces and the smallest value it may carry.
struct SequenceForm {
  size_t length;
  char32_t first_bits, least;
};

SequenceForm FormOf(unsigned char first) {
  if (first < 0x80) return {1, first, 0};
  if (first >= 0xC2 && first < 0xE0) return {2, static_cast<char32_t>(first & 0x1F), 0x80};
  if (first >= 0xE0 && first < 0xF0) return {3, static_cast<char32_t>(first & 0x0F), 0x800};
  if (first >= 0xF0 && first < 0xF5) return {4, static_cast<char32_t>(first & 0x07), 0x10000};
  return {0, 0, 0};
}

bool IsKnownCodePage(uint32_t code_page) {
  return code_page == CP_ACP || code_page == CP_UTF8 || IsValidCodePage(code_page);
}

// One whole text; `lacking` tells whether the code page had no form for some character.
std::string Narrow(const WideString& wide, uint32_t code_page, bool* lacking) {
  // UTF-8 takes neither of the two.
  bool lossless = code_page == CP_UTF8;
  BOOL replaced = FALSE;
  DWORD flags = lossless ? 0 : WC_NO_BEST_FIT_CHARS;
  BOOL* report = lossless ? nullptr : &replaced;
  int units = static_cast<int>(wide.size());
  int size = WideCharToMultiByte(code_page, flags, wide.data(), units, nullptr, 0, nullptr, report);
  std::string bytes(static_cast<size_t>(std::max(size, 0)), '\0');
  WideCharToMultiByte(code_page, flags, wide.data(), units, bytes.data(), size, nullptr, report);
  *lacking = replaced != FALSE;
  return bytes;
}

std::string FirstLacking(std::string_view utf8, uint32_t code_page) {
  for (size_t at = 0; at < utf8.size();) {
    size_t start = at;
    DecodeUtf8(utf8, &at);
    std::string_view character = utf8.substr(start, at - start);
    bool lacking = false;
    if (character.size() > 1) Narrow(ToWide(character), code_page, &lacking);
    if (lacking) return std::string(character);
  }
  return "?";
}

bool Between(char32_t c, char32_t first, char32_t last) { return c >= first && c <= last; }

char32_t FoldLatin(char32_t c) {
  if (Between(c, 'A', 'Z') || (Between(c, 0xC0, 0xDE) && c != 0xD7)) return c + 32;
  if (Between(c, 0x100, 0x137) || Between(c, 0x14A, 0x177)) return c | 1;
  if (Between(c, 0x139, 0x148) || Between(c, 0x179, 0x17E)) return c + (c & 1);
  return c == 0x178 ? 0xFF : c;
}

char32_t FoldGreekAndCyrillic(char32_t c) {
  if (c == 0x386) return 0x3AC;
  if (Between(c, 0x388, 0x38A)) return c + 37;
  if (c == 0x38C) return 0x3CC;
  if (Between(c, 0x38E, 0x38F)) return c + 63;
  if (Between(c, 0x391, 0x3AB) || Between(c, 0x410, 0x42F)) return c + 32;
  if (Between(c, 0x400, 0x40F)) return c + 80;
  return c;
}

}  // namespace

char32_t DecodeUtf8(std::string_view text, size_t* position) {
  size_t start = *position;
  SequenceForm form = FormOf(static_cast<unsigned char>(text[start]));
  *position = start + 1;
  if (form.length == 0 || text.size() - start < form.length) return kInvalid;
  char32_t character = form.first_bits;
  for (size_t i = 1; i < form.length; ++i) {
    auto byte = static_cast<unsigned char>(text[start + i]);
    if ((byte & 0xC0) != 0x80) return kInvalid;
    character = (character << 6) | (byte & 0x3F);
  }
  if (character < form.least || character > 0x10FFFF || IsSurrogate(character)) return kInvalid;
  *position = start + form.length;
  return character;
}

void AppendUtf8(std::string& text, char32_t c) {
  auto tail = [&](int shift) { text += static_cast<char>(0x80 | ((c >> shift) & 0x3F)); };
  if (c < 0x80) {
    text += static_cast<char>(c);
  } else if (c < 0x800) {
    text += static_cast<char>(0xC0 | (c >> 6));
    tail(0);
  } else if (c < 0x10000) {
    text += static_cast<char>(0xE0 | (c >> 12));
    tail(6), tail(0);
  } else {
    text += static_cast<char>(0xF0 | (c >> 18));
    tail(12), tail(6), tail(0);
  }
}

bool IsUtf8(std::string_view text) {
  for (size_t at = 0; at < text.size();) {
    if (DecodeUtf8(text, &at) == kInvalid) return false;
  }
  return true;
}

std::string RepairUtf8(std::string_view text) {
  std::string repaired;
  repaired.reserve(text.size());
  for (size_t at = 0; at < text.size();) {
    char32_t c = DecodeUtf8(text, &at);
    AppendUtf8(repaired, c == kInvalid ? kReplacementCharacter : c);
  }
  return repaired;
}

WideString ToWide(std::string_view utf8) {
  WideString wide;
  wide.reserve(utf8.size());
  for (size_t at = 0; at < utf8.size();) {
    char32_t c = DecodeUtf8(utf8, &at);
    if (c == kInvalid) c = kReplacementCharacter;
    if (c >= 0x10000) {
      wide += static_cast<WCHAR>(0xD800 + ((c - 0x10000) >> 10));
      c = 0xDC00 + ((c - 0x10000) & 0x3FF);
    }
    wide += static_cast<WCHAR>(c);
  }
  return wide;
}

std::string ToUtf8(std::basic_string_view<WCHAR> wide) {
  std::string text;
  for (size_t i = 0; i < wide.size(); ++i) {
    char32_t c = wide[i];
    bool pair =
        Between(c, 0xD800, 0xDBFF) && i + 1 < wide.size() && Between(wide[i + 1], 0xDC00, 0xDFFF);
    if (pair) {
      c = 0x10000 + ((c - 0xD800) << 10) + (static_cast<char32_t>(wide[++i]) - 0xDC00);
    } else if (IsSurrogate(c)) {
      c = kReplacementCharacter;
    }
    AppendUtf8(text, c);
  }
  return text;
}

std::optional<CodePageText> ToCodePage(std::string_view utf8, uint32_t code_page) {
  if (!IsKnownCodePage(code_page)) return std::nullopt;
  if (utf8.empty()) return CodePageText{};
  bool lacking = false;
  CodePageText text{Narrow(ToWide(utf8), code_page, &lacking), ""};
  if (lacking) text.lost = FirstLacking(utf8, code_page);
  return text;
}

std::optional<std::string> FromCodePage(std::string_view bytes, uint32_t code_page) {
  if (!IsKnownCodePage(code_page)) return std::nullopt;
  if (bytes.empty()) return "";
  int length = static_cast<int>(bytes.size());
  int units = MultiByteToWideChar(code_page, 0, bytes.data(), length, nullptr, 0);
  WideString wide(static_cast<size_t>(std::max(units, 0)), 0);
  MultiByteToWideChar(code_page, 0, bytes.data(), length, wide.data(), units);
  return ToUtf8(wide);
}

std::string FoldCase(std::string_view utf8) {
  std::string folded;
  for (size_t at = 0; at < utf8.size();) {
    char32_t c = DecodeUtf8(utf8, &at);
    if (c == kInvalid) c = kReplacementCharacter;
    AppendUtf8(folded, FoldGreekAndCyrillic(FoldLatin(c)));
  }
  return folded;
}

}  // namespace program
