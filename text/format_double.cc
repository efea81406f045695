#include "text/format_double.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace qv {
namespace {

constexpr bool IsUpper(char conversion) { return conversion == 'E' || conversion == 'G'; }

}  // namespace

void DoubleText::Write(double value, char conversion, size_t precision, bool alternate) {
  value = std::fabs(value);
  zeros_ = 0;
  if (!std::isfinite(value)) {
    std::memcpy(text_, std::isnan(value) ? "nan" : "inf", 3);
    length_ = head_ = 3;
  } else if (conversion == 'f') {
    WriteFixed(value, precision, alternate);
  } else if (conversion == 'e' || conversion == 'E') {
    WriteScientific(value, precision, alternate);
  } else {
    WriteGeneral(value, precision == 0 ? 1 : precision, alternate);
  }
  if (!IsUpper(conversion)) return;
  for (size_t i = 0; i < length_; ++i) {
    if (text_[i] >= 'a' && text_[i] <= 'z') text_[i] = static_cast<char>(text_[i] - ('a' - 'A'));
  }
}

void DoubleText::WriteFixed(double value, size_t precision, bool alternate) {
  const size_t places = std::min(precision, kMostPlaces);
  const auto result = std::to_chars(text_, std::end(text_), value, std::chars_format::fixed,
                                    static_cast<int>(places));
  length_ = static_cast<size_t>(result.ptr - text_);
  if (alternate && precision == 0) text_[length_++] = '.';
  head_ = length_;
  zeros_ = precision - places;
}

void DoubleText::WriteScientific(double value, size_t precision, bool alternate) {
  const size_t places = std::min(precision, kMostPlaces);
  const auto result = std::to_chars(text_, std::end(text_), value, std::chars_format::scientific,
                                    static_cast<int>(places));
  length_ = static_cast<size_t>(result.ptr - text_);
  head_ = std::string_view(text_, length_).find('e');
  if (alternate && precision == 0) {
    std::memmove(text_ + head_ + 1, text_ + head_, length_ - head_);
    text_[head_++] = '.';
    ++length_;
  }
  zeros_ = precision - places;
}

// The power of ten of what WriteScientific wrote.
int DoubleText::Exponent() const {
  const char* sign = text_ + head_ + 1;
  int exponent = 0;
  std::from_chars(sign + 1, text_ + length_, exponent);
  return *sign == '-' ? -exponent : exponent;
}

void DoubleText::WriteGeneral(double value, size_t precision, bool alternate) {
  if (!alternate) {
    const size_t places = std::min(precision, kMostPlaces);
    const auto result = std::to_chars(text_, std::end(text_), value, std::chars_format::general,
                                      static_cast<int>(places));
    length_ = head_ = static_cast<size_t>(result.ptr - text_);
    return;
  }
  // The rule of the C standard: the form follows from the exponent after rounding.
  WriteScientific(value, precision - 1, true);
  const int exponent = Exponent();
  if (exponent < -4 || (exponent >= 0 && static_cast<size_t>(exponent) >= precision)) return;
  const size_t places = exponent < 0 ? precision - 1 + static_cast<size_t>(-exponent)
                                     : precision - 1 - static_cast<size_t>(exponent);
  WriteFixed(value, places, true);
}

}  // namespace qv
