#include "net/url_escaping.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>

#include "base/hooks.h"
#include "text/ascii_block.h"
#include "text/converters.h"
#include "text/length_prefixed.h"

namespace qv {
namespace {

constexpr uint32_t kMostUtf8 = 1023;    // bytes of a text that are escaped
constexpr uint32_t kEscapeBytes = 3;    // of "%41"
constexpr uint32_t kMostCodeBytes = 4;  // of a character in any code page
constexpr uint32_t kStackWorkArea = 1024;

// True when two pieces of memory share no byte.
bool AreApart(std::string_view a, std::string_view b) {
  const auto begin = [](std::string_view piece) {
    return reinterpret_cast<uintptr_t>(piece.data());
  };
  return begin(a) + a.size() <= begin(b) || begin(b) + b.size() <= begin(a);
}

bool IsUtf8OrNone(CodePage cp) { return cp == kUtf8 || cp == kDefaultCodePage; }

// --- escaping ---

// Where escaped bytes go. Whole blocks are written without looking at the room.
class EscapedOutput {
 public:
  EscapedOutput(char* out, uint32_t size) : begin_(out), at_(out), end_(out + size) {}

  static constexpr ptrdiff_t kBlock = 16;
  bool HasRoomForBlock() const { return Room() > kBlock * kEscapeBytes; }

  // Stores whole forms and moves by what counts of each, so that no branch depends on a byte.
  void PutBlock(const char* bytes, const URLEscapeSet& set) {
    static_assert(std::endian::native == std::endian::little);
    static_assert(offsetof(URLEscapeSet::Form, length) == kEscapeBytes);
    char* at = at_;  // by itself: the bytes stored might else be those of this object
#pragma GCC unroll 16
    for (ptrdiff_t i = 0; i < kBlock; ++i) {
      uint32_t form;  // loaded once: the length is its last byte
      std::memcpy(&form, &set.FormOf(bytes[i]), sizeof form);
      std::memcpy(at, &form, sizeof form);
      at += form >> 24;
    }
    at_ = at;
  }
  // A byte in its escaped form needs one byte more than the form; what does not fit is dropped.
  void Put(const URLEscapeSet::Form& form) {
    const bool fits = form.length == 1 ? Room() > 0 : Room() > kEscapeBytes;
    if (fits) at_ = std::copy_n(form.characters, form.length, at_);
  }
  // Clears what is left; returns the bytes written.
  uint32_t Finish() {
    std::memset(at_, 0, Room());
    return static_cast<uint32_t>(at_ - begin_);
  }

 private:
  size_t Room() const { return static_cast<size_t>(end_ - at_); }

  char* begin_;
  char* at_;
  char* end_;
};

// --- unescaping ---

constexpr uint8_t kNoDigit = 0xFF;

constexpr std::array<uint8_t, 256> MakeDigits() {
  std::array<uint8_t, 256> digits = {};
  digits.fill(kNoDigit);
  for (uint8_t i = 0; i < 10; ++i) digits['0' + i] = i;
  for (uint8_t i = 10; i < 16; ++i) digits['A' - 10 + i] = digits['a' - 10 + i] = i;
  return digits;
}

constexpr std::array<uint8_t, 256> kDigits = MakeDigits();

class Unescaper {
 public:
  Unescaper(std::string_view text, char* output, uint32_t most)
      : in_(text.data()),
        in_end_(in_ + text.size()),
        out_(output),
        out_end_(output + most),
        apart_(AreApart(text, {output, most})) {}

  // Returns the end of what was written.
  char* Run(bool decode_slashes) {
    for (;;) {
      CopyPlain();
      if (in_ == in_end_ || out_ == out_end_) return out_;
      TakeEscape(decode_slashes);
    }
  }

 private:
  uint8_t Digit() const { return in_ < in_end_ ? kDigits[static_cast<uint8_t>(*in_)] : kNoDigit; }

  // Takes what stands before the next '%'.
  void CopyPlain() {
    if (apart_) CopyBlocks();
    const char* in = in_;  // by themselves: the bytes stored might else be those of this object
    char* out = out_;
    const char* const end = in + Left();
    for (; in < end && *in != '%'; ++in) *out++ = *in == '+' ? ' ' : *in;
    in_ = in;
    out_ = out;
  }

  // The same sixteen bytes at a time, as long as there are so many. More is stored than counts, so
  // the text must not lie there.
  void CopyBlocks() {
    while (Left() >= static_cast<ptrdiff_t>(AsciiBlock::kBytes)) {
      const auto block = AsciiBlock::Load(reinterpret_cast<const uint8_t*>(in_));
      const uint32_t marks = block.EqualMask('%') | block.EqualMask('+');
      block.Store(reinterpret_cast<uint8_t*>(out_));
      const auto plain = marks == 0 ? AsciiBlock::kBytes : std::countr_zero(marks);
      in_ += plain;
      out_ += plain;
      if (marks == 0) continue;
      if (*in_ == '%') return;
      *out_++ = ' ';
      ++in_;
    }
  }

  // Bytes that can be read and written.
  ptrdiff_t Left() const { return std::min(in_end_ - in_, out_end_ - out_); }

  // Takes the '%' at hand, and what belongs to it.
  void TakeEscape(bool decode_slashes) {
    const char* const mark = in_++;
    const uint8_t high = Digit();
    if (high == kNoDigit) return;
    ++in_;
    const uint8_t low = Digit();
    if (low == kNoDigit) return;
    ++in_;
    if (!decode_slashes && std::string_view(mark, kEscapeBytes) == "%2F") {
      CopyEscape(mark);
    } else {
      *out_++ = static_cast<char>(high << 4 | low);
    }
  }

