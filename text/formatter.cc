#include "text/formatter.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string_view>

#include "base/scratch_pool.h"
#include "text/format_double.h"

namespace qv {
namespace {

static_assert(kScratchBufferSize > kFormatLimit);

enum class ArgumentSize { k32, k16, k64, kPointer };

// One conversion specification, from its "%" to its conversion character.
struct Specification {
  bool left = false, plus = false, space = false, zero = false, alternate = false;
  bool has_precision = false;
  size_t width = 0, precision = 0;
  ArgumentSize size = ArgumentSize::k32;
  char conversion = 0;  // 0 when the format ended first
};

// Widths and precisions stop growing here: far behind the end of every output, and sums of a few
// still fit 32 bits.
constexpr size_t kMostWidth = 1000000000;

// The arguments, passed on by reference.
//
// A 32-bit argument is read as int32_t, also under "l". That is right for an int, and for a long
// where it has 32 bits; where a long has 64, every argument fills a slot of 64 bits on the targets
// we build for, and its low half is what is read. (Reading a long instead would take the undefined
// upper half of an int's slot along, to no gain.)
class Arguments {
 public:
  explicit Arguments(va_list list) { va_copy(list_, list); }
  ~Arguments() { va_end(list_); }
  Arguments(const Arguments&) = delete;
  Arguments& operator=(const Arguments&) = delete;

  int32_t Int() { return va_arg(list_, int32_t); }
  double Double() { return va_arg(list_, double); }
  void* Pointer() { return va_arg(list_, void*); }

  // 64 bits and a pointer are two types on the 32-bit build.
  int64_t Signed(ArgumentSize size) {
    switch (size) {
      case ArgumentSize::k16:
        return static_cast<int16_t>(Int());
      case ArgumentSize::k64:  // NOLINT(bugprone-branch-clone)
        return va_arg(list_, int64_t);
      case ArgumentSize::kPointer:
        return va_arg(list_, intptr_t);
      default:
        return Int();
    }
  }

  uint64_t Unsigned(ArgumentSize size) {
    switch (size) {
      case ArgumentSize::k16:
        return static_cast<uint16_t>(Int());
      case ArgumentSize::k64:  // NOLINT(bugprone-branch-clone)
        return va_arg(list_, uint64_t);
      case ArgumentSize::kPointer:
        return va_arg(list_, uintptr_t);
      default:
        return va_arg(list_, uint32_t);
    }
  }

 private:
  va_list list_;
};

// Copies a first and a last word, which may overlap: sizeof(Word) bytes to twice as many.
template <typename Word>
void CopyEnds(char* to, const char* from, size_t bytes) {
  Word first, last;
  std::memcpy(&first, from, sizeof first);
  std::memcpy(&last, from + bytes - sizeof last, sizeof last);
  std::memcpy(to, &first, sizeof first);
  std::memcpy(to + bytes - sizeof last, &last, sizeof last);
}

// Pieces are mostly short: a call of the runtime's routine would cost more than their bytes do.
void CopyBytes(char* to, const char* from, size_t bytes) {
  if (bytes > 16) {
    std::memcpy(to, from, bytes);
  } else if (bytes >= 8) {
    CopyEnds<uint64_t>(to, from, bytes);
  } else if (bytes >= 4) {
    CopyEnds<uint32_t>(to, from, bytes);
  } else if (bytes >= 2) {
    CopyEnds<uint16_t>(to, from, bytes);
  } else if (bytes == 1) {
    *to = *from;
  }
}

// The text built so far; whatever does not fit is dropped.
class Output {
 public:
  explicit Output(char* buffer) : buffer_(buffer) {}

  size_t length() const { return length_; }

  void Put(std::string_view text) {
    const size_t bytes = std::min(text.size(), Room());
    CopyBytes(buffer_ + length_, text.data(), bytes);
    length_ += bytes;
  }

  void Fill(char c, size_t count) {
    if (count == 0) return;
    count = std::min(count, Room());
    std::memset(buffer_ + length_, c, count);
    length_ += count;
  }

 private:
  size_t Room() const { return kFormatLimit - length_; }

