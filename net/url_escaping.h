// Percent-escaping of URL text, and back. A URL carries UTF-8: text of any code page is taken to
// UTF-8 before it is escaped and brought back after it is unescaped.
//
//   char url[256];
//   uint32_t size = sizeof url;
//   ZRURLEscape(text, kMeasure, url, &size, nullptr, 1252);  // "Gr\xF6\xDF e" gives
//   "Gr%C3%B6%C3%9F%20e" uint32_t length = ZRURLUnescape(url, qv::kNoInputLimit, text, sizeof text,
//   true, 1252);
//
// Code pages 65001 and 20000 (none) leave the bytes as they are. A text whose code page has no
// table is escaped byte by byte. Line ends stay what they are.
//
// Errors: a null text is an empty one, a null output takes nothing. Threads: any; no state.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "text/code_page_strings.h"

namespace qv {

// Which bytes must be escaped: those of a set of characters, and whatever the set the control
// characters below 0x1F, the blank, 0x7F and all bytes from 0x80 on. Never '~', although sets name
// it: URLs of old have it as it is.
class URLEscapeSet {
 public:
  explicit constexpr URLEscapeSet(std::string_view characters);
  constexpr bool Escapes(char c) const { return FormOf(c).length != 1; }
  // Bytes of the escaped form of all bytes.
  size_t EscapedSize(std::string_view bytes) const;

  // How a byte is written: the first `length` of the characters.
  struct Form {
    char characters[3];
    uint8_t length;
  };
  constexpr const Form& FormOf(char c) const { return forms_[static_cast<uint8_t>(c)]; }

 private:
  std::array<Form, 256> forms_ = {};
};

// The sets that callers choose from: 0 marks and brackets; 1, the default, also '#', '%' and '+';
// 2 also '/', '?', ':' and '&'; 3 the same without '/'.
extern const std::array<URLEscapeSet, 4> kURLEscapeSets;
constexpr size_t kDefaultURLEscapeSet = 1;

// For texts that end where their terminator stands.
constexpr uint32_t kNoInputLimit = 0x7FFFFFFF;

}  // namespace qv

// In all of these a null set means the default one.

// 1 when any byte of the NUL-terminated text would be escaped, else 0.
int ZRURLNeedsEscape(const char* text, const qv::URLEscapeSet* set);

// Escapes the text up to its terminator or to `length` bytes (kMeasure: up to the terminator), of
// which the first 1023 bytes of UTF-8 count. On entry *size is the bytes of the output, on return
// the bytes written; the rest of the output is zeros, so the text is terminated unless it fills the
// output. Where fewer than four bytes are left, a byte that needs escaping is dropped and the next
// ones are tried. The output may be the text.
void ZRURLEscape(const char* text, uint32_t length, char* output, uint32_t* size,
                 const qv::URLEscapeSet* set, CodePage cp);

// Appends the escaped form of `text`, at most its first 255 bytes, to `out`, as far as that has
// room. Both are length-prefixed; they may be the same.
void ZRURLEscapeToString(uint8_t* out, const uint8_t* text, const qv::URLEscapeSet* set,
                         CodePage cp);

// Reads the text up to its terminator or to `input_limit` bytes: '+' is a blank, "%XX" a byte, a
// '%' without a digit behind it nothing, and "%X" without a second digit nothing either. "%2F"
// stays as it is unless slashes are decoded; "%2f" is always a '/'.
//
// `output` has output_size bytes; a terminator is always among them, and where that of the code
// page has no room the result is empty. A result that is valid UTF-8 (the older long forms are
// accepted) is converted to the code page, cut at a whole character; without memory for that it
// stays UTF-8. Returns the length without the terminator; a "%00" is part of the text. The output
// may be the text.
uint32_t ZRURLUnescape(const char* text, uint32_t input_limit, char* output, uint32_t output_size,
                       bool decode_slashes, CodePage cp);

namespace qv {

// Escapes bytes as they are: what ZRURLEscape does behind its conversion, without a limit of the
// input; the two must not overlap. Returns the bytes written.
uint32_t EscapeURLBytes(std::string_view bytes, char* output, uint32_t size,
                        const URLEscapeSet& set);

// Whole NUL-terminated texts, slashes kept or decoded.
inline uint32_t UnescapeURL(const char* text, char* output, uint32_t output_size, CodePage cp) {
  return ZRURLUnescape(text, kNoInputLimit, output, output_size, false, cp);
}
inline uint32_t UnescapeURLAndSlashes(const char* text, char* output, uint32_t output_size,
                                      CodePage cp) {
  return ZRURLUnescape(text, kNoInputLimit, output, output_size, true, cp);
}

constexpr URLEscapeSet::URLEscapeSet(std::string_view characters) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  for (uint32_t c = 0; c < 256; ++c) {
    const char byte = static_cast<char>(c);
    const bool always = c < 0x1F || c == ' ' || c >= 0x7F;
    const bool escaped = c != '~' && (always || characters.find(byte) != characters.npos);
    forms_[c] = escaped ? Form{{'%', kDigits[c >> 4], kDigits[c & 15]}, 3} : Form{{byte}, 1};
  }
}

}  // namespace qv
