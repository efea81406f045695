// Text inside the stand-in: UTF-16 where Windows has wide strings, UTF-8 for native names, and the
// system's code page in narrow calls.
#pragma once

#include <string>
#include <string_view>

#include "platform/host/types.h"

namespace host {

// Malformed input gives U+FFFD and sets *malformed (which may be null), never anything else.
std::u16string WideFromUtf8(std::string_view text, bool* malformed = nullptr);
std::string Utf8FromWide(std::u16string_view wide, bool* malformed = nullptr);

// Conversions of any code page that the machine's iconv knows. Bytes without a meaning give their
// own value (80 to 9F) or U+FFFD and set *malformed; characters without a byte give `replacement`
// and set *replaced.
bool CodePageIsKnown(UINT code_page);
std::u16string WideFromBytes(UINT code_page, std::string_view bytes, bool* malformed = nullptr);
std::string BytesFromWide(UINT code_page, std::u16string_view wide, std::string_view replacement,
                          bool* replaced = nullptr);

// The system's code page: the registry's "ACP" where it names one that can be converted, else 1252.
UINT AnsiCodePage();

// The conversions of the narrow calls.
std::u16string WideFromAnsi(std::string_view text);
std::string AnsiFromWide(std::u16string_view wide);
std::string Utf8FromAnsi(std::string_view text);
std::string AnsiFromUtf8(std::string_view text);

// Upper case of every letter, for comparisons that ignore it.
std::u16string UpperCase(std::u16string_view text);
std::string UpperCaseUtf8(std::string_view text);
bool SameIgnoringCase(std::string_view a, std::string_view b);  // UTF-8

// Copies a result into a caller's buffer by the rule of the path calls: the length without the
// terminator when it fits, else the size needed with it.
template <typename Char>
DWORD CopyOut(std::basic_string_view<Char> text, Char* buffer, DWORD size) {
  if (!buffer || text.size() >= size) return static_cast<DWORD>(text.size() + 1);
  text.copy(buffer, text.size());
  buffer[text.size()] = 0;
  return static_cast<DWORD>(text.size());
}

}  // namespace host
