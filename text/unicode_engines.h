// The engines that convert text from, to and between the Unicode code pages.
//
// An engine reads characters with the reader of the source code page, maps them through the tables
// of the registry, and writes them with the writer of the target, until the input ends or the next
// whole character (or line end) finds no room. There are readers and writers for UTF-7, UTF-8
// (sequences of 1 to 7 bytes are read, 1 to 4 written), UTF-16 and UTF-32 in both byte orders,
// every code page whose bytes are characters, and the East Asian forms of double bytes, EUC and
// ISO-2022 (east_asian_forms.h). A code page without a table cannot be converted.
//
// Unreadable bytes: a stray continuation byte, 0xFF, and a sequence that another byte breaks off
// are read as 26; a sequence (or unit) that the end of the input cuts stays unconsumed. For the
// other forms see utf7.h and east_asian_forms.h.
// Unmapped: 26 in a code page; a byte without a character is written as U+0000, a double byte
// without one (and what its form leaves over, see wide_tables.h) as 26.
//
// Forms with a state: at its end the text is closed (a run of UTF-7 with '-', ISO-2022 by the
// return to ASCII); the room for that is kept free, so it always fits. When a conversion from or to
// such a form ended for want of room, the rest cannot be converted by a second call, which would
// begin anew: give such text room enough, or use StreamConverter.
//
// The loop is chosen once per call by reader and writer; runs of ASCII are copied or widened
// sixteen bytes at a time.
#pragma once

#include <cstdint>

#include "text/code_pages.h"
#include "text/decomposition.h"
#include "text/engine_loop.h"

namespace qv {

// What a conversion is asked to do besides mapping. The two ways of decomposing are numbers 2 and 4
// in a word of their own: 4 in `flags` is the byte-order mark. Every engine decomposes, also
// towards a code page, whose table then sees the parts; all parts of a character are written or
// none.
struct ConversionOptions {
  int line_end_mode = kNativeTo;  // kNativeTo and kNativeFrom are resolved to a line end first
  uint32_t flags = 0;             // kConvertByteOrderMark
  Decomposition decomposition = Decomposition::kNone;
};

// Wider than it needs to be: packed into two registers, its halves would be merged through memory,
// which costs a short conversion a third of its time.
struct ConversionResult {
  bool possible = false;             // false when a table, a reader or a writer is missing
  alignas(8) uint32_t consumed = 0;  // input bytes
  alignas(8) uint32_t written = 0;   // output bytes, with the terminator where one was asked for
};

// Converts input_bytes bytes (kMeasure: NUL-terminated text, and a terminator of the target's unit
// width is appended) into at most output_bytes. At least one code page is a Unicode one, else, and
// where a table is missing, the result is {0, 0}. A *to of 0 or 20000 asks the engine to choose the
// code page whose table loses the fewest characters; the choice is stored there.
ConversionResult ConvertThroughUnicode(const char* input, uint32_t input_bytes, CodePage from,
                                       char* output, uint32_t output_bytes, CodePage* to,
                                       const ConversionOptions& options);

// From one code page through Unicode to another in one pass; both have tables.
ConversionResult ConvertBetweenCodePages(const char* input, uint32_t input_bytes, CodePage from,
                                         char* output, uint32_t output_bytes, CodePage to,
                                         const ConversionOptions& options);

// Converts a text that arrives in chunks: any way of splitting it, and any rooms for the output of
// at least kLeastRoom bytes, give the same bytes. Keeps the state of both forms.
//
//   StreamConverter converter(1252, kUtf8, {kKeep, 0});
//   while (read chunk) { converter.Convert(chunk, out, &written) ... }
//   converter.Finish(...)
//
// Good as long as the tables are loaded.
class StreamConverter {
 public:
  // Rooms that are enough for every step, without and with a decomposition.
  static constexpr uint32_t kLeastRoom = 12;
  static constexpr uint32_t kLeastRoomDecomposing = 8 * Decomposer::kMostParts;

  StreamConverter(CodePage from, CodePage to, const ConversionOptions& options);

  // False when a table, a reader or a writer is missing, or the target is left open (0, 20000):
  // nothing can be converted.
  bool usable() const { return usable_; }

  // Converts as much of the chunk as fits; the caller offers the rest again. A character cut by the
  // end of the chunk is kept and counts as consumed.
  ConversionResult Convert(const char* input, uint32_t input_bytes, char* output,
                           uint32_t output_bytes);
  // Call at the end of the input, until it has written nothing more: what was kept is written (an
  // unfinished character as the reader rules say: dropped, and counted by cut_bytes()), and the
  // text is closed.
  ConversionResult Finish(char* output, uint32_t output_bytes);
  // Bytes of an unfinished character that the end of the input cut.
  uint32_t cut_bytes() const { return cut_bytes_; }

 private:
  ConversionResult Run(const char* input, uint32_t input_bytes, char* output, uint32_t output_bytes,
                       bool at_end);
  bool ConvertKept(EngineCursor& at, bool at_end);
  void ConvertRest(EngineCursor& at, bool at_end);
  void KeepOrDrop(EngineCursor& at, bool at_end);

  EngineJob job_;
  EngineState state_;
  bool usable_;
  bool mark_written_;
  uint8_t kept_[8] = {};  // bytes of the input not yet converted
  uint32_t kept_bytes_ = 0;
  uint32_t cut_bytes_ = 0;
};

}  // namespace qv