  // Without room for all of it the output ends here: a part of it would mean something else.
  void CopyEscape(const char* mark) {
    if (out_end_ - out_ < static_cast<ptrdiff_t>(kEscapeBytes)) {
      out_end_ = out_;
      return;
    }
    std::memmove(out_, mark, kEscapeBytes);
    out_ += kEscapeBytes;
  }

  const char* in_;
  const char* in_end_;
  char* out_;
  char* out_end_;
  bool apart_;  // text and output
};

// Converts `length` bytes of UTF-8 through a work area; returns the new length.
uint32_t ConvertBack(char* work, uint32_t room, char* output, uint32_t length, CodePage cp) {
  if (work == nullptr) return length;
  ConvertText(output, length, kUtf8, work, &room, cp, kKeep, 0);
  std::memcpy(output, work, room);
  std::memset(output + room, 0, static_cast<size_t>(CPTermSize(cp)));
  return room;
}

uint32_t ConvertFromUtf8(char* output, uint32_t length, uint32_t output_size, CodePage cp) {
  const auto terminator = static_cast<uint32_t>(CPTermSize(cp));
  if (output_size < terminator) {
    *output = '\0';
    return 0;
  }
  const uint64_t most = uint64_t{length} * kMostCodeBytes;
  const auto room = static_cast<uint32_t>(std::min<uint64_t>(output_size - terminator, most));
  if (room <= kStackWorkArea) {
    char work[kStackWorkArea];
    return ConvertBack(work, room, output, length, cp);
  }
  const HookBlock block(room);
  return ConvertBack(block.data(), room, output, length, cp);
}

}  // namespace

constexpr std::array<URLEscapeSet, 4> kURLEscapeSets = {
    URLEscapeSet("<>\"{}|\\^~[]()'`"), URLEscapeSet("<>\"{}|\\^~[]()'`#%+"),
    URLEscapeSet("<>\"{}|\\^~[]()'`#%+/?:&"), URLEscapeSet("<>\"{}|\\^~[]()'`#%+?:&")};

namespace {

const URLEscapeSet& SetOrDefault(const URLEscapeSet* set) {
  return set != nullptr ? *set : kURLEscapeSets[kDefaultURLEscapeSet];
}

}  // namespace

size_t URLEscapeSet::EscapedSize(std::string_view bytes) const {
  size_t size = 0;
  for (const char c : bytes) size += FormOf(c).length;
  return size;
}

uint32_t EscapeURLBytes(std::string_view bytes, char* output, uint32_t size,
                        const URLEscapeSet& set) {
  EscapedOutput out(output, size);
  const char* p = bytes.data();
  const char* const end = p + bytes.size();
  for (; end - p >= EscapedOutput::kBlock && out.HasRoomForBlock(); p += EscapedOutput::kBlock) {
    out.PutBlock(p, set);
  }
  for (; p < end; ++p) out.Put(set.FormOf(*p));
  return out.Finish();
}

}  // namespace qv

int ZRURLNeedsEscape(const char* text, const qv::URLEscapeSet* set) {
  const qv::URLEscapeSet& escaped = qv::SetOrDefault(set);
  for (; text != nullptr && *text != '\0'; ++text) {
    if (escaped.Escapes(*text)) return 1;
  }
  return 0;
}

void ZRURLEscape(const char* text, uint32_t length, char* output, uint32_t* size,
                 const qv::URLEscapeSet* set, CodePage cp) {
  if (size == nullptr || output == nullptr) return;
  char work[qv::kMostUtf8 + 1];
  uint32_t used = qv::kMostUtf8;
  if (text == nullptr) {
    used = 0;
  } else if (qv::IsUtf8OrNone(cp)) {
    used = static_cast<uint32_t>(strnlen(text, std::min(length, qv::kMostUtf8)));
    if (qv::AreApart({text, used}, {output, *size})) {
      *size = qv::EscapeURLBytes({text, used}, output, *size, qv::SetOrDefault(set));
      return;
    }
    std::memcpy(work, text, used);
  } else {
    if (CPTermSize(cp) == 1) length = static_cast<uint32_t>(strnlen(text, length));
    ConvertText(text, length, cp, work, &used, kUtf8, qv::kKeep, 0);
    used = static_cast<uint32_t>(strnlen(work, used));
  }
  *size = qv::EscapeURLBytes({work, used}, output, *size, qv::SetOrDefault(set));
}

void ZRURLEscapeToString(uint8_t* out, const uint8_t* text, const qv::URLEscapeSet* set,
                         CodePage cp) {
  if (out == nullptr || text == nullptr) return;
  Str255 escaped;
  uint32_t size = kMostLStr;
  const auto* bytes = reinterpret_cast<const char*>(text + 1);
  ZRURLEscape(bytes, text[0], reinterpret_cast<char*>(escaped + 1), &size, set, cp);
  escaped[0] = static_cast<uint8_t>(size);
  qv::AppendLStr(out, escaped, kMostLStr);
}

uint32_t ZRURLUnescape(const char* text, uint32_t input_limit, char* output, uint32_t output_size,
                       bool decode_slashes, CodePage cp) {
  if (output == nullptr || output_size == 0) return 0;
  const size_t read = text == nullptr ? 0 : strnlen(text, input_limit);
  qv::Unescaper unescaper({text, read}, output, output_size - 1);
  const auto length = static_cast<uint32_t>(unescaper.Run(decode_slashes) - output);
  output[length] = '\0';
  if (qv::IsUtf8OrNone(cp) || length == 0 || UTF8PendingCount(output, length, 0) != 0) {
    return length;
  }
  return qv::ConvertFromUtf8(output, length, output_size, cp);
}
