// UTF-8 in and out of the forms that the system's calls take: UTF-16, and the system's code page.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/windows_api.h"

namespace program {

using WideString = std::basic_string<WCHAR>;

// What DecodeUtf8 gives for bytes that are no character.
constexpr char32_t kInvalid = 0xFFFFFFFF;

// The character at *position, which moves behind it. Overlong forms, surrogates and values above
// 10FFFF are invalid; then *position moves on by one byte.
char32_t DecodeUtf8(std::string_view text, size_t* position);
void AppendUtf8(std::string& text, char32_t character);

bool IsUtf8(std::string_view text);
// The text with each invalid byte replaced by U+FFFD.
std::string RepairUtf8(std::string_view text);

// Invalid bytes and lone surrogates become U+FFFD.
WideString ToWide(std::string_view utf8);
std::string ToUtf8(std::basic_string_view<WCHAR> wide);

struct CodePageText {
  std::string bytes;  // a character that the code page lacks is "?" here
  std::string lost;   // the first of those characters, in UTF-8; empty when there is none
};

// Nothing when the system does not know the code page.
std::optional<CodePageText> ToCodePage(std::string_view utf8, uint32_t code_page);
std::optional<std::string> FromCodePage(std::string_view bytes, uint32_t code_page);

// Simple case folding of Latin, Greek and Cyrillic letters: enough to see that a file system which
// ignores case would take two names for one.
std::string FoldCase(std::string_view utf8);

}  // namespace program
