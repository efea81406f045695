// The loop of the Unicode engines: reads characters, rewrites line ends, decomposes, writes
// characters.
//
// The loop for a reader and a writer is chosen once per call, by the forms of the two code pages.
#pragma once

#include <cstdint>

#include "text/code_pages.h"
#include "text/decomposition.h"
#include "text/unicode_table.h"
#include "text/wide_forms.h"

namespace qv {

enum class TextForm {
  kNone,
  kBytes,  // a code page whose bytes are characters
  kUtf8,
  kUtf16Little,
  kUtf16Big,
  kUtf32Little,
  kUtf32Big,
  kDoubleByte,  // the East Asian ones
  kJapaneseEuc,
  // With a state:
  kUtf7,
  kIso2022,
};
constexpr bool HasState(TextForm form) { return form >= TextForm::kUtf7; }

// The form of a code page as far as an engine can read (source) or write (target) it: kNone without
// its table.
struct EngineEnd {
  TextForm form = TextForm::kNone;
  CodePage page = 0;
  const UnicodeTable* table = nullptr;  // null for the Unicode forms
};
EngineEnd FindEngineSource(CodePage cp);
EngineEnd FindEngineTarget(CodePage cp);

// What stays the same during a conversion. line_ends is one of kCr, kLf, kCrLf, kKeep. Good as long
// as the tables are.
struct EngineJob {
  EngineEnd source, target;
  LineEndMode line_ends;
  Decomposer decomposer{Decomposition::kNone};

  bool possible() const { return source.form != TextForm::kNone && target.form != TextForm::kNone; }
};
// line_end_mode: any LineEndMode.
EngineJob MakeEngineJob(CodePage from, CodePage to, int line_end_mode,
                        Decomposition decomposition = Decomposition::kNone);

// What changes from one run to the next over the same text.
class EngineState {
 public:
  explicit EngineState(const EngineJob& job) {
    if (HasState(job.source.form) || HasState(job.target.form)) Begin(job);
  }

  bool after_cr = false;  // the line end of a CR is written; an LF that follows belongs to it
  union ReaderState {
    ReaderState() : none(0) {}
    uint8_t none;
    UTF7DecodeState utf7;
    Iso2022Reader iso2022;
  } reader;
  union WriterState {
    WriterState() : none(0) {}
    uint8_t none;
    Utf7WriterState utf7;
    Iso2022Writer iso2022;
  } writer;

 private:
  void Begin(const EngineJob& job);
};

// Where a conversion stands; the loop moves `in` and `out`.
struct EngineCursor {
  const uint8_t* in;
  const uint8_t* in_end;
  uint8_t* out;
  uint8_t* out_end;
};

enum class EngineStop {
  kInputEnd,   // all is converted
  kCut,        // the rest is not a whole character
  kOutputEnd,  // the next character or line end does not fit
};

// Converts as much as there is and fits; what follows may be converted by the next run. at_end:
// nothing follows the input.
EngineStop RunEngine(const EngineJob& job, EngineState& state, bool at_end, EngineCursor& cursor);

// Writes what ends the text (an open run of UTF-7, a character set that was switched to); at most
// kMostCloseBytes, for which RunEngine leaves room. kInputEnd or kOutputEnd. Moves `out` only.
EngineStop CloseEngine(const EngineJob& job, EngineState& state, EngineCursor& cursor);
constexpr uint32_t kMostCloseBytes = 4;

// Writes a byte-order mark in the target's form, nothing in a code page; kInputEnd or kOutputEnd.
// Moves `out` only.
EngineStop WriteByteOrderMark(const EngineJob& job, EngineState& state, EngineCursor& cursor);

// One of kCr, kLf, kCrLf, kKeep.
LineEndMode ResolveLineEnds(int mode, CodePage from, CodePage to);

}  // namespace qv
