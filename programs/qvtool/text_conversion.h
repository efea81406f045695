// Converts a text of any length from one code page to another, in pieces and in constant memory.
// However the text is cut into pieces, the result is the same.
//
//   TextConversion conversion(932, kUtf8, qv::kKeep, write);
//   if (auto trouble = conversion.trouble()) ...      // no table for this
//   while (more) conversion.Convert(piece);
//   conversion.Finish();
//
// The way is that of ConvertText: Unicode pages through the engines; two other pages through their
// converter, and without one through Unicode. (ConvertText does the last only where both or neither
// are multi-byte pages.)
//
// A registered converter begins each call anew, so that the forms with escape sequences are given
// to it in whole lines, at whose ends they are in their initial state by their own rules. A line of
// more than kLongestLine bytes cannot be converted between such forms.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "programs/common/reporter.h"
#include "programs/common/standard_streams.h"
#include "programs/qvtool/lines.h"
#include "programs/qvtool/unit_counter.h"
#include "text/code_pages.h"

namespace qvtool {

// Takes converted bytes; false ends the conversion.
using Sink = std::function<bool(std::string_view)>;

// One way to convert.
class Conversion {
 public:
  virtual ~Conversion() = default;
  // False when it cannot go on; trouble() says why, unless it was the sink.
  virtual bool Convert(std::string_view piece, const Sink& sink) = 0;
  // Call once, behind the last piece. Returns the bytes of a character that the end cut.
  virtual uint32_t Finish(const Sink& sink) = 0;
  const program::Trouble& trouble() const { return trouble_; }

 protected:
  program::Trouble trouble_;
};

class TextConversion {
 public:
  // line_ends: qv::kCr, kLf, kCrLf or kKeep. The tables have to be loaded.
  TextConversion(CodePage from, CodePage to, int line_ends, Sink sink);

  bool Convert(std::string_view piece);
  void Finish();

  program::Trouble trouble() const;
  // Bytes of an unfinished character at the end of the text; they are dropped.
  uint32_t cut_bytes() const { return cut_bytes_; }
  // How many characters were malformed or have none in the target, as far as the bytes tell: what
  // was written as 1A or 00 and had not been read so. Not counted where 1A means something else.
  uint64_t lost() const;

 private:
  bool Write(std::string_view bytes);

  Sink sink_;
  UnitCounter read_, written_;
  std::unique_ptr<Conversion> conversion_;  // null: there is no way
  CodePage from_, to_;
  uint32_t cut_bytes_ = 0;
};

// A warning, unless nothing was lost.
void ReportLosses(uint64_t lost, const program::Reporter& reporter);

}  // namespace qvtool