  char* buffer_;
  size_t length_ = 0;
};

// --- Reading a specification ---

bool StartsWith(const char* text, std::string_view prefix) {
  return std::strncmp(text, prefix.data(), prefix.size()) == 0;
}

// The letters behind an "I" at p, and the size that the whole says.
size_t ReadSizeNumber(const char* p, ArgumentSize* size) {
  constexpr struct {
    std::string_view number;
    ArgumentSize size;
  } kNumbers[] = {{"64", ArgumentSize::k64},
                  {"32", ArgumentSize::k32},
                  {"16", ArgumentSize::k16},
                  {"8", ArgumentSize::k16}};
  for (const auto& row : kNumbers) {
    if (!StartsWith(p, row.number)) continue;
    *size = row.size;
    return row.number.size();
  }
  *size = ArgumentSize::kPointer;
  return 0;
}

// Size letters at p, where there is one: h hh w I8 I16 | l I32 | ll I64 | I z t. Returns how many.
size_t ReadSize(const char* p, ArgumentSize* size) {
  switch (*p) {
    case 'h':
      *size = ArgumentSize::k16;
      return p[1] == 'h' ? 2 : 1;
    case 'w':
      *size = ArgumentSize::k16;
      return 1;
    case 'l':
      *size = p[1] == 'l' ? ArgumentSize::k64 : ArgumentSize::k32;
      return p[1] == 'l' ? 2 : 1;
    case 'I':
      return 1 + ReadSizeNumber(p + 1, size);
    default:  // z t
      *size = ArgumentSize::kPointer;
      return 1;
  }
}

void AddDigit(char digit, size_t* number) {
  // Decided before the product, which need not fit 32 bits.
  *number =
      *number < kMostWidth / 10 ? *number * 10 + static_cast<size_t>(digit - '0') : kMostWidth;
}

void TakeNumberArgument(int32_t value, Specification* spec) {
  const auto magnitude = static_cast<size_t>(std::abs(static_cast<int64_t>(value)));
  if (!spec->has_precision) {
    spec->left |= value < 0;
    spec->width = std::min(kMostWidth, magnitude);
  } else if (value < 0) {
    spec->has_precision = false;
  } else {
    spec->precision = std::min(kMostWidth, magnitude);
  }
}

void TakeDigit(char digit, Specification* spec) {
  if (digit == '0' && spec->width == 0 && !spec->has_precision) {
    spec->zero = true;
  } else {
    AddDigit(digit, spec->has_precision ? &spec->precision : &spec->width);
  }
}

// Reads the conversion that stands behind a "%" at p: flags, width, precision and size letters in
// any order, since size letters may stand before the width. Returns the place behind the conversion
// character.
const char* ReadSpecification(const char* p, Arguments* arguments, Specification* spec) {
  for (;; ++p) {
    switch (*p) {
      case '\0':
        return p;
      case '-':
        spec->left = true;
        break;
      case '+':
        spec->plus = true;
        break;
      case ' ':
        spec->space = true;
        break;
      case '#':
        spec->alternate = true;
        break;
      case '.':
        spec->has_precision = true;
        spec->precision = 0;
        break;
      case '*':
        TakeNumberArgument(arguments->Int(), spec);
        break;
      case 'h':
      case 'l':
      case 'w':
      case 'z':
      case 't':
      case 'I':
        p += ReadSize(p, &spec->size) - 1;
        break;
      default:
        if (*p < '0' || *p > '9') {
          spec->conversion = *p;
          return p + 1;
        }
        TakeDigit(*p, spec);
        break;
    }
  }
}

// --- Writing one conversion ---

constexpr char kPairs[] =
    "0001020304050607080910111213141516171819202122232425262728293031323334353637383940414243444546"
    "4748495051525354555657585960616263646566676869707172737475767778798081828384858687888990919293"
    "949596979899";
constexpr size_t kMostDigits = 22;  // of 64 bits in octal

// Writers of digits before `end`; 0 has no digits. They return the first digit.
template <typename Number>
char* DecimalDigits(Number value, char* end) {
  while (value >= 100) {
    end -= 2;
    std::memcpy(end, kPairs + value % 100 * 2, 2);
    value /= 100;
  }
  if (value >= 10) {
    end -= 2;
    std::memcpy(end, kPairs + value * 2, 2);
  } else if (value > 0) {
    *--end = static_cast<char>('0' + value);
  }
  return end;
}

char* PowerOfTwoDigits(uint64_t value, unsigned bits, const char* alphabet, char* end) {
  for (; value != 0; value >>= bits) *--end = alphabet[value & ((1u << bits) - 1)];
  return end;
}

// The parts of a number, in their order.
struct NumberText {
  std::string_view sign;  // or "0x"
  std::string_view head;
  size_t zeros = 0;
  std::string_view tail;
};

void PutNumber(const NumberText& number, const Specification& spec, bool zero_padding,
               Output* out) {
  const size_t length = number.sign.size() + number.head.size() + number.zeros + number.tail.size();
  const size_t padding = spec.width > length ? spec.width - length : 0;
  if (!spec.left && !zero_padding) out->Fill(' ', padding);
  out->Put(number.sign);
  if (!spec.left && zero_padding) out->Fill('0', padding);
  out->Put(number.head);
  out->Fill('0', number.zeros);
  out->Put(number.tail);
  if (spec.left) out->Fill(' ', padding);
}

// A whole number's digits with the precision's zeros (at least one digit unless it says 0).
void PutInteger(std::string_view sign, std::string_view digits, const Specification& spec,
                Output* out) {
  const size_t least = spec.has_precision ? spec.precision : 1;
  const size_t zeros = least > digits.size() ? least - digits.size() : 0;
  if (zeros == 0 && spec.width <= sign.size() + digits.size()) {  // the usual case, made short
    out->Put(sign);
    out->Put(digits);
    return;
  }
  PutNumber({sign, {}, zeros, digits}, spec, spec.zero && !spec.has_precision, out);
}

std::string_view SignOf(bool negative, const Specification& spec) {
  if (negative) return "-";
  if (spec.plus) return "+";
  return spec.space ? " " : "";
}

void PutDecimal(uint64_t magnitude, std::string_view sign, const Specification& spec, Output* out) {
  char buffer[kMostDigits];
  char* end = buffer + sizeof buffer;
  const char* first = magnitude <= UINT32_MAX ? DecimalDigits(static_cast<uint32_t>(magnitude), end)
                                              : DecimalDigits(magnitude, end);
  PutInteger(sign, {first, static_cast<size_t>(end - first)}, spec, out);
}

void PutSigned(int64_t value, const Specification& spec, Output* out) {
  const auto bits = static_cast<uint64_t>(value);
  PutDecimal(value < 0 ? 0 - bits : bits, SignOf(value < 0, spec), spec, out);
}

void PutHexadecimal(uint64_t value, const Specification& spec, Output* out) {
  const bool upper = spec.conversion != 'x';
  char buffer[kMostDigits];
  char* end = buffer + sizeof buffer;
  const char* first =
      PowerOfTwoDigits(value, 4, upper ? "0123456789ABCDEF" : "0123456789abcdef", end);
  const std::string_view prefix = upper ? "0X" : "0x";
  PutInteger(spec.alternate && value != 0 ? prefix : "", {first, static_cast<size_t>(end - first)},
             spec, out);
}

void PutOctal(uint64_t value, const Specification& spec, Output* out) {
  char buffer[kMostDigits + 1];
  char* end = buffer + sizeof buffer;
  char* first = PowerOfTwoDigits(value, 3, "01234567", end);
  const size_t least = spec.has_precision ? spec.precision : 1;
  const bool starts_with_zero = least > static_cast<size_t>(end - first);
  if (spec.alternate && !starts_with_zero) *--first = '0';
  PutInteger("", {first, static_cast<size_t>(end - first)}, spec, out);
}

void PutPointer(const void* pointer, Specification spec, Output* out) {
  spec.has_precision = true;
  spec.precision = 2 * sizeof(void*);
  spec.alternate = false;
  PutHexadecimal(reinterpret_cast<uintptr_t>(pointer), spec, out);
}

void PutDouble(double value, const Specification& spec, Output* out) {
  constexpr size_t kUsualPlaces = 6;
  DoubleText text;
  text.Write(value, spec.conversion, spec.has_precision ? spec.precision : kUsualPlaces,
             spec.alternate);
  const bool negative = std::signbit(value) && !std::isnan(value);
  PutNumber({SignOf(negative, spec), text.head(), text.zeros(), text.tail()}, spec,
            spec.zero && std::isfinite(value), out);
}

void PutPadded(std::string_view text, const Specification& spec, Output* out) {
  const size_t padding = spec.width > text.size() ? spec.width - text.size() : 0;
  if (!spec.left) out->Fill(' ', padding);
  out->Put(text);
  if (spec.left) out->Fill(' ', padding);
}

void PutText(const void* argument, const Specification& spec, Output* out) {
  auto* text = static_cast<const char*>(argument);
  size_t most = spec.has_precision ? spec.precision : SIZE_MAX;
  if (text == nullptr) {
    text = "(null)";
  } else if (spec.alternate) {
    most = std::min<size_t>(most, static_cast<uint8_t>(*text++));
  }
  PutPadded({text, most == SIZE_MAX ? std::strlen(text) : strnlen(text, most)}, spec, out);
}

// The argument has the size that the size letters say, else 32 bits.
void StoreLength(void* argument, ArgumentSize size, size_t length) {
  if (argument == nullptr) return;
  if (size == ArgumentSize::k16) {
    *static_cast<int16_t*>(argument) = static_cast<int16_t>(length);
  } else if (size == ArgumentSize::k64) {
    *static_cast<int64_t*>(argument) = static_cast<int64_t>(length);
  } else if (size == ArgumentSize::kPointer) {
    *static_cast<intptr_t*>(argument) = static_cast<intptr_t>(length);
  } else {
    *static_cast<int32_t*>(argument) = static_cast<int32_t>(length);
  }
}

// Writes one conversion; false when its character stands for none.
bool PutConversion(const Specification& spec, Arguments* arguments, Output* out) {
  switch (spec.conversion) {
    case 's':
    case 'S':
      PutText(arguments->Pointer(), spec, out);
      return true;
    case 'd':
    case 'i':
      PutSigned(arguments->Signed(spec.size), spec, out);
      return true;
    case 'u':
      PutDecimal(arguments->Unsigned(spec.size), "", spec, out);
      return true;
    case 'x':
    case 'X':
      PutHexadecimal(arguments->Unsigned(spec.size), spec, out);
      return true;
    case 'o':
      PutOctal(arguments->Unsigned(spec.size), spec, out);
      return true;
    case 'c':
    case 'C': {
      const char c = static_cast<char>(arguments->Int());
      PutPadded({&c, 1}, spec, out);
      return true;
    }
    case '%':
      out->Put("%");
      return true;
    case 'p':
      PutPointer(arguments->Pointer(), spec, out);
      return true;
    case 'n':
      StoreLength(arguments->Pointer(), spec.size, out->length());
      return true;
    case 'e':
    case 'E':
    case 'f':
    case 'g':
    case 'G':
      PutDouble(arguments->Double(), spec, out);
      return true;
    default:
      return false;
  }
}

void BuildText(const char* format, Arguments* arguments, Output* out) {
  const char* const end = format + std::strlen(format);
  while (format != end) {
    const auto rest = static_cast<size_t>(end - format);
    const auto* percent = static_cast<const char*>(std::memchr(format, '%', rest));
    if (percent == nullptr) percent = end;
    out->Put({format, static_cast<size_t>(percent - format)});
    if (percent == end) return;
    Specification spec;
    format = ReadSpecification(percent + 1, arguments, &spec);
    if (!PutConversion(spec, arguments, out)) {
      out->Put({percent, static_cast<size_t>(format - percent)});
    }
  }
}

}  // namespace
}  // namespace qv

uint32_t FormatTextV(char* dst, uint32_t limit, const char* format, va_list arguments) {
  if (dst == nullptr) return 0;
  qv::ScratchBlock block;
  if (block.data() == nullptr || format == nullptr) {
    dst[0] = 0;
    return 0;
  }
  qv::Output out(block.data());
  qv::Arguments list(arguments);
  qv::BuildText(format, &list, &out);
  const size_t length = std::min<size_t>(out.length(), limit);
  std::memcpy(dst, block.data(), length);
  dst[length] = 0;
  return static_cast<uint32_t>(length);
}

uint32_t FormatTextN(char* dst, uint32_t limit, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const uint32_t length = FormatTextV(dst, limit, format, arguments);
  va_end(arguments);
  return length;
}

uint32_t FormatText(char* dst, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const uint32_t length = FormatTextV(dst, kFormatLimit, format, arguments);
  va_end(arguments);
  return length;
}

uint32_t FormatTextList(char* dst, const char* format, va_list arguments) {
  return FormatTextV(dst, kFormatLimit, format, arguments);
}
