// A double as decimal text, for the formatter: the same characters on every platform and in every
// locale.
//
//   qv::DoubleText text;
//   text.Write(0.5, 'e', 6, false);     // head "5.000000", no zeros, tail "e-01"
//
// Threads: any; no state. Needs no memory.
#pragma once

#include <cstddef>
#include <string_view>

namespace qv {

class DoubleText {
 public:
  // Writes |value|. `conversion` is one of e E f g G, as in printf; the precision is 0 or more, and
  // `alternate` is printf's "#" (a point always, trailing zeros kept). Infinity is "inf" or "INF",
  // a value that is no number "nan" or "NAN", with any precision.
  void Write(double value, char conversion, size_t precision, bool alternate);

  // The text is head, then zeros() times "0", then tail. The digits of a double end after 1100
  // places, so what a longer precision asks for is counted instead of stored.
  std::string_view head() const { return {text_, head_}; }
  size_t zeros() const { return zeros_; }
  std::string_view tail() const { return {text_ + head_, length_ - head_}; }

 private:
  void WriteFixed(double value, size_t precision, bool alternate);
  void WriteScientific(double value, size_t precision, bool alternate);
  void WriteGeneral(double value, size_t precision, bool alternate);
  int Exponent() const;

  static constexpr size_t kMostPlaces = 1100;  // the last digit of the least double is the 1074th
  char text_[kMostPlaces + 320];               // 309 digits before the point at most
  size_t length_ = 0, head_ = 0, zeros_ = 0;
};

}  // namespace qv
