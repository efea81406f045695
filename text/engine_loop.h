// The loop of the Unicode engines: reads characters, rewrites line ends, writes characters.
//
// The loop for a reader and a writer is chosen once per call; FindLoop gives it.
#pragma once

#include <cstdint>

#include "text/byte_tables.h"
#include "text/code_pages.h"

namespace qv {

enum class TextForm { kNone, kBytes, kUtf8, kUtf16Little, kUtf16Big, kUtf32Little, kUtf32Big };

// The form of a code page as far as an engine can read or write it: kNone without its table.
struct EngineSource {
  TextForm form = TextForm::kNone;
  const ByteToUnicodeTable* table = nullptr;  // kBytes
};
struct EngineTarget {
  TextForm form = TextForm::kNone;
  const UnicodeToByteTable* table = nullptr;  // kBytes
};
EngineSource FindEngineSource(CodePage cp);
EngineTarget FindEngineTarget(CodePage cp);

// Where a conversion stands; the loop moves `in` and `out`.
struct EngineCursor {
  const uint8_t* in;
  const uint8_t* in_end;
  uint8_t* out;
  uint8_t* out_end;
};

enum class EngineStop {
  kInputEnd,   // all is converted
  kCut,        // the rest is not a whole character, or (not at the end) a CR whose LF may follow
  kOutputEnd,  // the next character or line end does not fit
};

// line_ends is one of kCr, kLf, kCrLf, kKeep. at_end: nothing follows the input.
EngineStop RunEngine(const EngineSource& source, const EngineTarget& target, LineEndMode line_ends,
                     bool at_end, EngineCursor& cursor);

// Writes a byte-order mark in the target's form, nothing in a code page; kInputEnd or kOutputEnd.
// Moves `out` only.
EngineStop WriteByteOrderMark(const EngineTarget& target, EngineCursor& cursor);

// One of kCr, kLf, kCrLf, kKeep.
LineEndMode ResolveLineEnds(int mode, CodePage from, CodePage to);

}  // namespace qv
