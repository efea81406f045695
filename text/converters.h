// The converter registry: conversions between two code pages, and the dispatcher of all text.
//
//   uint32_t room = sizeof out;
//   uint32_t used = ConvertText(in, n, 10000, out, &room, 1252, qv::kNativeTo, 0);
//
// Threads: the registry is built before a second thread converts text; ConvertText moves the
// converter it used to the front of the list under a lock.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "base/big_endian.h"
#include "text/code_pages.h"

namespace qv {

class Converter {
 public:
  virtual ~Converter() = default;
  // False when it can convert nothing (its table is missing).
  virtual bool usable() const = 0;
  // Returns the input bytes consumed and sets *output_bytes to the bytes written.
  virtual uint32_t Convert(const char* input, uint32_t input_bytes, char* output,
                           uint32_t* output_bytes, int line_end_mode) const = 0;
  const CodePage source, destination;

 protected:
  Converter(CodePage from, CodePage to) : source(from), destination(to) {}
};

// Copies, changing line ends only. Null without memory (so for the one below).
std::unique_ptr<Converter> NewIdentityConverter(CodePage source, CodePage destination);
// Maps bytes through the 256-byte table of a whole "CHST" resource (source, destination, table);
// a resource of another size gives a converter that converts nothing.
std::unique_ptr<Converter> NewTableConverter(Bytes resource);

// Registry, in building order: add converters, then sort. AddConverter and SortConverters give
// false without memory; the caller then discards the whole registry.
bool AddConverter(std::unique_ptr<Converter> converter);
bool SortConverters();
void ReleaseConverters();
uint32_t ConverterCount();
// True when the sorted registry has a converter for the pair that can convert.
bool HasConverter(CodePage source, CodePage destination);

}  // namespace qv

// The destination of the first converter, in sorted order, whose source is cp; cp itself when there
// is none.
CodePage MapCodePage(CodePage cp);

// A flag of ConvertText and of the Unicode engines: write a byte-order mark first.
constexpr uint32_t kConvertByteOrderMark = 0x04;

// Converts input_bytes bytes (0xFFFFFFFF: NUL-terminated text, and a terminator is appended) into
// at most *output_bytes; a character is never split. Returns the input bytes consumed and sets
// *output_bytes to the bytes written; both 0 when no converter or table can do it, except that with
// kKeep the bytes are then copied as they are. While the registry is empty that is all it does.
uint32_t ConvertText(const char* input, uint32_t input_bytes, CodePage from, char* output,
                     uint32_t* output_bytes, CodePage to, int line_end_mode, uint32_t flags);
